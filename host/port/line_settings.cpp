#include "port/line_settings.h"
#include "tools/device_setting.h"

#include <QStringList>

namespace {

const int SupportedBauds[] = {300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200, 230400};

bool fail(QString* error, const QString& text)
{
    if (error != nullptr)
        *error = text;
    return false;
}

// Field checks shared by the text form and the record form.
bool checkNumbers(int baud, int dataBits, QString* error)
{
    if (!isSupportedBaud(baud))
        return fail(error, QStringLiteral("unsupported baud rate: %1").arg(baud));
    if (dataBits < 5 || dataBits > 8)
        return fail(error, QStringLiteral("data bits must be 5 to 8: %1").arg(dataBits));
    return true;
}

} // namespace

QString LineSettings::toString() const
{
    const QString word = parity == 'E' ? QStringLiteral("EVEN") : parity == 'O' ? QStringLiteral("ODD")
                                                                                : QStringLiteral("NONE");
    return QStringLiteral("%1,%2,%3,%4,%5").arg(lineType).arg(baud).arg(word).arg(dataBits).arg(stopBits);
}

bool isSupportedBaud(int baud)
{
    for (int supported : SupportedBauds)
        if (baud == supported)
            return true;
    return false;
}

long long characterTimeNs(const LineSettings& line)
{
    const int bits = 1 + line.dataBits + (line.parity != 'N' ? 1 : 0) + line.stopBits;
    return line.baud > 0 ? bits * 1000000000LL / line.baud : 0;
}

long long replySilenceNs(const LineSettings& line)
{
    // A USB adapter hands on what it received every 16 ms (FTDI's default latency
    // timer): a gap of that much inside a reply is the adapter, not the servo.
    constexpr long long AdapterMarginNs = 40 * 1000000LL;
    return 4 * characterTimeNs(line) + AdapterMarginNs;
}

int interFrameGapMicros(int baud)
{
    if (baud <= 0)
        return 0;
    if (baud > 19200)
        return 1750;
    return static_cast<int>((35LL * 11 * 1000000 / 10 + baud - 1) / baud);
}

bool parseLineSettings(const QString& text, LineSettings* settings, QString* error)
{
    const QStringList fields = text.split(QLatin1Char(','));
    if (fields.size() != 5)
        return fail(error, QStringLiteral("line settings must read TYPE,BAUD,PARITY,DATA,STOP "
                                          "(e.g. RS485,9600,NONE,8,2): %1").arg(text));
    LineSettings parsed;
    parsed.lineType = fields[0].trimmed().toUpper();
    if (parsed.lineType != QLatin1String("RS232") && parsed.lineType != QLatin1String("RS485")
        && parsed.lineType != QLatin1String("RS422"))
        return fail(error, QStringLiteral("unknown line type: %1").arg(fields[0].trimmed()));
    bool ok = false;
    parsed.baud = fields[1].trimmed().toInt(&ok);
    if (!ok)
        return fail(error, QStringLiteral("unsupported baud rate: %1").arg(fields[1].trimmed()));
    const QString parity = fields[2].trimmed().toUpper();
    if (parity == QLatin1String("NONE"))
        parsed.parity = 'N';
    else if (parity == QLatin1String("EVEN"))
        parsed.parity = 'E';
    else if (parity == QLatin1String("ODD"))
        parsed.parity = 'O';
    else
        return fail(error, QStringLiteral("parity must be NONE, EVEN or ODD: %1").arg(fields[2].trimmed()));
    parsed.dataBits = fields[3].trimmed().toInt(&ok);
    if (!ok)
        return fail(error, QStringLiteral("data bits must be 5 to 8: %1").arg(fields[3].trimmed()));
    parsed.stopBits = fields[4].trimmed().toInt(&ok);
    if (!ok || (parsed.stopBits != 1 && parsed.stopBits != 2))
        return fail(error, QStringLiteral("stop bits must be 1 or 2: %1").arg(fields[4].trimmed()));
    if (!checkNumbers(parsed.baud, parsed.dataBits, error))
        return false;
    *settings = parsed;
    return true;
}

void writeLineSettings(const LineSettings& line, DeviceSetting* record)
{
    record->baudrate = line.baud;
    record->databits = line.dataBits;
    record->parity = line.parity == 'O' ? 1 : line.parity == 'E' ? 2 : 0;
    record->stopbits = line.stopBits == 2 ? 2 : 0;
}

bool lineSettingsFromDeviceSetting(const DeviceSetting& record, LineSettings* settings, QString* error)
{
    LineSettings converted;
    converted.baud = record.baudrate;
    converted.dataBits = record.databits;
    switch (record.parity) {
    case 0: converted.parity = 'N'; break;
    case 1: converted.parity = 'O'; break;
    case 2: converted.parity = 'E'; break;
    default: return fail(error, QStringLiteral("unsupported parity code: %1").arg(record.parity));
    }
    switch (record.stopbits) {
    case 0: converted.stopBits = 1; break;
    case 2: converted.stopBits = 2; break;
    default: return fail(error, QStringLiteral("unsupported stop-bit code: %1").arg(record.stopbits));
    }
    if (!checkNumbers(converted.baud, converted.dataBits, error))
        return false;
    *settings = converted;
    return true;
}
