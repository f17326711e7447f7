// Coil and discrete-input reads, register bits, and the command-parsing bit reader.
#include "read_case.h"

namespace {

using Port = ScriptedPort;

auto didos(const char* prefix, unsigned short address, int count)
{
    return [=](TestableDriver& d, Port& p) { return d.readDIDOs(&p, prefix, address, count); };
}
auto registerBits(const char* prefix, unsigned short address, unsigned char bit, int count)
{
    return [=](TestableDriver& d, Port& p) { return d.readIRHRbits(&p, prefix, address, bit, count); };
}
auto commandBits(const char* text, int count)
{
    return [=](TestableDriver& d, Port& p) {
        return d.readBits(&p, CommunicatorCommand(Bit, count, QString::fromLatin1(text)));
    };
}

QByteArray pattern(int size)
{
    QByteArray data;
    for (int k = 0; k < size; ++k)
        data.append(static_cast<char>(k * 7 + 1));
    return data;
}

class BitReads : public testing::TestWithParam<ReadCase> {};

TEST_P(BitReads, AreWireExact) { runReadCase(GetParam()); }

INSTANTIATE_TEST_SUITE_P(
    CoilsAndInputs, BitReads,
    testing::Values(
        ReadCase{"do5_one_coil", didos("DO", 4, 1), {readReply(1, 1, "01")},
                 withCrc("0101 0004 0001"), {5, 1}, hex("01"), ""},
        ReadCase{"eight_bits_one_byte", didos("DO", 0, 8), {readReply(1, 1, "A5")},
                 withCrc("0101 0000 0008"), {5, 1}, hex("A5"), ""},
        ReadCase{"nine_bits_two_bytes_cleared", didos("DO", 0, 9), {readReply(1, 1, "FFFF")},
                 withCrc("0101 0000 0009"), {5, 2}, hex("FF01"), ""},
        ReadCase{"three_bits_of_ff", didos("DO", 0, 3), {readReply(1, 1, "FF")},
                 withCrc("0101 0000 0003"), {5, 1}, hex("07"), ""},
        ReadCase{"count_2008", didos("DO", 0, 2008), {readReply(1, 1, pattern(251))},
                 withCrc("0101 0000 07D8"), {5, 251}, pattern(251), ""},
        ReadCase{"count_2009", didos("DO", 0, 2009), {}, {}, {}, {}, "can't read 2009 bits from DO1"},
        ReadCase{"count_negative", didos("DI", 0, -1), {}, {}, {}, {}, "can't read -1 bits from DI1"},
        ReadCase{"last_coil_65535", didos("DO", 65535, 1), {readReply(1, 1, "01")},
                 withCrc("0101 FFFF 0001"), {5, 1}, hex("01"), ""},
        ReadCase{"past_last_coil", didos("DO", 65535, 2), {}, {}, {}, {},
                 "can't read 2 bits from DO65536"},
        ReadCase{"mixed_case_fn5do_reads_coils", didos("fN5dO", 6, 2), {readReply(1, 1, "02")},
                 withCrc("0101 0006 0002"), {5, 1}, hex("02"), ""},
        ReadCase{"lower_case_do_reads_coils", didos("do", 6, 2), {readReply(1, 1, "03")},
                 withCrc("0101 0006 0002"), {5, 1}, hex("03"), ""},
        ReadCase{"di_reads_inputs", didos("DI", 11, 4), {readReply(1, 2, "0F")},
                 withCrc("0102 000B 0004"), {5, 1}, hex("0F"), ""},
        ReadCase{"other_prefix_reads_inputs", didos("Q", 11, 4), {readReply(1, 2, "FA")},
                 withCrc("0102 000B 0004"), {5, 1}, hex("0A"), ""},
        ReadCase{"count_0_asks_for_nothing_more", didos("DO", 0, 0), {readReply(1, 1, "")},
                 withCrc("0101 0000 0000"), {5, 0}, {}, ""},
        ReadCase{"bad_crc", didos("DO", 0, 9), {withBadCrc(readReply(1, 1, "FFFF"))},
                 withCrc("0101 0000 0009"), {5, 2}, {}, "CRC error"},
        ReadCase{"packet_loss", didos("DO", 0, 9), {readReply(1, 1, "FFFF").left(6)},
                 withCrc("0101 0000 0009"), {5, 2}, {}, "packet loss"},
        ReadCase{"exception", didos("DI", 0, 1), {withCrc("018203")}, withCrc("0102 0000 0001"),
                 {5}, {}, "exception code:0x03"},
        ReadCase{"station_300", didos("DO", 0, 1), {}, {}, {}, {}, "invalid slave id:300", 300}),
    readCaseName);

// Register bits count from the least significant bit of the first register.
INSTANTIATE_TEST_SUITE_P(
    RegisterBits, BitReads,
    testing::Values(
        ReadCase{"hr100_bit3_count5", registerBits("HR", 99, 3, 5), {readReply(1, 3, "12F8")},
                 withCrc("0103 0063 0001"), {5, 2}, hex("1F"), ""},
        ReadCase{"bit15_and_next_bit0", registerBits("HR", 99, 15, 2), {readReply(1, 3, "8000 0001")},
                 withCrc("0103 0063 0002"), {5, 4}, hex("03"), ""},
        ReadCase{"bit15_and_next_bit0_clear", registerBits("HR", 99, 15, 2),
                 {readReply(1, 3, "7FFF FFFE")}, withCrc("0103 0063 0002"), {5, 4}, hex("00"), ""},
        ReadCase{"input_register_bit20_count12", registerBits("IR", 0, 20, 12),
                 {readReply(1, 4, "FFFF ABC0")}, withCrc("0104 0000 0002"), {5, 4}, hex("BC0A"), ""},
        ReadCase{"bits_above_count_cleared", registerBits("HR", 0, 0, 4), {readReply(1, 3, "00FF")},
                 withCrc("0103 0000 0001"), {5, 2}, hex("0F"), ""},
        ReadCase{"bit255_in_register_16",
                 registerBits("FN6HR", 0, 255, 1),
                 {readReply(1, 3, QByteArray(30, '\0') + hex("8000"))}, withCrc("0103 0000 0010"),
                 {5, 32}, hex("01"), ""},
        ReadCase{"count_2001_is_126_registers", registerBits("HR", 0, 0, 2001), {}, {}, {}, {},
                 "can't read any word from HR1"},
        ReadCase{"count_negative", registerBits("HR", 0, 20, -5), {}, {}, {}, {},
                 "can't read any word from HR1"},
        ReadCase{"no_response", registerBits("HR", 0, 0, 1), {QByteArray()},
                 withCrc("0103 0000 0001"), {5}, {}, "PLC no response"},
        ReadCase{"bad_crc", registerBits("HR", 0, 0, 1), {withBadCrc(readReply(1, 3, "0001"))},
                 withCrc("0103 0000 0001"), {5, 2}, {}, "CRC error"}),
    readCaseName);

INSTANTIATE_TEST_SUITE_P(
    CommandParsing, BitReads,
    testing::Values(
        ReadCase{"do10_skips_crc_keeps_upper_bits", commandBits("DO10", 3),
                 {withBadCrc(readReply(1, 1, "FF"))}, withCrc("0101 0009 0003"), {5, 1}, hex("FF"), ""},
        ReadCase{"di3_sixteen_inputs", commandBits("DI3", 16), {readReply(1, 2, "3412")},
                 withCrc("0102 0002 0010"), {5, 2}, hex("3412"), ""},
        ReadCase{"all_digits_joined", commandBits("DO1.2", 1), {readReply(1, 1, "01")},
                 withCrc("0101 000B 0001"), {5, 1}, hex("01"), ""},
        ReadCase{"no_digits_is_65535", commandBits("DO", 1), {readReply(1, 1, "01")},
                 withCrc("0101 FFFF 0001"), {5, 1}, hex("01"), ""},
        ReadCase{"lower_case_refused", commandBits("do10", 1), {}, {}, {}, {},
                 "can't read any bit fromdo10"},
        ReadCase{"fn5do_refused", commandBits("FN5DO10", 1), {}, {}, {}, {},
                 "can't read any bit fromFN5DO10"},
        ReadCase{"register_area_refused", commandBits("HR1", 1), {}, {}, {}, {},
                 "can't read any bit fromHR1"},
        ReadCase{"count_2009", commandBits("DO10", 2009), {}, {}, {}, {},
                 "can't read 2009 bits from DO10"},
        ReadCase{"past_last_coil", commandBits("DI65536", 2), {}, {}, {}, {},
                 "can't read 2 bits from DI65536"},
        ReadCase{"packet_loss", commandBits("DO10", 9), {readReply(1, 1, "FFFF").left(6)},
                 withCrc("0101 0009 0009"), {5, 2}, {}, "packet loss"},
        ReadCase{"station_256", commandBits("DO10", 1), {}, {}, {}, {}, "invalid slave id:256", 256}),
    readCaseName);

} // namespace
