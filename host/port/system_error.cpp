#include "port/system_error.h"

#include <cerrno>
#include <cstring>

std::string systemErrorText()
{
    return std::strerror(errno);
}

std::string systemError(const char* what)
{
    const std::string text = systemErrorText(); // before anything else can touch errno
    return std::string(what) + ": " + text;
}

QString systemErrorString()
{
    return QString::fromLocal8Bit(systemErrorText().c_str());
}
