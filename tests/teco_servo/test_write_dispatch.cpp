// The driver's write: routing of every command to one operation, retries paced
// by the port's delay, and the description appended to a failed command's error.
#include <QSet>
#include <gtest/gtest.h>

#include "support/scripted_port.h"
#include "teco_servo/modbus_rtu_frame.h"
#include "teco_servo/special_registers.h"
#include "testable_driver.h"

namespace {

using Call = ScriptedPort::Call;
using namespace SpecialRegisters;

QByteArray hex(const char* text) { return QByteArray::fromHex(text); }

// A servo whose registers all hold 0: reads get zeros, writes their echo; silent stations do not answer.
struct Servo {
    QSet<int> silent;
    QByteArray operator()(const QByteArray& request) const
    {
        if (silent.contains(static_cast<unsigned char>(request.at(0))))
            return QByteArray();
        const int registers = static_cast<unsigned char>(request.at(5));
        QByteArray reply = request.at(1) == 3 ? request.left(2).append(static_cast<char>(2 * registers))
                                                    .append(QByteArray(2 * registers, '\0'))
                                              : request.left(6);
        ModbusRTUSlaveAppendCRC(reply);
        return reply;
    }
};

// Frames as sent without their CRC, joined by " | "; "~" marks a pause of the port's delay.
QString wire(const ScriptedPort& port, bool withPauses = false)
{
    QStringList steps;
    for (const ScriptedPort::Event& e : port.events()) {
        if (e.call == Call::Send)
            steps << QString::fromLatin1(e.bytes.chopped(2).toHex(' '));
        else if (e.call == Call::GetDelay && withPauses)
            steps << QStringLiteral("~");
    }
    return steps.join(QStringLiteral(" | "));
}

struct RouteCase {
    const char* name;
    int dataType;
    const char* address;
    QByteArray data;
    QString wire;
    QString error;
    int entry = -1; // a special entry to check afterwards
    unsigned short entryValue = 0;
};

void PrintTo(const RouteCase& c, std::ostream* os) { *os << c.name; }

class WriteRouting : public testing::TestWithParam<RouteCase> {};

TEST_P(WriteRouting, ReachesExactlyOneOperation)
{
    const RouteCase& c = GetParam();
    ScriptedPort port;
    port.setResponder(Servo());
    TestableDriver driver;

    const CommunicatorCommand command(c.dataType, 1, QLatin1String(c.address));
    EXPECT_EQ(driver.write(&port, command, c.data), c.error.isEmpty());
    EXPECT_EQ(driver.hasError(), !c.error.isEmpty());
    EXPECT_EQ(driver.getLastError().toStdString(), c.error.toStdString());
    EXPECT_EQ(wire(port).toStdString(), c.wire.toStdString());
    EXPECT_EQ(c.entry < 0 ? 0 : driver.special(c.entry), c.entryValue);
}

// Host words go low byte first: 0x1234 is 34 12. Zero-based 59998, 60004 and
// 60010 are ea 5e, ea 64 and ea 6a on the wire.
INSTANTIATE_TEST_SUITE_P(
    Table, WriteRouting,
    testing::Values(
        RouteCase{"bit_do5_fn15", Bit, "DO5", hex("01"), "01 0f 00 04 00 01 01 01", {}},
        RouteCase{"bitblock_do5_fn15", BitBlock, "do5", hex("010001"), "01 0f 00 04 00 03 01 05", {}},
        RouteCase{"bit_fn5do5_fn5", Bit, "fn5do5", hex("01"), "01 05 00 04 ff 00", {}},
        RouteCase{"bit_hr100_3_fn16", Bit, "hr100.3", hex("01"), "01 03 00 63 00 01 | 01 10 00 63 00 01 02 00 08", {}},
        RouteCase{"bit_fn6hr100_3_fn6", Bit, "FN6HR100.3", hex("01"), "01 03 00 63 00 01 | 01 06 00 63 00 08", {}},
        RouteCase{"bit_hr59999_goes_to_servo", Bit, "HR59999", hex("01"), "01 03 ea 5e 00 01 | 01 10 ea 5e 00 01 02 00 01", {}},
        RouteCase{"bit_hr60004_2_special", Bit, "HR60004.2", hex("01"), {}, {}, 4, 0x0004},
        RouteCase{"bitblock_fn6hr60010_special", BitBlock, "FN6HR60010.1", hex("01"), {}, {}, MonitoredEntry, 0x0002},
        RouteCase{"bit_hr60011_goes_to_servo", Bit, "HR60011", hex("01"), "01 03 ea 6a 00 01 | 01 10 ea 6a 00 01 02 00 01", {}},
        RouteCase{"bit_di5_refused", Bit, "DI5", hex("01"), {}, "can't write any bit to DI5 (write 1 bit to 1-DI5)"},
        RouteCase{"bitblock_ir5_refused_without_suffix", BitBlock, "IR5", hex("01"), {}, "can't write any bit to IR5"},
        RouteCase{"byte_hr100_fn16", Byte, "HR100", hex("112233"), "01 10 00 63 00 02 04 22 11 00 33", {}},
        RouteCase{"block_hr100_fn16", Block, "HR100", hex("1122"), "01 10 00 63 00 01 02 22 11", {}},
        RouteCase{"byte_fn6hr100_fn6", Byte, "FN6HR100", hex("1122"), "01 06 00 63 22 11", {}},
        RouteCase{"byte_hr60005_goes_to_servo", Byte, "HR60005", hex("1122"), "01 10 ea 64 00 01 02 22 11", {}},
        RouteCase{"byte_do5_refused", Byte, "DO5", hex("11"), {}, "can't write any byte to DO5 (write 1 byte to 1-DO5)"},
        RouteCase{"block_do5_refused_without_suffix", Block, "DO5", hex("11"), {}, "can't write any byte to DO5"},
        RouteCase{"word_hr100_fn16", Word, "hr100", hex("3412"), "01 10 00 63 00 01 02 12 34", {}},
        RouteCase{"word_fn6hr100_fn6", Word, "FN6HR100", hex("34127856"), "01 06 00 63 12 34 | 01 06 00 64 56 78", {}},
        RouteCase{"word_hr59999_goes_to_servo", Word, "HR59999", hex("3412"), "01 10 ea 5e 00 01 02 12 34", {}},
        RouteCase{"word_hr60000_special", Word, "HR60000", hex("0200"), {}, {}, StationCountEntry, 2},
        RouteCase{"word_fn6hr60009_special", Word, "FN6HR60009", hex("0900"), {}, {}, ReadStationEntry, 8},
        RouteCase{"word_hr60010_special", Word, "HR60010", hex("3412"), {}, {}, MonitoredEntry, 0x1234},
        RouteCase{"word_hr60011_goes_to_servo", Word, "HR60011", hex("3412"), "01 10 ea 6a 00 01 02 12 34", {}},
        RouteCase{"word_do5_refused", Word, "DO5", hex("3412"), {}, "can't write any word to DO5 (write 1 word to 1-DO5)"},
        RouteCase{"word_without_area_refused", Word, "100", hex("3412"), {}, "can't write any word to 100 (write 1 word to 1-100)"},
        RouteCase{"dword_hr100_low_word_first", DoubleWord, "HR100", hex("44332211"), "01 10 00 63 00 02 04 33 44 11 22", {}},
        RouteCase{"dword_hr100sw_high_word_first", DoubleWord, "hr100sW", hex("44332211"), "01 10 00 63 00 02 04 11 22 33 44", {}},
        RouteCase{"dword_fn6hr100sw_fn6", DoubleWord, "FN6HR100SW", hex("44332211"), "01 06 00 63 11 22 | 01 06 00 64 33 44", {}},
        RouteCase{"dword_hr60005_goes_to_servo", DoubleWord, "HR60005", hex("44332211"), "01 10 ea 64 00 02 04 33 44 11 22", {}},
        RouteCase{"dword_di1_refused", DoubleWord, "DI1", hex("44332211"), {}, "can't write any double word to DI1 (write 1 dword to 1-DI1)"},
        RouteCase{"quadword_unsupported", QuadWord, "HR100", hex("0102030405060708"), {}, "unsupported data type: HR100"},
        RouteCase{"type_7_unsupported", 7, "DO5", hex("01"), {}, "unsupported data type: DO5"}));

TEST(WriteRetries, SilentServoIsTriedRetryPlusOneTimesEachAfterTheDelay)
{
    ScriptedPort port;
    port.setRetry(3);
    TestableDriver driver;

    EXPECT_FALSE(driver.write(&port, CommunicatorCommand(Word, 1, QStringLiteral("HR100")), hex("3412")));
    EXPECT_EQ(wire(port, true), QStringLiteral("~ | 01 10 00 63 00 01 02 12 34 | ").repeated(4).chopped(3));
    EXPECT_EQ(driver.getLastError(), QStringLiteral("PLC no response (write 1 word to 1-HR100)"));
}

TEST(WriteRetries, SecondAttemptSucceeds)
{
    ScriptedPort port;
    port.setRetry(3);
    port.queueSilence();
    port.setResponder(Servo());
    TestableDriver driver;

    EXPECT_TRUE(driver.write(&port, CommunicatorCommand(Word, 1, QStringLiteral("HR100")), hex("3412")));
    EXPECT_FALSE(driver.hasError());
    EXPECT_EQ(port.count(Call::Send), 2);
    EXPECT_EQ(driver.getLastError(), QStringLiteral("PLC no response")) << "the earlier text stays, undescribed";
}

TEST(WriteRetries, RefusedAreaIsRetriedButAnUnsupportedTypeIsNot)
{
    ScriptedPort port;
    port.setRetry(2);
    TestableDriver driver;
    EXPECT_FALSE(driver.write(&port, CommunicatorCommand(Bit, 1, QStringLiteral("DI5")), hex("01")));
    EXPECT_EQ(port.count(Call::GetDelay), 3);

    port.clearLog();
    EXPECT_FALSE(driver.write(&port, CommunicatorCommand(QuadWord, 1, QStringLiteral("HR100")), hex("3412")));
    EXPECT_EQ(port.callSequence(), QList<Call>({Call::GetDelay}));
}

struct SuffixCase {
    const char* name;
    int dataType;
    int count;
    const char* address;
    int station;
    const char* error;
};

void PrintTo(const SuffixCase& c, std::ostream* os) { *os << c.name; }

class WriteDescriptions : public testing::TestWithParam<SuffixCase> {};

TEST_P(WriteDescriptions, NameCountStationAndAddress)
{
    const SuffixCase& c = GetParam();
    ScriptedPort port;
    port.setStationId(c.station);
    TestableDriver driver;

    const CommunicatorCommand command(c.dataType, c.count, QLatin1String(c.address));
    EXPECT_FALSE(driver.write(&port, command, hex("01000200")));
    EXPECT_EQ(driver.getLastError().toStdString(), c.error);
}

INSTANTIATE_TEST_SUITE_P(
    Suffixes, WriteDescriptions,
    testing::Values(SuffixCase{"bit", Bit, 4, "HR100.3", 1, "PLC no response (write 4 bit to 1-HR100.3)"},
                    SuffixCase{"byte", Byte, 4, "HR100", 7, "PLC no response (write 4 byte to 7-HR100)"},
                    SuffixCase{"word_count_as_given", Word, -3, "FN6HR100", 255,
                               "PLC no response (write -3 word to 255-FN6HR100)"},
                    SuffixCase{"dword", DoubleWord, 1, "HR100SW", 1, "PLC no response (write 1 dword to 1-HR100SW)"},
                    SuffixCase{"block_none", Block, 4, "HR100", 1, "PLC no response"},
                    SuffixCase{"bitblock_none", BitBlock, 2, "DO1", 1, "PLC no response"},
                    SuffixCase{"station_low_8_bits", Word, 2, "HR100", 300,
                               "invalid slave id:300 (write 2 word to 44-HR100)"}));

TEST(WriteDescriptions, UseTheStationThePortReportsWhenTheLoopEnds)
{
    ScriptedPort port;
    port.setRetry(1);
    port.setResponder([&](const QByteArray&) {
        port.setStationId(9);
        return QByteArray();
    });
    TestableDriver driver;

    EXPECT_FALSE(driver.write(&port, CommunicatorCommand(Word, 1, QStringLiteral("HR100")), hex("3412")));
    EXPECT_EQ(driver.getLastError(), QStringLiteral("PLC no response (write 1 word to 9-HR100)"));
}

TEST(WriteProgress, RetriedFanOutResumesAndEachCommandStartsOver)
{
    TestableDriver driver;
    driver.setSpecial(StationCountEntry, 2);
    driver.setSpecial(1, 3);
    driver.setSpecial(2, 4);
    Servo servo;
    servo.silent.insert(4);
    ScriptedPort port;
    port.setRetry(1);
    int requests = 0;
    port.setResponder([&](const QByteArray& request) {
        if (++requests == 3) // station 4 misses only the first request sent to it
            servo.silent.clear();
        return servo(request);
    });
    const CommunicatorCommand command(Word, 1, QStringLiteral("FN6HR60010"));

    EXPECT_TRUE(driver.write(&port, command, hex("3412")));
    EXPECT_EQ(wire(port), QStringLiteral("03 06 05 13 12 34 | 04 06 05 13 12 34 | 04 06 05 13 12 34"));

    port.clearLog();
    EXPECT_TRUE(driver.write(&port, command, hex("7856")));
    EXPECT_EQ(wire(port), QStringLiteral("03 06 05 13 56 78 | 04 06 05 13 56 78"));
    EXPECT_EQ(driver.special(MonitoredEntry), 0x5678);
}

TEST(WriteDispatch, NullPortFailsAsASilentLine)
{
    TestableDriver driver;
    EXPECT_FALSE(driver.write(nullptr, CommunicatorCommand(Word, 1, QStringLiteral("HR100")), hex("3412")));
    EXPECT_TRUE(driver.hasError());
    EXPECT_EQ(driver.getLastError(), QStringLiteral("PLC no response"));
}

} // namespace
