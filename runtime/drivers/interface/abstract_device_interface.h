#ifndef ABSTRACT_DEVICE_INTERFACE_H
#define ABSTRACT_DEVICE_INTERFACE_H

#include <QVariant>

// Option code drivers pass to setOption() before every request: discard input not yet read.
constexpr int DiscardInputOption = 12;

// The host's port object for one communication line, as far as drivers use it.
// A driver keeps no reference to it beyond a call.
class AbstractDeviceInterface {
public:
    virtual ~AbstractDeviceInterface() {}

    // Waits up to the port's own receive time-out for at most maxLength bytes
    // and returns how many arrived (0 or less when none did).
    virtual int receive(char* buffer, int maxLength) = 0;
    // Puts one whole request frame on the line.
    virtual int send(const char* data, int length) = 0;
    // Drivers call it with code 12 and the integer 0 before every request.
    virtual bool setOption(int code, const QVariant& value) = 0;
    virtual int getRetry() = 0;
    virtual int getStationId() = 0;
    // Milliseconds.
    virtual int getDelay() = 0;
};

#endif
