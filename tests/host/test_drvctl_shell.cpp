// drvctl shell as a person uses it: on a terminal (a real pseudo-terminal, keys typed
// and the screen read back) and with the options of the session on every line.
#include "drvctl_runner.h"

#include <gtest/gtest.h>

namespace {

const QByteArray Prompt = "drvctl> ";
// The prompt after a command's output; a completion redraws the line with its prompt.
const QByteArray NextPrompt = "\r\n" + Prompt;

TEST(DrvctlShellOnTerminal, PromptsEditsRemembersAndCompletes)
{
    DrvctlOnTerminal terminal({"shell"});
    // The prompt is there before anything is typed.
    ASSERT_EQ(terminal.readUntil(Prompt), Prompt);
    const struct {
        const char* name;
        QByteArray keys;
        const char* result; // the line drvctl prints for it
    } steps[] = {
        {"typed line", "write HR5 7\r", "HR5 word[1] written"},
        {"command name completed", "rea\t HR5\r", "HR5 word[1]: 7"},
        {"backspace", "read HR6\x7f" "5 --hex\r", "HR5 word[1]: 0x0007"},
        {"arrow up brings the last line back", "\x1b[A\r", "HR5 word[1]: 0x0007"},
        {"option name completed", "read HR5 --sta\t 2\r", "HR5 word[1]: 0"}, // station 2 holds nothing yet
        {"line's own station only for that line", "read HR5\r", "HR5 word[1]: 7"},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        ASSERT_TRUE(terminal.type(step.keys));
        const QString screen = QString::fromLatin1(terminal.readUntil(NextPrompt));
        const QStringList lines = screen.split(QStringLiteral("\r\n"));
        // The result on a line of its own right after the input line, then the next prompt.
        ASSERT_EQ(lines.size(), 3) << screen.toStdString();
        EXPECT_EQ(lines[1], QLatin1String(step.result)) << screen.toStdString();
        EXPECT_EQ(lines[2], QLatin1String(Prompt));
    }
    // Typed once, shown once: the terminal's echo, not drvctl's own copy.
    ASSERT_TRUE(terminal.type("write HR9 1\r"));
    EXPECT_EQ(QString::fromLatin1(terminal.readUntil(NextPrompt)).count(QStringLiteral("write HR9 1")), 1);

    ASSERT_TRUE(terminal.type("help\r"));
    const QString help = QString::fromLatin1(terminal.readUntil(NextPrompt));
    for (const char* command : {"  info ", "  read ADDRESS ", "  write ADDRESS VALUE... ", "  help "})
        EXPECT_TRUE(help.contains(QLatin1String(command))) << command << "\n" << help.toStdString();
    for (const char* command : {"poll", "scan", "monitor", "simulate", "shell ", "version"})
        EXPECT_FALSE(help.contains(QLatin1String(command))) << command << "\n" << help.toStdString();

    ASSERT_TRUE(terminal.type("\x04")); // Ctrl-D ends the session
    const Outcome run = terminal.finish();
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
}

TEST(DrvctlShellOnTerminal, ARefusedLineKeepsTheSession)
{
    DrvctlOnTerminal terminal({"shell", "--retry", "0"});
    ASSERT_EQ(terminal.readUntil(Prompt), Prompt);
    ASSERT_TRUE(terminal.type("read HD5\r"));
    terminal.readUntil(NextPrompt);
    ASSERT_TRUE(terminal.type("read HR5\r"));
    EXPECT_TRUE(terminal.readUntil(NextPrompt).contains("HR5 word[1]: 0"));
    ASSERT_TRUE(terminal.type("\x04"));
    const Outcome run = terminal.finish();
    EXPECT_EQ(run.exitCode, 2); // the worst line's status
    EXPECT_EQ(run.err, "drvctl: unknown area 'HD' in HD5 (HR, IR, DO, DI, FN5DO, FN6HR)\nTry 'drvctl read --help'.\n");
}

TEST(DrvctlShell, SessionOptionsHoldForEveryLineAndALinesOwnForThatLine)
{
    // Station 2 for the session; a line's --station, --json or --trace for that line only.
    const Outcome run = drvctl({"shell", "--station", "2", "--retry", "0", "--timeout", "50"},
                               "write HR7 22\n"
                               "read HR7\n"
                               "read HR7 --station 1\n"
                               "read HR7 --json\n"
                               "read HR7 --station 9\n" // nobody there: the session's retry and time-out
                               "read HR7 --trace\n"
                               "read HR7\n");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.lines().filter(QStringLiteral("HR7 word")),
              QStringList({"HR7 word[1] written", "HR7 word[1]: 22", "HR7 word[1]: 0", "HR7 word[1]: 22",
                           "HR7 word[1]: 22"}));
    EXPECT_EQ(run.json(7), QJsonDocument::fromJson(R"({"address":"HR7","ok":true,"station":2,"type":"word","values":[22]})")
                               .object());
    // One attempt at station 9, and the frames of the traced line alone.
    const QStringList err = QString::fromStdString(run.err).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    ASSERT_EQ(err.size(), 4) << run.err;
    EXPECT_EQ(err[0], "drvctl: PLC no response (read 1 word(s) from 9-HR7)");
    EXPECT_TRUE(err[1].endsWith(QLatin1String("] TX 02 03 00 06 00 01 64 38"))) << err[1].toStdString();
    EXPECT_TRUE(err[2].endsWith(QLatin1String("] RX 02 03 02 00 16"))) << err[2].toStdString();
    EXPECT_TRUE(err[3].endsWith(QLatin1String("] RX 7D 8A"))) << err[3].toStdString();
}

} // namespace
