#include "drvctl/round_trip_stats.h"

#include <algorithm>
#include <cmath>
#include <numeric>

double RoundTripStats::min() const
{
    return samples.empty() ? 0.0 : *std::min_element(samples.begin(), samples.end());
}

double RoundTripStats::max() const
{
    return samples.empty() ? 0.0 : *std::max_element(samples.begin(), samples.end());
}

double RoundTripStats::average() const
{
    return samples.empty() ? 0.0 : std::accumulate(samples.begin(), samples.end(), 0.0) / static_cast<double>(samples.size());
}

double RoundTripStats::percentile(double p) const
{
    if (samples.empty())
        return 0.0;
    std::vector<double> sorted = samples;
    std::sort(sorted.begin(), sorted.end());
    const double rank = std::ceil(p / 100.0 * static_cast<double>(sorted.size()));
    const size_t index = static_cast<size_t>(std::max(1.0, std::min(rank, static_cast<double>(sorted.size())))) - 1;
    return sorted[index];
}
