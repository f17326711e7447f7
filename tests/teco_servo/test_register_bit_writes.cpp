// Bits inside servo registers, written by read-modify-write against a scripted
// servo, and the fan-out of a bit of the monitored register to the station list.
#include <QByteArray>
#include <QMap>
#include <QSet>
#include <QStringList>
#include <functional>
#include <gtest/gtest.h>
#include <ostream>

#include "support/scripted_port.h"
#include "teco_servo/modbus_rtu_frame.h"
#include "teco_servo/special_registers.h"
#include "testable_driver.h"

namespace {

using Call = ScriptedPort::Call;
using namespace SpecialRegisters;

unsigned short wordAt(const QByteArray& bytes, int offset)
{
    return static_cast<unsigned short>((static_cast<unsigned char>(bytes.at(offset)) << 8)
                                       | static_cast<unsigned char>(bytes.at(offset + 1)));
}

void appendWord(QByteArray& bytes, unsigned short value)
{
    bytes.append(static_cast<char>(value >> 8)).append(static_cast<char>(value & 0xFF));
}

// Holding registers of the servos on the line: reads answered from memory,
// writes stored and echoed. Switches: silent stations, one request answered
// with exception 04, read replies with a broken CRC.
struct Servo {
    QMap<int, unsigned short> memory; // station << 16 | register
    QSet<int> silent;
    int exceptionAtRequest = 0;
    bool breakReadCrc = false;
    int requests = 0;

    unsigned short& reg(int station, int address) { return memory[station << 16 | address]; }

    QByteArray operator()(const QByteArray& request)
    {
        ++requests;
        const int station = static_cast<unsigned char>(request.at(0));
        const int function = static_cast<unsigned char>(request.at(1));
        const int address = wordAt(request, 2);
        if (silent.contains(station))
            return QByteArray();
        QByteArray reply = request.left(2);
        if (requests == exceptionAtRequest) {
            reply[1] = static_cast<char>(function | 0x80);
            reply.append('\x04');
        } else if (function == 3) {
            const int count = wordAt(request, 4);
            reply.append(static_cast<char>(2 * count));
            for (int k = 0; k < count; ++k)
                appendWord(reply, reg(station, address + k));
        } else {
            const int count = function == 6 ? 1 : wordAt(request, 4);
            for (int k = 0; k < count; ++k)
                reg(station, address + k) = wordAt(request, function == 6 ? 4 : 7 + 2 * k);
            reply = request.left(6);
        }
        ModbusRTUSlaveAppendCRC(reply);
        if (breakReadCrc && function == 3)
            reply[reply.size() - 1] = static_cast<char>(reply.at(reply.size() - 1) ^ 0xFF);
        return reply;
    }
};

// Each frame without its CRC, after checking the CRC (the link layer's tests pin its bytes).
QStringList bodies(const QList<QByteArray>& frames)
{
    QStringList out;
    for (QByteArray frame : frames) {
        const bool crcOk = frame.size() >= 2
            && ModbusRTUSlaveCheckCRC(reinterpret_cast<unsigned char*>(frame.data()),
                                      static_cast<unsigned int>(frame.size()));
        out << (crcOk ? QString::fromLatin1(frame.left(frame.size() - 2).toHex(' '))
                      : QStringLiteral("bad crc: ") + QString::fromLatin1(frame.toHex(' ')));
    }
    return out;
}

// Sends and pauses in order: "S" for a frame, "D" for a pause of the port's delay.
QString sendsAndPauses(const ScriptedPort& port)
{
    QString out;
    for (Call call : port.callSequence())
        out += call == Call::Send ? QStringLiteral("S") : call == Call::GetDelay ? QStringLiteral("D") : QString();
    return out;
}

QByteArray bits(std::initializer_list<int> values)
{
    QByteArray data;
    for (int v : values)
        data.append(static_cast<char>(v));
    return data;
}

enum Function { FN16, FN6 };

struct BitCase {
    const char* name;
    Function function;
    unsigned short address;
    unsigned char bit;
    QByteArray data;
    QList<unsigned short> before; // registers from address on
    QList<unsigned short> after;
    QStringList frames;           // without CRC
    QString sequence;
};

void PrintTo(const BitCase& c, std::ostream* os) { *os << c.name; }

class BitWrites : public testing::TestWithParam<BitCase> {};

TEST_P(BitWrites, ReadChangeAndWriteBackEveryTouchedRegister)
{
    const BitCase& c = GetParam();
    Servo servo;
    for (int k = 0; k < c.before.size(); ++k)
        servo.reg(1, c.address + k) = c.before.at(k);
    ScriptedPort port;
    port.setResponder(std::ref(servo));
    TestableDriver driver;

    const bool result = c.function == FN16 ? driver.writeHRbit(&port, c.address, c.bit, c.data)
                                           : driver.writeHRbitWithFN6(&port, c.address, c.bit, c.data);

    EXPECT_TRUE(result) << driver.getLastError().toStdString();
    EXPECT_EQ(bodies(port.sentFrames()), c.frames);
    EXPECT_EQ(sendsAndPauses(port), c.sequence);
    for (int k = 0; k < c.after.size(); ++k)
        EXPECT_EQ(servo.reg(1, c.address + k), c.after.at(k)) << "register " << c.address + k;
}

INSTANTIATE_TEST_SUITE_P(
    ReadModifyWrite, BitWrites,
    testing::Values(
        BitCase{"hr100_bit3_set", FN16, 99, 3, bits({1}), {0x0000}, {0x0008},
                {"01 03 00 63 00 01", "01 10 00 63 00 01 02 00 08"}, "SDS"},
        BitCase{"bit14_three_bits_span_two_registers", FN16, 99, 14, bits({1, 0, 1}), {0x8000, 0x1200},
                {0x4000, 0x1201}, {"01 03 00 63 00 02", "01 10 00 63 00 02 04 40 00 12 01"}, "SDS"},
        BitCase{"data_02_counts_as_on", FN16, 0, 0, bits({2}), {0x1000}, {0x1001},
                {"01 03 00 00 00 01", "01 10 00 00 00 01 02 10 01"}, "SDS"},
        BitCase{"data_00_clears", FN16, 0, 3, bits({0}), {0x00FF}, {0x00F7},
                {"01 03 00 00 00 01", "01 10 00 00 00 01 02 00 f7"}, "SDS"},
        BitCase{"bit20_reads_and_writes_from_the_first_register", FN16, 10, 20, bits({1}), {0xAAAA, 0x0000},
                {0xAAAA, 0x0010}, {"01 03 00 0a 00 02", "01 10 00 0a 00 02 04 aa aa 00 10"}, "SDS"},
        BitCase{"unchanged_register_is_written_all_the_same", FN16, 0, 0, bits({1}), {0x0001}, {0x0001},
                {"01 03 00 00 00 01", "01 10 00 00 00 01 02 00 01"}, "SDS"},
        BitCase{"fn6_one_register", FN6, 99, 3, bits({1}), {0x0000}, {0x0008},
                {"01 03 00 63 00 01", "01 06 00 63 00 08"}, "SDS"},
        BitCase{"fn6_two_registers_pause_between", FN6, 99, 15, bits({1, 1}), {0x0000, 0x0000}, {0x8000, 0x0001},
                {"01 03 00 63 00 02", "01 06 00 63 80 00", "01 06 00 64 00 01"}, "SDSDS"}));

struct BitFailure {
    const char* name;
    Function function;
    unsigned char bit;
    QByteArray data;
    int exceptionAtRequest;
    bool silent;
    QStringList frames;
    QString error;
};

void PrintTo(const BitFailure& c, std::ostream* os) { *os << c.name; }

class BitWriteFailures : public testing::TestWithParam<BitFailure> {};

TEST_P(BitWriteFailures, StopWhereTheyFail)
{
    const BitFailure& c = GetParam();
    Servo servo;
    servo.exceptionAtRequest = c.exceptionAtRequest;
    if (c.silent)
        servo.silent.insert(1);
    ScriptedPort port;
    port.setResponder(std::ref(servo));
    TestableDriver driver;

    const bool result = c.function == FN16 ? driver.writeHRbit(&port, 99, c.bit, c.data)
                                           : driver.writeHRbitWithFN6(&port, 99, c.bit, c.data);

    EXPECT_FALSE(result);
    EXPECT_EQ(driver.getLastError(), c.error);
    const QStringList sent = bodies(port.sentFrames());
    EXPECT_EQ(sent.mid(0, 3), c.frames);
}

INSTANTIATE_TEST_SUITE_P(
    Failures, BitWriteFailures,
    testing::Values(
        BitFailure{"failed_read_writes_nothing", FN16, 0, bits({1}), 0, true, {"01 03 00 63 00 01"},
                   QStringLiteral("PLC no response")},
        BitFailure{"fn6_failed_read_writes_nothing", FN6, 0, bits({1}), 1, false, {"01 03 00 63 00 01"},
                   QStringLiteral("exception code:0x04")},
        BitFailure{"126_registers_refused_by_the_read", FN16, 0, QByteArray(2001, 1), 0, false, {},
                   QStringLiteral("can't read any word from HR100")},
        BitFailure{"124_registers_read_then_refused_by_the_write", FN16, 0, QByteArray(1969, 1), 0, false,
                   {"01 03 00 63 00 7c"}, QStringLiteral("can't write any word to HR100")},
        BitFailure{"fn16_write_exception", FN16, 0, bits({1}), 2, false,
                   {"01 03 00 63 00 01", "01 10 00 63 00 01 02 00 01"}, QStringLiteral("exception code:0x04")},
        BitFailure{"fn6_first_register_fails_second_not_sent", FN6, 15, bits({1, 1}), 2, false,
                   {"01 03 00 63 00 02", "01 06 00 63 80 00"}, QStringLiteral("exception code:0x04")}));

TEST(BitWrites, NoBitsMeansNothingToReadOrWrite)
{
    ScriptedPort port;
    TestableDriver driver;
    EXPECT_TRUE(driver.writeHRbit(&port, 99, 3, QByteArray()));
    EXPECT_TRUE(driver.writeHRbitWithFN6(&port, 99, 3, QByteArray()));
    EXPECT_TRUE(port.events().isEmpty());
    EXPECT_FALSE(driver.hasError());
}

TEST(BitWrites, GivenStationReadsWithoutCrcCheckAndWritesToTheSameStation)
{
    Servo servo;
    servo.breakReadCrc = true;
    servo.reg(9, 1299) = 0x0100;
    ScriptedPort port;
    port.setStationId(999);
    port.setResponder(std::ref(servo));
    TestableDriver driver;

    EXPECT_TRUE(driver.writeHRbit(&port, 1299, 5, bits({1}), 9));
    EXPECT_TRUE(driver.writeHRbitWithFN6(&port, 1299, 0, bits({1}), 9));

    EXPECT_EQ(bodies(port.sentFrames()).mid(1, 1), QStringList({"09 10 05 13 00 01 02 01 20"}));
    EXPECT_EQ(bodies(port.sentFrames()).mid(3, 1), QStringList({"09 06 05 13 01 21"}));
    EXPECT_EQ(servo.reg(9, 1299), 0x0121);
    EXPECT_EQ(port.count(Call::GetStationId), 0);
}

// Entry 10 stands for register 1299 of every listed servo.
struct Fanout {
    Servo servo;
    ScriptedPort port;
    TestableDriver driver;
    int progress = 0;

    explicit Fanout(QList<int> stations, int count = -1)
    {
        driver.setSpecial(StationCountEntry, static_cast<unsigned short>(count < 0 ? stations.size() : count));
        for (int k = 0; k < stations.size(); ++k)
            driver.setSpecial(1 + k, static_cast<unsigned short>(stations.at(k)));
        port.setResponder(std::ref(servo));
    }
    bool write(Function function, unsigned char bit, const QByteArray& data)
    {
        const unsigned short monitored = 60009;
        return function == FN16 ? driver.writeSpecialHRbit(&port, monitored, bit, data, progress)
                                : driver.writeSpecialFN6HRbit(&port, monitored, bit, data, progress);
    }
};

TEST(SpecialBitWrites, MonitoredBitGoesToEveryListedStationThenToTheTable)
{
    Fanout line({3, 4});
    line.servo.reg(3, 1299) = 0x0100;

    ASSERT_TRUE(line.write(FN16, 5, bits({1})));

    EXPECT_EQ(bodies(line.port.sentFrames()),
              QStringList({"03 03 05 13 00 01", "03 10 05 13 00 01 02 01 20", "04 03 05 13 00 01",
                           "04 10 05 13 00 01 02 00 20"}));
    // A pause between read and write of each station and one between the stations, none after the last.
    EXPECT_EQ(sendsAndPauses(line.port), QStringLiteral("SDSDSDS"));
    EXPECT_EQ(line.driver.special(MonitoredEntry), 0x0020);
    EXPECT_EQ(line.progress, 2);
}

TEST(SpecialBitWrites, Fn6FanOutWritesRegister1299WithFunction6)
{
    Fanout line({3, 4});
    line.driver.setSpecial(MonitoredEntry, 0x0001);

    ASSERT_TRUE(line.write(FN6, 5, bits({1})));

    EXPECT_EQ(bodies(line.port.sentFrames()), QStringList({"03 03 05 13 00 01", "03 06 05 13 00 20",
                                                            "04 03 05 13 00 01", "04 06 05 13 00 20"}));
    EXPECT_EQ(line.driver.special(MonitoredEntry), 0x0021);
}

TEST(SpecialBitWrites, FailedStationLeavesTheTableAndResumesOnRetry)
{
    // Entry 0 above 8: only entries 1..8 are stations, and the count is capped on failure.
    Fanout line({3, 4, 5, 6, 7, 8, 9, 10}, 9);
    line.servo.silent.insert(4);

    EXPECT_FALSE(line.write(FN16, 0, bits({1})));
    EXPECT_EQ(line.progress, 1);
    EXPECT_EQ(line.driver.special(MonitoredEntry), 0);
    EXPECT_EQ(line.driver.special(StationCountEntry), 8);
    EXPECT_EQ(line.driver.getLastError(), QStringLiteral("PLC no response"));

    line.servo.silent.clear();
    line.port.clearLog();
    ASSERT_TRUE(line.write(FN16, 0, bits({1})));
    const QStringList sent = bodies(line.port.sentFrames());
    ASSERT_EQ(sent.size(), 14); // stations 4..10, a read and a write each
    EXPECT_EQ(sent.first(), QStringLiteral("04 03 05 13 00 01"));
    EXPECT_EQ(sent.last(), QStringLiteral("0a 10 05 13 00 01 02 00 01"));
    EXPECT_EQ(line.progress, 8);
    EXPECT_EQ(line.driver.special(MonitoredEntry), 0x0001);
}

TEST(SpecialBitWrites, EmptyListChangesOnlyTheTable)
{
    Fanout line({});
    ASSERT_TRUE(line.write(FN16, 5, bits({1})));
    EXPECT_TRUE(line.port.events().isEmpty());
    EXPECT_EQ(line.driver.special(MonitoredEntry), 0x0020);
}

} // namespace
