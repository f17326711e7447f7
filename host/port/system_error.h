#ifndef PORT_SYSTEM_ERROR_H
#define PORT_SYSTEM_ERROR_H

#include <QString>
#include <string>

// The C library's text for the last failed system call (errno): how the host
// side words every such failure.
std::string systemErrorText();
// "what: text", naming the call or the file that failed.
std::string systemError(const char* what);
// The text alone, for Qt messages.
QString systemErrorString();

#endif
