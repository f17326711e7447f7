// Register writes with function 6: one exact transaction per register, stopped by the first failure.
#include <QByteArray>
#include <QStringList>
#include <functional>
#include <gtest/gtest.h>
#include <ostream>

#include "support/scripted_port.h"
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_rtu_frame.h"

namespace {

using Call = ScriptedPort::Call;

QByteArray withCrc(QByteArray bytes)
{
    ModbusRTUSlaveAppendCRC(bytes);
    return bytes;
}

QByteArray echo(const QByteArray& request) { return withCrc(request.left(6)); }

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

QByteArray hex(const char* text) { return QByteArray::fromHex(text); }

using Operation = std::function<bool(DriverTecoServo&, ScriptedPort&)>;

Operation words(unsigned short address, QByteArray data)
{
    return [=](DriverTecoServo& d, ScriptedPort& p) { return d.writeWordsWithFN6(&p, address, data); };
}
Operation bytes(unsigned short address, QByteArray data)
{
    return [=](DriverTecoServo& d, ScriptedPort& p) { return d.writeBytesWithFN6(&p, address, data); };
}
Operation dwords(unsigned short address, QByteArray data, bool highWordFirst)
{
    return [=](DriverTecoServo& d, ScriptedPort& p) {
        return d.writeDWordsWithFN6(&p, address, data, highWordFirst);
    };
}

struct Fn6Case {
    const char* name;
    Operation operation;
    int station;
    QStringList frames; // without CRC
    QString error;      // empty: success expected
    int stationQueries; // getStationId calls
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

    EXPECT_EQ(c.operation(driver, port), c.error.isEmpty());

    EXPECT_EQ(bodies(port.sentFrames()), c.frames);
    EXPECT_EQ(driver.getLastError(), c.error);
    EXPECT_EQ(port.count(Call::GetStationId), c.stationQueries);
    // Registers of one write follow each other without a pause.
    EXPECT_EQ(port.count(Call::GetDelay), 0);
}

// Host words are low byte first: 0x1122 is 22 11.
INSTANTIATE_TEST_SUITE_P(
    Frames, Fn6Writes,
    testing::Values(
        // The station is checked once up front and asked again for every register.
        Fn6Case{"words_three_at_99", words(99, hex("221144336655")), 1,
                {"01 06 00 63 11 22", "01 06 00 64 33 44", "01 06 00 65 55 66"}, {}, 4},
        Fn6Case{"words_empty_sends_nothing", words(0, QByteArray()), 1, {}, {}, 1},
        Fn6Case{"words_odd_length_counts_padded_word", words(0, hex("112233")), 1,
                {"01 06 00 00 22 11", "01 06 00 01 00 33"}, {}, 3},
        Fn6Case{"words_124_fail_before_station", words(99, QByteArray(248, 1)), 1, {},
                QStringLiteral("can't write any word to HR100"), 0},
        Fn6Case{"words_station_256", words(0, hex("0100")), 256, {}, QStringLiteral("invalid slave id:256"), 1},
        Fn6Case{"bytes_three_make_2211_0033", bytes(0, hex("112233")), 1,
                {"01 06 00 00 22 11", "01 06 00 01 00 33"}, {}, 3},
        Fn6Case{"bytes_odd_at_65535_would_wrap", bytes(65535, hex("112233")), 1, {},
                QStringLiteral("can't write any byte to HR65536"), 0},
        Fn6Case{"dwords_low_word_first", dwords(4, hex("44332211"), false), 1,
                {"01 06 00 04 33 44", "01 06 00 05 11 22"}, {}, 3},
        Fn6Case{"dwords_high_word_first", dwords(4, hex("44332211"), true), 1,
                {"01 06 00 04 11 22", "01 06 00 05 33 44"}, {}, 3},
        Fn6Case{"dwords_three_bytes_high_word_first_pad_to_one_value", dwords(0, hex("010203"), true), 1,
                {"01 06 00 00 00 03", "01 06 00 01 02 01"}, {}, 3},
        Fn6Case{"dwords_62_values", dwords(0, QByteArray(248, 1), false), 1, {},
                QStringLiteral("can't write any double word to HR1"), 0}));

TEST(Fn6Writes, LongestRunEndsAtTheLastRegister)
{
    ScriptedPort port;
    port.setResponder(echo);
    DriverTecoServo driver;
    ASSERT_TRUE(driver.writeWordsWithFN6(&port, 65413, QByteArray(246, 0)));
    const QStringList sent = bodies(port.sentFrames());
    ASSERT_EQ(sent.size(), 123);
    EXPECT_EQ(sent.first(), QStringLiteral("01 06 ff 85 00 00"));
    EXPECT_EQ(sent.last(), QStringLiteral("01 06 ff ff 00 00"));
}

TEST(Fn6Writes, StopAtTheFirstFailedRegister)
{
    ScriptedPort port;
    int requests = 0;
    port.setResponder([&](const QByteArray& request) {
        return ++requests == 2 ? withCrc(hex("018604")) : echo(request);
    });
    DriverTecoServo driver;

    EXPECT_FALSE(driver.writeWordsWithFN6(&port, 99, hex("010002000300")));

    EXPECT_EQ(bodies(port.sentFrames()), QStringList({"01 06 00 63 00 01", "01 06 00 64 00 02"}));
    EXPECT_EQ(driver.getLastError(), QStringLiteral("exception code:0x04"));
}

TEST(Fn6Writes, StationChangedMidRunStopsTheRun)
{
    // Every register asks the port again, so a station that turns invalid ends the run there.
    ScriptedPort port;
    int requests = 0;
    port.setResponder([&](const QByteArray& request) {
        if (++requests == 1)
            port.setStationId(300);
        return echo(request);
    });
    DriverTecoServo driver;

    EXPECT_FALSE(driver.writeWordsWithFN6(&port, 0, hex("01000200")));

    EXPECT_EQ(port.sentFrames().size(), 1);
    EXPECT_EQ(driver.getLastError(), QStringLiteral("invalid slave id:300"));
}

TEST(Fn6Writes, SingleRegisterFrameMatchesPublishedExample)
{
    ScriptedPort port;
    port.setResponder(echo);
    DriverTecoServo driver;
    ASSERT_TRUE(driver.writeWordWithFN6(&port, 1, hex("0003")));
    EXPECT_EQ(port.sentFrames().at(0).toHex(' '), QByteArray("01 06 00 01 00 03 98 0b"));
    EXPECT_EQ(port.receiveRequests(), QList<int>({5, 3}));
}

TEST(Fn6Writes, GivenStationIsUsedForEveryRegisterWithoutAskingThePort)
{
    ScriptedPort port;
    port.setStationId(999);
    port.setResponder(echo);
    DriverTecoServo driver;
    ASSERT_TRUE(driver.writeWordsWithFN6(&port, 1299, hex("05000600"), 9));
    EXPECT_EQ(bodies(port.sentFrames()), QStringList({"09 06 05 13 00 05", "09 06 05 14 00 06"}));
    EXPECT_EQ(port.count(Call::GetStationId), 0);
}

} // namespace
