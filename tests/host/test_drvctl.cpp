// drvctl as a user runs it: exit status, exact messages and results, JSON, the shell.
#include "support/checked_process.h"

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
    QProcess process; // its destructor kills a drvctl that hangs
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DRVCTL_PLUGIN")); // the plug-in just built, whatever the shell says
    process.setProcessEnvironment(environment);
    startChecked(process, QStringLiteral(DRVCTL_PATH), arguments);
    process.write(input);
    process.closeWriteChannel();
    const bool exited = process.waitForFinished(20000) && process.exitStatus() == QProcess::NormalExit;
    return {exited ? process.exitCode() : -1, process.readAllStandardOutput().toStdString(),
            process.readAllStandardError().toStdString()};
}

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

} // namespace
