#include "drvctl/output.h"
#include "drvctl/exit_codes.h"
#include "port/system_error.h"

#include <QJsonDocument>
#include <cstdio>

namespace {

QString stdoutFailure;

void printLine(FILE* stream, const QString& text)
{
    std::fputs(text.toLocal8Bit().constData(), stream);
    std::fputc('\n', stream);
    if (std::fflush(stream) != 0 && stream == stdout && stdoutFailure.isEmpty()) {
        stdoutFailure = QStringLiteral("cannot write the output: ") + systemErrorString();
        std::clearerr(stream);
    }
}

} // namespace

QString outputFailure()
{
    return stdoutFailure;
}

void Output::result(const QJsonObject& json, const QString& text) const
{
    if (jsonMode)
        object(json);
    else
        line(text);
}

void Output::object(const QJsonObject& json) const
{
    printLine(stdout, QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Compact)));
}

void Output::line(const QString& text) const
{
    printLine(stdout, text);
}

int Output::failure(const QString& message, int exitCode) const
{
    if (jsonMode) {
        object(QJsonObject{{QStringLiteral("ok"), false}, {QStringLiteral("error"), message},
                           {QStringLiteral("exit"), exitCode}});
    } else {
        printLine(stderr, QStringLiteral("drvctl: ") + message);
    }
    return exitCode;
}

int Output::usage(const QString& message, const QString& command) const
{
    if (jsonMode)
        return failure(message, ExitUsage);
    printLine(stderr, QStringLiteral("drvctl: ") + message);
    printLine(stderr, command.isEmpty() ? QStringLiteral("Try 'drvctl --help'.")
                                        : QStringLiteral("Try 'drvctl %1 --help'.").arg(command));
    return ExitUsage;
}

void Output::note(const QString& text) const
{
    if (!jsonMode)
        printLine(stderr, text);
}
