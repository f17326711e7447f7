#include "drvctl/fault_switches.h"

#include <QStringList>

namespace {

struct FaultKind {
    const char* name;
    const char* valueName; // nullptr: the fault takes no value
    int low, high;
    const char* help;
    void (*apply)(const FaultSwitch&, StationFaults*);
};

const FaultKind Kinds[] = {
    {"silent", nullptr, 0, 0, "hears every request and never answers",
     [](const FaultSwitch&, StationFaults* f) { f->silent = true; }},
    {"delay", "MS", 1, 60000, "answers MS milliseconds late",
     [](const FaultSwitch& s, StationFaults* f) { f->replyDelayMs = s.value; }},
    {"drop", "N", 1, 255, "leaves off the last N bytes of every reply",
     [](const FaultSwitch& s, StationFaults* f) { f->dropReplyBytes = s.value; }},
    {"bad-crc", nullptr, 0, 0, "flips the last CRC byte of every reply",
     [](const FaultSwitch&, StationFaults* f) { f->corruptCrc = true; }},
    {"slave-id", "ID", 0, 255, "answers under slave id ID (with a good CRC)",
     [](const FaultSwitch& s, StationFaults* f) { f->wrongSlaveId = s.value; }},
    {"exception", "ADDRESS[:CODE]", 1, 65536,
     "requests that start at ADDRESS (from 1, as in HR100) get exception CODE (default 4)",
     [](const FaultSwitch& s, StationFaults* f) {
         f->exceptionAddress = s.value - 1; // the wire counts from 0
         f->exceptionCode = static_cast<uint8_t>(s.code);
     }},
    {"wrong-function", nullptr, 0, 0, "answers under the next function code (with a good CRC)",
     [](const FaultSwitch&, StationFaults* f) { f->wrongFunctionCode = true; }},
    {"extra", "N", 1, 255, "sends N bytes 0xFF more right after every reply",
     [](const FaultSwitch& s, StationFaults* f) { f->extraReplyBytes = s.value; }},
};

constexpr int ExceptionKind = 5; // its index in Kinds

bool parseNumber(const QString& text, int low, int high, int* value)
{
    bool ok = false;
    const qlonglong v = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive) ? text.mid(2).toLongLong(&ok, 16)
                                                                                  : text.toLongLong(&ok, 10);
    if (!ok || v < low || v > high)
        return false;
    *value = static_cast<int>(v);
    return true;
}

} // namespace

bool parseFaultSwitch(const QString& text, FaultSwitch* fault, QString* error)
{
    const auto refuse = [&text, error](const QString& why) {
        *error = QStringLiteral("bad value for --fault: %1 (%2)").arg(text, why);
        return false;
    };
    FaultSwitch parsed;
    QString rest = text;
    const int colon = rest.indexOf(QLatin1Char(':'));
    const int equals = rest.indexOf(QLatin1Char('='));
    if (colon >= 0 && (equals < 0 || colon < equals)) {
        if (!parseNumber(rest.left(colon), 1, 247, &parsed.station))
            return refuse(QStringLiteral("station ids run from 1 to 247"));
        rest = rest.mid(colon + 1);
    }
    const QString name = rest.section(QLatin1Char('='), 0, 0);
    const QString value = rest.section(QLatin1Char('='), 1);
    const int count = static_cast<int>(sizeof Kinds / sizeof Kinds[0]);
    for (parsed.kind = 0; parsed.kind < count; ++parsed.kind)
        if (name == QLatin1String(Kinds[parsed.kind].name))
            break;
    if (parsed.kind == count)
        return refuse(QStringLiteral("see 'drvctl simulate --help' for the faults"));
    const FaultKind& kind = Kinds[parsed.kind];
    if (kind.valueName == nullptr) {
        if (rest.contains(QLatin1Char('=')))
            return refuse(QStringLiteral("%1 takes no value").arg(name));
    } else {
        // Only the exception fault takes a second number, its code, after a colon.
        const bool withCode = parsed.kind == ExceptionKind && value.contains(QLatin1Char(':'));
        const QString number = withCode ? value.section(QLatin1Char(':'), 0, 0) : value;
        if (!parseNumber(number, kind.low, kind.high, &parsed.value))
            return refuse(QStringLiteral("%1=%2 with %2 from %3 to %4")
                              .arg(name, QLatin1String(kind.valueName)).arg(kind.low).arg(kind.high));
        if (withCode && !parseNumber(value.section(QLatin1Char(':'), 1), 1, 255, &parsed.code))
            return refuse(QStringLiteral("exception codes run from 1 to 255"));
    }
    *fault = parsed;
    return true;
}

void applyFaultSwitch(const FaultSwitch& fault, StationFaults* faults)
{
    const int count = static_cast<int>(sizeof Kinds / sizeof Kinds[0]);
    if (fault.kind >= 0 && fault.kind < count)
        Kinds[fault.kind].apply(fault, faults);
}

QString faultSwitchHelp()
{
    QStringList lines{QStringLiteral("Faults (--fault [STATION:]NAME[=VALUE], repeatable; without STATION\n"
                                     "every station of the line has it):")};
    for (const FaultKind& kind : Kinds) {
        const QString spelled = kind.valueName ? QStringLiteral("%1=%2").arg(QLatin1String(kind.name), QLatin1String(kind.valueName))
                                               : QLatin1String(kind.name);
        const QString gap = spelled.size() < 24 ? QString() : QStringLiteral("\n") + QString(26, QLatin1Char(' '));
        lines << QStringLiteral("  %1%2%3").arg(spelled, -24).arg(gap, QLatin1String(kind.help));
    }
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}
