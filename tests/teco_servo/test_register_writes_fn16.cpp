// Word, byte and double-word writes with function 16, and the echo exchange of a write.
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
    return [=](DriverTecoServo& w, ScriptedPort& p) { return w.writeWords(&p, at, d); };
}
Write bytes(unsigned short at, QByteArray d)
{
    return [=](DriverTecoServo& w, ScriptedPort& p) { return w.writeBytes(&p, at, d); };
}
Write dwords(unsigned short at, QByteArray d, bool hwf)
{
    return [=](DriverTecoServo& w, ScriptedPort& p) { return w.writeDWords(&p, at, d, hwf); };
}

struct Fn16Case {
    const char* name;
    Write write;
    int station;
    QString frame;
    QString error;
};

void PrintTo(const Fn16Case& c, std::ostream* os) { *os << c.name; }

class Fn16Writes : public testing::TestWithParam<Fn16Case> {};

TEST_P(Fn16Writes, SendOneExactRequest)
{
    const Fn16Case& c = GetParam();
    ScriptedPort port;
    port.setStationId(c.station);
    port.setResponder(echo);
    DriverTecoServo driver;

    EXPECT_EQ(c.write(driver, port), c.error.isEmpty());
    EXPECT_EQ(wire(port).toStdString(), c.frame.toStdString());
    EXPECT_EQ(driver.getLastError().toStdString(), c.error.toStdString());
}

// Host words go low byte first: 0x1234 is 34 12. An odd length counts the padded word.
INSTANTIATE_TEST_SUITE_P(
    Frames, Fn16Writes,
    testing::Values(
        Fn16Case{"words_two_at_1", words(1, hex("0a000201")), 1, "01 10 00 01 00 02 04 00 0a 01 02", {}},
        Fn16Case{"words_empty_sends_quantity_0", words(0, {}), 1, "01 10 00 00 00 00 00", {}},
        Fn16Case{"words_odd_length_pads_last_word", words(99, hex("112233")), 1, "01 10 00 63 00 02 04 22 11 00 33", {}},
        Fn16Case{"words_123_fill_255_bytes", words(0, QByteArray(246, 0)), 1,
                 QStringLiteral("01 10 00 00 00 7b f6") + QStringLiteral(" 00").repeated(246), {}},
        Fn16Case{"words_124", words(0, QByteArray(248, 0)), 1, {}, "can't write any word to HR1"},
        Fn16Case{"words_247_bytes_are_124_registers", words(0, QByteArray(247, 0)), 1, {}, "can't write any word to HR1"},
        Fn16Case{"words_one_at_65535", words(65535, hex("3412")), 0, "00 10 ff ff 00 01 02 12 34", {}},
        Fn16Case{"words_two_at_65535", words(65535, hex("34127856")), 1, {}, "can't write any word to HR65536"},
        Fn16Case{"words_bound_before_station", words(0, QByteArray(248, 0)), 256, {}, "can't write any word to HR1"},
        Fn16Case{"words_station_256", words(0, hex("0100")), 256, {}, "invalid slave id:256"},
        Fn16Case{"bytes_pair_into_2211_0033", bytes(99, hex("112233")), 1, "01 10 00 63 00 02 04 22 11 00 33", {}},
        Fn16Case{"bytes_odd_at_65535_need_two_registers", bytes(65535, hex("112233")), 1, {},
                 "can't write any byte to HR65536"},
        Fn16Case{"dwords_low_word_first", dwords(0, hex("44332211"), false), 1, "01 10 00 00 00 02 04 33 44 11 22", {}},
        Fn16Case{"dwords_high_word_first", dwords(0, hex("44332211"), true), 1, "01 10 00 00 00 02 04 11 22 33 44", {}},
        Fn16Case{"dwords_five_bytes_pad_to_two_values", dwords(0, hex("0102030405"), true), 1,
                 "01 10 00 00 00 04 08 04 03 02 01 00 00 00 05", {}},
        Fn16Case{"dwords_62_values", dwords(9, QByteArray(248, 0), false), 1, {}, "can't write any double word to HR10"},
        Fn16Case{"dwords_padding_counts_against_bound", dwords(0, QByteArray(245, 0), true), 1, {},
                 "can't write any double word to HR1"}));

TEST(Fn16Writes, GivenStationIsUsedWithoutAskingThePort)
{
    ScriptedPort port;
    port.setStationId(999);
    port.setResponder(echo);
    DriverTecoServo driver;
    EXPECT_TRUE(driver.writeWords(&port, 1299, hex("0500"), 7));
    EXPECT_EQ(wire(port), QStringLiteral("07 10 05 13 00 01 02 00 05"));
    EXPECT_EQ(port.count(ScriptedPort::Call::GetStationId), 0);
}

// The write reply is the 8-byte echo: 5 bytes asked for first, then 3.
struct ReplyCase {
    const char* name;
    QList<QByteArray> chunks;
    QString error;
    QList<int> receives;
};

void PrintTo(const ReplyCase& c, std::ostream* os) { *os << c.name; }

class WriteReplies : public testing::TestWithParam<ReplyCase> {};

TEST_P(WriteReplies, AreJudgedWithoutComparingTheEchoedFields)
{
    const ReplyCase& c = GetParam();
    ScriptedPort port;
    for (const QByteArray& chunk : c.chunks)
        port.queueBytes(chunk);
    DriverTecoServo driver;

    EXPECT_EQ(driver.writeWords(&port, 1, hex("0a000201")), c.error.isEmpty());
    EXPECT_EQ(driver.getLastError().toStdString(), c.error.toStdString());
    EXPECT_EQ(port.receiveRequests(), c.receives);
}

INSTANTIATE_TEST_SUITE_P(
    Exchange, WriteReplies,
    testing::Values(ReplyCase{"echo", {withCrc(hex("011000010002"))}, {}, {5, 3}},
                    ReplyCase{"other_address_and_count", {withCrc(hex("01107777ffff"))}, {}, {5, 3}},
                    ReplyCase{"exception_ends_after_5", {withCrc(hex("019002"))}, "exception code:0x02", {5}},
                    ReplyCase{"rest_one_short", {hex("0110000100"), hex("02")}, "packet loss", {5, 3}},
                    ReplyCase{"bad_crc", {hex("0110000100020000")}, "CRC error", {5, 3}}));

} // namespace
