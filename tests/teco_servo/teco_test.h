#ifndef TECO_TEST_H
#define TECO_TEST_H

#include <QByteArray>
#include <QMap>
#include <QSet>
#include <QStringList>
#include <functional>
#include <gtest/gtest.h>
#include <ostream>
#include <string>

#include "support/scripted_port.h"
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_rtu_frame.h"
#include "teco_servo/special_registers.h"

using Call = ScriptedPort::Call;

// The servo driver with its driver-side registers open to tests.
class TestableDriver : public DriverTecoServo {
public:
    unsigned short special(int index) const { return specialRegisters.at(index); }
    void setSpecial(int index, unsigned short value) { specialRegisters[index] = value; }
};

// Frames written in hex as they appear on the wire; spaces are ignored.
inline QByteArray hex(const char* text) { return QByteArray::fromHex(text); }
inline std::string shown(const QByteArray& bytes) { return bytes.toHex(' ').toStdString(); }
inline std::string zeros(int bytes) { return shown(QByteArray(bytes, '\0')); }

inline QByteArray withCrc(QByteArray frame) { ModbusRTUSlaveAppendCRC(frame); return frame; }

// A normal reply to functions 1 to 4: slave, function, byte count, data, CRC.
inline QByteArray readReply(int slave, int function, const char* dataHex)
{
    const QByteArray data = hex(dataHex);
    return withCrc(QByteArray(1, char(slave)).append(char(function)).append(char(data.size())).append(data));
}

inline QByteArray withBadCrc(QByteArray frame) { frame[frame.size() - 1] = static_cast<char>(~frame.back()); return frame; }

// Frames as sent without their CRC (the frame tests pin it), joined by " | "; "~" marks a pause of the port's delay.
inline std::string wire(const ScriptedPort& port)
{
    QStringList steps;
    for (const ScriptedPort::Event& e : port.events()) {
        if (e.call == Call::Send)
            steps << QString::fromLatin1(e.bytes.chopped(2).toHex(' '));
        else if (e.call == Call::GetDelay)
            steps << QStringLiteral("~");
    }
    return steps.join(QStringLiteral(" | ")).toStdString();
}

// Servos on the line. Holding and input registers live in memory (all 0 until set), coils read 0,
// writes are stored and echoed. Switches: silent stations, the n-th request answered with exception 04.
struct Servo {
    QMap<int, unsigned short> memory;
    QSet<int> silent;
    int exceptionAt = 0;
    int requests = 0;

    unsigned short& reg(int station, int address) { return memory[station << 16 | address]; }

    QByteArray operator()(const QByteArray& q)
    {
        auto word = [&q](int at) { return static_cast<unsigned char>(q.at(at)) << 8 | static_cast<unsigned char>(q.at(at + 1)); };
        const int station = static_cast<unsigned char>(q.at(0)), function = q.at(1), at = word(2);
        if (silent.contains(station))
            return QByteArray();
        QByteArray reply = q.left(function <= 4 ? 2 : 6);
        if (++requests == exceptionAt) {
            reply = q.left(1).append(static_cast<char>(function | 0x80)).append('\x04');
        } else if (function <= 2) {
            const int bytes = (word(4) + 7) / 8;
            reply.append(static_cast<char>(bytes)).append(QByteArray(bytes, '\0'));
        } else if (function <= 4) {
            reply.append(static_cast<char>(2 * word(4)));
            for (int k = 0; k < word(4); ++k)
                reply.append(static_cast<char>(reg(station, at + k) >> 8)).append(static_cast<char>(reg(station, at + k)));
        } else if (function == 6) {
            reg(station, at) = static_cast<unsigned short>(word(4));
        } else if (function == 16) {
            for (int k = 0; k < word(4); ++k)
                reg(station, at + k) = static_cast<unsigned short>(word(7 + 2 * k));
        }
        ModbusRTUSlaveAppendCRC(reply);
        return reply;
    }
};

// One operation against a scripted servo line, judged by the frames and pauses on the wire,
// what the operation gave back (as text) and the error text left behind.
using Op = std::function<std::string(TestableDriver&, ScriptedPort&, Servo&)>;

struct Case {
    const char* name;
    Op op;
    QList<QByteArray> replies; // served before the servo answers; an empty entry is silence
    std::string wire;
    std::string result;
    const char* error;         // empty: hasError() must stay false
    QList<int> receives = {};  // the lengths asked of receive, when given
    int station = 1;           // what the port reports
};

inline void PrintTo(const Case& c, std::ostream* os) { *os << c.name; }
inline std::string caseName(const testing::TestParamInfo<Case>& info) { return info.param.name; }

inline void runCase(const Case& c)
{
    TestableDriver driver;
    ScriptedPort port;
    Servo servo;
    port.setStationId(c.station);
    for (const QByteArray& chunk : c.replies)
        chunk.isEmpty() ? port.queueSilence() : port.queueBytes(chunk);
    port.setResponder(std::ref(servo));

    EXPECT_EQ(c.op(driver, port, servo), c.result);
    EXPECT_EQ(wire(port), c.wire);
    EXPECT_EQ(driver.hasError(), c.error[0] != '\0');
    EXPECT_EQ(driver.getLastError().toStdString(), c.error);
    if (!c.receives.isEmpty()) {
        EXPECT_EQ(port.receiveRequests(), c.receives);
    }
}

#endif
