// Coil writes with function 15 and 5, register writes with function 16 and 6, and register bits
// written by read-modify-write, against the scripted servo.
#include "teco_test.h"

namespace {

enum Kind { Fn15, Fn5, Words16, Bytes16, DWords16, DWords16HighFirst, Words6 };

Op write(Kind kind, unsigned short at, QByteArray data, int exceptionAt = 0)
{
    return [=](TestableDriver& d, ScriptedPort& p, Servo& s) {
        s.exceptionAt = exceptionAt;
        switch (kind) {
        case Fn15: return std::string(d.writeCoils(&p, at, data) ? "ok" : "");
        case Fn5: return std::string(d.writeCoilsWithFN5(&p, at, data) ? "ok" : "");
        case Words16: return std::string(d.writeWords(&p, at, data) ? "ok" : "");
        case Bytes16: return std::string(d.writeBytes(&p, at, data) ? "ok" : "");
        case DWords16: return std::string(d.writeDWords(&p, at, data, false) ? "ok" : "");
        case DWords16HighFirst: return std::string(d.writeDWords(&p, at, data, true) ? "ok" : "");
        case Words6: return std::string(d.writeWordsWithFN6(&p, at, data) ? "ok" : "");
        }
        return std::string("unknown kind");
    };
}

// Station 1's registers from `at` on hold `before`; gives them back as they are afterwards, on success.
Op bits(bool fn6, unsigned short at, unsigned char bit, const char* data, QList<unsigned short> before)
{
    return [=](TestableDriver& d, ScriptedPort& p, Servo& s) {
        for (int k = 0; k < before.size(); ++k)
            s.reg(1, at + k) = before.at(k);
        if (!(fn6 ? d.writeHRbitWithFN6(&p, at, bit, hex(data)) : d.writeHRbit(&p, at, bit, hex(data))))
            return std::string();
        QByteArray after;
        for (int k = 0; k < before.size(); ++k)
            after.append(static_cast<char>(s.reg(1, at + k) >> 8)).append(static_cast<char>(s.reg(1, at + k)));
        return shown(after);
    };
}

class Writes : public testing::TestWithParam<Case> {};
TEST_P(Writes, AreWireExact) { runCase(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Coils, Writes, testing::ValuesIn(std::vector<Case>{
    {"fn15_nine_coils_pack_09_01", write(Fn15, 0, hex("010000050000000007")), {}, "01 0f 00 00 00 09 02 09 01", "ok", ""},
    {"fn15_1976", write(Fn15, 0, QByteArray(1976, 1)), {}, "01 0f 00 00 07 b8 f7 " + shown(QByteArray(247, '\xff')), "ok", ""},
    {"fn15_1977", write(Fn15, 0, QByteArray(1977, 1)), {}, "", "", "can't write 1977 bits to DO1"},
    {"fn15_empty_sends_quantity_0", write(Fn15, 0, {}), {}, "01 0f 00 00 00 00 00", "ok", ""},
    {"fn5_one_frame_per_coil", write(Fn5, 0xAC, hex("020001")), {},
        "ff 05 00 ac ff 00 | ff 05 00 ad 00 00 | ff 05 00 ae ff 00", "ok", "", {5, 3, 5, 3, 5, 3}, 255},
    {"fn5_empty_sends_nothing", write(Fn5, 0, {}), {}, "", "ok", ""},
    {"fn5_stops_at_the_first_failed_coil", write(Fn5, 0, hex("010101"), 2), {}, "01 05 00 00 ff 00 | 01 05 00 01 ff 00",
        "", "exception code:0x04"}}), caseName);

INSTANTIATE_TEST_SUITE_P(Registers, Writes, testing::ValuesIn(std::vector<Case>{
    {"fn16_123_words", write(Words16, 0, QByteArray(246, 0)), {}, "01 10 00 00 00 7b f6 " + zeros(246), "ok", ""},
    {"fn16_124_words", write(Words16, 0, QByteArray(248, 0)), {}, "", "", "can't write any word to HR1"},
    {"fn16_one_word_at_65535", write(Words16, 65535, hex("3412")), {}, "01 10 ff ff 00 01 02 12 34", "ok", ""},
    {"fn16_two_words_at_65535", write(Words16, 65535, hex("34127856")), {}, "", "", "can't write any word to HR65536"},
    {"fn16_bytes_pair_into_2211_0033", write(Bytes16, 99, hex("112233")), {}, "01 10 00 63 00 02 04 22 11 00 33", "ok", ""},
    {"fn16_dword_low_first", write(DWords16, 0, hex("44332211")), {}, "01 10 00 00 00 02 04 33 44 11 22", "ok", ""},
    {"fn16_dword_high_first", write(DWords16HighFirst, 0, hex("44332211")), {}, "01 10 00 00 00 02 04 11 22 33 44", "ok", ""},
    {"fn16_echo_not_compared", write(Words16, 0, hex("3412")), {withCrc(hex("01107777ffff"))}, "01 10 00 00 00 01 02 12 34",
        "ok", "", {5, 3}},
    {"fn6_empty_sends_nothing", write(Words6, 0, {}), {}, "", "ok", ""}}), caseName);

INSTANTIATE_TEST_SUITE_P(RegisterBits, Writes, testing::ValuesIn(std::vector<Case>{
    {"hr100_bit3_of_0000", bits(false, 99, 3, "01", {0}), {}, "01 03 00 63 00 01 | ~ | 01 10 00 63 00 01 02 00 08", "00 08", ""},
    {"bits_14_to_16_over_two_registers", bits(false, 99, 14, "010001", {0x8000, 0x1200}), {},
        "01 03 00 63 00 02 | ~ | 01 10 00 63 00 02 04 40 00 12 01", "40 00 12 01", ""},
    {"data_02_sets_and_00_clears", bits(false, 0, 0, "0200", {0x1002}), {}, "01 03 00 00 00 01 | ~ | 01 10 00 00 00 01 02 10 01",
        "10 01", ""},
    {"fn6_pauses_between_registers_never_after_the_last", bits(true, 99, 15, "0101", {0, 0}), {},
        "01 03 00 63 00 02 | ~ | 01 06 00 63 80 00 | ~ | 01 06 00 64 00 01", "80 00 00 01", ""},
    {"failed_read_writes_nothing", bits(false, 99, 0, "01", {0}), {QByteArray()}, "01 03 00 63 00 01", "", "PLC no response"}}),
    caseName);

TEST(Fn6Writes, OneTransactionPerRegisterAskingTheStationEachTimeUntilTheFirstFailure)
{
    TestableDriver driver;
    ScriptedPort port;
    Servo servo;
    servo.exceptionAt = 2;
    port.setResponder(std::ref(servo));
    EXPECT_FALSE(driver.writeWordsWithFN6(&port, 99, hex("221144336655")));
    EXPECT_EQ(wire(port), "01 06 00 63 11 22 | 01 06 00 64 33 44");
    EXPECT_EQ(driver.getLastError(), QStringLiteral("exception code:0x04"));
    EXPECT_EQ(port.count(Call::GetStationId), 3) << "once up front, then once per register";
}

} // namespace
