// Hex in and hex out, shared by the toolkit tests so that expected bytes read as they are written.
#pragma once
#include <QByteArray>
#include <string>

inline QByteArray hex(const char* text) { return QByteArray::fromHex(text); }
inline std::string hexOf(const QByteArray& bytes) { return bytes.toHex().toStdString(); }
inline const unsigned char* raw(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}
