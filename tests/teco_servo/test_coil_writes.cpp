// Coil writes with function 15 and function 5, byte for byte on the scripted port.
#include <QByteArray>
#include <QStringList>
#include <gtest/gtest.h>
#include <ostream>

#include "support/scripted_port.h"
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_rtu_frame.h"

namespace {

using Call = ScriptedPort::Call;

// A servo that acknowledges every write with the 8-byte echo.
QByteArray echo(const QByteArray& request)
{
    QByteArray reply = request.left(6);
    ModbusRTUSlaveAppendCRC(reply);
    return reply;
}

QByteArray exceptionReply(unsigned char slave, unsigned char function, unsigned char code)
{
    QByteArray reply;
    reply.append(static_cast<char>(slave)).append(static_cast<char>(function | 0x80)).append(static_cast<char>(code));
    ModbusRTUSlaveAppendCRC(reply);
    return reply;
}

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

QByteArray coils(std::initializer_list<int> values)
{
    QByteArray data;
    for (int v : values)
        data.append(static_cast<char>(v));
    return data;
}

enum Function { FN15, FN5 };

struct CoilCase {
    const char* name;
    Function function;
    unsigned short address;
    QByteArray data;
    int station;
    bool result;
    QStringList frames; // without CRC
    QString error;      // empty: no error expected
};

void PrintTo(const CoilCase& c, std::ostream* os) { *os << c.name; }

class CoilWrites : public testing::TestWithParam<CoilCase> {};

TEST_P(CoilWrites, SendExactlyTheseFrames)
{
    const CoilCase& c = GetParam();
    ScriptedPort port;
    port.setStationId(c.station);
    port.setResponder(echo);
    DriverTecoServo driver;

    const bool result = c.function == FN15 ? driver.writeCoils(&port, c.address, c.data)
                                           : driver.writeCoilsWithFN5(&port, c.address, c.data);

    EXPECT_EQ(result, c.result);
    EXPECT_EQ(bodies(port.sentFrames()), c.frames);
    EXPECT_EQ(driver.hasError(), !c.error.isEmpty());
    EXPECT_EQ(driver.getLastError(), c.error);
    // Coils follow each other without a pause, and the station is asked once.
    EXPECT_EQ(port.count(Call::GetDelay), 0);
    EXPECT_EQ(port.count(Call::GetStationId), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Frames, CoilWrites,
    testing::Values(
        CoilCase{"fn15_nine_coils_packed_0901", FN15, 0, coils({1, 0, 0, 5, 0, 0, 0, 0, 7}), 1, true,
                 {"01 0f 00 00 00 09 02 09 01"}, {}},
        CoilCase{"fn15_empty_sends_quantity_0", FN15, 0, QByteArray(), 1, true, {"01 0f 00 00 00 00 00"}, {}},
        CoilCase{"fn15_station_255", FN15, 4, coils({1}), 255, true, {"ff 0f 00 04 00 01 01 01"}, {}},
        CoilCase{"fn15_last_coil_65535", FN15, 65535, coils({1}), 1, true, {"01 0f ff ff 00 01 01 01"}, {}},
        CoilCase{"fn15_past_coil_65535", FN15, 65535, coils({1, 1}), 1, false, {},
                 QStringLiteral("can't write 2 bits to DO65536")},
        CoilCase{"fn15_1977_coils", FN15, 0, QByteArray(1977, 1), 1, false, {},
                 QStringLiteral("can't write 1977 bits to DO1")},
        CoilCase{"fn15_station_256", FN15, 0, coils({1}), 256, false, {}, QStringLiteral("invalid slave id:256")},
        CoilCase{"fn15_station_before_bound", FN15, 0, QByteArray(1977, 1), -1, false, {},
                 QStringLiteral("invalid slave id:-1")},
        CoilCase{"fn5_three_consecutive_coils", FN5, 0x00AC, coils({2, 0, 1}), 1, true,
                 {"01 05 00 ac ff 00", "01 05 00 ad 00 00", "01 05 00 ae ff 00"}, {}},
        CoilCase{"fn5_empty_sends_nothing", FN5, 0, QByteArray(), 1, true, {}, {}},
        CoilCase{"fn5_1977_coils", FN5, 9, QByteArray(1977, 1), 1, false, {},
                 QStringLiteral("can't write 1977 bits to DO10")},
        CoilCase{"fn5_past_coil_65535", FN5, 65534, coils({0, 1, 0}), 1, false, {},
                 QStringLiteral("can't write 3 bits to DO65535")},
        CoilCase{"fn5_station_300", FN5, 0, coils({1}), 300, false, {}, QStringLiteral("invalid slave id:300")}));

TEST(CoilWrites, Fn15FrameMatchesPublishedExample)
{
    // Coils 20..29 with the bit pattern CD 01.
    ScriptedPort port;
    port.setResponder(echo);
    DriverTecoServo driver;
    ASSERT_TRUE(driver.writeCoils(&port, 0x0013, coils({1, 0, 1, 1, 0, 0, 1, 1, 1, 0})));
    ASSERT_EQ(port.sentFrames().size(), 1);
    EXPECT_EQ(port.sentFrames().at(0).toHex(' '), QByteArray("01 0f 00 13 00 0a 02 cd 01 72 cb"));
}

TEST(CoilWrites, Fn5FrameMatchesPublishedExample)
{
    ScriptedPort port;
    port.setResponder(echo);
    DriverTecoServo driver;
    ASSERT_TRUE(driver.writeCoilsWithFN5(&port, 0x00AC, coils({1})));
    ASSERT_EQ(port.sentFrames().size(), 1);
    EXPECT_EQ(port.sentFrames().at(0).toHex(' '), QByteArray("01 05 00 ac ff 00 4c 1b"));
}

TEST(CoilWrites, Fn15With1976CoilsIsOneFullRequest)
{
    ScriptedPort port;
    port.setResponder(echo);
    DriverTecoServo driver;
    ASSERT_TRUE(driver.writeCoils(&port, 0, QByteArray(1976, 1)));
    ASSERT_EQ(port.sentFrames().size(), 1);
    const QByteArray frame = port.sentFrames().at(0);
    EXPECT_EQ(frame.size(), 256);
    EXPECT_EQ(frame.left(7).toHex(' '), QByteArray("01 0f 00 00 07 b8 f7"));
    EXPECT_EQ(frame.mid(7, 247), QByteArray(247, '\xff'));
}

TEST(CoilWrites, Fn5StopsAtTheFirstFailedCoil)
{
    ScriptedPort port;
    int requests = 0;
    port.setResponder([&](const QByteArray& request) {
        return ++requests == 2 ? exceptionReply(1, 5, 2) : echo(request);
    });
    DriverTecoServo driver;

    EXPECT_FALSE(driver.writeCoilsWithFN5(&port, 0, coils({1, 1, 1})));

    EXPECT_EQ(bodies(port.sentFrames()), QStringList({"01 05 00 00 ff 00", "01 05 00 01 ff 00"}));
    EXPECT_EQ(driver.getLastError(), QStringLiteral("exception code:0x02"));
}

TEST(CoilWrites, EachCoilIsOneFullExchange)
{
    ScriptedPort port;
    port.setResponder(echo);
    DriverTecoServo driver;
    ASSERT_TRUE(driver.writeCoilsWithFN5(&port, 0, coils({1, 0})));
    EXPECT_EQ(port.callSequence(),
              QList<Call>({Call::GetStationId, Call::SetOption, Call::Send, Call::Receive, Call::Receive,
                           Call::SetOption, Call::Send, Call::Receive, Call::Receive}));
    EXPECT_EQ(port.receiveRequests(), QList<int>({5, 3, 5, 3}));
}

} // namespace
