#include "tools/text_utilities.h"

#include <cctype>

namespace {

bool isPrefixCharacter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool startsNumber(char c, int base)
{
    if (c >= '0' && c <= '7')
        return true;
    if (base == 8)
        return false;
    if (c == '8' || c == '9')
        return true;
    return base == 16 && ((c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'));
}

bool isAsciiSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

int hexDigitValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

} // namespace

QByteArray ExtractPrefixSymbol(const QByteArray& text)
{
    int length = 0;
    while (length < text.size() && isPrefixCharacter(text.at(length)))
        ++length;
    return text.left(length);
}

QByteArray ExtractPrefixSymbol(const QString& text)
{
    return ExtractPrefixSymbol(text.toLatin1());
}

int ExtractPLCDeviceAddress(const QByteArray& text, int base)
{
    if (base != 8 && base != 10 && base != 16)
        return -1;
    int start = 0;
    while (start < text.size() && !startsNumber(text.at(start), base))
        ++start;
    // The number part converts whole: Qt 5's conversion would also accept
    // trailing whitespace, which leaves the text unconverted here.
    const QByteArray number = text.mid(start);
    if (!number.isEmpty() && isAsciiSpace(number.back()))
        return 0;
    bool ok = false;
    const int value = number.toInt(&ok, base);
    return ok ? value : 0;
}

int ExtractPLCDeviceAddress(const QString& text, int base)
{
    return ExtractPLCDeviceAddress(text.toLatin1(), base);
}

unsigned int HexToUInt(const char* text, int length)
{
    if (text == nullptr)
        return 0;
    int start = 0;
    int allowed = length;
    if (text[0] == '0') {
        if (length <= 1)
            return 0;
        if (text[1] == 'x' || text[1] == 'X') {
            start = 2;
            allowed = length - 2;
            if (allowed <= 0 || text[2] == '\0')
                return 0;
        } else {
            start = 1;
            allowed = length - 1;
            if (text[1] == '\0')
                return 0;
        }
    } else if (text[0] == '\0' || length < 1) {
        return 0;
    }

    unsigned int value = 0;
    for (int i = 0; i < allowed && text[start + i] != '\0'; ++i) {
        const int digit = hexDigitValue(text[start + i]);
        if (digit < 0)
            return 0;
        value = value * 16 + static_cast<unsigned int>(digit);
    }
    return value;
}

QString dumpByteArray(const QByteArray& bytes)
{
    QString text = QStringLiteral("(");
    for (char byte : bytes)
        text += QStringLiteral("0X%1 ").arg(static_cast<unsigned char>(byte), 0, 16);
    text += QStringLiteral(") : ");
    text += QString::fromLatin1(bytes.constData());
    return text;
}
