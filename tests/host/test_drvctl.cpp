// drvctl as a user runs it: exit status, exact messages, JSON and the shell.
#include <gtest/gtest.h>

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

namespace {

struct Outcome {
    int exitCode = -1;
    std::string out;
    std::string err;
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
    run.out = process.readAllStandardOutput().toStdString();
    run.err = process.readAllStandardError().toStdString();
    return run;
}

TEST(DrvctlTest, RefusesWithExitStatusAndMessage)
{
    const struct {
        QStringList arguments;
        int exitCode;
        const char* err; // whole standard error
    } cases[] = {
        {{"read", "HR0"}, 2, "drvctl: bad address: HR0 (numbers run from 1 to 65536)\nTry 'drvctl read --help'.\n"},
        {{"read", "100"}, 2,
         "drvctl: bad address: 100 (area letters and a number, e.g. HR100, DO5, HR100.3, HR200SW)\n"
         "Try 'drvctl read --help'.\n"},
        {{"write", "HR5", "70000"}, 2,
         "drvctl: bad value for word: 70000 (-32768 to 65535)\nTry 'drvctl write --help'.\n"},
        {{"write", "HR5", "12abc"}, 2, "drvctl: bad value: 12abc (decimal or 0x hex)\nTry 'drvctl write --help'.\n"},
        {{"read", "HR1", "--device", "/nonexistent/ttyS7"}, 3,
         "drvctl: cannot open /nonexistent/ttyS7: No such file or directory\n"},
        {{"info", "--plugin", "/nonexistent/libdriver.so"}, 3,
         "drvctl: cannot load plug-in /nonexistent/libdriver.so: no such file\n"},
        {{"read", "HR1", "--station", "9", "--timeout", "50", "--retry", "0"}, 1,
         "drvctl: PLC no response (read 1 word(s) from 9-HR1)\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments.join(QLatin1Char(' ')).toStdString());
        const Outcome run = drvctl(c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode);
        EXPECT_EQ(run.err, c.err);
        EXPECT_EQ(run.out, "");
    }
}

TEST(DrvctlTest, JsonResult)
{
    const Outcome run = drvctl({"read", "DO1", "--count", "3", "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "{\"address\":\"DO1\",\"ok\":true,\"station\":1,\"type\":\"bit\",\"values\":[0,0,0]}\n");
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
    EXPECT_EQ(run.exitCode, 0) << run.err;
    const QStringList results = QString::fromStdString(run.out).split(QLatin1Char('\n')).filter(QStringLiteral(": "));
    // 1234 with bit 3 set is 1242; SW puts the high word (0x1234) first; the fan-out
    // reaches stations 2 and 3 only.
    EXPECT_EQ(results, QStringList({"HR100 word[1]: 1242", "HR200 word[2]: 4660 22136",
                                    "HR200SW dword[1]: 0x12345678", "HR1300 word[1]: 48879",
                                    "HR1300 word[1]: 48879", "HR1300 word[1]: 0"}));
}

} // namespace
