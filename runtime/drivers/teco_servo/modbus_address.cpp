#include "teco_servo/modbus_address.h"

namespace {

// The areas the dispatch routes by; at most one matches any prefix.
struct KnownArea {
    const char* letters;
    int length;
    AreaKind kind;
};
const KnownArea knownAreas[] = {
    {"HR", 2, AreaKind::HoldingRegisters}, {"FN6HR", 5, AreaKind::HoldingRegistersWithFN6},
    {"DO", 2, AreaKind::Coils},            {"FN5DO", 5, AreaKind::CoilsWithFN5},
    {"DI", 2, AreaKind::DiscreteInputs}};
const int LongestAreaLetters = 5;

bool sameIgnoringCase(char c, char expected)
{
    return c == expected || (expected >= 'A' && expected <= 'Z' && c == expected + ('a' - 'A'));
}

bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The character as the text's 8-bit (Latin-1) conversion gives it.
char latin1At(const QChar* s, int i)
{
    const ushort u = s[i].unicode();
    return u > 0xFF ? '?' : static_cast<char>(u);
}

// "SW" anywhere, any case. Qt's comparison folds a few other characters to
// S, so any text beyond ASCII is left to it.
bool containsSW(const QString& text)
{
    const QChar* s = text.constData();
    const int n = text.size();
    for (int i = 0; i < n; ++i) {
        const ushort u = s[i].unicode();
        if (u >= 0x80)
            return text.contains(QLatin1String("SW"), Qt::CaseInsensitive);
        if ((u | 0x20) == 's' && i + 1 < n && (s[i + 1].unicode() | 0x20) == 'w')
            return true;
    }
    return false;
}

} // namespace

AreaKind areaOf(const char* prefix, int length)
{
    for (const KnownArea& area : knownAreas) {
        if (length < area.length)
            continue;
        int k = 0;
        while (k < area.length && sameIgnoringCase(prefix[k], area.letters[k]))
            ++k;
        if (k == area.length)
            return area.kind;
    }
    return AreaKind::Other;
}

AreaKind areaOf(const QByteArray& prefix)
{
    return areaOf(prefix.constData(), prefix.size());
}

ParsedAddress parseDeviceAddress(const QString& text, unsigned char bit)
{
    ParsedAddress parsed{text};
    parsed.bit = bit;
    parsed.highWordFirst = containsSW(text);
    const QChar* s = text.constData();
    const int n = text.size();
    int i = 0;

    // Function-code areas (FN5DO, FN6HR) carry a digit inside their letters, so
    // the first three characters of a text starting with F belong to the prefix.
    if (n > 0 && (latin1At(s, 0) == 'F' || latin1At(s, 0) == 'f'))
        i = n < 3 ? n : 3;
    while (i < n && isLetter(latin1At(s, i)))
        ++i;
    parsed.prefixLength = i;
    char letters[LongestAreaLetters];
    const int compared = i < LongestAreaLetters ? i : LongestAreaLetters;
    for (int k = 0; k < compared; ++k)
        letters[k] = latin1At(s, k);
    parsed.area = areaOf(letters, compared);

    if (i >= n)
        return parsed;
    if (isDigit(latin1At(s, i))) {
        unsigned int value = 0;
        while (i < n && isDigit(latin1At(s, i)))
            value = value * 10 + static_cast<unsigned int>(latin1At(s, i++) - '0');
        parsed.address = static_cast<unsigned short>(value - 1);
    }
    if (i < n && latin1At(s, i) == '.') {
        parsed.bit = 0;
        for (++i; i < n && isDigit(latin1At(s, i)); ++i)
            parsed.bit = static_cast<unsigned char>(parsed.bit * 10 + (latin1At(s, i) - '0'));
    }
    return parsed;
}

void ModbusRTUSlaveParseAddress(const QString& text, QByteArray& prefix, unsigned short& address,
                                unsigned char& bit)
{
    const ParsedAddress parsed = parseDeviceAddress(text, bit);
    prefix.append(parsed.letters().toLatin1());
    address = parsed.address;
    bit = parsed.bit;
}
