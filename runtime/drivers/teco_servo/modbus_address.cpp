#include "teco_servo/modbus_address.h"

namespace {

bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

} // namespace

void ModbusRTUSlaveParseAddress(const QString& text, QByteArray& prefix, unsigned short& address,
                                unsigned char& bit)
{
    const QByteArray s = text.toLatin1();
    const int n = s.size();
    int i = 0;

    // Function-code areas (FN5DO, FN6HR) carry a digit inside their letters, so
    // the first three characters of a text starting with F belong to the prefix.
    if (n > 0 && (s.at(0) == 'F' || s.at(0) == 'f')) {
        prefix.append(s.left(3));
        i = 3;
    }
    if (i >= n) {
        address = 0xFFFF;
        return;
    }
    while (isLetter(s.at(i))) {
        prefix.append(s.at(i));
        if (++i == n) {
            address = 0xFFFF;
            return;
        }
    }
    if (isDigit(s.at(i))) {
        unsigned int value = 0;
        while (i < n && isDigit(s.at(i)))
            value = value * 10 + static_cast<unsigned int>(s.at(i++) - '0');
        address = static_cast<unsigned short>(value - 1);
        if (i == n)
            return;
    } else {
        address = 0xFFFF;
    }
    if (s.at(i) == '.') {
        bit = 0;
        for (++i; i < n && isDigit(s.at(i)); ++i)
            bit = static_cast<unsigned char>(bit * 10 + (s.at(i) - '0'));
    }
}

bool prefixBeginsWith(const QByteArray& prefix, const char* literal)
{
    const QByteArray expected(literal);
    if (prefix.isEmpty() || prefix.size() < expected.size())
        return false;
    return qstrnicmp(prefix.constData(), expected.constData(), static_cast<uint>(expected.size())) == 0;
}

bool isHoldingRegisterArea(const QByteArray& prefix)
{
    return prefixBeginsWith(prefix, "HR") || prefixBeginsWith(prefix, "FN6HR");
}

bool isCoilArea(const QByteArray& prefix)
{
    return prefixBeginsWith(prefix, "DO") || prefixBeginsWith(prefix, "FN5DO");
}

bool selectsHighWordFirst(const QString& deviceAddress)
{
    return deviceAddress.contains(QLatin1String("SW"), Qt::CaseInsensitive);
}
