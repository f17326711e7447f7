// Byte helpers shared by the toolkit tests: hex in, hex out, and a change applied to a copy.
#ifndef TOOLS_TEST_SUPPORT_H
#define TOOLS_TEST_SUPPORT_H

#include <QByteArray>
#include <string>

inline QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

inline std::string hexOf(const QByteArray& bytes)
{
    return bytes.toHex().toStdString();
}

inline const unsigned char* raw(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

// The bytes given in hex after an in-place change, again in hex.
template <typename Change> std::string changed(const char* input, Change change)
{
    QByteArray bytes = hex(input);
    change(bytes);
    return hexOf(bytes);
}

#endif
