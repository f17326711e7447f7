#include <benchmark/benchmark.h>

#include <QByteArray>

#include "tools/byte_order.h"

namespace {

// 125 registers, the most one read returns.
constexpr int kRegisters = 125;
constexpr int kBytes = 2 * kRegisters;

QByteArray registerImage()
{
    QByteArray bytes(kBytes, '\0');
    for (int i = 0; i < kBytes; ++i)
        bytes[i] = static_cast<char>(i);
    return bytes;
}

const unsigned char* raw(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

void FromBigEndianUShortArray(benchmark::State& state)
{
    const QByteArray image = registerImage();
    for (auto _ : state)
        benchmark::DoNotOptimize(fromBigEndianUShortArray(raw(image), kRegisters));
    state.SetBytesProcessed(state.iterations() * kBytes);
}
BENCHMARK(FromBigEndianUShortArray);

void FromBigEndianULongArray(benchmark::State& state)
{
    const QByteArray image = registerImage();
    for (auto _ : state)
        benchmark::DoNotOptimize(fromBigEndianULongArray(raw(image), kBytes / 4));
    state.SetBytesProcessed(state.iterations() * (kBytes / 4) * 4);
}
BENCHMARK(FromBigEndianULongArray);

void ToBigEndianUShortArray(benchmark::State& state)
{
    const QByteArray host = registerImage();
    for (auto _ : state)
        benchmark::DoNotOptimize(toBigEndianUShortArray(host));
    state.SetBytesProcessed(state.iterations() * kBytes);
}
BENCHMARK(ToBigEndianUShortArray);

void ToBigEndianULongArray(benchmark::State& state)
{
    const QByteArray host = registerImage();
    for (auto _ : state)
        benchmark::DoNotOptimize(toBigEndianULongArray(host));
    state.SetBytesProcessed(state.iterations() * kBytes);
}
BENCHMARK(ToBigEndianULongArray);

void ToLittleEndianUShortArrayInPlace(benchmark::State& state)
{
    QByteArray data = registerImage();
    for (auto _ : state) {
        toLittleEndianUShortArray(data);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * kBytes);
}
BENCHMARK(ToLittleEndianUShortArrayInPlace);

} // namespace
