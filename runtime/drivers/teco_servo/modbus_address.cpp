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

// c is expected, or its lower-case form for a letter.
bool sameIgnoringCase(unsigned int c, char expected)
{
    return c == static_cast<unsigned char>(expected)
        || (expected >= 'A' && expected <= 'Z' && c == static_cast<unsigned int>(expected + ('a' - 'A')));
}

unsigned int code(char c) { return static_cast<unsigned char>(c); }
unsigned int code(ushort u) { return u; }

// Bytes, or the characters of a text: one beyond Latin-1 equals no area letter.
template <typename Char>
AreaKind areaIn(const Char* prefix, int length)
{
    for (const KnownArea& area : knownAreas) {
        if (length < area.length || !sameIgnoringCase(code(prefix[0]), area.letters[0]))
            continue;
        int k = 1;
        while (k < area.length && sameIgnoringCase(code(prefix[k]), area.letters[k]))
            ++k;
        if (k == area.length)
            return area.kind;
    }
    return AreaKind::Other;
}

bool isLetter(ushort u) { return static_cast<unsigned int>((u | 0x20) - 'a') < 26u; }
bool isDigit(ushort u) { return static_cast<unsigned int>(u - '0') < 10u; }

// "SW" in characters begin .. end - 1, any case. Qt's comparison folds a few
// other characters to S, so a text beyond ASCII is left to it.
int findSW(const ushort* s, int begin, int end)
{
    for (int i = begin; i < end; ++i) {
        if (s[i] >= 0x80)
            return -1;
        if ((s[i] | 0x20) == 's' && i + 1 < end && (s[i + 1] | 0x20) == 'w')
            return 1;
    }
    return 0;
}

} // namespace

AreaKind areaOf(const QByteArray& prefix)
{
    return areaIn(prefix.constData(), prefix.size());
}

ParsedAddress parseDeviceAddress(const QString& text, unsigned char bit)
{
    ParsedAddress parsed{text};
    parsed.bit = bit;
    const ushort* s = reinterpret_cast<const ushort*>(text.constData());
    const int n = text.size();

    // Function-code areas (FN5DO, FN6HR) carry a digit inside their letters, so
    // the first three characters of a text starting with F belong to the prefix.
    int i = 0;
    if (n > 0 && (s[0] | 0x20) == 'f')
        i = n < 3 ? n : 3;
    while (i < n && isLetter(s[i]))
        ++i;
    parsed.prefixLength = i;
    parsed.area = areaIn(s, i);

    if (i < n && isDigit(s[i])) {
        unsigned int value = 0;
        for (; i < n && isDigit(s[i]); ++i)
            value = value * 10 + (s[i] - '0');
        parsed.address = static_cast<unsigned short>(value - 1);
    }
    if (i < n && s[i] == '.') {
        unsigned int value = 0;
        for (++i; i < n && isDigit(s[i]); ++i)
            value = (value * 10 + (s[i] - '0')) & 0xFF;
        parsed.bit = static_cast<unsigned char>(value);
    }

    // Digits and the point hold no S or W, so the word order is told by the
    // letters in front and whatever follows the number.
    int sw = findSW(s, 0, parsed.prefixLength);
    if (sw == 0)
        sw = findSW(s, i, n);
    parsed.highWordFirst = sw < 0 ? text.contains(QLatin1String("SW"), Qt::CaseInsensitive) : sw == 1;
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
