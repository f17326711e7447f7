#include "teco_servo/modbus_address.h"

#include <cstdint>

namespace {

// The first letters of a prefix folded to upper case, one per byte with the
// first in the lowest, as the parse reads them: a known area matches when its
// letters are the low bytes of the key. A character beyond ASCII packs as 0,
// which no area letter is.
constexpr int KeyLetters = 5;
constexpr std::uint64_t keyOf(const char* letters, int length)
{
    std::uint64_t key = 0;
    for (int k = 0; k < length; ++k)
        key |= std::uint64_t(static_cast<unsigned char>(letters[k])) << (8 * k);
    return key;
}

// The areas the dispatch routes by; at most one matches any prefix.
struct KnownArea {
    std::uint64_t key;
    int length;
    AreaKind kind;
};
constexpr KnownArea knownArea(const char* letters, int length, AreaKind kind)
{
    return {keyOf(letters, length), length, kind};
}
constexpr KnownArea knownAreas[] = {
    knownArea("HR", 2, AreaKind::HoldingRegisters), knownArea("FN6HR", 5, AreaKind::HoldingRegistersWithFN6),
    knownArea("DO", 2, AreaKind::Coils),            knownArea("FN5DO", 5, AreaKind::CoilsWithFN5),
    knownArea("DI", 2, AreaKind::DiscreteInputs)};

unsigned int upperCase(unsigned int c) { return c - 'a' < 26u ? c - ('a' - 'A') : c; }
std::uint64_t keyLetter(unsigned int c, int position)
{
    return std::uint64_t(c < 0x80 ? upperCase(c) : 0) << (8 * position);
}

// The known area whose letters begin a prefix of length characters with that key.
const KnownArea* knownAreaOf(std::uint64_t key, int length)
{
    for (const KnownArea& area : knownAreas) {
        if (length >= area.length && (key & ((std::uint64_t(1) << (8 * area.length)) - 1)) == area.key)
            return &area;
    }
    return nullptr;
}

bool isLetter(ushort u) { return static_cast<unsigned int>((u | 0x20) - 'a') < 26u; }
bool isDigit(ushort u) { return static_cast<unsigned int>(u - '0') < 10u; }

// "SW" in characters begin .. end - 1, any case: 1 when found, 0 when not.
// Qt's comparison folds a few other characters to S, so for a text beyond
// ASCII it gives -1 and the caller leaves the question to Qt.
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
    const int length = prefix.size();
    std::uint64_t key = 0;
    for (int k = 0; k < length && k < KeyLetters; ++k)
        key |= keyLetter(static_cast<unsigned char>(prefix[k]), k);
    const KnownArea* area = knownAreaOf(key, length);
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
    const int forced = n > 0 && (s[0] | 0x20) == 'f' ? (n < 3 ? n : 3) : 0;
    std::uint64_t key = 0;
    int i = 0;
    for (; i < forced; ++i)
        key |= keyLetter(s[i], i);
    for (; i < n && isLetter(s[i]); ++i) {
        // An ASCII letter's upper case is the letter without bit 5.
        if (i < KeyLetters)
            key |= std::uint64_t(s[i] & ~0x20u) << (8 * i);
    }
    parsed.prefixLength = i;
    const KnownArea* area = knownAreaOf(key, i);
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
