#ifndef DRVCTL_ROUND_TRIP_STATS_H
#define DRVCTL_ROUND_TRIP_STATS_H

#include <vector>

// Round trips of the successful reads of a poll, for its summary.
class RoundTripStats {
public:
    void add(double ms) { samples.push_back(ms); }
    bool empty() const { return samples.empty(); }
    double min() const;
    double max() const;
    double average() const;
    // Nearest rank: the smallest sample that at least p percent of them do not exceed.
    double percentile(double p) const;

private:
    std::vector<double> samples;
};

#endif
