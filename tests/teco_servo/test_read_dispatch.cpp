// The driver's read(): routing, retries paced by the port's delay, and the command description.
#include "teco_test.h"

namespace {

Op read(int dataType, int count, const char* address, int retry = 0)
{
    return [=](TestableDriver& d, ScriptedPort& p, Servo&) {
        p.setRetry(retry);
        return shown(d.read(&p, CommunicatorCommand(dataType, count, QString::fromLatin1(address))));
    };
}

class ReadRouting : public testing::TestWithParam<Case> {};
TEST_P(ReadRouting, ReachesExactlyOneOperation) { runCase(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Table, ReadRouting, testing::ValuesIn(std::vector<Case>{
    {"bit_do5", read(Bit, 1, "DO5"), {}, "~ | 01 01 00 04 00 01", "00", ""},
    {"bit_fN5dO5", read(Bit, 1, "fN5dO5"), {}, "~ | 01 01 00 04 00 01", "00", ""},
    {"bit_di5", read(Bit, 1, "DI5"), {}, "~ | 01 02 00 04 00 01", "00", ""},
    {"bit_dix5", read(Bit, 9, "dix5"), {}, "~ | 01 02 00 04 00 09", "00 00", ""},
    {"bit_hr100_3", read(Bit, 1, "HR100.3"), {readReply(1, 3, "0008")}, "~ | 01 03 00 63 00 01", "01", ""},
    {"bit_hr100_from_bit0", read(Bit, 16, "HR100"), {readReply(1, 3, "1234")}, "~ | 01 03 00 63 00 01", "34 12", ""},
    {"bit_other_area_fn4", read(Bit, 1, "X5.1"), {}, "~ | 01 04 00 04 00 01", "00", ""},
    {"bitblock_do1", read(BitBlock, 16, "DO1"), {}, "~ | 01 01 00 00 00 10", "00 00", ""},
    {"byte_hr1", read(Byte, 3, "HR1"), {}, "~ | 01 03 00 00 00 02", "00 00 00", ""},
    {"block_hr1", read(Block, 3, "HR1"), {}, "~ | 01 03 00 00 00 02", "00 00 00", ""},
    {"word_hr100", read(Word, 10, "HR100"), {}, "~ | 01 03 00 63 00 0a", zeros(20), ""},
    {"word_fn6hr100", read(Word, 1, "fn6hr100"), {}, "~ | 01 03 00 63 00 01", "00 00", ""},
    {"word_hr60000_whole_new_table", read(Word, 11, "HR60000"), {}, "~", zeros(22), ""},
    {"word_fn6hr60005", read(Word, 2, "FN6HR60005"), {}, "~", zeros(4), ""},
    {"word_lower_hr60001", read(Word, 3, "hr60001"), {}, "~", zeros(6), ""},
    {"word_hr59999_from_servo", read(Word, 1, "HR59999"), {}, "~ | 01 03 ea 5e 00 01", "00 00", ""},
    {"word_hr60011_from_servo", read(Word, 1, "HR60011"), {}, "~ | 01 03 ea 6a 00 01", "00 00", ""},
    {"word_ir60000_fn4", read(Word, 1, "IR60000"), {}, "~ | 01 04 ea 5f 00 01", "00 00", ""},
    {"dword_hr200_low_word_first", read(DoubleWord, 2, "HR200"), {readReply(1, 3, "1234 5678 9ABC DEF0")},
        "~ | 01 03 00 c7 00 04", "34 12 78 56 bc 9a f0 de", ""},
    {"dword_hr200Sw_high_word_first", read(DoubleWord, 1, "HR200Sw"), {readReply(1, 3, "1234 5678")},
        "~ | 01 03 00 c7 00 02", "78 56 34 12", ""},
    {"quadword_once_without_retry", read(QuadWord, 1, "HR100", 3), {}, "~", "", "unsupported data type: HR100"},
    {"type_7_once_without_retry", read(7, 1, "DO5", 3), {}, "~", "", "unsupported data type: DO5"}}), caseName);

TEST(ReadRetries, TryRetryPlusOneTimesEachAfterTheDelayThenDescribe)
{
    const struct { int retry; int attempts; } counts[] = {{3, 4}, {0, 1}, {-1, 1}};
    for (const auto& c : counts) {
        TestableDriver driver;
        ScriptedPort port;
        port.setRetry(c.retry);
        EXPECT_TRUE(driver.read(&port, CommunicatorCommand(Word, 1, QStringLiteral("HR100"))).isEmpty());
        EXPECT_EQ(wire(port), QStringLiteral(" | ~ | 01 03 00 63 00 01").repeated(c.attempts).mid(3).toStdString());
        EXPECT_EQ(port.count(Call::GetRetry), c.attempts) << "asked afresh after every failed attempt";
        EXPECT_EQ(driver.getLastError(), QStringLiteral("PLC no response (read 1 word(s) from 1-HR100)"));
    }
    TestableDriver driver;
    ScriptedPort port;
    port.setRetry(3);
    driver.read(&port, CommunicatorCommand(QuadWord, 1, QStringLiteral("HR100")));
    EXPECT_EQ(port.callSequence(), QList<Call>{Call::GetDelay}) << "an unsupported type is not retried";
}

// Each attempt waits the delay and makes one transaction: setOption(12, int 0), send, then the two receives.
TEST(ReadRetries, SuccessOnTheSecondAttemptReturnsItsDataWithoutDescription)
{
    TestableDriver driver;
    ScriptedPort port;
    port.setRetry(3);
    port.queueSilence();
    port.queueBytes(readReply(1, 3, "ABCD"));
    EXPECT_EQ(driver.read(&port, CommunicatorCommand(Word, 1, QStringLiteral("HR100"))), hex("CDAB"));
    EXPECT_FALSE(driver.hasError());
    EXPECT_EQ(driver.getLastError(), QStringLiteral("PLC no response")) << "the earlier text stays, undescribed";
    const QList<Call> attempt{Call::GetDelay, Call::GetStationId, Call::SetOption, Call::Send, Call::Receive};
    EXPECT_EQ(port.callSequence(), attempt + QList<Call>{Call::GetRetry} + attempt + QList<Call>{Call::Receive});
    EXPECT_EQ(port.events().at(2).optionCode, 12);
    EXPECT_EQ(port.events().at(2).optionValue.userType(), QMetaType::Int);
    EXPECT_EQ(port.events().at(2).optionValue.toInt(), 0);
}

// After the last failed attempt; Block and BitBlock get none, the station prints as its low 8 bits.
TEST(Descriptions, NameTheCommandAfterTheLastAttempt)
{
    const struct { bool write; int dataType; int count; const char* address; int station; const char* error; } rows[] = {
        {false, Bit, 3, "DO5", 1, "PLC no response (read 3 bit(s) from 1-DO5)"},
        {false, Byte, 3, "HR1", 2, "PLC no response (read 3 byte(s) from 2-HR1)"},
        {false, DoubleWord, 2, "hr200sw", 17, "PLC no response (read 2 dword(s) from 17-hr200sw)"},
        {false, Block, 3, "HR1", 1, "PLC no response"},
        {false, BitBlock, 8, "DO1", 1, "PLC no response"},
        {false, Word, 1, "HR100", 300, "invalid slave id:300 (read 1 word(s) from 44-HR100)"},
        {true, Bit, 4, "HR100.3", 1, "PLC no response (write 4 bit to 1-HR100.3)"},
        {true, Byte, 4, "HR100", 7, "PLC no response (write 4 byte to 7-HR100)"},
        {true, Word, -3, "FN6HR100", 255, "PLC no response (write -3 word to 255-FN6HR100)"},
        {true, DoubleWord, 1, "HR100SW", 1, "PLC no response (write 1 dword to 1-HR100SW)"},
        {true, Block, 4, "HR100", 1, "PLC no response"},
        {true, BitBlock, 2, "DO1", 1, "PLC no response"},
        {true, Word, 2, "HR100", 300, "invalid slave id:300 (write 2 word to 44-HR100)"}};
    for (const auto& r : rows) {
        TestableDriver driver;
        ScriptedPort port;
        port.setStationId(r.station);
        const CommunicatorCommand command(r.dataType, r.count, QString::fromLatin1(r.address));
        r.write ? (void)driver.write(&port, command, hex("01000200")) : (void)driver.read(&port, command);
        EXPECT_TRUE(driver.hasError());
        EXPECT_EQ(driver.getLastError().toStdString(), r.error);
    }
}

TEST(Dispatch, NullPortFailsAsASilentLine)
{
    TestableDriver driver;
    EXPECT_TRUE(driver.read(nullptr, CommunicatorCommand(Word, 1, QStringLiteral("HR100"))).isEmpty());
    EXPECT_EQ(driver.getLastError(), QStringLiteral("PLC no response"));
    EXPECT_FALSE(driver.write(nullptr, CommunicatorCommand(Word, 1, QStringLiteral("HR100")), hex("3412")));
    EXPECT_EQ(driver.getLastError(), QStringLiteral("PLC no response"));
}

} // namespace
