#include <benchmark/benchmark.h>

#include <vector>

#include "tools/checksum.h"
#include "tools/crc.h"

namespace {

// The largest Modbus RTU frame.
constexpr int kFrameLength = 256;

std::vector<unsigned char> frame()
{
    std::vector<unsigned char> bytes(kFrameLength);
    for (int i = 0; i < kFrameLength; ++i)
        bytes[i] = static_cast<unsigned char>(i * 37 + 11);
    return bytes;
}

void Crc16Calculate(benchmark::State& state)
{
    const std::vector<unsigned char> bytes = frame();
    for (auto _ : state)
        benchmark::DoNotOptimize(CRC16Calculate(bytes.data(), kFrameLength));
    state.SetBytesProcessed(state.iterations() * kFrameLength);
}
BENCHMARK(Crc16Calculate);

void Crc32Fold(benchmark::State& state)
{
    const std::vector<unsigned char> bytes = frame();
    for (auto _ : state) {
        unsigned int crc = 0xFFFFFFFFu;
        for (unsigned char b : bytes)
            crc = update_crc_32(crc, static_cast<char>(b));
        benchmark::DoNotOptimize(~crc);
    }
    state.SetBytesProcessed(state.iterations() * kFrameLength);
}
BENCHMARK(Crc32Fold);

} // namespace
