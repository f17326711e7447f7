#include "drvctl/docs/manual_page.h"

namespace {

struct Example {
    const char* words;
    const char* what;
};

const Example Examples[] = {
    {"info", "The driver's identity and default settings, on the simulated line."},
    {"read HR100 --count 10", "Ten holding registers from HR100 of station 1 on the simulated line."},
    {"write HR200SW 0x12345678 --device /dev/ttyUSB0 --station 2", "One double word to station 2 on a real line."},
    {"scan --ids 1-5 --device /dev/ttyUSB0", "Which of stations 1 to 5 answer at the driver's default line settings."},
    {"poll HR1300 HR1301 --count 3 --interval 500 --motion", "Three rounds of two moving registers, half a second apart, and a summary."},
    {"monitor --motion --fault 2:bad-crc", "A simulated line whose station 2 sends bad CRCs, decoded as another shell drives it."},
    {"simulate --stations 1-5 --fault 3:silent", "A simulated line of five servos, station 3 silent, for another program."},
    {"shell", "Reads commands such as 'write HR100 1234' and 'read HR100' from stdin, on one driver and one line."},
};

// Text as man(7) prints it: backslashes and dashes escaped, no line taken for a request.
QString roff(const QString& text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('\\'), QStringLiteral("\\e")).replace(QLatin1Char('-'), QStringLiteral("\\-"));
    if (escaped.startsWith(QLatin1Char('.')) || escaped.startsWith(QLatin1Char('\'')))
        escaped.prepend(QStringLiteral("\\&"));
    return escaped;
}

QString bold(const QString& text)
{
    return QStringLiteral("\\fB%1\\fR").arg(roff(text));
}

QString italic(const QString& text)
{
    return QStringLiteral("\\fI%1\\fR").arg(roff(text));
}

// "read ADDRESS VALUE..." with the command in bold and its arguments in italics.
QString commandLine(const CommandReference& command)
{
    QString line = bold(command.name) + QStringLiteral(" [") + italic(QStringLiteral("options")) + QLatin1Char(']');
    for (const QString& argument : command.synopsis.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        line += QLatin1Char(' ') + italic(argument);
    return line;
}

QString optionItem(const OptionReference& option)
{
    QString head = option.shortName.isEmpty() ? QString() : bold(QLatin1Char('-') + option.shortName) + QStringLiteral(", ");
    head += bold(QStringLiteral("--") + option.name);
    if (!option.valueName.isEmpty())
        head += QLatin1Char(' ') + italic(option.valueName);
    return QStringLiteral(".TP\n%1\n%2\n").arg(head, roff(option.description));
}

// "  name=VALUE   what it does" lines (wrapped ones indented) into tagged paragraphs.
QString faultItems(const QString& faults)
{
    QString items;
    for (const QString& line : faults.split(QLatin1Char('\n')).mid(2)) {
        if (line.trimmed().isEmpty())
            continue;
        if (line.startsWith(QStringLiteral("   "))) {
            items += roff(line.trimmed()) + QLatin1Char('\n');
            continue;
        }
        const QString name = line.trimmed().section(QStringLiteral("  "), 0, 0);
        const QString what = line.trimmed().section(QStringLiteral("  "), 1).trimmed();
        items += QStringLiteral(".TP\n%1\n").arg(bold(name));
        if (!what.isEmpty())
            items += roff(what) + QLatin1Char('\n');
    }
    return items;
}

// "0 success; 1 ...; 2 ..." into one tagged paragraph per status.
QString exitItems(const QString& exitStatus)
{
    QString items;
    QString text = exitStatus;
    if (text.endsWith(QLatin1Char('.')))
        text.chop(1);
    for (const QString& entry : text.split(QStringLiteral("; "))) {
        items += QStringLiteral(".TP\n%1\n%2.\n").arg(bold(entry.section(QLatin1Char(' '), 0, 0)),
                                                      roff(entry.section(QLatin1Char(' '), 1)));
    }
    return items;
}

} // namespace

QList<QStringList> manualPageExamples()
{
    QList<QStringList> examples;
    for (const Example& example : Examples)
        examples << QString::fromLatin1(example.words).split(QLatin1Char(' '));
    return examples;
}

QString manualPage(const DrvctlReference& reference, const QString& version, const QString& pluginPath)
{
    // No hyphenation: option names must stay whole to be copied.
    QString page = QStringLiteral(".TH DRVCTL 1 \"\" \"drvctl %1\" \"User Commands\"\n.nh\n").arg(roff(version));
    page += QStringLiteral(".SH NAME\ndrvctl \\- run the Teco Servo driver plug-in against a serial line or a simulated one\n");

    page += QStringLiteral(".SH SYNOPSIS\n");
    for (const CommandReference& command : reference.commands)
        page += QStringLiteral(".br\n%1 %2\n").arg(bold(QStringLiteral("drvctl")), commandLine(command));

    page += QStringLiteral(".SH DESCRIPTION\n%1\n.PP\n").arg(roff(reference.introduction));
    page += roff(QStringLiteral("Every command has its own options, listed below and by 'drvctl COMMAND --help'. "
                                "The shell command runs the commands marked as such from stdin, one per line, "
                                "without the options that belong to the whole session."))
        + QLatin1Char('\n');

    page += QStringLiteral(".SH COMMANDS\n");
    for (const CommandReference& command : reference.commands) {
        page += QStringLiteral(".SS %1\n%2\n").arg(commandLine(command), roff(command.description));
        if (command.inShell)
            page += QStringLiteral("Also a command of the shell.\n");
        page += QStringLiteral(".PP\nOptions:\n.RS\n");
        for (const OptionReference& option : command.options)
            page += optionItem(option);
        page += QStringLiteral(".RE\n");
    }

    page += QStringLiteral(".SH FAULTS\n%1\n").arg(roff(reference.faults.section(QLatin1Char('\n'), 0, 1).simplified()));
    page += faultItems(reference.faults);

    page += QStringLiteral(".SH \"EXIT STATUS\"\n") + exitItems(reference.exitStatus);

    page += QStringLiteral(".SH ENVIRONMENT\n.TP\n%1\n%2\n")
                .arg(bold(QStringLiteral("DRVCTL_PLUGIN")),
                     roff(QStringLiteral("The driver plug-in to load when no --plugin is given.")));
    page += QStringLiteral(".SH FILES\n.TP\n%1\n%2\n")
                .arg(italic(pluginPath),
                     roff(QStringLiteral("The driver plug-in loaded by default. drvctl finds it by its place "
                                         "relative to drvctl itself.")));

    page += QStringLiteral(".SH EXAMPLES\n");
    for (const Example& example : Examples) {
        page += QStringLiteral(".PP\n%1\n.RS\n.EX\ndrvctl %2\n.EE\n.RE\n")
                    .arg(roff(QLatin1String(example.what)), roff(QLatin1String(example.words)));
    }
    return page;
}
