// drvctl shell on a terminal: libedit reads the lines, with its prompt, line
// editing, history and completion of command and option names.
#include "drvctl/command_options.h"
#include "drvctl/command_table.h"
#include "drvctl/exit_codes.h"
#include "drvctl/session.h"
#include "drvctl/stop_signals.h"

#include <QStringList>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <unistd.h>
// libedit's readline interface, after stdio as it expects.
#include <editline/readline.h>

namespace {

// What fits at the cursor, given the line before the word: a command name as the
// first word, else an option of the line's command that a shell line may give.
QStringList candidates(const QString& before)
{
    QStringList names;
    const QString command = before.section(QLatin1Char(' '), 0, 0, QString::SectionSkipEmpty);
    if (command.isEmpty()) {
        for (const CommandDefinition* c = commandTable(); c->name != nullptr; ++c)
            if (c->inShell)
                names << QLatin1String(c->name);
        names << QStringLiteral("help");
        return names;
    }
    const CommandDefinition* definition = findCommand(command);
    if (definition == nullptr || !definition->inShell)
        return names;
    for (const OptionDefinition* option : optionsOffered(definition->options))
        if (!option->sessionWide)
            names << QStringLiteral("--") + optionNames(*option).last();
    names << QStringLiteral("--help");
    names.removeDuplicates();
    return names;
}

QStringList matches; // of the completion running, for the generator below

char* nextMatch(const char* /*text*/, int state)
{
    // libedit frees what it gets: a copy from malloc.
    return state < matches.size() ? strdup(matches.at(state).toLocal8Bit().constData()) : nullptr;
}

char** complete(const char* text, int start, int /*end*/)
{
    const QString word = QString::fromLocal8Bit(text);
    matches.clear();
    for (const QString& name : candidates(QString::fromLocal8Bit(rl_line_buffer, start)))
        if (name.startsWith(word))
            matches << name;
    rl_attempted_completion_over = 1; // no file names
    return matches.isEmpty() ? nullptr : rl_completion_matches(text, nextMatch);
}

// Keys, and Ctrl-C while typing: it drops the line typed so far, as shells do
// (Ctrl-C is held back from the process, so libedit never sees the signal):
// Ctrl-U, libedit's "kill the whole line" in its emacs keys, then Enter.
int keyOrCtrlC(FILE* stream)
{
    static bool enterNext = false;
    if (enterNext) {
        enterNext = false;
        return '\n';
    }
    pollfd fds[2] = {{fileno(stream), POLLIN, 0}, {stopSignalFd(), POLLIN, 0}};
    while (poll(fds, fds[1].fd >= 0 ? 2 : 1, -1) < 0)
        if (errno != EINTR)
            return EOF;
    if (fds[1].revents & POLLIN) {
        resumeStopSignals();
        std::fputs("^C", stdout);
        std::fflush(stdout);
        enterNext = true;
        return 0x15;
    }
    unsigned char key = 0;
    return read(fileno(stream), &key, 1) == 1 ? key : EOF;
}

} // namespace

int Session::shellOnTerminal()
{
    rl_readline_name = const_cast<char*>("drvctl");
    rl_attempted_completion_function = complete;
    rl_getc_function = keyOrCtrlC;
    using_history();
    int worst = ExitSuccess;
    // The history lives as long as the session; nothing is written to disk.
    while (char* typed = readline("drvctl> ")) {
        const QString line = QString::fromLocal8Bit(typed);
        std::free(typed);
        const QString command = line.section(QLatin1Char('#'), 0, 0).trimmed();
        if (command.isEmpty())
            continue;
        add_history(line.trimmed().toLocal8Bit().constData());
        worst = std::max(worst, runShellLine(command));
    }
    std::fputc('\n', stdout); // Ctrl-D leaves the cursor after the prompt
    clear_history();
    return worst;
}
