// Address and hex texts of any content: prefixes are the leading letters,
// numbers only come from their base's digits, HexToUInt stops at the text's end.
#include <QByteArray>
#include <QString>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "common/fuzz_check.h"
#include "tools/text_utilities.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const int length = static_cast<int>(static_cast<int8_t>(data[0]));
    const int base = data[1] % 20;
    const QByteArray text(reinterpret_cast<const char*>(data + 2), static_cast<int>(size - 2));

    const QByteArray prefix = ExtractPrefixSymbol(text);
    FUZZ_REQUIRE(text.startsWith(prefix), "the prefix starts the text");
    for (char c : prefix)
        FUZZ_REQUIRE(std::isalpha(static_cast<unsigned char>(c)) || c == '_', "prefixes hold letters and underscores");
    if (prefix.size() < text.size()) {
        const unsigned char next = static_cast<unsigned char>(text.at(prefix.size()));
        FUZZ_REQUIRE(!std::isalpha(next) && next != '_', "the prefix takes every leading letter");
    }
    FUZZ_REQUIRE(ExtractPrefixSymbol(QString::fromLatin1(text.constData(), text.size())) == prefix,
                 "text and bytes give the same prefix");

    const int number = ExtractPLCDeviceAddress(text, base);
    if (base != 8 && base != 10 && base != 16)
        FUZZ_REQUIRE(number == -1, "other bases are refused");

    // A zero-terminated copy of exactly the text: reading past it is an address error.
    std::vector<char> terminated(text.begin(), text.end());
    terminated.push_back('\0');
    const unsigned value = HexToUInt(terminated.data(), length);
    const size_t textLength = std::strlen(terminated.data());
    const bool plainDigits = textLength > 0 && textLength <= 8 && terminated[0] != '0'
        && std::strspn(terminated.data(), "0123456789abcdefABCDEF") == textLength;
    if (plainDigits && length >= static_cast<int>(textLength))
        FUZZ_REQUIRE(value == std::strtoul(terminated.data(), nullptr, 16), "hex digits read as their value");
    if (length <= 0)
        FUZZ_REQUIRE(value == 0, "no characters, no value");

    const QString dump = dumpByteArray(text);
    FUZZ_REQUIRE(dump.startsWith(QLatin1Char('(')) && dump.count(QStringLiteral("0X")) >= text.size()
                     && dump.contains(QStringLiteral(") : ")),
                 "every byte in the dump");
    return 0;
}
