// Writes to the driver-side registers HR60000..HR60010: local stores, refusals,
// and the word fan-out of the monitored register to the station list.
#include <QSet>
#include <QVector>
#include <functional>
#include <gtest/gtest.h>

#include "support/scripted_port.h"
#include "teco_servo/modbus_rtu_frame.h"
#include "teco_servo/special_registers.h"
#include "testable_driver.h"

namespace {

using namespace SpecialRegisters;

QByteArray hex(const char* text) { return QByteArray::fromHex(text); }

// Zero-based address of the user's HR60000 + entry.
unsigned short entryAddress(int entry) { return static_cast<unsigned short>(59999 + entry); }

enum Kind { WordFN16, WordFN6, BitFN16, BitFN6 };

bool write(TestableDriver& d, ScriptedPort& port, Kind kind, int entry, unsigned char bit, const QByteArray& data,
           int& progress)
{
    const unsigned short at = entryAddress(entry);
    switch (kind) {
    case WordFN16: return d.writeSpecialHRWords(&port, at, data, progress);
    case WordFN6: return d.writeSpecialFN6HRWords(&port, at, data, progress);
    case BitFN16: return d.writeSpecialHRbit(&port, at, bit, data, progress);
    case BitFN6: return d.writeSpecialFN6HRbit(&port, at, bit, data, progress);
    }
    return false;
}

// Entry k starts as 0x0k0k, except entry 0 (an empty list) and entry 9 (station 7).
unsigned short initial(int entry)
{
    return entry == 0 ? 0 : entry == ReadStationEntry ? 7 : static_cast<unsigned short>(0x0101 * entry);
}

struct LocalCase {
    const char* name;
    Kind kind;
    int entry;
    unsigned char bit;
    QByteArray data;
    QList<QPair<int, unsigned short>> changes; // entries that differ from initial() afterwards
    QString error;                             // a refusal changes nothing
};

void PrintTo(const LocalCase& c, std::ostream* os) { *os << c.name; }

class SpecialLocalWrites : public testing::TestWithParam<LocalCase> {};

TEST_P(SpecialLocalWrites, ChangeOnlyTheTableAndSendNothing)
{
    const LocalCase& c = GetParam();
    TestableDriver driver;
    QVector<unsigned short> expected;
    for (int k = 0; k < Count; ++k) {
        driver.setSpecial(k, initial(k));
        expected << initial(k);
    }
    for (const auto& change : c.changes)
        expected[change.first] = change.second;
    ScriptedPort port;
    int progress = 0;

    EXPECT_EQ(write(driver, port, c.kind, c.entry, c.bit, c.data, progress), c.error.isEmpty());
    EXPECT_EQ(driver.getLastError().toStdString(), c.error.toStdString());
    EXPECT_TRUE(port.events().isEmpty());
    for (int k = 0; k < Count; ++k)
        EXPECT_EQ(driver.special(k), expected.at(k)) << "entry " << k;
}

INSTANTIATE_TEST_SUITE_P(
    Table, SpecialLocalWrites,
    testing::Values(
        LocalCase{"word_entries_2_3", WordFN6, 2, 0, hex("34127856"), {{2, 0x1234}, {3, 0x5678}}, {}},
        LocalCase{"word_entry_9_capped_at_8", WordFN16, 9, 0, hex("0900"), {{9, 8}}, {}},
        LocalCase{"word_entry_0_capped_at_8", WordFN6, 0, 0, hex("ffff"), {{0, 8}}, {}},
        LocalCase{"word_entry_0_stores_2", WordFN16, 0, 0, hex("0200"), {{0, 2}}, {}},
        LocalCase{"word_odd_length_pads_last_word", WordFN16, 3, 0, hex("112233"), {{3, 0x2211}, {4, 0x0033}}, {}},
        LocalCase{"word_ten_entries_0_to_9", WordFN16, 0, 0, hex("0300 0100 0200 0300 0400 0500 0600 0700 0800 0900"),
                  {{0, 3}, {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7}, {8, 8}, {9, 8}}, {}},
        LocalCase{"word_entries_9_and_10_refused", WordFN16, 9, 0, hex("01000200"), {}, "can't write any word to HR60009"},
        LocalCase{"word_two_at_entry_10_refused", WordFN6, 10, 0, hex("01000200"), {}, "can't write any word to HR60010"},
        LocalCase{"word_odd_length_reaching_10_refused", WordFN16, 9, 0, hex("010203"), {}, "can't write any word to HR60009"},
        LocalCase{"word_outside_the_table_refused", WordFN16, 11, 0, hex("0100"), {}, "can't write any word to HR60011"},
        LocalCase{"bit_entry_3_bit_2_set", BitFN16, 3, 2, hex("01"), {{3, 0x0307}}, {}},
        LocalCase{"bit_data_02_sets_bit_15", BitFN6, 5, 15, hex("02"), {{5, 0x8505}}, {}},
        LocalCase{"bit_only_the_first_byte_counts", BitFN16, 4, 2, hex("0001"), {{4, 0x0400}}, {}},
        LocalCase{"bit_empty_data_clears", BitFN16, 6, 1, {}, {{6, 0x0604}}, {}},
        LocalCase{"bit_entry_10_empty_list", BitFN6, 10, 4, hex("01"), {{10, 0x0a1a}}, {}},
        LocalCase{"bit_entry_0_is_always_8", BitFN16, 0, 3, hex("00"), {{0, 8}}, {}},
        LocalCase{"bit_past_bit_15_refused", BitFN16, 3, 15, hex("0101"), {}, "can't write any bit to HR60003"},
        LocalCase{"bit_outside_the_table_refused", BitFN6, 11, 0, hex("01"), {}, "can't write any bit to HR60011"}));

TEST(SpecialLocalWrites, StoresLowerAStationCountAbove8WhateverEntryTheyChange)
{
    for (Kind kind : {WordFN16, BitFN16}) {
        TestableDriver driver;
        driver.setSpecial(StationCountEntry, 200);
        driver.setSpecial(ReadStationEntry, 300);
        ScriptedPort port;
        int progress = 0;
        ASSERT_TRUE(write(driver, port, kind, 4, 0, hex("0100"), progress));
        EXPECT_EQ(driver.special(StationCountEntry), 8);
        EXPECT_EQ(driver.special(ReadStationEntry), kind == WordFN16 ? 8 : 300);
    }
}

// A servo line that echoes every write, except from silent stations.
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

// Frames as sent without their CRC, joined by " | "; "~" marks a pause of the port's delay.
QString wire(const ScriptedPort& port)
{
    QStringList steps;
    for (const ScriptedPort::Event& e : port.events()) {
        if (e.call == ScriptedPort::Call::Send)
            steps << QString::fromLatin1(e.bytes.chopped(2).toHex(' '));
        else if (e.call == ScriptedPort::Call::GetDelay)
            steps << QStringLiteral("~");
    }
    return steps.join(QStringLiteral(" | "));
}

struct FanoutCase {
    const char* name;
    Kind kind;
    unsigned short count; // entry 0
    QString wire;
};

void PrintTo(const FanoutCase& c, std::ostream* os) { *os << c.name; }

class SpecialWordFanout : public testing::TestWithParam<FanoutCase> {};

TEST_P(SpecialWordFanout, WritesRegister1299OfEveryListedStationThenEntry10)
{
    const FanoutCase& c = GetParam();
    TestableDriver driver;
    driver.setSpecial(StationCountEntry, c.count);
    // Stations 5 to 12; the high byte of an entry is not part of the slave id.
    for (int k = 1; k <= 8; ++k)
        driver.setSpecial(k, static_cast<unsigned short>(0x0104 + k));
    driver.setSpecial(ReadStationEntry, 0x00ee);
    ScriptedPort port;
    port.setResponder(Line());
    int progress = 0;

    ASSERT_TRUE(write(driver, port, c.kind, MonitoredEntry, 0, hex("3412"), progress));
    EXPECT_EQ(wire(port).toStdString(), c.wire.toStdString());
    EXPECT_EQ(driver.special(MonitoredEntry), 0x1234);
    EXPECT_EQ(port.count(ScriptedPort::Call::GetStationId), 0);
}

QString repeatedFor(const char* frame, int fromStation, int toStation)
{
    QStringList frames;
    for (int s = fromStation; s <= toStation; ++s)
        frames << QStringLiteral("%1 ").arg(s, 2, 16, QLatin1Char('0')) + QLatin1String(frame);
    return frames.join(QStringLiteral(" | ~ | "));
}

INSTANTIATE_TEST_SUITE_P(
    Stations, SpecialWordFanout,
    testing::Values(FanoutCase{"fn16_three_stations", WordFN16, 3, repeatedFor("10 05 13 00 01 02 12 34", 5, 7)},
                    FanoutCase{"fn6_one_station_no_pause", WordFN6, 1, "05 06 05 13 12 34"},
                    FanoutCase{"empty_list_sends_nothing", WordFN16, 0, {}},
                    FanoutCase{"count_65535_uses_entries_1_to_8_only", WordFN6, 65535,
                               repeatedFor("06 05 13 12 34", 5, 12)}));

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
        port.setResponder(std::cref(line));
        int progress = 0;

        EXPECT_FALSE(write(driver, port, kind, MonitoredEntry, 0, hex("0100"), progress));
        EXPECT_EQ(progress, 1);
        EXPECT_EQ(driver.special(MonitoredEntry), 0x0777) << "entry 10 waits for every station";
        EXPECT_EQ(driver.getLastError(), QStringLiteral("PLC no response"));

        line.silent.clear();
        port.clearLog();
        EXPECT_TRUE(write(driver, port, kind, MonitoredEntry, 0, hex("0100"), progress));
        EXPECT_EQ(port.sentFrames().size(), 1);
        EXPECT_EQ(port.sentFrames().value(0).left(1), QByteArray(1, 4));
        EXPECT_EQ(progress, 2);
        EXPECT_EQ(driver.special(MonitoredEntry), 0x0001);
    }
}

} // namespace
