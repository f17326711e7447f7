// Register writes with function 6: one exact transaction per register, stopped by the first failure.
#include <functional>
#include <gtest/gtest.h>

#include "support/scripted_port.h"
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_rtu_frame.h"

namespace {

QByteArray hex(const char* text) { return QByteArray::fromHex(text); }

QByteArray withCrc(QByteArray frame)
{
    ModbusRTUSlaveAppendCRC(frame);
    return frame;
}

QByteArray echo(const QByteArray& request) { return withCrc(request.left(6)); }

// Frames as sent without their CRC (the link layer's tests pin it), joined by " | ".
QString wire(const ScriptedPort& port)
{
    QStringList frames;
    for (const QByteArray& frame : port.sentFrames())
        frames << QString::fromLatin1(frame.chopped(2).toHex(' '));
    return frames.join(QStringLiteral(" | "));
}

using Write = std::function<bool(DriverTecoServo&, ScriptedPort&)>;

Write words(unsigned short at, QByteArray d)
{
    return [=](DriverTecoServo& w, ScriptedPort& p) { return w.writeWordsWithFN6(&p, at, d); };
}
Write bytes(unsigned short at, QByteArray d)
{
    return [=](DriverTecoServo& w, ScriptedPort& p) { return w.writeBytesWithFN6(&p, at, d); };
}
Write dwords(unsigned short at, QByteArray d, bool hwf)
{
    return [=](DriverTecoServo& w, ScriptedPort& p) { return w.writeDWordsWithFN6(&p, at, d, hwf); };
}

struct Fn6Case {
    const char* name;
    Write write;
    int station;
    QString frames;
    QString error;
    int stationQueries;
};

void PrintTo(const Fn6Case& c, std::ostream* os) { *os << c.name; }

class Fn6Writes : public testing::TestWithParam<Fn6Case> {};

TEST_P(Fn6Writes, SendOneRequestPerRegister)
{
    const Fn6Case& c = GetParam();
    ScriptedPort port;
    port.setStationId(c.station);
    port.setResponder(echo);
    DriverTecoServo driver;

    EXPECT_EQ(c.write(driver, port), c.error.isEmpty());
    EXPECT_EQ(wire(port).toStdString(), c.frames.toStdString());
    EXPECT_EQ(driver.getLastError().toStdString(), c.error.toStdString());
    EXPECT_EQ(port.count(ScriptedPort::Call::GetStationId), c.stationQueries) << "once up front, then per register";
    EXPECT_EQ(port.count(ScriptedPort::Call::GetDelay), 0) << "no pause between registers";
}

INSTANTIATE_TEST_SUITE_P(
    Frames, Fn6Writes,
    testing::Values(
        Fn6Case{"words_three_at_99", words(99, hex("221144336655")), 1,
                "01 06 00 63 11 22 | 01 06 00 64 33 44 | 01 06 00 65 55 66", {}, 4},
        Fn6Case{"words_empty_sends_nothing", words(0, {}), 1, {}, {}, 1},
        Fn6Case{"words_odd_length_pads_last_word", words(0, hex("112233")), 1, "01 06 00 00 22 11 | 01 06 00 01 00 33", {}, 3},
        Fn6Case{"words_124", words(99, QByteArray(248, 0)), 1, {}, "can't write any word to HR100", 0},
        Fn6Case{"words_station_256", words(0, hex("0100")), 256, {}, "invalid slave id:256", 1},
        Fn6Case{"bytes_pair_into_2211_0033", bytes(0, hex("112233")), 1, "01 06 00 00 22 11 | 01 06 00 01 00 33", {}, 3},
        Fn6Case{"bytes_padded_register_would_wrap", bytes(65535, hex("112233")), 1, {}, "can't write any byte to HR65536", 0},
        Fn6Case{"dwords_low_word_first", dwords(4, hex("44332211"), false), 1, "01 06 00 04 33 44 | 01 06 00 05 11 22", {}, 3},
        Fn6Case{"dwords_high_word_first", dwords(4, hex("44332211"), true), 1, "01 06 00 04 11 22 | 01 06 00 05 33 44", {}, 3},
        Fn6Case{"dwords_62_values", dwords(0, QByteArray(248, 0), false), 1, {}, "can't write any double word to HR1", 0}));

TEST(Fn6Writes, StopAtTheFirstFailedRegister)
{
    ScriptedPort port;
    int requests = 0;
    port.setResponder([&](const QByteArray& r) { return ++requests == 2 ? withCrc(hex("018604")) : echo(r); });
    DriverTecoServo driver;

    EXPECT_FALSE(driver.writeWordsWithFN6(&port, 99, hex("010002000300")));
    EXPECT_EQ(wire(port), QStringLiteral("01 06 00 63 00 01 | 01 06 00 64 00 02"));
    EXPECT_EQ(driver.getLastError(), QStringLiteral("exception code:0x04"));
}

TEST(Fn6Writes, GivenStationIsUsedForEveryRegister)
{
    ScriptedPort port;
    port.setStationId(999);
    port.setResponder(echo);
    DriverTecoServo driver;
    EXPECT_TRUE(driver.writeWordsWithFN6(&port, 1299, hex("05000600"), 9));
    EXPECT_EQ(wire(port), QStringLiteral("09 06 05 13 00 05 | 09 06 05 14 00 06"));
    EXPECT_EQ(port.count(ScriptedPort::Call::GetStationId), 0);
}

} // namespace
