#ifndef TESTABLE_DRIVER_H
#define TESTABLE_DRIVER_H

#include <QByteArray>

#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_rtu_frame.h"

// The servo driver with its driver-side registers open to tests.
class TestableDriver : public DriverTecoServo {
public:
    unsigned short special(int index) const { return specialRegisters.at(index); }
    void setSpecial(int index, unsigned short value) { specialRegisters[index] = value; }
};

// Frames written in hex as they appear on the wire; spaces are ignored.
inline QByteArray hex(const char* text) { return QByteArray::fromHex(text); }

// The frame with its CRC appended (the CRC routine has its own tests).
inline QByteArray withCrc(const QByteArray& frame)
{
    QByteArray whole = frame;
    ModbusRTUSlaveAppendCRC(whole);
    return whole;
}
inline QByteArray withCrc(const char* frameHex) { return withCrc(hex(frameHex)); }

// A normal reply to functions 1 to 4: slave, function, byte count, data, CRC.
inline QByteArray readReply(unsigned char slave, unsigned char function, const QByteArray& data)
{
    QByteArray frame;
    frame.append(static_cast<char>(slave));
    frame.append(static_cast<char>(function));
    frame.append(static_cast<char>(data.size() & 0xFF));
    frame.append(data);
    return withCrc(frame);
}
inline QByteArray readReply(unsigned char slave, unsigned char function, const char* dataHex)
{
    return readReply(slave, function, hex(dataHex));
}

// The same reply with its last CRC byte spoiled.
inline QByteArray withBadCrc(QByteArray frame)
{
    frame[frame.size() - 1] = static_cast<char>(frame.at(frame.size() - 1) ^ 0x5A);
    return frame;
}

#endif
