#ifndef INSTANT_PORT_H
#define INSTANT_PORT_H

#include <QVariant>

#include "instant_servo.h"
#include "interface/abstract_device_interface.h"

// The driver's port to an instant servo: no I/O, no delay, no retry.
class InstantPort : public AbstractDeviceInterface {
public:
    InstantPort(InstantServo& servo, int station) : servo(servo), station(station) {}

    int receive(char* buffer, int maxLength) override
    {
        return servo.take(reinterpret_cast<unsigned char*>(buffer), maxLength);
    }
    int send(const char* data, int length) override
    {
        ++requests;
        servo.answer(reinterpret_cast<const unsigned char*>(data), length);
        return length;
    }
    bool setOption(int, const QVariant&) override
    {
        return true;
    }
    int getRetry() override { return 0; }
    int getStationId() override { return station; }
    int getDelay() override { return 0; }

    int requests = 0;

private:
    InstantServo& servo;
    int station;
};

#endif
