// Register reads: bounds, station, function code, reply lengths and conversion.
#include "read_case.h"

namespace {

using Port = ScriptedPort;

const char* const TenRegisters = "0001 0002 0003 0004 0005 0006 0007 0008 0009 000A";
const char* const TenInHostOrder = "0100 0200 0300 0400 0500 0600 0700 0800 0900 0A00";

auto words(const char* prefix, unsigned short address, int count)
{
    return [=](TestableDriver& d, Port& p) { return d.readWords(&p, prefix, address, count); };
}
auto wordsFrom(unsigned char station, const char* prefix, unsigned short address, int count)
{
    return [=](TestableDriver& d, Port& p) { return d.readWords(&p, prefix, address, count, station); };
}
auto dwords(const char* prefix, unsigned short address, int count, bool highWordFirst)
{
    return [=](TestableDriver& d, Port& p) {
        return d.readDWords(&p, prefix, address, count, highWordFirst);
    };
}
auto bytes(const char* prefix, unsigned short address, int count)
{
    return [=](TestableDriver& d, Port& p) { return d.readBytes(&p, prefix, address, count); };
}

QByteArray registers(int n)
{
    QByteArray data;
    for (int k = 0; k < n; ++k)
        data.append(static_cast<char>(k)).append(static_cast<char>(0x80 | k));
    return data;
}
QByteArray registersInHostOrder(int n)
{
    QByteArray data;
    for (int k = 0; k < n; ++k)
        data.append(static_cast<char>(0x80 | k)).append(static_cast<char>(k));
    return data;
}

class RegisterReads : public testing::TestWithParam<ReadCase> {};

TEST_P(RegisterReads, AreWireExact) { runReadCase(GetParam()); }

INSTANTIATE_TEST_SUITE_P(
    Words, RegisterReads,
    testing::Values(
        ReadCase{"hr100_ten_words", words("HR", 99, 10), {readReply(1, 3, TenRegisters)},
                 withCrc("0103 0063 000A"), {5, 20}, hex(TenInHostOrder), ""},
        ReadCase{"example_frame_hr1", words("HR", 0, 10), {readReply(1, 3, TenRegisters)},
                 hex("0103 0000 000A C5CD"), {5, 20}, hex(TenInHostOrder), ""},
        ReadCase{"lower_case_hr", words("hr", 0, 1), {readReply(1, 3, "1234")},
                 withCrc("0103 0000 0001"), {5, 2}, hex("3412"), ""},
        ReadCase{"lower_case_fn6hr_reads_fn3", words("fn6hr", 0, 1), {readReply(1, 3, "1234")},
                 withCrc("0103 0000 0001"), {5, 2}, hex("3412"), ""},
        ReadCase{"input_registers_fn4", words("IR", 5, 1), {readReply(1, 4, "ABCD")},
                 withCrc("0104 0005 0001"), {5, 2}, hex("CDAB"), ""},
        ReadCase{"station_255", words("HR", 0, 1), {readReply(255, 3, "0001")},
                 withCrc("FF03 0000 0001"), {5, 2}, hex("0100"), "", 255},
        ReadCase{"last_register_65535", words("HR", 65500, 36), {readReply(1, 3, registers(36))},
                 withCrc("0103 FFDC 0024"), {5, 72}, registersInHostOrder(36), ""},
        ReadCase{"past_register_65535", words("HR", 65500, 37), {}, {}, {}, {},
                 "can't read any word from HR65501"},
        ReadCase{"address_ffff_one_word", words("HR", 0xFFFF, 1), {readReply(1, 3, "0102")},
                 withCrc("0103 FFFF 0001"), {5, 2}, hex("0201"), ""},
        ReadCase{"address_ffff_two_words", words("HR", 0xFFFF, 2), {}, {}, {}, {},
                 "can't read any word from HR65536"},
        ReadCase{"count_125", words("HR", 0, 125), {readReply(1, 3, registers(125))},
                 withCrc("0103 0000 007D"), {5, 250}, registersInHostOrder(125), ""},
        ReadCase{"count_126", words("HR", 0, 126), {}, {}, {}, {}, "can't read any word from HR1"},
        ReadCase{"count_0", words("HR", 99, 0), {}, {}, {}, {}, "can't read any word from HR100"},
        ReadCase{"count_negative", words("IR", 99, -1), {}, {}, {}, {},
                 "can't read any word from IR100"},
        ReadCase{"station_256", words("HR", 0, 1), {}, {}, {}, {}, "invalid slave id:256", 256},
        ReadCase{"exception_reply_ends_after_5", words("HR", 99, 10), {hex("018302C0F1")},
                 withCrc("0103 0063 000A"), {5}, {}, "exception code:0x02"},
        ReadCase{"rest_one_byte_short", words("HR", 99, 10),
                 {readReply(1, 3, TenRegisters).left(24)}, withCrc("0103 0063 000A"), {5, 20}, {},
                 "packet loss"},
        ReadCase{"rest_missing", words("HR", 99, 10), {readReply(1, 3, TenRegisters).left(5)},
                 withCrc("0103 0063 000A"), {5, 20}, {}, "packet loss"},
        ReadCase{"bad_crc", words("HR", 99, 10), {withBadCrc(readReply(1, 3, TenRegisters))},
                 withCrc("0103 0063 000A"), {5, 20}, {}, "CRC error"},
        ReadCase{"explicit_station_skips_crc", wordsFrom(7, "HR", 1299, 1),
                 {withBadCrc(readReply(7, 3, "1234"))}, withCrc("0703 0513 0001"), {5, 2},
                 hex("3412"), ""},
        ReadCase{"explicit_station_is_bounded", wordsFrom(7, "HR", 0, 126), {}, {}, {}, {},
                 "can't read any word from HR1"},
        ReadCase{"explicit_station_checks_slave", wordsFrom(7, "HR", 0, 1),
                 {readReply(1, 3, "1234")}, withCrc("0703 0000 0001"), {5}, {},
                 "invalid slave id:1"}),
    readCaseName);

INSTANTIATE_TEST_SUITE_P(
    DoubleWords, RegisterReads,
    testing::Values(
        ReadCase{"low_word_first", dwords("HR", 199, 1, false), {readReply(1, 3, "1234 5678")},
                 withCrc("0103 00C7 0002"), {5, 4}, hex("3412 7856"), ""},
        ReadCase{"high_word_first", dwords("HR", 199, 1, true), {readReply(1, 3, "1234 5678")},
                 withCrc("0103 00C7 0002"), {5, 4}, hex("7856 3412"), ""},
        ReadCase{"two_values_high_word_first", dwords("IR", 0, 2, true),
                 {readReply(1, 4, "0102 0304 0A0B 0C0D")}, withCrc("0104 0000 0004"), {5, 8},
                 hex("04030201 0D0C0B0A"), ""},
        ReadCase{"count_62", dwords("HR", 0, 62, false), {readReply(1, 3, registers(124))},
                 withCrc("0103 0000 007C"), {5, 248}, registersInHostOrder(124), ""},
        ReadCase{"count_63", dwords("HR", 0, 63, false), {}, {}, {}, {},
                 "can't read any double word from HR1"},
        ReadCase{"count_0", dwords("HR", 9, 0, true), {}, {}, {}, {},
                 "can't read any double word from HR10"},
        ReadCase{"huge_count", dwords("HR", 9, 0x40000000, true), {}, {}, {}, {},
                 "can't read any double word from HR10"},
        ReadCase{"last_register_pair", dwords("HR", 65534, 1, false), {readReply(1, 3, "0001 0002")},
                 withCrc("0103 FFFE 0002"), {5, 4}, hex("0100 0200"), ""},
        ReadCase{"past_last_register", dwords("HR", 65535, 1, false), {}, {}, {}, {},
                 "can't read any double word from HR65536"},
        ReadCase{"bad_crc", dwords("HR", 0, 1, true), {withBadCrc(readReply(1, 3, "1234 5678"))},
                 withCrc("0103 0000 0002"), {5, 4}, {}, "CRC error"}),
    readCaseName);

INSTANTIATE_TEST_SUITE_P(
    Bytes, RegisterReads,
    testing::Values(
        ReadCase{"five_bytes_three_registers", bytes("HR", 0, 5), {readReply(1, 3, "0102 0304 0506")},
                 withCrc("0103 0000 0003"), {5, 6}, hex("0201 0403 06"), ""},
        ReadCase{"one_byte", bytes("X", 9, 1), {readReply(1, 4, "ABCD")}, withCrc("0104 0009 0001"),
                 {5, 2}, hex("CD"), ""},
        ReadCase{"count_250", bytes("HR", 0, 250), {readReply(1, 3, registers(125))},
                 withCrc("0103 0000 007D"), {5, 250}, registersInHostOrder(125), ""},
        ReadCase{"count_251", bytes("HR", 0, 251), {}, {}, {}, {}, "can't read any byte from HR1"},
        ReadCase{"count_0", bytes("HR", 0, 0), {}, {}, {}, {}, "can't read any byte from HR1"},
        ReadCase{"count_negative", bytes("HR", 0, -3), {}, {}, {}, {}, "can't read any byte from HR1"},
        ReadCase{"odd_count_at_last_register", bytes("HR", 65535, 1), {readReply(1, 3, "0102")},
                 withCrc("0103 FFFF 0001"), {5, 2}, hex("02"), ""},
        ReadCase{"past_last_register", bytes("HR", 65535, 3), {}, {}, {}, {},
                 "can't read any byte from HR65536"},
        ReadCase{"packet_loss", bytes("HR", 0, 4), {readReply(1, 3, "0102 0304").left(8)},
                 withCrc("0103 0000 0002"), {5, 4}, {}, "packet loss"}),
    readCaseName);

TEST(RegisterReads, ReceiveBufferIsZeroedBeforeEachTransaction)
{
    // A port that reports bytes without writing them shows what the buffer held:
    // zeros, not the previous reply.
    TestableDriver driver;
    ScriptedPort port;
    port.queueBytes(readReply(1, 3, "ABCD 1234"));
    ASSERT_EQ(driver.readWords(&port, "HR", 0, 2, 1), hex("CDAB 3412"));

    port.queueSilence(5);
    EXPECT_TRUE(driver.readWords(&port, "HR", 0, 1, 1).isEmpty());
    EXPECT_EQ(driver.getLastError(), QStringLiteral("invalid slave id:0"));

    port.queueBytes(hex("0103 04AB CD"));
    port.queueSilence(4);
    driver.clearError();
    EXPECT_EQ(driver.readWords(&port, "HR", 0, 2, 1), hex("CDAB 0000"));
    EXPECT_FALSE(driver.hasError());
}

} // namespace
