// Writes to the driver-side registers HR60000..HR60010: local stores, refusals,
// and the word fan-out of the monitored register to the station list.
#include <QByteArray>
#include <QSet>
#include <QStringList>
#include <QVector>
#include <gtest/gtest.h>
#include <ostream>

#include "support/scripted_port.h"
#include "teco_servo/modbus_rtu_frame.h"
#include "teco_servo/special_registers.h"
#include "testable_driver.h"

namespace {

using Call = ScriptedPort::Call;
using namespace SpecialRegisters;

// Zero-based address of the user's HR60000 + entry.
unsigned short entryAddress(int entry) { return static_cast<unsigned short>(59999 + entry); }

QByteArray hex(const char* text) { return QByteArray::fromHex(text); }

QVector<unsigned short> table(const TestableDriver& driver)
{
    QVector<unsigned short> entries;
    for (int k = 0; k < Count; ++k)
        entries << driver.special(k);
    return entries;
}

// Entry k holds 0x0k00 + k, a pattern no write below produces by chance,
// except entry 9, which holds station 7 so that the cap does not change it.
unsigned short pattern(int entry)
{
    return entry == ReadStationEntry ? 7 : static_cast<unsigned short>(0x0100 * entry + entry);
}

void fillTable(TestableDriver& driver)
{
    for (int k = 0; k < Count; ++k)
        driver.setSpecial(k, pattern(k));
}

QVector<unsigned short> filledWith(std::initializer_list<std::pair<int, unsigned short>> changes)
{
    QVector<unsigned short> entries;
    for (int k = 0; k < Count; ++k)
        entries << pattern(k);
    for (const auto& change : changes)
        entries[change.first] = change.second;
    return entries;
}

enum Kind { WordFN16, WordFN6, BitFN16, BitFN6 };

struct LocalCase {
    const char* name;
    Kind kind;
    int entry;
    unsigned char bit;
    QByteArray data;
    QVector<unsigned short> after;
    QString error; // empty: success expected; a refusal leaves the table as it was
};

void PrintTo(const LocalCase& c, std::ostream* os) { *os << c.name; }

bool run(TestableDriver& driver, ScriptedPort& port, Kind kind, unsigned short address, unsigned char bit,
         const QByteArray& data, int& progress)
{
    switch (kind) {
    case WordFN16: return driver.writeSpecialHRWords(&port, address, data, progress);
    case WordFN6: return driver.writeSpecialFN6HRWords(&port, address, data, progress);
    case BitFN16: return driver.writeSpecialHRbit(&port, address, bit, data, progress);
    case BitFN6: return driver.writeSpecialFN6HRbit(&port, address, bit, data, progress);
    }
    return false;
}

class SpecialLocalWrites : public testing::TestWithParam<LocalCase> {};

TEST_P(SpecialLocalWrites, ChangeOnlyTheTableAndSendNothing)
{
    const LocalCase& c = GetParam();
    TestableDriver driver;
    fillTable(driver);
    // The list stays empty so that nothing could be sent even for entry 10.
    driver.setSpecial(StationCountEntry, 0);
    ScriptedPort port;
    int progress = 0;

    const bool result = run(driver, port, c.kind, entryAddress(c.entry), c.bit, c.data, progress);

    EXPECT_EQ(result, c.error.isEmpty());
    EXPECT_EQ(driver.getLastError(), c.error);
    EXPECT_TRUE(port.events().isEmpty()) << "the table is the driver's own: nothing goes to the port";
    QVector<unsigned short> expected = c.after;
    if (c.after.isEmpty()) {
        expected = filledWith({});
        expected[StationCountEntry] = 0;
    }
    EXPECT_EQ(table(driver), expected);
    EXPECT_EQ(progress, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Table, SpecialLocalWrites,
    testing::Values(
        LocalCase{"word_entry_1", WordFN16, 1, 0, hex("0500"), filledWith({{0, 0}, {1, 5}}), {}},
        LocalCase{"word_two_entries_2_3", WordFN6, 2, 0, hex("34127856"), filledWith({{0, 0}, {2, 0x1234}, {3, 0x5678}}), {}},
        LocalCase{"word_entry_9_capped_at_8", WordFN16, 9, 0, hex("1400"), filledWith({{0, 0}, {9, 8}}), {}},
        LocalCase{"word_fn6_entry_9_capped_at_8", WordFN6, 9, 0, hex("0900"), filledWith({{0, 0}, {9, 8}}), {}},
        LocalCase{"word_entry_9_kept_at_8", WordFN16, 9, 0, hex("0800"), filledWith({{0, 0}, {9, 8}}), {}},
        LocalCase{"word_entry_0_capped_at_8", WordFN16, 0, 0, hex("0900"), filledWith({{0, 8}}), {}},
        LocalCase{"word_entry_0_stores_2", WordFN16, 0, 0, hex("0200"), filledWith({{0, 2}}), {}},
        LocalCase{"word_odd_length_pads_last_word", WordFN16, 3, 0, hex("112233"),
                  filledWith({{0, 0}, {3, 0x2211}, {4, 0x0033}}), {}},
        LocalCase{"word_ten_entries_0_to_9", WordFN16, 0, 0,
                  hex("0300 0101 0202 0303 0404 0505 0606 0707 0808 0909"),
                  QVector<unsigned short>({3, 0x0101, 0x0202, 0x0303, 0x0404, 0x0505, 0x0606, 0x0707, 0x0808, 8, 0x0a0a}),
                  {}},
        LocalCase{"word_empty_at_entry_10_stores_nothing", WordFN16, 10, 0, QByteArray(), {}, {}},
        LocalCase{"word_entries_9_and_10_refused", WordFN16, 9, 0, hex("01000200"), {},
                  QStringLiteral("can't write any word to HR60009")},
        LocalCase{"word_two_at_entry_10_refused", WordFN6, 10, 0, hex("01000200"), {},
                  QStringLiteral("can't write any word to HR60010")},
        LocalCase{"word_eleven_from_entry_0_refused", WordFN16, 0, 0, QByteArray(22, 1), {},
                  QStringLiteral("can't write any word to HR60000")},
        LocalCase{"word_3_bytes_at_entry_9_reach_10_refused", WordFN16, 9, 0, hex("010203"), {},
                  QStringLiteral("can't write any word to HR60009")},
        LocalCase{"word_hr100_outside_the_table_refused", WordFN16, 100 - 60000, 0, hex("0100"), {},
                  QStringLiteral("can't write any word to HR100")},
        LocalCase{"bit_entry_3_bit_2_set", BitFN16, 3, 2, hex("01"), filledWith({{0, 0}, {3, 0x0307}}), {}},
        LocalCase{"bit_fn6_entry_3_bit_4_set", BitFN6, 3, 4, hex("01"), filledWith({{0, 0}, {3, 0x0313}}), {}},
        LocalCase{"bit_entry_3_bit_9_clear", BitFN16, 3, 9, hex("00"), filledWith({{0, 0}, {3, 0x0103}}), {}},
        LocalCase{"bit_entry_5_bit_15_data_02_sets", BitFN16, 5, 15, hex("02"), filledWith({{0, 0}, {5, 0x8505}}), {}},
        LocalCase{"bit_only_first_byte_counts", BitFN16, 4, 2, hex("0001"), filledWith({{0, 0}, {4, 0x0400}}), {}},
        LocalCase{"bit_empty_data_clears", BitFN16, 6, 1, QByteArray(), filledWith({{0, 0}, {6, 0x0604}}), {}},
        LocalCase{"bit_entry_10_empty_list", BitFN16, 10, 4, hex("01"), filledWith({{0, 0}, {10, 0x0a1a}}), {}},
        LocalCase{"bit_entry_0_always_8", BitFN16, 0, 3, hex("00"), filledWith({{0, 8}}), {}},
        LocalCase{"bit_fn6_entry_0_always_8", BitFN6, 0, 0, hex("01"), filledWith({{0, 8}}), {}},
        LocalCase{"bit_past_bit_15_refused", BitFN16, 3, 15, hex("0101"), {},
                  QStringLiteral("can't write any bit to HR60003")},
        LocalCase{"bit_16_refused", BitFN6, 3, 16, hex("01"), {}, QStringLiteral("can't write any bit to HR60003")},
        LocalCase{"bit_outside_the_table_refused", BitFN16, 11, 0, hex("01"), {},
                  QStringLiteral("can't write any bit to HR60011")}));

TEST(SpecialLocalWrites, WordStoreLowersEntries0And9Above8WhateverEntryItStores)
{
    TestableDriver driver;
    driver.setSpecial(StationCountEntry, 12);
    driver.setSpecial(ReadStationEntry, 300);
    ScriptedPort port;
    int progress = 0;
    ASSERT_TRUE(driver.writeSpecialHRWords(&port, entryAddress(4), QByteArray::fromHex("0400"), progress));
    EXPECT_EQ(driver.special(StationCountEntry), 8);
    EXPECT_EQ(driver.special(ReadStationEntry), 8);
    EXPECT_EQ(driver.special(4), 4);
}

TEST(SpecialLocalWrites, BitWriteCapsAStationCountAbove8)
{
    TestableDriver driver;
    driver.setSpecial(StationCountEntry, 200);
    ScriptedPort port;
    int progress = 0;
    ASSERT_TRUE(driver.writeSpecialHRbit(&port, entryAddress(5), 0, hex("01"), progress));
    EXPECT_EQ(driver.special(StationCountEntry), 8);
    EXPECT_EQ(driver.special(5), 1);
}

// A servo line that echoes every write, except for silent stations.
struct Line {
    QSet<int> silent;
    QByteArray operator()(const QByteArray& request) const
    {
        if (silent.contains(static_cast<unsigned char>(request.at(0))))
            return QByteArray();
        QByteArray reply = request.left(6);
        ModbusRTUSlaveAppendCRC(reply);
        return reply;
    }
};

QStringList bodies(const QList<QByteArray>& frames)
{
    QStringList out;
    for (const QByteArray& frame : frames)
        out << QString::fromLatin1(frame.left(frame.size() - 2).toHex(' '));
    return out;
}

QString sendsAndPauses(const ScriptedPort& port)
{
    QString out;
    for (Call call : port.callSequence())
        out += call == Call::Send ? QStringLiteral("S") : call == Call::GetDelay ? QStringLiteral("D") : QString();
    return out;
}

struct FanoutCase {
    const char* name;
    Kind kind;
    unsigned short count; // entry 0
    QStringList frames;   // without CRC
    QString sequence;
};

void PrintTo(const FanoutCase& c, std::ostream* os) { *os << c.name; }

class SpecialWordFanout : public testing::TestWithParam<FanoutCase> {};

TEST_P(SpecialWordFanout, WritesRegister1299OfEveryListedStationThenEntry10)
{
    const FanoutCase& c = GetParam();
    TestableDriver driver;
    driver.setSpecial(StationCountEntry, c.count);
    // Stations 5, 6, 7, ... in entries 1 to 8; the high byte is not part of the slave id.
    for (int k = 1; k <= 8; ++k)
        driver.setSpecial(k, static_cast<unsigned short>(0x0100 + 4 + k));
    driver.setSpecial(ReadStationEntry, 0x00ee);
    ScriptedPort port;
    port.setStationId(999); // never asked: the stations come from the list
    port.setResponder(Line());
    int progress = 0;

    ASSERT_TRUE(run(driver, port, c.kind, entryAddress(MonitoredEntry), 0, hex("3412"), progress))
        << driver.getLastError().toStdString();

    EXPECT_EQ(bodies(port.sentFrames()), c.frames);
    EXPECT_EQ(sendsAndPauses(port), c.sequence);
    EXPECT_EQ(driver.special(MonitoredEntry), 0x1234);
    EXPECT_EQ(progress, qMin<int>(c.count, 8));
    EXPECT_EQ(port.count(Call::GetStationId), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Stations, SpecialWordFanout,
    testing::Values(
        FanoutCase{"fn16_three_stations", WordFN16, 3,
                   {"05 10 05 13 00 01 02 12 34", "06 10 05 13 00 01 02 12 34", "07 10 05 13 00 01 02 12 34"},
                   "SDSDS"},
        FanoutCase{"fn6_two_stations", WordFN6, 2, {"05 06 05 13 12 34", "06 06 05 13 12 34"}, "SDS"},
        FanoutCase{"one_station_no_pause", WordFN16, 1, {"05 10 05 13 00 01 02 12 34"}, "S"},
        FanoutCase{"empty_list_sends_nothing", WordFN16, 0, {}, ""},
        FanoutCase{"count_10_uses_entries_1_to_8_only", WordFN6, 10,
                   {"05 06 05 13 12 34", "06 06 05 13 12 34", "07 06 05 13 12 34", "08 06 05 13 12 34",
                    "09 06 05 13 12 34", "0a 06 05 13 12 34", "0b 06 05 13 12 34", "0c 06 05 13 12 34"},
                   "SDSDSDSDSDSDSDS"},
        FanoutCase{"count_65535_uses_entries_1_to_8_only", WordFN16, 65535,
                   {"05 10 05 13 00 01 02 12 34", "06 10 05 13 00 01 02 12 34", "07 10 05 13 00 01 02 12 34",
                    "08 10 05 13 00 01 02 12 34", "09 10 05 13 00 01 02 12 34", "0a 10 05 13 00 01 02 12 34",
                    "0b 10 05 13 00 01 02 12 34", "0c 10 05 13 00 01 02 12 34"},
                   "SDSDSDSDSDSDSDS"}));

TEST(SpecialWordFanout, FailedStationIsWhereTheRetryResumes)
{
    for (Kind kind : {WordFN16, WordFN6}) {
        TestableDriver driver;
        driver.setSpecial(StationCountEntry, 2);
        driver.setSpecial(1, 3);
        driver.setSpecial(2, 4);
        driver.setSpecial(MonitoredEntry, 0x0777);
        Line line;
        line.silent.insert(4);
        ScriptedPort port;
        port.setResponder(std::ref(line));
        int progress = 0;

        EXPECT_FALSE(run(driver, port, kind, entryAddress(MonitoredEntry), 0, hex("0100"), progress));
        EXPECT_EQ(progress, 1);
        EXPECT_EQ(driver.special(MonitoredEntry), 0x0777) << "entry 10 waits for every station";
        EXPECT_EQ(driver.getLastError(), QStringLiteral("PLC no response"));
        ASSERT_EQ(port.sentFrames().size(), 2);
        EXPECT_EQ(port.sentFrames().at(1).at(0), '\x04');

        line.silent.clear();
        port.clearLog();
        EXPECT_TRUE(run(driver, port, kind, entryAddress(MonitoredEntry), 0, hex("0100"), progress));
        ASSERT_EQ(port.sentFrames().size(), 1);
        EXPECT_EQ(port.sentFrames().at(0).at(0), '\x04');
        EXPECT_EQ(progress, 2);
        EXPECT_EQ(driver.special(MonitoredEntry), 0x0001);

        // A further attempt of the same command finds every station done.
        port.clearLog();
        EXPECT_TRUE(run(driver, port, kind, entryAddress(MonitoredEntry), 0, hex("0200"), progress));
        EXPECT_TRUE(port.sentFrames().isEmpty());
        EXPECT_EQ(driver.special(MonitoredEntry), 0x0002);
    }
}

} // namespace
