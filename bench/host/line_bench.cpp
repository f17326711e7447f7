// How close a poll against the paced simulated line comes to the line itself:
// back-to-back reads through the driver and the termios port (quiet gap on), as
// poll makes them, at 9600 8N2 and 115200 8N1, of 1 and of 125 registers. Each
// cycle is set beside its physical minimum: quiet gap + request + the servo's
// 3.5-character turnaround + reply. Goal: the median cycle within 5 % (the
// mean is printed too: on a machine shared with other work it carries the
// moments the line's thread or the master waited for a processor).
#include "interface/driver_interface.h"
#include "port/line_settings.h"
#include "port/monotonic_clock.h"
#include "port/serial_port.h"
#include "simulator/servo_line.h"

#include <QLibrary>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <sys/prctl.h>
#include <vector>

namespace {

constexpr double GoalRatio = 1.05;

DriverInterface* createDriver()
{
    static QLibrary library(QStringLiteral(TECO_SERVO_PLUGIN_PATH));
    using Factory = DriverInterface* (*)();
    const auto factory = reinterpret_cast<Factory>(library.resolve("CreateDriver"));
    return factory ? factory() : nullptr;
}

struct Row {
    const char* line;
    int registers;
    int cycles;
};

struct Measured {
    double minimumMs = 0;
    double meanMs = 0;
    double medianMs = 0;
    double bestMs = 0;
    bool ok = false;
};

Measured measure(const ServoLine& servos, const Row& row)
{
    Measured m;
    SerialPortOptions options;
    options.device = QString::fromStdString(servos.devicePath());
    options.retry = 0;
    options.timeoutMs = 1000;
    if (!parseLineSettings(QString::fromLatin1(row.line), &options.line, nullptr))
        return m;
    const double characterMs = static_cast<double>(characterTimeNs(options.line)) / 1e6;
    const double gapMs = interFrameGapMicros(options.line.baud) / 1000.0;
    m.minimumMs = gapMs + 8 * characterMs + gapMs + (5 + 2 * row.registers) * characterMs;

    std::unique_ptr<DriverInterface> driver(createDriver());
    SerialPort port(options);
    if (!driver || !port.open())
        return m;
    driver->initialize(&port);
    const CommunicatorCommand command(Word, row.registers, QStringLiteral("HR1"));
    driver->read(&port, command); // the first cycle waits the gap from opening
    std::vector<double> cycles;
    long long last = monotonicNs();
    for (int i = 0; i < row.cycles; ++i) {
        const QByteArray values = driver->read(&port, command);
        if (driver->hasError() || values.size() != 2 * row.registers)
            return m;
        const long long now = monotonicNs();
        cycles.push_back(static_cast<double>(now - last) / 1e6);
        last = now;
    }
    double sum = 0;
    for (double c : cycles)
        sum += c;
    m.meanMs = sum / static_cast<double>(cycles.size());
    std::sort(cycles.begin(), cycles.end());
    m.bestMs = cycles.front();
    m.medianMs = cycles[cycles.size() / 2];
    m.ok = true;
    return m;
}

} // namespace

int main()
{
    // Sleeps of the quiet gap end when asked, not up to 50 us later.
    prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    ServoLine servos;
    std::string error;
    if (!servos.start(&error)) {
        std::fprintf(stderr, "cannot start the simulated line: %s\n", error.c_str());
        return 1;
    }
    const Row rows[] = {
        {"RS485,9600,NONE,8,2", 1, 100},
        {"RS485,9600,NONE,8,2", 125, 15},
        {"RS485,115200,NONE,8,1", 1, 400},
        {"RS485,115200,NONE,8,1", 125, 100},
    };
    std::printf("Poll cycles against the paced simulated line (driver + termios port, quiet gap on)\n");
    std::printf("%-22s %9s %6s %11s %11s %11s %11s %7s\n", "line", "registers", "cycles", "minimum ms", "median ms",
                "mean ms", "best ms", "ratio");
    bool met = true;
    for (const Row& row : rows) {
        const Measured m = measure(servos, row);
        if (!m.ok) {
            std::printf("%-22s %9d  failed\n", row.line, row.registers);
            met = false;
            continue;
        }
        const double ratio = m.medianMs / m.minimumMs;
        met = met && ratio <= GoalRatio;
        std::printf("%-22s %9d %6d %11.3f %11.3f %11.3f %11.3f %7.3f\n", row.line, row.registers, row.cycles, m.minimumMs,
                    m.medianMs, m.meanMs, m.bestMs, ratio);
    }
    std::printf("\nGoal: median cycle within %.0f %% of the minimum (quiet gap + request + turnaround + reply): %s\n",
                (GoalRatio - 1) * 100, met ? "met" : "not met");
    return met ? 0 : 1;
}
