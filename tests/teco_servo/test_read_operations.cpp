// Register, bit and special-register reads: bounds, station, function code, reply lengths and conversion.
#include "teco_test.h"

namespace {

Op words(const char* prefix, unsigned short address, int count)
{
    return [=](TestableDriver& d, ScriptedPort& p, Servo&) { return shown(d.readWords(&p, prefix, address, count)); };
}
Op wordsFrom(unsigned char station, unsigned short address, int count)
{
    return [=](TestableDriver& d, ScriptedPort& p, Servo&) { return shown(d.readWords(&p, "HR", address, count, station)); };
}
Op dwords(unsigned short address, int count)
{
    return [=](TestableDriver& d, ScriptedPort& p, Servo&) { return shown(d.readDWords(&p, "HR", address, count, false)); };
}
Op bytes(unsigned short address, int count)
{
    return [=](TestableDriver& d, ScriptedPort& p, Servo&) { return shown(d.readBytes(&p, "HR", address, count)); };
}
Op didos(const char* prefix, unsigned short address, int count)
{
    return [=](TestableDriver& d, ScriptedPort& p, Servo&) { return shown(d.readDIDOs(&p, prefix, address, count)); };
}
Op registerBits(unsigned short address, unsigned char bit, int count)
{
    return [=](TestableDriver& d, ScriptedPort& p, Servo&) { return shown(d.readIRHRbits(&p, "HR", address, bit, count)); };
}
Op commandBits(const char* text, int count)
{
    return [=](TestableDriver& d, ScriptedPort& p, Servo&) {
        return shown(d.readBits(&p, CommunicatorCommand(Bit, count, QString::fromLatin1(text))));
    };
}
// Entries 1 to 8 and 10 hold 0x1000 + entry; entry 0 is the station count, entry 9 the station to read from.
// With `text`, the read goes through the dispatch.
Op special(int entry, int count, unsigned short stations, unsigned short readStation, const char* text = nullptr)
{
    return [=](TestableDriver& d, ScriptedPort& p, Servo&) {
        for (int k = 1; k < SpecialRegisters::Count; ++k)
            d.setSpecial(k, static_cast<unsigned short>(0x1000 + k));
        d.setSpecial(SpecialRegisters::StationCountEntry, stations);
        d.setSpecial(SpecialRegisters::ReadStationEntry, readStation);
        return shown(text ? d.read(&p, CommunicatorCommand(Word, count, QLatin1String(text)))
                          : d.readSpecialHRWords(&p, static_cast<unsigned short>(59999 + entry), count));
    };
}

const char* const TenRegisters = "0001 0002 0003 0004 0005 0006 0007 0008 0009 000A";

class Reads : public testing::TestWithParam<Case> {};
TEST_P(Reads, AreWireExact) { runCase(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Registers, Reads, testing::ValuesIn(std::vector<Case>{
    {"hr100_ten_words_from_station_255", words("HR", 99, 10), {readReply(255, 3, TenRegisters)}, "ff 03 00 63 00 0a",
        "01 00 02 00 03 00 04 00 05 00 06 00 07 00 08 00 09 00 0a 00", "", {5, 20}, 255},
    {"words_65500_plus_36", words("HR", 65500, 36), {}, "01 03 ff dc 00 24", zeros(72), ""},
    {"words_65500_plus_37", words("HR", 65500, 37), {}, "", "", "can't read any word from HR65501"},
    {"words_125", words("HR", 0, 125), {}, "01 03 00 00 00 7d", zeros(250), "", {5, 250}},
    {"words_126", words("HR", 0, 126), {}, "", "", "can't read any word from HR1"},
    {"words_0", words("HR", 99, 0), {}, "", "", "can't read any word from HR100"},
    {"station_256", words("HR", 0, 1), {}, "", "", "invalid slave id:256", {}, 256},
    {"exception_reply_ends_after_5", words("HR", 99, 10), {hex("018302C0F1")}, "01 03 00 63 00 0a", "",
        "exception code:0x02", {5}},
    {"rest_one_byte_short", words("HR", 99, 10), {readReply(1, 3, TenRegisters).left(24)}, "01 03 00 63 00 0a", "",
        "packet loss", {5, 20}},
    {"bad_crc", words("HR", 99, 1), {withBadCrc(readReply(1, 3, "1234"))}, "01 03 00 63 00 01", "", "CRC error"},
    {"given_station_skips_crc", wordsFrom(7, 1299, 1), {withBadCrc(readReply(7, 3, "1234"))}, "07 03 05 13 00 01", "34 12", ""},
    {"dwords_62", dwords(0, 62), {}, "01 03 00 00 00 7c", zeros(248), "", {5, 248}},
    {"dwords_63", dwords(0, 63), {}, "", "", "can't read any double word from HR1"},
    {"bytes_5_from_3_registers", bytes(0, 5), {readReply(1, 3, "0102 0304 0506")}, "01 03 00 00 00 03", "02 01 04 03 06", ""},
    {"bytes_250", bytes(0, 250), {}, "01 03 00 00 00 7d", zeros(250), ""},
    {"bytes_251", bytes(0, 251), {}, "", "", "can't read any byte from HR1"}}), caseName);

INSTANTIATE_TEST_SUITE_P(Bits, Reads, testing::ValuesIn(std::vector<Case>{
    {"coils_2008", didos("DO", 0, 2008), {}, "01 01 00 00 07 d8", zeros(251), "", {5, 251}},
    {"coils_2009", didos("DO", 0, 2009), {}, "", "", "can't read 2009 bits from DO1"},
    {"inputs_negative_count", didos("DI", 0, -1), {}, "", "", "can't read -1 bits from DI1"},
    {"three_bits_of_ff_give_07", didos("DO", 0, 3), {readReply(1, 1, "FF")}, "01 01 00 00 00 03", "07", "", {5, 1}},
    {"nine_bits_of_ffff_give_ff01", didos("DO", 0, 9), {readReply(1, 1, "FFFF")}, "01 01 00 00 00 09", "ff 01", "",
        {5, 2}},
    {"hr100_bit3_count5_of_12f8", registerBits(99, 3, 5), {readReply(1, 3, "12F8")}, "01 03 00 63 00 01", "1f", ""},
    {"bit15_and_next_bit0", registerBits(99, 15, 2), {readReply(1, 3, "8000 0001")}, "01 03 00 63 00 02", "03", ""},
    {"register_bits_2001", registerBits(0, 0, 2001), {}, "", "", "can't read any word from HR1"},
    {"command_do10_skips_crc_keeps_upper_bits", commandBits("DO10", 3), {withBadCrc(readReply(1, 1, "FF"))},
        "01 01 00 09 00 03", "ff", ""},
    {"command_digits_joined", commandBits("DO1.2", 1), {}, "01 01 00 0b 00 01", "00", ""},
    {"command_lower_case_refused", commandBits("do10", 1), {}, "", "", "can't read any bit fromdo10"},
    {"command_2009_bits", commandBits("DO10", 2009), {}, "", "", "can't read 2009 bits from DO10"}}), caseName);

INSTANTIATE_TEST_SUITE_P(SpecialRegisters, Reads, testing::ValuesIn(std::vector<Case>{
    {"table_hr60001_two_entries", special(1, 2, 3, 2), {}, "", "01 10 02 10", ""},
    {"table_hr60010_empty_list", special(10, 1, 0, 2), {}, "", "0a 10", ""},
    {"refresh_from_low_byte_of_entry9_without_crc", special(10, 1, 1, 0x1234),
        {withBadCrc(readReply(0x34, 3, "ABCD"))}, "34 03 05 13 00 01", "cd ab", ""},
    {"failed_refresh_returns_table_bytes", special(9, 2, 1, 2), {QByteArray()}, "02 03 05 13 00 01", "02 00 0a 10",
        "PLC no response"},
    {"dispatch_returns_table_bytes_of_failed_refresh", special(10, 1, 1, 2, "HR60010"), {QByteArray()}, "~ | 02 03 05 13 00 01",
        "0a 10", "PLC no response (read 1 word(s) from 1-HR60010)"},
    {"count_0", special(1, 0, 1, 2), {}, "", "", "can't read any word from HR60001"},
    {"past_entry_10", special(5, 7, 1, 2), {}, "", "", "can't read any word from HR60005"},
    {"after_the_table", special(11, 1, 1, 2), {}, "", "", "can't read any word from HR60011"}}), caseName);

} // namespace
