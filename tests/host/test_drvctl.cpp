// drvctl as a user runs it: exit status, exact messages, results, Ctrl-C.
#include <gtest/gtest.h>

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <csignal>

namespace {

struct Outcome {
    int exitCode = -1;
    QString out;
    QString err;
};

Outcome drvctl(const QStringList& arguments, const QByteArray& input = QByteArray())
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DRVCTL_PLUGIN"));
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(DRVCTL_PATH), arguments);
    process.waitForStarted();
    process.write(input);
    process.closeWriteChannel();
    Outcome run;
    if (!process.waitForFinished(20000)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2;
    run.out = QString::fromLocal8Bit(process.readAllStandardOutput());
    run.err = QString::fromLocal8Bit(process.readAllStandardError());
    return run;
}

struct UsageCase {
    const char* name;
    QStringList arguments;
    int exitCode;
    const char* err; // whole standard error
};

void PrintTo(const UsageCase& c, std::ostream* os)
{
    *os << c.name;
}

class DrvctlRefusesTest : public ::testing::TestWithParam<UsageCase> {};

TEST_P(DrvctlRefusesTest, WithExitStatusAndMessage)
{
    const UsageCase& c = GetParam();
    const Outcome run = drvctl(c.arguments);
    EXPECT_EQ(run.exitCode, c.exitCode);
    EXPECT_EQ(run.err.toStdString(), c.err);
    EXPECT_TRUE(run.out.isEmpty()) << run.out.toStdString();
}


INSTANTIATE_TEST_SUITE_P(
    Cases, DrvctlRefusesTest,
    ::testing::Values(
        UsageCase{"UnknownCommand", {"bogus"}, 2, "drvctl: unknown command: bogus\nTry 'drvctl --help'.\n"},
        UsageCase{"ReadWithoutAddress", {"read"}, 2, "drvctl: read takes ADDRESS\nTry 'drvctl read --help'.\n"},
        UsageCase{"WriteWithoutValue", {"write", "HR1"}, 2,
                  "drvctl: write takes ADDRESS VALUE...\nTry 'drvctl write --help'.\n"},
        UsageCase{"UnknownOption", {"read", "HR1", "--colour"}, 2,
                  "drvctl: Unknown option 'colour'.\nTry 'drvctl read --help'.\n"},
        UsageCase{"AddressZero", {"read", "HR0"}, 2,
                  "drvctl: bad address: HR0 (numbers run from 1 to 65536)\nTry 'drvctl read --help'.\n"},
        UsageCase{"AddressPastTheLastRegister", {"read", "HR65537"}, 2,
                  "drvctl: bad address: HR65537 (numbers run from 1 to 65536)\nTry 'drvctl read --help'.\n"},
        UsageCase{"AddressWithoutArea", {"read", "100"}, 2,
                  "drvctl: bad address: 100 (area letters and a number, e.g. HR100, DO5, HR100.3, HR200SW)\n"
                  "Try 'drvctl read --help'.\n"},
        UsageCase{"BitNumberTooLarge", {"poll", "HR1", "HR100.300"}, 2,
                  "drvctl: bad address: HR100.300 (bit numbers run from 0 to 255)\nTry 'drvctl poll --help'.\n"},
        UsageCase{"CountZero", {"read", "HR1", "--count", "0"}, 2,
                  "drvctl: bad value for --count: 0 (1 to 65536)\nTry 'drvctl read --help'.\n"},
        UsageCase{"StationAbove255", {"read", "HR1", "--station", "256"}, 2,
                  "drvctl: bad value for --station: 256 (0 to 255)\nTry 'drvctl read --help'.\n"},
        UsageCase{"UnknownType", {"read", "HR1", "--type", "quad"}, 2,
                  "drvctl: bad value for --type: quad (bit, byte, word, dword, block or bitblock)\n"
                  "Try 'drvctl read --help'.\n"},
        UsageCase{"WordTooLarge", {"write", "HR5", "70000"}, 2,
                  "drvctl: bad value for word: 70000 (-32768 to 65535)\nTry 'drvctl write --help'.\n"},
        UsageCase{"BitOtherThanZeroOrOne", {"write", "DO1", "1", "2"}, 2,
                  "drvctl: bad value for bit: 2 (0 to 1)\nTry 'drvctl write --help'.\n"},
        UsageCase{"NotANumber", {"write", "HR5", "12abc"}, 2,
                  "drvctl: bad value: 12abc (decimal or 0x hex)\nTry 'drvctl write --help'.\n"},
        UsageCase{"DwordPast32Bits", {"write", "HR5SW", "0x100000000"}, 2,
                  "drvctl: bad value: 0x100000000 (decimal or 0x hex)\nTry 'drvctl write --help'.\n"},
        UsageCase{"BadLineSettings", {"read", "HR1", "--line", "RS485,14400,NONE,8,2"}, 2,
                  "drvctl: unsupported baud rate: 14400\nTry 'drvctl read --help'.\n"},
        UsageCase{"MissingDevice", {"read", "HR1", "--device", "/nonexistent/ttyS7"}, 3,
                  "drvctl: cannot open /nonexistent/ttyS7: No such file or directory\n"},
        UsageCase{"MissingPlugin", {"info", "--plugin", "/nonexistent/libdriver.so"}, 3,
                  "drvctl: cannot load plug-in /nonexistent/libdriver.so: no such file\n"},
        UsageCase{"SilentStation", {"read", "HR1", "--station", "9", "--timeout", "50", "--retry", "1"}, 1,
                  "drvctl: PLC no response (read 1 word(s) from 9-HR1)\n"},
        UsageCase{"AreaThatCannotBeWritten", {"write", "DI5", "1"}, 1,
                  "drvctl: can't write any bit to DI5 (write 1 bit to 1-DI5)\n"}),
    [](const ::testing::TestParamInfo<UsageCase>& info) { return std::string(info.param.name); });

TEST(DrvctlTest, NotAPluginIsRefusedWithLoadersReason)
{
    const Outcome run = drvctl({"info", "--plugin", "/etc/hostname"});
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_TRUE(run.err.startsWith(QStringLiteral("drvctl: cannot load plug-in /etc/hostname: "))) << run.err.toStdString();
}

TEST(DrvctlTest, HelpOnEveryCommand)
{
    const Outcome general = drvctl({"--help"});
    EXPECT_EQ(general.exitCode, 0);
    EXPECT_TRUE(general.out.startsWith(QStringLiteral("Usage: drvctl COMMAND [options] [arguments]\n")));
    EXPECT_TRUE(general.out.contains(QStringLiteral("Exit status: 0 success;")));
    for (const char* command : {"info", "read", "write", "poll", "simulate", "shell"}) {
        const Outcome run = drvctl({command, "--help"});
        EXPECT_EQ(run.exitCode, 0) << command;
        EXPECT_TRUE(run.out.startsWith(QStringLiteral("Usage: drvctl %1 [options]").arg(command))) << run.out.toStdString();
        EXPECT_TRUE(run.out.contains(QStringLiteral("--json"))) << command;
    }
    EXPECT_EQ(drvctl({}).exitCode, 2);
}

TEST(DrvctlTest, InfoShowsIdentityAndDefaultRecords)
{
    const Outcome run = drvctl({"info"});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QStringList lines = run.out.split(QLatin1Char('\n'));
    EXPECT_EQ(lines.value(0), QStringLiteral("name:           Teco Servo"));
    EXPECT_EQ(lines.value(1), QStringLiteral("vendor:         Modbus"));
    EXPECT_EQ(lines.value(2), QStringLiteral("version:        1.0.0"));
    EXPECT_EQ(lines.value(3), QStringLiteral("flags:          112 (0x70)"));
    EXPECT_EQ(lines.value(5), QStringLiteral("block size:     125"));
    EXPECT_EQ(lines.value(6), QStringLiteral("bit block size: 2008"));
    EXPECT_EQ(lines.value(7), QStringLiteral("default line:   RS485,9600,NONE,8,2"));
    EXPECT_EQ(lines.value(9), QStringLiteral("driver setting: timeout: 500 retry: 3 stationid: 1 delay: 0"));
}

TEST(DrvctlTest, DefaultLineIsSimulated)
{
    const Outcome run = drvctl({"read", "HR100", "--count", "10"});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, QStringLiteral("HR100 word[10]: 0 0 0 0 0 0 0 0 0 0\n"));
}

TEST(DrvctlTest, JsonForResultsAndFailures)
{
    const Outcome good = drvctl({"read", "DO1", "--count", "3", "--json"});
    EXPECT_EQ(good.exitCode, 0);
    EXPECT_EQ(good.out, QStringLiteral("{\"address\":\"DO1\",\"ok\":true,\"station\":1,\"type\":\"bit\",\"values\":[0,0,0]}\n"));
    const Outcome bad = drvctl({"read", "HR1", "--station", "9", "--timeout", "50", "--retry", "0", "--json"});
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_EQ(bad.out, QStringLiteral("{\"error\":\"PLC no response (read 1 word(s) from 9-HR1)\",\"exit\":1,\"ok\":false}\n"));
}

TEST(DrvctlTest, ShellKeepsTheStationListAndTheServosBetweenCommands)
{
    const Outcome run = drvctl({"shell"}, "write HR100 1234\n"
                                      "write HR100.3 1   # read-modify-write of one bit\n"
                                      "read HR100\n"
                                      "write HR200SW 0x12345678\n"
                                      "read HR200 --count 2\n"
                                      "read HR200SW --hex\n"
                                      "write HR60000 2 2 3\n"
                                      "write HR60010 0xBEEF\n"
                                      "read HR1300 --station 2\n"
                                      "read HR1300 --station 3\n"
                                      "read HR1300\n");
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QStringList results = run.out.split(QLatin1Char('\n')).filter(QStringLiteral(": "));
    // 1234 with bit 3 set is 1242; SW puts the high word (0x1234) first; the fan-out
    // reaches stations 2 and 3 only.
    EXPECT_EQ(results, QStringList({"HR100 word[1]: 1242", "HR200 word[2]: 4660 22136",
                                    "HR200SW dword[1]: 0x12345678", "HR1300 word[1]: 48879",
                                    "HR1300 word[1]: 48879", "HR1300 word[1]: 0"}));
}

TEST(DrvctlTest, ShellCarriesOnAfterAFailedLineAndReportsIt)
{
    const Outcome run = drvctl({"shell"}, "write HR1 5\nread HR1 --station 9 --timeout 50 --retry 0\nread HR1\n");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.out.endsWith(QStringLiteral("drvctl> read HR1\nHR1 word[1]: 5\n"))) << run.out.toStdString();
    EXPECT_EQ(run.err, QStringLiteral("drvctl: PLC no response (read 1 word(s) from 9-HR1)\n"));
}

// Starts drvctl, waits for `marker` on stdout, stops it with Ctrl-C.
Outcome interrupted(const QStringList& arguments, const QString& marker)
{
    QProcess process;
    process.start(QStringLiteral(DRVCTL_PATH), arguments);
    Outcome run;
    QString out;
    while (!out.contains(marker) && process.waitForReadyRead(5000))
        out += QString::fromLocal8Bit(process.readAllStandardOutput());
    kill(static_cast<pid_t>(process.processId()), SIGINT);
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2;
    run.out = out + QString::fromLocal8Bit(process.readAllStandardOutput());
    return run;
}

TEST(DrvctlTest, PollRedrawsOneLineUntilCtrlC)
{
    const Outcome run = interrupted({"poll", "HR1", "DO2", "--interval", "20"}, QStringLiteral("DO2=0\033[K\rHR1=0"));
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.startsWith(QStringLiteral("\rHR1=0  DO2=0\033[K\rHR1=0  DO2=0\033[K"))) << run.out.toStdString();
    EXPECT_TRUE(run.out.endsWith(QLatin1Char('\n')));
}

TEST(DrvctlTest, SimulatePrintsItsDeviceAndStopsOnCtrlC)
{
    const Outcome run = interrupted({"simulate", "--stations", "4,5"}, QStringLiteral("\n"));
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.startsWith(QStringLiteral("/dev/pts/"))) << run.out.toStdString();
}

} // namespace
