// The driver's write(): routing of every command to one operation, the driver-side registers behind
// HR60000..HR60010 with the fan-out of entry 10 to the station list, retries and the station in the description.
#include "teco_test.h"

namespace {

// Lists `stations` servos in entry 0, with stations 5 to 12 in entries 1 to 8 (the high byte is not part of the id).
void listStations(TestableDriver& driver, unsigned short stations)
{
    driver.setSpecial(SpecialRegisters::StationCountEntry, stations);
    for (int k = 1; k <= 8; ++k)
        driver.setSpecial(k, static_cast<unsigned short>(0x0104 + k));
}

// Gives "ok" on success, then every driver-side register that changed, as " e<entry>=<value>".
Op command(int dataType, const char* address, const char* data, unsigned short stations = 0, int retry = 0, int silentStation = 0)
{
    return [=](TestableDriver& d, ScriptedPort& p, Servo& s) {
        if (stations)
            listStations(d, stations);
        QVector<unsigned short> before;
        for (int k = 0; k < SpecialRegisters::Count; ++k)
            before << d.special(k);
        p.setRetry(retry);
        if (silentStation)
            s.silent << silentStation;
        QString result = d.write(&p, CommunicatorCommand(dataType, 1, QLatin1String(address)), hex(data)) ? "ok" : "";
        for (int k = 0; k < SpecialRegisters::Count; ++k)
            if (d.special(k) != before.at(k))
                result += QString::asprintf(" e%d=%04x", k, d.special(k));
        return result.toStdString();
    };
}

// The fan-out of 3412 with function 16 to the stations from `first` to `last`, with a pause between them.
std::string fanOut(int first, int last)
{
    QStringList frames;
    for (int station = first; station <= last; ++station)
        frames << QStringLiteral("%1 10 05 13 00 01 02 12 34").arg(station, 2, 16, QLatin1Char('0'));
    return "~ | " + frames.join(QStringLiteral(" | ~ | ")).toStdString();
}

class WriteCommands : public testing::TestWithParam<Case> {};
TEST_P(WriteCommands, ReachExactlyOneOperation) { runCase(GetParam()); }

// Zero-based 59998, 60004 and 60010 are ea 5e, ea 64 and ea 6a on the wire.
INSTANTIATE_TEST_SUITE_P(Routing, WriteCommands, testing::ValuesIn(std::vector<Case>{
    {"bit_do5_fn15", command(Bit, "DO5", "01"), {}, "~ | 01 0f 00 04 00 01 01 01", "ok", ""},
    {"bit_fn5do5_fn5", command(Bit, "fn5do5", "01"), {}, "~ | 01 05 00 04 ff 00", "ok", ""},
    {"bit_hr100_3_fn16", command(Bit, "hr100.3", "01"), {}, "~ | 01 03 00 63 00 01 | ~ | 01 10 00 63 00 01 02 00 08", "ok", ""},
    {"bit_fn6hr100_3_fn6", command(Bit, "FN6HR100.3", "01"), {}, "~ | 01 03 00 63 00 01 | ~ | 01 06 00 63 00 08", "ok", ""},
    {"bit_hr59999_servo", command(Bit, "HR59999", "01"), {}, "~ | 01 03 ea 5e 00 01 | ~ | 01 10 ea 5e 00 01 02 00 01", "ok", ""},
    {"bit_hr100_5_empty_rewrites_unchanged", command(Bit, "HR100.5", ""), {},
        "~ | 01 03 00 63 00 01 | ~ | 01 10 00 63 00 01 02 00 00", "ok", ""},
    {"bit_fn6hr100_5_empty_rewrites_unchanged", command(Bit, "FN6HR100.5", ""), {},
        "~ | 01 03 00 63 00 01 | ~ | 01 06 00 63 00 00", "ok", ""},
    {"bit_hr100_0_empty_refused_retried_described", command(Bit, "HR100.0", "", 0, 1), {}, "~ | ~", "",
        "can't read any word from HR100 (write 1 bit to 1-HR100.0)"},
    {"bit_di5_refused_and_retried", command(Bit, "DI5", "01", 0, 2), {}, "~ | ~ | ~", "",
        "can't write any bit to DI5 (write 1 bit to 1-DI5)"},
    {"bitblock_ir5_refused", command(BitBlock, "IR5", "01"), {}, "~", "", "can't write any bit to IR5"},
    {"byte_hr100_fn16", command(Byte, "HR100", "112233"), {}, "~ | 01 10 00 63 00 02 04 22 11 00 33", "ok", ""},
    {"block_hr100_fn16", command(Block, "HR100", "1122"), {}, "~ | 01 10 00 63 00 01 02 22 11", "ok", ""},
    {"byte_fn6hr100_fn6", command(Byte, "FN6HR100", "1122"), {}, "~ | 01 06 00 63 22 11", "ok", ""},
    {"byte_hr60005_servo", command(Byte, "HR60005", "1122"), {}, "~ | 01 10 ea 64 00 01 02 22 11", "ok", ""},
    {"byte_do5_refused", command(Byte, "DO5", "11"), {}, "~", "", "can't write any byte to DO5 (write 1 byte to 1-DO5)"},
    {"block_do5_refused", command(Block, "DO5", "11"), {}, "~", "", "can't write any byte to DO5"},
    {"word_hr100_fn16", command(Word, "hr100", "3412"), {}, "~ | 01 10 00 63 00 01 02 12 34", "ok", ""},
    {"word_fn6hr100_fn6", command(Word, "FN6HR100", "34127856"), {}, "~ | 01 06 00 63 12 34 | 01 06 00 64 56 78", "ok", ""},
    {"word_hr59999_servo", command(Word, "HR59999", "3412"), {}, "~ | 01 10 ea 5e 00 01 02 12 34", "ok", ""},
    {"word_hr60011_servo", command(Word, "HR60011", "3412"), {}, "~ | 01 10 ea 6a 00 01 02 12 34", "ok", ""},
    {"word_do5_refused", command(Word, "DO5", "3412"), {}, "~", "", "can't write any word to DO5 (write 1 word to 1-DO5)"},
    {"dword_hr100_low", command(DoubleWord, "HR100", "44332211"), {}, "~ | 01 10 00 63 00 02 04 33 44 11 22", "ok", ""},
    {"dword_hr100sW_high", command(DoubleWord, "hr100sW", "44332211"), {}, "~ | 01 10 00 63 00 02 04 11 22 33 44", "ok", ""},
    {"dword_fn6hr100sw_fn6", command(DoubleWord, "FN6HR100SW", "44332211"), {}, "~ | 01 06 00 63 11 22 | 01 06 00 64 33 44",
        "ok", ""},
    {"dword_hr60005_servo", command(DoubleWord, "HR60005", "44332211"), {}, "~ | 01 10 ea 64 00 02 04 33 44 11 22", "ok", ""},
    {"dword_di1_refused", command(DoubleWord, "DI1", "44332211"), {}, "~", "",
        "can't write any double word to DI1 (write 1 dword to 1-DI1)"},
    {"silent_servo_retried", command(Word, "HR100", "3412", 0, 3, 1), {},
        QStringLiteral(" | ~ | 01 10 00 63 00 01 02 12 34").repeated(4).mid(3).toStdString(), "",
        "PLC no response (write 1 word to 1-HR100)"},
    {"quadword_once_without_suffix", command(QuadWord, "HR100", "0102030405060708", 0, 3), {}, "~", "",
        "unsupported data type: HR100"},
    {"type_7_once_without_suffix", command(7, "DO5", "01", 0, 3), {}, "~", "", "unsupported data type: DO5"}}), caseName);

// The table sends nothing; entry 10 goes to register 1299 (05 13) of every listed station, paced by the delay.
INSTANTIATE_TEST_SUITE_P(SpecialRegisters, WriteCommands, testing::ValuesIn(std::vector<Case>{
    {"word_entries_2_3", command(Word, "FN6HR60002", "34127856"), {}, "~", "ok e2=1234 e3=5678", ""},
    {"word_entry_9_capped_at_8", command(Word, "HR60009", "0900"), {}, "~", "ok e9=0008", ""},
    {"word_entry_0_capped_at_8", command(Word, "HR60000", "ffff"), {}, "~", "ok e0=0008", ""},
    {"bit_entry_4_bit_2", command(Bit, "HR60004.2", "01"), {}, "~", "ok e4=0004", ""},
    {"bit_data_02_sets_bit_15", command(BitBlock, "FN6HR60005.15", "02"), {}, "~", "ok e5=8000", ""},
    {"bit_entry_0_is_always_8", command(Bit, "HR60000.3", "00"), {}, "~", "ok e0=0008", ""},
    {"word_past_entry_10_refused", command(Word, "HR60010", "01000200"), {}, "~", "",
        "can't write any word to HR60010 (write 1 word to 1-HR60010)"},
    {"bit_past_15_refused", command(Bit, "HR60003.16", "01"), {}, "~", "",
        "can't write any bit to HR60003 (write 1 bit to 1-HR60003.16)"},
    {"fanout_fn16_three_stations", command(Word, "HR60010", "3412", 3), {}, fanOut(5, 7), "ok e10=1234", ""},
    {"fanout_count_65535_uses_entries_1_to_8", command(Word, "HR60010", "3412", 65535), {}, fanOut(5, 12), "ok e10=1234", ""},
    {"fanout_fn6_one_station_no_pause", command(Word, "FN6HR60010", "3412", 1), {}, "~ | 05 06 05 13 12 34", "ok e10=1234", ""},
    {"fanout_empty_list", command(Word, "HR60010", "3412"), {}, "~", "ok e10=1234", ""},
    {"fanout_failed_station_keeps_entry_10", command(Word, "HR60010", "3412", 2, 0, 6), {}, fanOut(5, 6), "",
        "PLC no response (write 1 word to 1-HR60010)"},
    {"fanout_bit_empty_rewrites_every_station", command(Bit, "HR60010.5", "", 2), {},
        "~ | 05 03 05 13 00 01 | ~ | 05 10 05 13 00 01 02 00 00 | ~ | 06 03 05 13 00 01 | ~ | 06 10 05 13 00 01 02 00 00",
        "ok", ""},
    {"fanout_bit0_empty_touches_no_servo_nor_table", command(Bit, "HR60010.0", "", 2), {}, "~", "",
        "can't read any word from HR1300 (write 1 bit to 1-HR60010.0)"},
    {"fanout_bit_fn6", command(Bit, "FN6HR60010.5", "01", 2), {},
        "~ | 05 03 05 13 00 01 | ~ | 05 06 05 13 00 20 | ~ | 06 03 05 13 00 01 | ~ | 06 06 05 13 00 20", "ok e10=0020", ""}}),
    caseName);

TEST(WriteFanOut, RetryResumesAtTheFailedStationAndTheNextCommandStartsOver)
{
    TestableDriver driver;
    listStations(driver, 2);
    ScriptedPort port;
    Servo servo;
    servo.exceptionAt = 2;
    port.setResponder(std::ref(servo));
    port.setRetry(1);
    const CommunicatorCommand command(Word, 1, QStringLiteral("FN6HR60010"));
    EXPECT_TRUE(driver.write(&port, command, hex("3412")));
    EXPECT_EQ(wire(port), "~ | 05 06 05 13 12 34 | ~ | 06 06 05 13 12 34 | ~ | 06 06 05 13 12 34");
    port.clearLog();
    EXPECT_TRUE(driver.write(&port, command, hex("7856")));
    EXPECT_EQ(wire(port), "~ | 05 06 05 13 56 78 | ~ | 06 06 05 13 56 78");
    EXPECT_EQ(driver.special(SpecialRegisters::MonitoredEntry), 0x5678);
}

TEST(WriteDescriptions, UseTheStationThePortReportsWhenTheLoopEnds)
{
    TestableDriver driver;
    ScriptedPort port;
    port.setRetry(1);
    port.setResponder([&port](const QByteArray&) {
        port.setStationId(9);
        return QByteArray();
    });
    EXPECT_FALSE(driver.write(&port, CommunicatorCommand(Word, 1, QStringLiteral("HR100")), hex("3412")));
    EXPECT_EQ(driver.getLastError(), QStringLiteral("PLC no response (write 1 word to 9-HR100)"));
}

} // namespace
