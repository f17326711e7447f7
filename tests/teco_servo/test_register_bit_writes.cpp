// Bits inside servo registers, written by read-modify-write against a scripted
// servo, and the fan-out of a bit of the monitored register to the station list.
#include <QMap>
#include <QSet>
#include <functional>
#include <gtest/gtest.h>

#include "support/scripted_port.h"
#include "teco_servo/modbus_rtu_frame.h"
#include "teco_servo/special_registers.h"
#include "testable_driver.h"

namespace {

using Call = ScriptedPort::Call;

int wordAt(const QByteArray& b, int at)
{
    return static_cast<unsigned char>(b.at(at)) << 8 | static_cast<unsigned char>(b.at(at + 1));
}

// Holding registers of the servos on the line: reads are answered from memory,
// writes stored and echoed. Switches: silent stations, one request answered
// with exception 04, read replies with a broken CRC.
struct Servo {
    QMap<int, unsigned short> memory; // station << 16 | register
    QSet<int> silent;
    int exceptionAt = 0;
    bool breakReadCrc = false;
    int requests = 0;

    unsigned short& reg(int station, int address) { return memory[station << 16 | address]; }

    QByteArray operator()(const QByteArray& q)
    {
        const int station = static_cast<unsigned char>(q.at(0)), function = q.at(1), at = wordAt(q, 2);
        const int count = function == 6 ? 1 : wordAt(q, 4);
        if (silent.contains(station))
            return QByteArray();
        QByteArray reply = q.left(function == 3 ? 2 : 6);
        if (++requests == exceptionAt)
            reply = q.left(1).append(static_cast<char>(function | 0x80)).append('\x04');
        else if (function == 3) {
            reply.append(static_cast<char>(2 * count));
            for (int k = 0; k < count; ++k) {
                const unsigned short value = reg(station, at + k);
                reply.append(static_cast<char>(value >> 8)).append(static_cast<char>(value));
            }
        } else {
            for (int k = 0; k < count; ++k)
                reg(station, at + k) = static_cast<unsigned short>(wordAt(q, function == 6 ? 4 : 7 + 2 * k));
        }
        ModbusRTUSlaveAppendCRC(reply);
        if (breakReadCrc && function == 3)
            reply[reply.size() - 1] = static_cast<char>(~reply.at(reply.size() - 1));
        return reply;
    }
};

// Frames as sent without their CRC, joined by " | "; "~" marks a pause of the port's delay.
QString wire(const ScriptedPort& port)
{
    QStringList steps;
    for (const ScriptedPort::Event& e : port.events()) {
        if (e.call == Call::Send)
            steps << QString::fromLatin1(e.bytes.chopped(2).toHex(' '));
        else if (e.call == Call::GetDelay)
            steps << QStringLiteral("~");
    }
    return steps.join(QStringLiteral(" | "));
}

struct BitCase {
    const char* name;
    bool fn6;
    unsigned short address;
    unsigned char bit;
    QByteArray data;
    QList<unsigned short> before; // registers from address on
    QList<unsigned short> after;
    QString wire;
    QString error;
};

void PrintTo(const BitCase& c, std::ostream* os) { *os << c.name; }

class BitWrites : public testing::TestWithParam<BitCase> {};

TEST_P(BitWrites, ReadChangeAndWriteBackEveryTouchedRegister)
{
    const BitCase& c = GetParam();
    // The expected failure picks the servo's fault: silence, or an exception to the first write.
    Servo servo;
    servo.exceptionAt = c.error == "exception code:0x04" ? 2 : 0;
    servo.silent = c.error == "PLC no response" ? QSet<int>{1} : QSet<int>{};
    for (int k = 0; k < c.before.size(); ++k)
        servo.reg(1, c.address + k) = c.before.at(k);
    ScriptedPort port;
    port.setResponder(std::ref(servo));
    TestableDriver driver;

    EXPECT_EQ(c.fn6 ? driver.writeHRbitWithFN6(&port, c.address, c.bit, c.data)
                    : driver.writeHRbit(&port, c.address, c.bit, c.data),
              c.error.isEmpty());
    EXPECT_EQ(wire(port).toStdString(), c.wire.toStdString());
    EXPECT_EQ(driver.getLastError().toStdString(), c.error.toStdString());
    for (int k = 0; k < c.after.size(); ++k)
        EXPECT_EQ(servo.reg(1, c.address + k), c.after.at(k)) << "register " << c.address + k;
}

INSTANTIATE_TEST_SUITE_P(
    ReadModifyWrite, BitWrites,
    testing::Values(
        BitCase{"hr100_bit3_set", false, 99, 3, QByteArray(1, 1), {0x0000}, {0x0008},
                "01 03 00 63 00 01 | ~ | 01 10 00 63 00 01 02 00 08", {}},
        BitCase{"bit14_three_bits_span_two_registers", false, 99, 14, QByteArray::fromHex("010001"), {0x8000, 0x1200},
                {0x4000, 0x1201}, "01 03 00 63 00 02 | ~ | 01 10 00 63 00 02 04 40 00 12 01", {}},
        BitCase{"data_02_sets_and_00_clears", false, 0, 0, QByteArray::fromHex("0200"), {0x1002}, {0x1001},
                "01 03 00 00 00 01 | ~ | 01 10 00 00 00 01 02 10 01", {}},
        BitCase{"bit20_unchanged_first_register_written_too", false, 10, 20, QByteArray(1, 1), {0xAAAA, 0},
                {0xAAAA, 0x0010}, "01 03 00 0a 00 02 | ~ | 01 10 00 0a 00 02 04 aa aa 00 10", {}},
        BitCase{"fn6_pause_before_each_register_never_after", true, 99, 15, QByteArray(2, 1), {0, 0}, {0x8000, 1},
                "01 03 00 63 00 02 | ~ | 01 06 00 63 80 00 | ~ | 01 06 00 64 00 01", {}},
        BitCase{"failed_read_writes_nothing", false, 99, 0, QByteArray(1, 1), {}, {}, "01 03 00 63 00 01",
                "PLC no response"},
        BitCase{"126_registers_refused_by_the_read", false, 99, 0, QByteArray(2001, 1), {}, {}, {},
                "can't read any word from HR100"},
        BitCase{"124_registers_read_then_refused_by_the_write", false, 99, 0, QByteArray(1969, 0), {}, {},
                "01 03 00 63 00 7c | ~", "can't write any word to HR100"},
        BitCase{"fn16_write_answered_with_exception", false, 99, 0, QByteArray(1, 1), {0}, {},
                "01 03 00 63 00 01 | ~ | 01 10 00 63 00 01 02 00 01", "exception code:0x04"},
        BitCase{"fn6_failed_register_stops_the_run", true, 99, 15, QByteArray(2, 1), {0, 0}, {0, 0},
                "01 03 00 63 00 02 | ~ | 01 06 00 63 80 00", "exception code:0x04"}));

TEST(BitWrites, NoBitsMeansNothingToReadOrWrite)
{
    ScriptedPort port;
    TestableDriver driver;
    EXPECT_TRUE(driver.writeHRbit(&port, 99, 3, QByteArray()));
    EXPECT_TRUE(driver.writeHRbitWithFN6(&port, 99, 3, QByteArray()));
    EXPECT_TRUE(port.events().isEmpty());
}

TEST(BitWrites, GivenStationReadsWithoutCrcCheckAndWritesThere)
{
    Servo servo;
    servo.breakReadCrc = true;
    servo.reg(9, 1299) = 0x0100;
    ScriptedPort port;
    port.setResponder(std::ref(servo));
    TestableDriver driver;

    EXPECT_TRUE(driver.writeHRbit(&port, 1299, 5, QByteArray(1, 1), 9));
    EXPECT_TRUE(driver.writeHRbitWithFN6(&port, 1299, 0, QByteArray(1, 1), 9));
    EXPECT_EQ(wire(port), QStringLiteral("09 03 05 13 00 01 | ~ | 09 10 05 13 00 01 02 01 20 | "
                                         "09 03 05 13 00 01 | ~ | 09 06 05 13 01 21"));
    EXPECT_EQ(port.count(Call::GetStationId), 0);
}

// Entry 10 stands for register 1299 of every listed servo; entries 1.. hold the stations.
struct Line {
    Servo servo;
    ScriptedPort port;
    TestableDriver driver;
    int progress = 0;

    Line(QList<unsigned short> stations, unsigned short count)
    {
        driver.setSpecial(SpecialRegisters::StationCountEntry, count);
        for (int k = 0; k < stations.size(); ++k)
            driver.setSpecial(1 + k, stations.at(k));
        port.setResponder(std::ref(servo));
    }
    bool writeMonitoredBit(bool fn6, unsigned char bit)
    {
        return fn6 ? driver.writeSpecialFN6HRbit(&port, 60009, bit, QByteArray(1, 1), progress)
                   : driver.writeSpecialHRbit(&port, 60009, bit, QByteArray(1, 1), progress);
    }
};

TEST(SpecialBitWrites, MonitoredBitGoesToEveryListedStationThenToEntry10)
{
    for (bool fn6 : {false, true}) {
        Line line({3, 4}, 2);
        line.servo.reg(3, 1299) = 0x0100;
        ASSERT_TRUE(line.writeMonitoredBit(fn6, 5));
        EXPECT_EQ(wire(line.port), fn6 ? QStringLiteral("03 03 05 13 00 01 | ~ | 03 06 05 13 01 20 | ~ | "
                                                         "04 03 05 13 00 01 | ~ | 04 06 05 13 00 20")
                                       : QStringLiteral("03 03 05 13 00 01 | ~ | 03 10 05 13 00 01 02 01 20 | ~ | "
                                                         "04 03 05 13 00 01 | ~ | 04 10 05 13 00 01 02 00 20"));
        EXPECT_EQ(line.driver.special(SpecialRegisters::MonitoredEntry), 0x0020);
        EXPECT_EQ(line.progress, 2);
    }
}

TEST(SpecialBitWrites, FailedStationLeavesEntry10AndTheRetryResumesThere)
{
    // A count of 9 uses entries 1 to 8 only and is capped at 8 even when a station fails.
    Line line({3, 4, 5, 6, 7, 8, 9, 10, 0x00ee}, 9);
    line.servo.silent.insert(4);
    EXPECT_FALSE(line.writeMonitoredBit(false, 0));
    EXPECT_EQ(line.progress, 1);
    EXPECT_EQ(line.driver.special(SpecialRegisters::MonitoredEntry), 0);
    EXPECT_EQ(line.driver.special(SpecialRegisters::StationCountEntry), 8);

    line.servo.silent.clear();
    line.port.clearLog();
    ASSERT_TRUE(line.writeMonitoredBit(false, 0));
    EXPECT_TRUE(wire(line.port).startsWith(QStringLiteral("04 03 05 13 00 01 |")));
    EXPECT_TRUE(wire(line.port).endsWith(QStringLiteral("| 0a 10 05 13 00 01 02 00 01")));
    EXPECT_EQ(line.port.count(Call::Send), 14);
    EXPECT_EQ(line.driver.special(SpecialRegisters::MonitoredEntry), 0x0001);
}

} // namespace
