// One transaction, a read of 10 holding registers (HR100..HR109) from station 1,
// over a pseudo-terminal to the simulated servo line: through the driver plug-in
// and drvctl's termios port, and through libmodbus's master. The table at the end
// sets their round trips side by side.
#include "interface/driver_interface.h"
#include "port/serial_port.h"
#include "simulator/servo_line.h"

#include <benchmark/benchmark.h>
#include <modbus/modbus.h>

#include <QLibrary>
#include <cstdio>
#include <map>
#include <memory>
#include <string>

namespace {

ServoLine* line = nullptr;

DriverInterface* createDriver()
{
    static QLibrary library(QStringLiteral(TECO_SERVO_PLUGIN_PATH));
    using Factory = DriverInterface* (*)();
    const auto factory = reinterpret_cast<Factory>(library.resolve("CreateDriver"));
    return factory ? factory() : nullptr;
}

void driverRead(benchmark::State& state, bool quietGap)
{
    std::unique_ptr<DriverInterface> driver(createDriver());
    SerialPortOptions options;
    options.device = QString::fromStdString(line->devicePath());
    options.timeoutMs = 500;
    options.retry = 0;
    options.interFrameGap = quietGap;
    SerialPort port(options);
    if (!driver || !port.open()) {
        state.SkipWithError(driver ? port.errorString().toLocal8Bit().constData() : "no CreateDriver in the plug-in");
        return;
    }
    const CommunicatorCommand command(Word, 10, QStringLiteral("HR100"));
    for (auto _ : state) {
        const QByteArray values = driver->read(&port, command);
        if (driver->hasError()) {
            state.SkipWithError(driver->getLastError().toLocal8Bit().constData());
            break;
        }
        benchmark::DoNotOptimize(values.constData());
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_DriverReadWithQuietGap(benchmark::State& state)
{
    driverRead(state, true);
}

void BM_DriverReadNoGap(benchmark::State& state)
{
    driverRead(state, false);
}

void BM_LibmodbusRead(benchmark::State& state)
{
    modbus_t* ctx = modbus_new_rtu(line->devicePath().c_str(), 9600, 'N', 8, 2);
    if (ctx == nullptr || modbus_connect(ctx) != 0) {
        state.SkipWithError("libmodbus cannot open the line");
        if (ctx)
            modbus_free(ctx);
        return;
    }
    modbus_set_slave(ctx, 1);
    uint16_t values[10];
    for (auto _ : state) {
        if (modbus_read_registers(ctx, 99, 10, values) != 10) {
            state.SkipWithError(modbus_strerror(errno));
            break;
        }
        benchmark::DoNotOptimize(values);
    }
    state.SetItemsProcessed(state.iterations());
    modbus_close(ctx);
    modbus_free(ctx);
}

BENCHMARK(BM_DriverReadWithQuietGap)->Unit(benchmark::kMicrosecond)->MinTime(1.0)->UseRealTime();
BENCHMARK(BM_DriverReadNoGap)->Unit(benchmark::kMicrosecond)->MinTime(1.0)->UseRealTime();
BENCHMARK(BM_LibmodbusRead)->Unit(benchmark::kMicrosecond)->MinTime(1.0)->UseRealTime();

// Keeps the mean round trip of every benchmark for the comparison table.
class CollectingReporter : public benchmark::ConsoleReporter {
public:
    CollectingReporter() : ConsoleReporter(OO_Tabular) {}
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (!run.error_occurred && run.iterations > 0)
                meanSeconds[run.run_name.function_name] = run.real_accumulated_time / static_cast<double>(run.iterations);
    }
    std::map<std::string, double> meanSeconds;
};

} // namespace

int main(int argc, char** argv)
{
    ServoLine servos;
    std::string error;
    if (!servos.start(&error)) {
        std::fprintf(stderr, "cannot start the simulated line: %s\n", error.c_str());
        return 1;
    }
    for (int i = 0; i < 10; ++i)
        servos.setHoldingRegister(1, 99 + i, static_cast<uint16_t>(i * 111));
    line = &servos;

    benchmark::Initialize(&argc, argv);
    CollectingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    const auto& mean = reporter.meanSeconds;
    const auto row = [&mean](const char* label, const char* name) {
        const auto it = mean.find(name);
        if (it != mean.end())
            std::printf("%-34s %10.0f %14.1f\n", label, 1.0 / it->second, it->second * 1e6);
    };
    std::printf("\nRead of HR100..HR109 (function 3, 10 registers) over a pseudo-terminal\n");
    std::printf("%-34s %10s %14s\n", "", "tx/s", "round trip us");
    row("driver + termios port, quiet gap", "BM_DriverReadWithQuietGap");
    row("driver + termios port, no gap", "BM_DriverReadNoGap");
    row("libmodbus modbus_read_registers", "BM_LibmodbusRead");
    const auto ours = mean.find("BM_DriverReadNoGap");
    const auto theirs = mean.find("BM_LibmodbusRead");
    if (ours != mean.end() && theirs != mean.end())
        std::printf("round trip ratio, driver (no gap) / libmodbus: %.2f\n", ours->second / theirs->second);
    benchmark::Shutdown();
    return 0;
}
