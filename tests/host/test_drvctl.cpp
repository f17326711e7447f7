// drvctl as a user runs it: exit status, exact messages and results, JSON, the shell.
#include "drvctl_runner.h"

#include <gtest/gtest.h>

namespace {

TEST(DrvctlTest, ExitStatusAndWholeOutput)
{
    const struct {
        QStringList arguments;
        int exitCode;
        const char* out;
        const char* err;
    } cases[] = {
        {{"read", "HR0"}, 2, "", "drvctl: bad address: HR0 (numbers run from 1 to 65536)\nTry 'drvctl read --help'.\n"},
        {{"write", "HR5", "70000"}, 2, "",
         "drvctl: bad value for word: 70000 (-32768 to 65535)\nTry 'drvctl write --help'.\n"},
        {{"write", "HR5", "12abc"}, 2, "", "drvctl: bad value: 12abc (decimal or 0x hex)\nTry 'drvctl write --help'.\n"},
        {{"read", "HR1", "--device", "/nonexistent/ttyS7"}, 3, "",
         "drvctl: cannot open /nonexistent/ttyS7: No such file or directory\n"},
        {{"info", "--plugin", "/nonexistent/libdriver.so"}, 3, "",
         "drvctl: cannot load plug-in /nonexistent/libdriver.so: no such file\n"},
        {{"read", "HR1", "--station", "9", "--timeout", "50", "--retry", "0"}, 1, "",
         "drvctl: PLC no response (read 1 word(s) from 9-HR1)\n"},
        {{"read", "DO1", "--count", "3", "--json"}, 0,
         "{\"address\":\"DO1\",\"ok\":true,\"station\":1,\"type\":\"bit\",\"values\":[0,0,0]}\n", ""},
        // With --json every failure is one object on stdout, bad command lines included.
        {{"read", "HR0", "--json"}, 2, "{\"error\":\"bad address: HR0 (numbers run from 1 to 65536)\",\"exit\":2,\"ok\":false}\n", ""},
        {{"frob", "--json"}, 2, "{\"error\":\"unknown command: frob\",\"exit\":2,\"ok\":false}\n", ""},
        {{"read", "HR1", "--json", "--count"}, 2, "{\"error\":\"Missing value after '--count'.\",\"exit\":2,\"ok\":false}\n", ""},
        {{"read", "HR1", "--json", "--line", "RS485,1234,NONE,8,2"}, 2,
         "{\"error\":\"unsupported baud rate: 1234\",\"exit\":2,\"ok\":false}\n", ""},
        {{"write", "HR5", "70000", "--json"}, 2,
         "{\"error\":\"bad value for word: 70000 (-32768 to 65535)\",\"exit\":2,\"ok\":false}\n", ""},
        {{"info", "--json", "--plugin", "/nonexistent/libdriver.so"}, 3,
         "{\"error\":\"cannot load plug-in /nonexistent/libdriver.so: no such file\",\"exit\":3,\"ok\":false}\n", ""},
        {{"read", "HR1", "--json", "--device", "/nonexistent/ttyS7"}, 3,
         "{\"error\":\"cannot open /nonexistent/ttyS7: No such file or directory\",\"exit\":3,\"ok\":false}\n", ""},
        {{"read", "HR1", "--device", "/dev/null", "--fault", "silent"}, 2, "",
         "drvctl: --fault is for the simulated line, which --device replaces\nTry 'drvctl read --help'.\n"},
        {{"scan", "--station", "2"}, 2, "", "drvctl: scan probes the stations of --ids, not --station\nTry 'drvctl scan --help'.\n"},
        // Only what comes before -- is an option.
        {{"write", "HR5", "--", "-json"}, 2, "", "drvctl: bad value: -json (decimal or 0x hex)\nTry 'drvctl write --help'.\n"},
        {{"read", "\u212A100"}, 2, "",
         "drvctl: bad address: \u212A100 (area letters and a number, e.g. HR100, DO5, HR100.3, HR200SW)\nTry 'drvctl read --help'.\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments.join(QLatin1Char(' ')).toStdString());
        const Outcome run = drvctl(c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode);
        EXPECT_EQ(run.out, c.out);
        EXPECT_EQ(run.err, c.err);
    }
}

TEST(DrvctlTest, ShellKeepsTheStationListAndTheServosBetweenCommands)
{
    const Outcome run = drvctl({"shell"}, "write HR100 1234\n"
                                      "write HR100.3 1   # read-modify-write of one bit\n"
                                      "read HR100\n"
                                      "write HR60000 2 2 3\n"
                                      "write HR60010 0xBEEF\n"
                                      "read HR1300 --station 2 --hex\n"
                                      "read HR1300 --station 3\n"
                                      "read HR1300\n");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    // 1234 with bit 3 set is 1242; the fan-out reaches stations 2 and 3, not 1.
    EXPECT_EQ(QString::fromStdString(run.out).split(QLatin1Char('\n')).filter(QStringLiteral(": ")),
              QStringList({"HR100 word[1]: 1242", "HR1300 word[1]: 0xBEEF", "HR1300 word[1]: 48879",
                           "HR1300 word[1]: 0"}));
}

TEST(DrvctlTest, ShellLinesAreEachTheirOwnInvocation)
{
    // A line's --station and --count hold for that line only; whole-session options
    // and commands that cannot share the line are refused.
    const Outcome run = drvctl({"shell"}, "write HR7 11 --station 2\n"
                                      "read HR7 --station 2 --count 2\n"
                                      "read HR7\n"
                                      "read HR7 --device /dev/null\n"
                                      "scan\n"
                                      "read HR7 --station 2\n");
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(QString::fromStdString(run.out).split(QLatin1Char('\n')).filter(QStringLiteral(": ")),
              QStringList({"HR7 word[2]: 11 0", "HR7 word[1]: 0", "HR7 word[1]: 11"}));
    EXPECT_EQ(run.err, "drvctl: --device holds for the whole session: give it to 'drvctl shell', not to a line\n"
                       "Try 'drvctl read --help'.\n"
                       "drvctl: scan is not available in the shell\nTry 'drvctl scan --help'.\n");
}

TEST(DrvctlTest, EchoModeReachesThePort)
{
    // On a line that repeats every request, auto and on drop the echo; off takes it for the reply.
    const struct {
        const char* mode;
        int exitCode;
        const char* err;
    } cases[] = {
        {"auto", 0, ""},
        {"on", 0, ""},
        {"off", 1, "drvctl: CRC error (read 1 word(s) from 1-HR1)\n"},
        {"maybe", 2, "drvctl: bad value for --echo: maybe (auto, on or off)\nTry 'drvctl read --help'.\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mode);
        const Outcome run = drvctl({"read", "HR1", "--line-echo", "--echo", c.mode, "--retry", "0", "--timeout", "100"});
        EXPECT_EQ(run.exitCode, c.exitCode);
        EXPECT_EQ(run.err, c.err);
    }
}

TEST(DrvctlTest, VersionNamesDrvctlAndThePlugin)
{
    const Outcome run = drvctl({"--version"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "drvctl " DRVCTL_VERSION "\nTeco Servo 1.0.0 (" TECO_SERVO_PLUGIN_PATH ")\n");
}

TEST(DrvctlTest, FaultSwitchesReachTheSimulatedServos)
{
    const struct {
        const char* fault;
        int exitCode;
        const char* err;
    } cases[] = {
        {"1:silent", 1, "drvctl: PLC no response (read 1 word(s) from 1-HR1)\n"},
        {"delay=200", 1, "drvctl: PLC no response (read 1 word(s) from 1-HR1)\n"},
        {"1:drop=1", 1, "drvctl: packet loss (read 1 word(s) from 1-HR1)\n"},
        {"1:bad-crc", 1, "drvctl: CRC error (read 1 word(s) from 1-HR1)\n"},
        {"1:slave-id=9", 1, "drvctl: invalid slave id:9 (read 1 word(s) from 1-HR1)\n"},
        {"1:exception=1:2", 1, "drvctl: exception code:0x02 (read 1 word(s) from 1-HR1)\n"},
        {"1:exception=2", 0, ""}, // another address
        {"1:wrong-function", 1, "drvctl: invalid response (read 1 word(s) from 1-HR1)\n"},
        {"2:silent", 0, ""}, // another station
        {"1:extra=2", 0, ""}, // the driver reads exactly the reply and flushes the rest
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fault);
        const Outcome run = drvctl({"read", "HR1", "--retry", "0", "--timeout", "60", "--fault", c.fault});
        EXPECT_EQ(run.exitCode, c.exitCode);
        EXPECT_EQ(run.err, c.err);
    }
}

} // namespace
