// What drvctl shell adds to each command on top of the driver: parsing the line,
// checking the address, converting values and printing the result. Counted as
// instructions with callgrind (stable on a busy machine) and timed natively, and
// set beside the driver's own cost and the command's line time at 115200 baud.
//
// shell_bench              runs itself twice under valgrind and prints the table
// shell_bench shell|driver N   one measured phase of N rounds (what valgrind runs)
#include "drvctl/session.h"
#include "instant_port.h"
#include "port/line_settings.h"
#include "teco_servo/driver_teco_servo.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <chrono>
#include <cstdio>
#include <unistd.h>

namespace {

// A shell line and the same command as the driver gets it.
struct Command {
    const char* line;
    int dataType;
    int count;
    const char* address;
    QByteArray writeData; // empty: a read
};

const Command Commands[] = {
    {"read HR100 --count 10", Word, 10, "HR100", {}},
    {"write HR100 1234", Word, 1, "HR100", QByteArray("\xd2\x04", 2)},
    {"read DO1 --count 8 --hex", Bit, 8, "DO1", {}},
};
constexpr int CommandCount = sizeof Commands / sizeof Commands[0];
constexpr int WarmUpRounds = 50;

// The servo comes first so that it is built before the port that answers from it.
struct InstantServoHolder {
    InstantServo heldServo;
};

// Counts the bytes that would cross the line.
class CountingPort : private InstantServoHolder, public InstantPort {
public:
    CountingPort() : InstantPort(heldServo, 1) {}
    int receive(char* buffer, int maxLength) override
    {
        const int got = InstantPort::receive(buffer, maxLength);
        bytes += got;
        return got;
    }
    int send(const char* data, int length) override
    {
        bytes += length;
        ++transactions;
        return InstantPort::send(data, length);
    }
    long long bytes = 0;
    long long transactions = 0;
};

// The measured loops, by name for callgrind's --toggle-collect.
extern "C" __attribute__((noinline)) void measuredShellRounds(Session* session, int rounds)
{
    for (int r = 0; r < rounds; ++r)
        for (const Command& c : Commands)
            session->runShellLine(QLatin1String(c.line));
}

extern "C" __attribute__((noinline)) void measuredDriverRounds(DriverInterface* driver, AbstractDeviceInterface* port, int rounds)
{
    for (int r = 0; r < rounds; ++r)
        for (const Command& c : Commands) {
            const CommunicatorCommand command(c.dataType, c.count, QLatin1String(c.address));
            if (c.writeData.isEmpty())
                driver->read(port, command);
            else
                driver->write(port, command, c.writeData);
        }
}

// Runs one phase (warm-up first, so one-time set-up is not counted); returns ns per command.
double runPhase(bool shell, int rounds, CountingPort* port)
{
    DriverTecoServo driver;
    driver.initialize(port);
    Invocation setup;
    setup.command = QStringLiteral("shell");
    Session session(setup);
    session.attach(&driver, port);
    const auto measure = [&](int n) {
        if (shell)
            measuredShellRounds(&session, n);
        else
            measuredDriverRounds(&driver, port, n);
    };
    measure(WarmUpRounds);
    const auto start = std::chrono::steady_clock::now();
    measure(rounds);
    const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - start).count();
    return static_cast<double>(ns) / (static_cast<double>(rounds) * CommandCount);
}

// Instructions per command of one phase, counted by callgrind; -1 without valgrind.
double instructionsPerCommand(const QString& self, const char* phase, int rounds)
{
    const QString outFile = QStringLiteral("/tmp/shell_bench.%1.%2.callgrind").arg(QCoreApplication::applicationPid()).arg(QLatin1String(phase));
    const QString function = QLatin1String(phase) == QLatin1String("shell") ? QStringLiteral("measuredShellRounds")
                                                                              : QStringLiteral("measuredDriverRounds");
    QProcess valgrind;
    valgrind.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    valgrind.start(QStringLiteral("valgrind"),
                   {QStringLiteral("--tool=callgrind"), QStringLiteral("--callgrind-out-file=") + outFile,
                    QStringLiteral("--toggle-collect=") + function, QStringLiteral("--log-file=/dev/null"), self,
                    QLatin1String(phase), QString::number(rounds)});
    if (!valgrind.waitForFinished(600000) || valgrind.exitStatus() != QProcess::NormalExit || valgrind.exitCode() != 0)
        return -1;
    QFile file(outFile);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QString text = QString::fromLatin1(file.readAll());
    file.remove();
    const QRegularExpressionMatch totals = QRegularExpression(QStringLiteral("^(?:totals|summary): (\\d+)"), QRegularExpression::MultilineOption).match(text);
    return totals.hasMatch() ? totals.captured(1).toDouble() / (static_cast<double>(rounds) * CommandCount) : -1;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    // The shell prints every result to stdout; the table goes to the stdout we were given.
    FILE* report = fdopen(dup(STDOUT_FILENO), "w");
    if (report == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr)
        return 1;
    const QStringList arguments = application.arguments();
    if (arguments.size() == 3) { // one phase, under valgrind
        CountingPort port;
        runPhase(arguments[1] == QLatin1String("shell"), arguments[2].toInt(), &port);
        return 0;
    }

    CountingPort port;
    const int rounds = 20000;
    const double driverNs = runPhase(false, rounds, &port);
    const double bytesPerCommand = static_cast<double>(port.bytes) / (static_cast<double>(rounds + WarmUpRounds) * CommandCount);
    const double transactionsPerCommand = static_cast<double>(port.transactions) / (static_cast<double>(rounds + WarmUpRounds) * CommandCount);
    const double shellNs = runPhase(true, rounds, &port);
    const double overheadNs = shellNs - driverNs;
    // 11 bits a character (start, 8 data, parity or a second stop bit, stop) and
    // the 3.5-character silence before each request.
    const double lineUs = bytesPerCommand * 11.0 * 1e6 / 115200.0 + transactionsPerCommand * interFrameGapMicros(115200);

    const int countedRounds = 2000;
    const double driverInstructions = instructionsPerCommand(arguments[0], "driver", countedRounds);
    const double shellInstructions = instructionsPerCommand(arguments[0], "shell", countedRounds);

    std::fprintf(report, "drvctl shell, per command (mean of:");
    for (const Command& c : Commands)
        std::fprintf(report, " \"%s\"", c.line);
    std::fprintf(report, ")\n%-44s %14s %12s\n", "", "instructions", "native us");
    if (driverInstructions > 0 && shellInstructions > 0) {
        std::fprintf(report, "%-44s %14.0f %12.2f\n", "driver alone (instant servo port included)", driverInstructions, driverNs / 1000);
        std::fprintf(report, "%-44s %14.0f %12.2f\n", "shell line, driver included", shellInstructions, shellNs / 1000);
        std::fprintf(report, "%-44s %14.0f %12.2f\n", "shell overhead", shellInstructions - driverInstructions, overheadNs / 1000);
    } else {
        std::fprintf(report, "(no instruction counts: valgrind is not installed)\n");
        std::fprintf(report, "%-44s %14s %12.2f\n", "driver alone (instant servo port included)", "-", driverNs / 1000);
        std::fprintf(report, "%-44s %14s %12.2f\n", "shell overhead", "-", overheadNs / 1000);
    }
    std::fprintf(report, "%-44s %14s %12.0f\n", "line time at 115200 baud (8E1/8N2, gap)", "", lineUs);
    std::fprintf(report, "shell overhead / (driver + line time at 115200 baud): %.2f %% (goal: under 5 %%)\n",
                 100.0 * overheadNs / 1000 / (driverNs / 1000 + lineUs));
    return 0;
}
