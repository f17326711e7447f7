#include "teco_servo/modbus_address.h"

namespace {

// The first characters of a prefix, letters made upper case, packed one byte
// each: a known area's letters then compare as one number. A character beyond
// Latin-1 packs as '?', as the text's 8-bit form has it, and equals no letter.
const int PackedLetters = 5;

constexpr unsigned int upperCase(unsigned int c) { return c - 'a' < 26u ? c - ('a' - 'A') : c; }

template <typename Char>
constexpr unsigned long long packedUpperCase(const Char* letters, int length)
{
    unsigned long long packed = 0;
    for (int k = 0; k < length && k < PackedLetters; ++k) {
        const unsigned int c = static_cast<unsigned int>(letters[k]) & (sizeof(Char) == 1 ? 0xFFu : 0xFFFFu);
        packed |= static_cast<unsigned long long>(c > 0xFF ? '?' : upperCase(c)) << (8 * k);
    }
    return packed;
}

constexpr unsigned long long firstBytes(int length) { return (1ull << (8 * length)) - 1; }

// The areas the dispatch routes by; at most one matches any prefix.
struct KnownArea {
    int length;
    unsigned long long letters;
    AreaKind kind;
};
constexpr KnownArea knownArea(const char* letters, int length, AreaKind kind)
{
    return KnownArea{length, packedUpperCase(letters, length), kind};
}
constexpr KnownArea knownAreas[] = {
    knownArea("HR", 2, AreaKind::HoldingRegisters), knownArea("FN6HR", 5, AreaKind::HoldingRegistersWithFN6),
    knownArea("DO", 2, AreaKind::Coils),            knownArea("FN5DO", 5, AreaKind::CoilsWithFN5),
    knownArea("DI", 2, AreaKind::DiscreteInputs)};

// The known area whose letters begin the prefix, compared without regard to case.
template <typename Char>
AreaKind areaIn(const Char* prefix, int length)
{
    const unsigned long long packed = packedUpperCase(prefix, length);
    for (const KnownArea& area : knownAreas)
        if (length >= area.length && (packed & firstBytes(area.length)) == area.letters)
            return area.kind;
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
