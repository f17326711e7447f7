// Whole write commands through the driver against a servo that answers at
// once: ten registers with function 16 and with function 6, and a register bit
// (read, change, write back).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>

#include "instant_port.h"
#include "teco_servo/driver_teco_servo.h"

namespace {
long long heapBlocksReleased = 0;
} // namespace

// The allocation calls of this program are already counted by the read
// benchmarks, so the write benchmarks count releases instead: a command frees
// every block it allocated before it returns, so in the steady state the
// releases per command are its heap allocations.
#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)
#define COUNTS_FREE 1
extern "C" {
void __libc_free(void* memory);

void free(void* memory)
{
    if (memory != nullptr)
        ++heapBlocksReleased;
    __libc_free(memory);
}
}
#else
#define COUNTS_FREE 0
#endif

namespace {

// Runs the command once outside the timing, so that a broken set-up fails
// loudly instead of timing error paths, then times it.
void runWriteCommand(benchmark::State& state, const CommunicatorCommand& command, const QByteArray& data,
                     int expectedRequests)
{
    auto port = std::make_unique<InstantPort>(1);
    DriverTecoServo driver;
    if (!driver.write(port.get(), command, data) || port->requests() != expectedRequests) {
        state.SkipWithError("the instant port did not acknowledge the write");
        return;
    }

    const long long releasedBefore = heapBlocksReleased;
    bool ok = true;
    for (auto _ : state)
        ok = driver.write(port.get(), command, data) && ok;
    if (COUNTS_FREE)
        state.counters["heap_allocs_per_cmd"] = benchmark::Counter(
            static_cast<double>(heapBlocksReleased - releasedBefore), benchmark::Counter::kAvgIterations);
    state.counters["requests_per_cmd"] = benchmark::Counter(
        static_cast<double>(port->requests() - expectedRequests), benchmark::Counter::kAvgIterations);
    if (!ok)
        state.SkipWithError("a write failed");
}

QByteArray tenHostWords()
{
    QByteArray data;
    for (int k = 0; k < 10; ++k)
        data.append(static_cast<char>(0x11 * k)).append(static_cast<char>(k));
    return data;
}

void WriteHR100Count10(benchmark::State& state)
{
    runWriteCommand(state, CommunicatorCommand(Word, 10, QStringLiteral("HR100")), tenHostWords(), 1);
}
BENCHMARK(WriteHR100Count10);

// The same ten registers as ten function-6 transactions, for comparison.
void WriteFN6HR100Count10(benchmark::State& state)
{
    runWriteCommand(state, CommunicatorCommand(Word, 10, QStringLiteral("FN6HR100")), tenHostWords(), 10);
}
BENCHMARK(WriteFN6HR100Count10);

void WriteHR100Bit3(benchmark::State& state)
{
    runWriteCommand(state, CommunicatorCommand(Bit, 1, QStringLiteral("HR100.3")), QByteArray(1, '\1'), 2);
}
BENCHMARK(WriteHR100Bit3);

} // namespace
