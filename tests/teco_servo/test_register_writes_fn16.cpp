// Word, byte and double-word writes with function 16, and the echo exchange of every write.
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

// A servo that acknowledges every write with the 8-byte echo.
QByteArray echo(const QByteArray& request) { return withCrc(request.left(6)); }

// The frame without its CRC, after checking the CRC (the link layer's tests pin its bytes).
QString body(QByteArray frame)
{
    const bool crcOk = frame.size() >= 2
        && ModbusRTUSlaveCheckCRC(reinterpret_cast<unsigned char*>(frame.data()),
                                  static_cast<unsigned int>(frame.size()));
    return crcOk ? QString::fromLatin1(frame.left(frame.size() - 2).toHex(' '))
                 : QStringLiteral("bad crc: ") + QString::fromLatin1(frame.toHex(' '));
}

QByteArray hex(const char* text) { return QByteArray::fromHex(text); }

using Operation = std::function<bool(DriverTecoServo&, ScriptedPort&)>;

struct Fn16Case {
    const char* name;
    Operation operation;
    int station;
    QString frame; // without CRC; empty: nothing may be sent
    QString error; // empty: success expected
};

void PrintTo(const Fn16Case& c, std::ostream* os) { *os << c.name; }

Operation words(unsigned short address, QByteArray data)
{
    return [=](DriverTecoServo& d, ScriptedPort& p) { return d.writeWords(&p, address, data); };
}
Operation bytes(unsigned short address, QByteArray data)
{
    return [=](DriverTecoServo& d, ScriptedPort& p) { return d.writeBytes(&p, address, data); };
}
Operation dwords(unsigned short address, QByteArray data, bool highWordFirst)
{
    return [=](DriverTecoServo& d, ScriptedPort& p) { return d.writeDWords(&p, address, data, highWordFirst); };
}

class Fn16Writes : public testing::TestWithParam<Fn16Case> {};

TEST_P(Fn16Writes, SendOneExactRequest)
{
    const Fn16Case& c = GetParam();
    ScriptedPort port;
    port.setStationId(c.station);
    port.setResponder(echo);
    DriverTecoServo driver;

    EXPECT_EQ(c.operation(driver, port), c.error.isEmpty());

    const QList<QByteArray> sent = port.sentFrames();
    if (c.frame.isEmpty()) {
        EXPECT_TRUE(sent.isEmpty());
    } else {
        ASSERT_EQ(sent.size(), 1);
        EXPECT_EQ(body(sent.at(0)), c.frame);
    }
    EXPECT_EQ(driver.getLastError(), c.error);
    EXPECT_EQ(port.count(Call::GetDelay), 0);
}

// Host words are low byte first: 0x000A is 0A 00.
INSTANTIATE_TEST_SUITE_P(
    Frames, Fn16Writes,
    testing::Values(
        Fn16Case{"words_two_registers_at_1", words(1, hex("0A000201")), 1, "01 10 00 01 00 02 04 00 0a 01 02", {}},
        Fn16Case{"words_empty_sends_quantity_0", words(0, QByteArray()), 1, "01 10 00 00 00 00 00", {}},
        Fn16Case{"words_odd_length_counts_padded_word", words(99, hex("112233")), 1,
                 "01 10 00 63 00 02 04 22 11 00 33", {}},
        Fn16Case{"words_one_at_65535", words(65535, hex("3412")), 1, "01 10 ff ff 00 01 02 12 34", {}},
        Fn16Case{"words_two_at_65535", words(65535, hex("34127856")), 1, {},
                 QStringLiteral("can't write any word to HR65536")},
        Fn16Case{"words_124_registers", words(0, QByteArray(248, 1)), 1, {},
                 QStringLiteral("can't write any word to HR1")},
        Fn16Case{"words_247_bytes_pad_to_124", words(0, QByteArray(247, 1)), 1, {},
                 QStringLiteral("can't write any word to HR1")},
        Fn16Case{"words_bound_before_station", words(0, QByteArray(248, 1)), 256, {},
                 QStringLiteral("can't write any word to HR1")},
        Fn16Case{"words_station_256", words(0, hex("0100")), 256, {}, QStringLiteral("invalid slave id:256")},
        Fn16Case{"words_station_0", words(0, hex("0100")), 0, "00 10 00 00 00 01 02 00 01", {}},
        Fn16Case{"bytes_three_make_2211_0033", bytes(99, hex("112233")), 1, "01 10 00 63 00 02 04 22 11 00 33", {}},
        Fn16Case{"bytes_247_make_124_registers", bytes(9, QByteArray(247, 1)), 1, {},
                 QStringLiteral("can't write any byte to HR10")},
        Fn16Case{"bytes_odd_at_65535_needs_two_registers", bytes(65535, hex("112233")), 1, {},
                 QStringLiteral("can't write any byte to HR65536")},
        Fn16Case{"dwords_low_word_first", dwords(0, hex("44332211"), false), 1, "01 10 00 00 00 02 04 33 44 11 22", {}},
        Fn16Case{"dwords_high_word_first", dwords(0, hex("44332211"), true), 1, "01 10 00 00 00 02 04 11 22 33 44", {}},
        Fn16Case{"dwords_five_bytes_high_word_first_pad_to_two_values", dwords(0, hex("0102030405"), true), 1,
                 "01 10 00 00 00 04 08 04 03 02 01 00 00 00 05", {}},
        Fn16Case{"dwords_five_bytes_low_word_first_pad_to_three_registers", dwords(0, hex("0102030405"), false), 1,
                 "01 10 00 00 00 03 06 02 01 04 03 00 05", {}},
        Fn16Case{"dwords_62_values", dwords(0, QByteArray(248, 1), true), 1, {},
                 QStringLiteral("can't write any double word to HR1")},
        Fn16Case{"dwords_padding_counts_against_bound", dwords(0, QByteArray(245, 1), true), 1, {},
                 QStringLiteral("can't write any double word to HR1")}));

TEST(Fn16Writes, MostRegistersFitOneRequestOf255Bytes)
{
    ScriptedPort port;
    port.setResponder(echo);
    DriverTecoServo driver;
    ASSERT_TRUE(driver.writeWords(&port, 0, QByteArray(246, 1)));
    ASSERT_EQ(port.sentFrames().size(), 1);
    EXPECT_EQ(port.sentFrames().at(0).size(), 255);
    EXPECT_EQ(port.sentFrames().at(0).left(7).toHex(' '), QByteArray("01 10 00 00 00 7b f6"));

    port.clearLog();
    ASSERT_TRUE(driver.writeDWords(&port, 0, QByteArray(244, 1), true));
    EXPECT_EQ(port.sentFrames().at(0).left(7).toHex(' '), QByteArray("01 10 00 00 00 7a f4"));
}

TEST(Fn16Writes, FrameMatchesPublishedExample)
{
    ScriptedPort port;
    port.setResponder(echo);
    DriverTecoServo driver;
    ASSERT_TRUE(driver.writeWords(&port, 1, hex("0A000201")));
    EXPECT_EQ(port.sentFrames().at(0).toHex(' '), QByteArray("01 10 00 01 00 02 04 00 0a 01 02 92 30"));
}

TEST(Fn16Writes, GivenStationIsUsedWithoutAskingThePort)
{
    ScriptedPort port;
    port.setStationId(999);
    port.setResponder(echo);
    DriverTecoServo driver;
    ASSERT_TRUE(driver.writeWords(&port, 1299, hex("0500"), 7));
    EXPECT_EQ(body(port.sentFrames().at(0)), QStringLiteral("07 10 05 13 00 01 02 00 05"));
    EXPECT_EQ(port.count(Call::GetStationId), 0);
}

// The write exchange, whatever the servo answers. A write reply is the 8-byte
// echo: 5 bytes first, then the 3 left.
struct ReplyCase {
    const char* name;
    std::function<void(ScriptedPort&)> script;
    bool result;
    QString error;
    QList<int> receives;
};

void PrintTo(const ReplyCase& c, std::ostream* os) { *os << c.name; }

class WriteReplies : public testing::TestWithParam<ReplyCase> {};

TEST_P(WriteReplies, AreJudgedByteByByte)
{
    const ReplyCase& c = GetParam();
    ScriptedPort port;
    c.script(port);
    DriverTecoServo driver;

    EXPECT_EQ(driver.writeWords(&port, 1, hex("0A000201")), c.result);
    EXPECT_EQ(driver.getLastError(), c.error);
    EXPECT_EQ(port.receiveRequests(), c.receives);
    EXPECT_EQ(port.callSequence().mid(0, 3), QList<Call>({Call::GetStationId, Call::SetOption, Call::Send}));
    ASSERT_EQ(port.events().at(1).optionCode, 12);
    EXPECT_EQ(port.events().at(1).optionValue, QVariant(0));
}

INSTANTIATE_TEST_SUITE_P(
    Exchange, WriteReplies,
    testing::Values(
        ReplyCase{"echo", [](ScriptedPort& p) { p.queueBytes(withCrc(hex("011000010002"))); }, true, {}, {5, 3}},
        ReplyCase{"echo_fields_not_compared", [](ScriptedPort& p) { p.queueBytes(withCrc(hex("01107777FFFF"))); },
                  true, {}, {5, 3}},
        ReplyCase{"silence", [](ScriptedPort& p) { p.queueSilence(0); }, false, QStringLiteral("PLC no response"), {5}},
        ReplyCase{"three_bytes", [](ScriptedPort& p) { p.queueHex("011000"); }, false,
                  QStringLiteral("received bytes < 5"), {5}},
        ReplyCase{"other_slave", [](ScriptedPort& p) { p.queueBytes(withCrc(hex("021000010002"))); }, false,
                  QStringLiteral("invalid slave id:2"), {5}},
        ReplyCase{"exception_reply_ends_after_5", [](ScriptedPort& p) { p.queueBytes(withCrc(hex("019002"))); },
                  false, QStringLiteral("exception code:0x02"), {5}},
        ReplyCase{"other_function", [](ScriptedPort& p) { p.queueBytes(withCrc(hex("010600010002"))); }, false,
                  QStringLiteral("invalid response"), {5}},
        ReplyCase{"rest_two_bytes_short",
                  [](ScriptedPort& p) {
                      p.queueHex("0110000100");
                      p.queueHex("02");
                  },
                  false, QStringLiteral("packet loss"), {5, 3}},
        ReplyCase{"bad_crc", [](ScriptedPort& p) { p.queueHex("0110000100020000"); }, false,
                  QStringLiteral("CRC error"), {5, 3}}));

} // namespace
