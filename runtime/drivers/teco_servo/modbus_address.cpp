#include "teco_servo/modbus_address.h"

namespace {

// The areas the dispatch routes by, in upper case; at most one matches any prefix.
struct KnownArea {
    const char* letters;
    int length;
    AreaKind kind;
};
const KnownArea knownAreas[] = {
    {"HR", 2, AreaKind::HoldingRegisters}, {"FN6HR", 5, AreaKind::HoldingRegistersWithFN6},
    {"DO", 2, AreaKind::Coils},            {"FN5DO", 5, AreaKind::CoilsWithFN5},
    {"DI", 2, AreaKind::DiscreteInputs}};

// A byte, or a character of a text: one beyond Latin-1 equals no area letter.
unsigned int code(char c) { return static_cast<unsigned char>(c); }
unsigned int code(ushort u) { return u; }
unsigned int upperCase(unsigned int c) { return c - 'a' < 26u ? c - ('a' - 'A') : c; }

// The known area whose letters begin the prefix, compared without regard to case.
template <typename Char>
const KnownArea* knownAreaOf(const Char* prefix, int length)
{
    if (length < 1)
        return nullptr;
    const unsigned int first = upperCase(code(prefix[0]));
    for (const KnownArea& area : knownAreas) {
        if (length < area.length || first != static_cast<unsigned char>(area.letters[0]))
            continue;
        int k = 1;
        while (k < area.length && upperCase(code(prefix[k])) == static_cast<unsigned char>(area.letters[k]))
            ++k;
        if (k == area.length)
            return &area;
    }
    return nullptr;
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
    const KnownArea* area = knownAreaOf(prefix.constData(), prefix.size());
    return area ? area->kind : AreaKind::Other;
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
    const KnownArea* area = knownAreaOf(s, i);
    parsed.area = area ? area->kind : AreaKind::Other;

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

    // Neither the known area letters nor digits and the point hold an S
    // followed by W, so the word order is told by the letters after the area's
    // and whatever follows the number.
    int sw = findSW(s, area ? area->length : 0, parsed.prefixLength);
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
