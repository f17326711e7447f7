// The driver's read(): routing, retries, pauses and the command description.
#include <QElapsedTimer>
#include <random>

#include "read_case.h"
#include "teco_servo/special_registers.h"

namespace {

using Call = ScriptedPort::Call;

// A servo that answers every read request of functions 1 to 4 correctly, with
// data bytes 01 02 03 ...
QByteArray answerRead(const QByteArray& request)
{
    const unsigned char function = static_cast<unsigned char>(request.at(1));
    const int quantity = (static_cast<unsigned char>(request.at(4)) << 8) |
                         static_cast<unsigned char>(request.at(5));
    const int size = function <= 2 ? (quantity + 7) / 8 : 2 * quantity;
    QByteArray data;
    for (int k = 0; k < size; ++k)
        data.append(static_cast<char>(k + 1));
    return readReply(static_cast<unsigned char>(request.at(0)), function, data);
}

struct RouteCase {
    const char* name;
    int dataType;
    int count;
    const char* address;
    QByteArray sent;  // empty: served from the driver-side table
    int resultSize;
};

void PrintTo(const RouteCase& c, std::ostream* os) { *os << c.name; }

class ReadRouting : public testing::TestWithParam<RouteCase> {};

TEST_P(ReadRouting, SendsTheOperationsFrame)
{
    const RouteCase& c = GetParam();
    TestableDriver driver;
    ScriptedPort port;
    port.setResponder(answerRead);
    const QByteArray result =
        driver.read(&port, CommunicatorCommand(c.dataType, c.count, QString::fromLatin1(c.address)));
    EXPECT_FALSE(driver.hasError()) << driver.getLastError().toStdString();
    EXPECT_EQ(port.sentFrames(), c.sent.isEmpty() ? QList<QByteArray>() : QList<QByteArray>{c.sent});
    EXPECT_EQ(result.size(), c.resultSize);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ReadRouting,
    testing::Values(
        RouteCase{"bit_do5", Bit, 1, "DO5", withCrc("0101 0004 0001"), 1},
        RouteCase{"bit_fn5do5", Bit, 1, "FN5DO5", withCrc("0101 0004 0001"), 1},
        RouteCase{"bit_di5", Bit, 1, "DI5", withCrc("0102 0004 0001"), 1},
        RouteCase{"bit_dix5", Bit, 9, "dix5", withCrc("0102 0004 0009"), 2},
        RouteCase{"bit_hr100_3_register_bit", Bit, 1, "HR100.3", withCrc("0103 0063 0001"), 1},
        RouteCase{"bit_hr100_bit0", Bit, 16, "HR100", withCrc("0103 0063 0001"), 2},
        RouteCase{"bit_other_area_fn4", Bit, 1, "X5.1", withCrc("0104 0004 0001"), 1},
        RouteCase{"bitblock_do1", BitBlock, 16, "DO1", withCrc("0101 0000 0010"), 2},
        RouteCase{"bitblock_register_bits", BitBlock, 4, "hr2.4", withCrc("0103 0001 0001"), 1},
        RouteCase{"byte_hr1", Byte, 3, "HR1", withCrc("0103 0000 0002"), 3},
        RouteCase{"block_hr1", Block, 3, "HR1", withCrc("0103 0000 0002"), 3},
        RouteCase{"word_hr100", Word, 10, "HR100", withCrc("0103 0063 000A"), 20},
        RouteCase{"word_fn6hr100", Word, 1, "FN6HR100", withCrc("0103 0063 0001"), 2},
        RouteCase{"word_ir100", Word, 1, "IR100", withCrc("0104 0063 0001"), 2},
        RouteCase{"word_hr60000_special", Word, 1, "HR60000", {}, 2},
        RouteCase{"word_hr60010_special", Word, 1, "HR60010", {}, 2},
        RouteCase{"word_fn6hr60005_special", Word, 2, "FN6HR60005", {}, 4},
        RouteCase{"word_lower_hr60001_special", Word, 3, "hr60001", {}, 6},
        RouteCase{"word_hr59999_plain", Word, 1, "HR59999", withCrc("0103 EA5E 0001"), 2},
        RouteCase{"word_hr60011_plain", Word, 1, "HR60011", withCrc("0103 EA6A 0001"), 2},
        RouteCase{"word_ir60000_plain_fn4", Word, 1, "IR60000", withCrc("0104 EA5F 0001"), 2},
        RouteCase{"word_no_number_reads_65535", Word, 1, "HR", withCrc("0103 FFFF 0001"), 2},
        RouteCase{"dword_hr200", DoubleWord, 2, "HR200", withCrc("0103 00C7 0004"), 8},
        RouteCase{"dword_ir200sw", DoubleWord, 1, "IR200SW", withCrc("0104 00C7 0002"), 4}),
    [](const testing::TestParamInfo<RouteCase>& info) { return std::string(info.param.name); });

struct WordOrderCase {
    const char* address;
    QByteArray result;
};

void PrintTo(const WordOrderCase& c, std::ostream* os) { *os << c.address; }

class DoubleWordOrder : public testing::TestWithParam<WordOrderCase> {};

TEST_P(DoubleWordOrder, FollowsSwInAnyCase)
{
    TestableDriver driver;
    ScriptedPort port;
    port.queueBytes(readReply(1, 3, "1234 5678"));
    const QByteArray result =
        driver.read(&port, CommunicatorCommand(DoubleWord, 1, QString::fromLatin1(GetParam().address)));
    EXPECT_EQ(result.toHex(' ').toStdString(), GetParam().result.toHex(' ').toStdString());
}

INSTANTIATE_TEST_SUITE_P(Texts, DoubleWordOrder,
                         testing::Values(WordOrderCase{"HR200SW", hex("7856 3412")},
                                         WordOrderCase{"hr200sw", hex("7856 3412")},
                                         WordOrderCase{"HR200Sw", hex("7856 3412")},
                                         WordOrderCase{"HR200", hex("3412 7856")},
                                         WordOrderCase{"HR200S", hex("3412 7856")}));

struct RetryCase {
    int retry;
    int attempts;
};

void PrintTo(const RetryCase& c, std::ostream* os) { *os << "retry " << c.retry; }

class ReadRetries : public testing::TestWithParam<RetryCase> {};

TEST_P(ReadRetries, TryRetryPlusOneTimesThenDescribe)
{
    TestableDriver driver;
    ScriptedPort port;
    port.setRetry(GetParam().retry);
    const QByteArray result = driver.read(&port, CommunicatorCommand(Word, 1, QStringLiteral("HR100")));

    const int attempts = GetParam().attempts;
    EXPECT_TRUE(result.isEmpty());
    EXPECT_EQ(port.count(Call::Send), attempts);
    EXPECT_EQ(port.count(Call::GetDelay), attempts);
    EXPECT_EQ(port.count(Call::GetRetry), attempts);
    EXPECT_EQ(port.count(Call::GetStationId), attempts + 1);
    EXPECT_TRUE(driver.hasError());
    EXPECT_EQ(driver.getLastError(), QStringLiteral("PLC no response (read 1 word(s) from 1-HR100)"));
    // Each attempt waits first: the delay is asked before anything else of the attempt.
    const QList<Call> calls = port.callSequence();
    EXPECT_EQ(calls.first(), Call::GetDelay);
    EXPECT_EQ(calls.last(), Call::GetStationId);
}

INSTANTIATE_TEST_SUITE_P(Counts, ReadRetries,
                         testing::Values(RetryCase{3, 4}, RetryCase{1, 2}, RetryCase{0, 1},
                                         RetryCase{-1, 1}, RetryCase{-100, 1}));

TEST(ReadDispatch, SuccessAfterAFailureReturnsTheSecondAttemptsData)
{
    TestableDriver driver;
    ScriptedPort port;
    port.setRetry(3);
    port.queueSilence();
    port.queueBytes(readReply(1, 3, "ABCD"));
    const QByteArray result = driver.read(&port, CommunicatorCommand(Word, 1, QStringLiteral("HR100")));
    EXPECT_EQ(result, hex("CDAB"));
    EXPECT_FALSE(driver.hasError());
    EXPECT_EQ(driver.getLastError(), QStringLiteral("PLC no response"));
    EXPECT_EQ(port.count(Call::Send), 2);
    EXPECT_EQ(port.count(Call::GetRetry), 1);
    EXPECT_EQ(port.count(Call::GetStationId), 2);
}

TEST(ReadDispatch, SuccessfulReadAsksDelayStationAndNothingElse)
{
    TestableDriver driver;
    ScriptedPort port;
    port.queueBytes(readReply(1, 3, "0001"));
    driver.read(&port, CommunicatorCommand(Word, 1, QStringLiteral("HR1")));
    EXPECT_EQ(port.callSequence(), (QList<Call>{Call::GetDelay, Call::GetStationId, Call::SetOption,
                                                Call::Send, Call::Receive, Call::Receive}));
    EXPECT_EQ(port.receiveRequests(), (QList<int>{5, 2}));
    const ScriptedPort::Event& option = port.events().at(2);
    EXPECT_EQ(option.optionCode, 12);
    EXPECT_EQ(option.optionValue.userType(), QMetaType::Int);
    EXPECT_EQ(option.optionValue.toInt(), 0);
}

TEST(ReadDispatch, RetryCountIsAskedAfreshEachAttempt)
{
    TestableDriver driver;
    ScriptedPort port;
    port.setRetry(5);
    // The port's retry count drops to 1 while the first request is on the line.
    port.setResponder([&port](const QByteArray&) {
        port.setRetry(1);
        return QByteArray();
    });
    driver.read(&port, CommunicatorCommand(Word, 1, QStringLiteral("HR1")));
    EXPECT_EQ(port.count(Call::Send), 2);
}

TEST(ReadDispatch, DelayIsWaitedBeforeEveryAttempt)
{
    TestableDriver driver;
    ScriptedPort port;
    port.setRetry(2);
    port.setDelay(4);
    QElapsedTimer timer;
    timer.start();
    driver.read(&port, CommunicatorCommand(Word, 1, QStringLiteral("HR1")));
    EXPECT_GE(timer.elapsed(), 12);
    EXPECT_EQ(port.count(Call::GetDelay), 3);
}

struct UnsupportedCase {
    int dataType;
};

void PrintTo(const UnsupportedCase& c, std::ostream* os) { *os << "type " << c.dataType; }

class UnsupportedTypes : public testing::TestWithParam<UnsupportedCase> {};

TEST_P(UnsupportedTypes, AreRefusedAfterOneDelayWithoutRetries)
{
    TestableDriver driver;
    ScriptedPort port;
    port.setRetry(3);
    const QByteArray result =
        driver.read(&port, CommunicatorCommand(GetParam().dataType, 1, QStringLiteral("HR100")));
    EXPECT_TRUE(result.isEmpty());
    EXPECT_TRUE(driver.hasError());
    EXPECT_EQ(driver.getLastError(), QStringLiteral("unsupported data type: HR100"));
    EXPECT_EQ(port.callSequence(), QList<Call>{Call::GetDelay});
}

INSTANTIATE_TEST_SUITE_P(Codes, UnsupportedTypes,
                         testing::Values(UnsupportedCase{QuadWord}, UnsupportedCase{7},
                                         UnsupportedCase{-1}));

struct DescriptionCase {
    const char* name;
    int dataType;
    int count;
    const char* address;
    int stationId;
    const char* error;
};

void PrintTo(const DescriptionCase& c, std::ostream* os) { *os << c.name; }

class ReadDescriptions : public testing::TestWithParam<DescriptionCase> {};

TEST_P(ReadDescriptions, AreAppendedAfterTheLastAttempt)
{
    const DescriptionCase& c = GetParam();
    TestableDriver driver;
    ScriptedPort port;
    port.setStationId(c.stationId);
    driver.read(&port, CommunicatorCommand(c.dataType, c.count, QString::fromLatin1(c.address)));
    EXPECT_TRUE(driver.hasError());
    EXPECT_EQ(driver.getLastError().toStdString(), std::string(c.error));
}

INSTANTIATE_TEST_SUITE_P(
    Types, ReadDescriptions,
    testing::Values(
        DescriptionCase{"bit", Bit, 3, "DO5", 1, "PLC no response (read 3 bit(s) from 1-DO5)"},
        DescriptionCase{"byte", Byte, 3, "HR1", 2, "PLC no response (read 3 byte(s) from 2-HR1)"},
        DescriptionCase{"word", Word, 10, "HR100", 1, "PLC no response (read 10 word(s) from 1-HR100)"},
        DescriptionCase{"dword", DoubleWord, 2, "hr200sw", 17,
                        "PLC no response (read 2 dword(s) from 17-hr200sw)"},
        DescriptionCase{"block_none", Block, 3, "HR1", 1, "PLC no response"},
        DescriptionCase{"bitblock_none", BitBlock, 8, "DO1", 1, "PLC no response"},
        DescriptionCase{"station_300_prints_44", Word, 1, "HR100", 300,
                        "invalid slave id:300 (read 1 word(s) from 44-HR100)"},
        DescriptionCase{"station_minus_1_prints_255", Bit, 1, "DI1", -1,
                        "invalid slave id:-1 (read 1 bit(s) from 255-DI1)"},
        DescriptionCase{"bound_count_0", Word, 0, "HR100", 1,
                        "can't read any word from HR100 (read 0 word(s) from 1-HR100)"},
        DescriptionCase{"bound_special", Word, 2, "HR60010", 1,
                        "can't read any word from HR60010 (read 2 word(s) from 1-HR60010)"}),
    [](const testing::TestParamInfo<DescriptionCase>& info) { return std::string(info.param.name); });

TEST(ReadDispatch, FailedRefreshReturnsTheTableBytesWithTheError)
{
    TestableDriver driver;
    driver.setSpecial(SpecialRegisters::StationCountEntry, 1);
    driver.setSpecial(SpecialRegisters::ReadStationEntry, 3);
    driver.setSpecial(SpecialRegisters::MonitoredEntry, 0x1234);
    ScriptedPort port;
    const QByteArray result = driver.read(&port, CommunicatorCommand(Word, 1, QStringLiteral("HR60010")));
    EXPECT_EQ(result, hex("3412"));
    EXPECT_TRUE(driver.hasError());
    EXPECT_EQ(driver.getLastError(), QStringLiteral("PLC no response (read 1 word(s) from 1-HR60010)"));
    EXPECT_EQ(port.sentFrames(), QList<QByteArray>{withCrc("0303 0513 0001")});
}

TEST(ReadDispatch, NullPortIsNoResponseWithoutDescription)
{
    TestableDriver driver;
    const QByteArray result = driver.read(nullptr, CommunicatorCommand(Word, 1, QStringLiteral("HR100")));
    EXPECT_TRUE(result.isEmpty());
    EXPECT_TRUE(driver.hasError());
    EXPECT_EQ(driver.getLastError(), QStringLiteral("PLC no response"));
}

// Whatever bytes arrive, a read either fails with an empty result or returns
// exactly the data length of its command; the sanitizer build watches memory.
TEST(ReadDispatch, ArbitraryRepliesNeverGiveWrongSizes)
{
    struct Command {
        int dataType;
        int count;
        const char* address;
        int size;
        bool sizedOnFailure;  // a failed refresh still returns the table bytes
    };
    const Command commands[] = {
        {Word, 125, "HR1", 250, false},        {DoubleWord, 62, "IR1SW", 248, false},
        {Byte, 249, "HR1", 249, false},        {Bit, 2008, "DO1", 251, false},
        {Bit, 2000, "HR1.0", 250, false},      {Bit, 17, "HR65520.255", 3, false},
        {BitBlock, 2007, "DI1", 251, false},   {Word, 1, "HR60010", 2, true}};
    std::mt19937 random(20261122);
    int successes = 0;
    int failures = 0;
    for (const Command& command : commands) {
        for (int trial = 0; trial < 300; ++trial) {
            TestableDriver driver;
            driver.setSpecial(SpecialRegisters::StationCountEntry, 1);
            driver.setSpecial(SpecialRegisters::ReadStationEntry, 1);
            ScriptedPort port;
            port.setResponder([&random](const QByteArray& request) {
                // Intact, cut or stretched, or with bytes overwritten.
                QByteArray reply = answerRead(request);
                switch (random() % 3) {
                case 0: break;
                case 1: reply.resize(static_cast<int>(random() % 300)); break;
                default:
                    for (int k = 0; k < reply.size(); ++k)
                        if (random() % 8 == 0)
                            reply[k] = static_cast<char>(random());
                }
                return reply;
            });
            const QByteArray result = driver.read(
                &port, CommunicatorCommand(command.dataType, command.count, QString::fromLatin1(command.address)));
            if (driver.hasError() && !command.sizedOnFailure)
                ASSERT_TRUE(result.isEmpty()) << command.address;
            else
                ASSERT_EQ(result.size(), command.size) << command.address;
            successes += driver.hasError() ? 0 : 1;
            failures += driver.hasError() ? 1 : 0;
        }
    }
    EXPECT_GT(successes, 300);
    EXPECT_GT(failures, 300);
}

} // namespace
