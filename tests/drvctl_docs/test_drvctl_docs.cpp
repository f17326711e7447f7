// The manual page and the bash completion cover every command and option that
// drvctl's own --help names; the completion is run by bash as a shell would.
#include "drvctl/command_table.h"
#include "drvctl/docs/bash_completion.h"
#include "drvctl/docs/command_reference.h"
#include "drvctl/docs/manual_page.h"
#include "drvctl/exit_codes.h"
#include "drvctl/invocation.h"
#include "support/checked_process.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QString help(const QStringList& arguments)
{
    Invocation invocation;
    QString text;
    EXPECT_EQ(parseCommandLine(arguments, &invocation, &text), ParseOutcome::Help) << qPrintable(arguments.join(' '));
    return text;
}

// Every "-x" and "--name" that starts a line of the command's option list, as its
// --help prints it: read independently of the reference the generators use.
QSet<QString> helpOptions(const char* command)
{
    const QString text = help({QStringLiteral("drvctl"), QLatin1String(command), QStringLiteral("--help")});
    const QString list = text.section(QStringLiteral("\nOptions:\n"), 1).section(QStringLiteral("\n\n"), 0, 0);
    static const QRegularExpression names(QStringLiteral(R"(^  (-\w), (--[\w-]+)|^  (--[\w-]+))"),
                                          QRegularExpression::MultilineOption);
    QSet<QString> options;
    for (auto it = names.globalMatch(list); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        for (int group = 1; group <= 3; ++group)
            if (!match.captured(group).isEmpty())
                options << match.captured(group);
    }
    return options;
}

QStringList commandNames()
{
    QStringList names;
    for (const CommandDefinition* definition = commandTable(); definition->name != nullptr; ++definition)
        names << QLatin1String(definition->name);
    return names;
}

// The part of the manual page about one command: from its subsection to the next.
QString manualSection(const QString& page, const QString& command)
{
    const int start = page.indexOf(QStringLiteral(".SS \\fB%1\\fR").arg(command));
    if (start < 0)
        return QString();
    const int next = page.indexOf(QRegularExpression(QStringLiteral("\n\\.S[SH] ")), start + 1);
    return page.mid(start, next < 0 ? -1 : next - start);
}

QString roffOption(const QString& option)
{
    return QStringLiteral("\\fB%1\\fR").arg(QString(option).replace(QLatin1Char('-'), QStringLiteral("\\-")));
}

class DrvctlDocs : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        const DrvctlReference reference = drvctlReference();
        page = new QString(manualPage(reference, QStringLiteral("9.9.9"), QStringLiteral("/usr/lib/x/drivers/p.so")));
        completion = new QString(bashCompletion(reference));
    }
    static void TearDownTestSuite()
    {
        delete page;
        delete completion;
    }

    // What bash offers for the words typed so far (the last one being completed),
    // run in `folder`.
    static QStringList complete(const QStringList& words, const QString& folder = QDir::tempPath())
    {
        QTemporaryDir scripts;
        QFile script(scripts.filePath(QStringLiteral("drvctl")));
        EXPECT_TRUE(script.open(QIODevice::WriteOnly));
        script.write(completion->toUtf8());
        script.close();
        QStringList quoted;
        for (const QString& word : words)
            quoted << QStringLiteral("'%1'").arg(word);
        const QString line = QStringLiteral("source '%1'; COMP_WORDS=(drvctl %2); COMP_CWORD=%3; _drvctl; "
                                            "printf '%s\\n' \"${COMPREPLY[@]}\"")
                                 .arg(script.fileName(), quoted.join(QLatin1Char(' ')))
                                 .arg(words.size());
        QProcess bash;
        bash.setWorkingDirectory(folder);
        startChecked(bash, QStringLiteral("bash"), {QStringLiteral("-c"), line});
        EXPECT_TRUE(bash.waitForFinished(30000));
        EXPECT_EQ(bash.exitCode(), 0) << bash.readAllStandardError().constData();
        QStringList offered = QString::fromUtf8(bash.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        offered.sort();
        return offered;
    }

    static QString* page;
    static QString* completion;
};

QString* DrvctlDocs::page = nullptr;
QString* DrvctlDocs::completion = nullptr;

TEST_F(DrvctlDocs, ManualPageHasEveryCommandWithEveryOptionOfItsHelp)
{
    for (const QString& command : commandNames()) {
        SCOPED_TRACE(command.toStdString());
        const QString section = manualSection(*page, command);
        ASSERT_FALSE(section.isEmpty());
        EXPECT_TRUE(page->contains(QStringLiteral(".br\n\\fBdrvctl\\fR \\fB%1\\fR").arg(command))) << "synopsis";
        const QSet<QString> options = helpOptions(command.toLatin1().constData());
        EXPECT_TRUE(options.contains(QStringLiteral("--help")));
        for (const QString& option : options)
            EXPECT_TRUE(section.contains(roffOption(option))) << option.toStdString();
    }
}

TEST_F(DrvctlDocs, ManualPageGivesEveryExitStatus)
{
    const QString status = page->section(QStringLiteral(".SH \"EXIT STATUS\"\n"), 1).section(QStringLiteral("\n.SH "), 0, 0);
    for (int code : {ExitSuccess, ExitDriverFailure, ExitUsage, ExitSetup})
        EXPECT_TRUE(status.contains(QStringLiteral(".TP\n\\fB%1\\fR\n").arg(code))) << code;
}

TEST_F(DrvctlDocs, ManualPageExamplesAreCommandLinesDrvctlRuns)
{
    const QList<QStringList> examples = manualPageExamples();
    ASSERT_FALSE(examples.isEmpty());
    for (const QStringList& words : examples) {
        SCOPED_TRACE(words.join(' ').toStdString());
        Invocation invocation;
        QString error;
        EXPECT_EQ(parseCommandLine(QStringList{QStringLiteral("drvctl")} + words, &invocation, &error), ParseOutcome::Run)
            << error.toStdString();
        EXPECT_TRUE(page->contains(QStringLiteral(".EX\ndrvctl %1\n").arg(words.join(' ').replace('-', "\\-"))));
    }
}

TEST_F(DrvctlDocs, CompletionOffersEveryCommandFirst)
{
    QStringList expected = commandNames() + QStringList{QStringLiteral("--help"), QStringLiteral("--version")};
    expected.sort();
    EXPECT_EQ(complete({QString()}), expected);
}

TEST_F(DrvctlDocs, CompletionOffersExactlyTheOptionsOfEachCommandsHelp)
{
    for (const QString& command : commandNames()) {
        SCOPED_TRACE(command.toStdString());
        QStringList expected = helpOptions(command.toLatin1().constData()).values();
        expected.sort();
        EXPECT_EQ(complete({command, QString()}), expected);
    }
}

struct CompletionRow {
    const char* name;
    QStringList words;
    QStringList offered;
};

TEST_F(DrvctlDocs, CompletionOfPartWords)
{
    QTemporaryDir folder;
    QFile capture(folder.filePath(QStringLiteral("line.pcap")));
    ASSERT_TRUE(capture.open(QIODevice::WriteOnly));
    capture.close();
    const CompletionRow rows[] = {
        {"command prefix", {"re"}, {"read", "restore"}},
        {"option prefix", {"scan", "--id"}, {"--ids"}},
        {"file after --pcap", {"read", "--pcap", "li"}, {"line.pcap"}},
        {"nothing after a number option", {"poll", "--interval", ""}, {}},
        {"no option of another command", {"info", "--ids"}, {}},
        {"unknown command", {"frobnicate", "--"}, {}},
    };
    for (const CompletionRow& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(complete(row.words, folder.path()), row.offered);
    }
}

} // namespace
