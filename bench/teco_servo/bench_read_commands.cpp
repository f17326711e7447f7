// A whole read command through the driver against a servo that answers at
// once, and the Modbus CRC over the largest frame.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "instant_port.h"
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_rtu_frame.h"

// Heap allocations of the process. Qt's containers take their memory from
// malloc directly, so where the C library lets us, its allocation calls are
// counted too; operator new ends in malloc and is counted there as well.
namespace {
long long operatorNewCalls = 0;
long long mallocCalls = 0;
} // namespace

void* operator new(std::size_t size)
{
    ++operatorNewCalls;
    if (void* memory = std::malloc(size != 0 ? size : 1))
        return memory;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)
#define COUNTS_MALLOC 1
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);

void* malloc(std::size_t size)
{
    ++mallocCalls;
    return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size)
{
    ++mallocCalls;
    return __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size)
{
    ++mallocCalls;
    return __libc_realloc(memory, size);
}
}
#else
#define COUNTS_MALLOC 0
#endif

namespace {

void reportAllocations(benchmark::State& state, long long newBefore, long long mallocBefore)
{
    using benchmark::Counter;
    state.counters["new_per_cmd"] =
        Counter(static_cast<double>(operatorNewCalls - newBefore), Counter::kAvgIterations);
    if (COUNTS_MALLOC)
        state.counters["heap_allocs_per_cmd"] =
            Counter(static_cast<double>(mallocCalls - mallocBefore), Counter::kAvgIterations);
}

void ReadHR100Count10(benchmark::State& state)
{
    auto port = std::make_unique<InstantPort>(1);
    for (int k = 0; k < 10; ++k)
        port->setRegister(99 + k, static_cast<unsigned short>(0x1111 * k));
    DriverTecoServo driver;
    const CommunicatorCommand command(Word, 10, QStringLiteral("HR100"));
    const QByteArray first = driver.read(port.get(), command);
    if (driver.hasError() || first.size() != 20) {
        state.SkipWithError("the instant port did not answer the read");
        return;
    }

    const long long newBefore = operatorNewCalls;
    const long long mallocBefore = mallocCalls;
    for (auto _ : state)
        benchmark::DoNotOptimize(driver.read(port.get(), command));
    reportAllocations(state, newBefore, mallocBefore);
    if (driver.hasError())
        state.SkipWithError("a read failed");
}
BENCHMARK(ReadHR100Count10);

// The largest reply the driver accepts, 2008 coils, for comparison.
void ReadDO1Count2008(benchmark::State& state)
{
    auto port = std::make_unique<InstantPort>(1);
    DriverTecoServo driver;
    const CommunicatorCommand command(Bit, 2008, QStringLiteral("DO1"));
    const long long newBefore = operatorNewCalls;
    const long long mallocBefore = mallocCalls;
    for (auto _ : state)
        benchmark::DoNotOptimize(driver.read(port.get(), command));
    reportAllocations(state, newBefore, mallocBefore);
    if (driver.hasError())
        state.SkipWithError("a read failed");
}
BENCHMARK(ReadDO1Count2008);

void ModbusCrc256ByteFrame(benchmark::State& state)
{
    unsigned char frame[256];
    for (int i = 0; i < 256; ++i)
        frame[i] = static_cast<unsigned char>(i * 37 + 11);
    for (auto _ : state) {
        benchmark::DoNotOptimize(frame);
        benchmark::DoNotOptimize(ModbusRTUSlaveCheckCRC(frame, sizeof frame));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<long long>(sizeof frame));
}
BENCHMARK(ModbusCrc256ByteFrame);

} // namespace
