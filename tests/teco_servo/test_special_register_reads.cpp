// Reads of the driver-side registers behind HR60000..HR60010.
#include "read_case.h"
#include "teco_servo/special_registers.h"

namespace {

using namespace SpecialRegisters;

// Zero-based address of the user's HR60000 + entry.
unsigned short entryAddress(int entry) { return static_cast<unsigned short>(59999 + entry); }

// Entry k holds 0x0k0A + k, except where a case sets it.
void fillTable(TestableDriver& driver)
{
    for (int k = 0; k < Count; ++k)
        driver.setSpecial(k, static_cast<unsigned short>(0x0100 * k + 0x0A + k));
}

struct SpecialCase {
    const char* name;
    int entry;
    int count;
    unsigned short stations;     // entry 0
    unsigned short readStation;  // entry 9
    QByteArray reply;            // empty: silence, if anything is sent
    QByteArray sent;             // empty: nothing may be sent
    QByteArray result;
    unsigned short monitoredAfter;  // entry 10 after the call
    const char* error;
};

void PrintTo(const SpecialCase& c, std::ostream* os) { *os << c.name; }

class SpecialReads : public testing::TestWithParam<SpecialCase> {};

TEST_P(SpecialReads, ServeTheTableAndRefreshTheMonitoredEntry)
{
    const SpecialCase& c = GetParam();
    TestableDriver driver;
    fillTable(driver);
    driver.setSpecial(StationCountEntry, c.stations);
    driver.setSpecial(ReadStationEntry, c.readStation);
    ScriptedPort port;
    if (c.reply.isEmpty())
        port.queueSilence();
    else
        port.queueBytes(c.reply);

    const QByteArray result = driver.readSpecialHRWords(&port, entryAddress(c.entry), c.count);

    EXPECT_EQ(result.toHex(' ').toStdString(), c.result.toHex(' ').toStdString());
    EXPECT_EQ(port.sentFrames(), c.sent.isEmpty() ? QList<QByteArray>() : QList<QByteArray>{c.sent});
    if (c.sent.isEmpty())
        EXPECT_TRUE(port.events().isEmpty()) << "table reads ask the port nothing";
    else
        EXPECT_EQ(port.receiveRequests(), (QList<int>{5, 2}).mid(0, c.error[0] ? 1 : 2));
    EXPECT_EQ(port.count(ScriptedPort::Call::GetStationId), 0);
    EXPECT_EQ(driver.special(MonitoredEntry), c.monitoredAfter);
    EXPECT_EQ(driver.hasError(), c.error[0] != '\0');
    EXPECT_EQ(driver.getLastError().toStdString(), std::string(c.error));
}

// Table values (low byte first): entry 1 = 0x010B -> 0B 01, entry 2 = 0x020C -> 0C 02,
// entry 9 is set per case, entry 10 = 0x0A14 -> 14 0A.
INSTANTIATE_TEST_SUITE_P(
    Entries, SpecialReads,
    testing::Values(
        SpecialCase{"hr60001_two_entries", 1, 2, 3, 2, {}, {}, hex("0B01 0C02"), 0x0A14, ""},
        SpecialCase{"hr60000_station_count", 0, 1, 3, 2, {}, {}, hex("0300"), 0x0A14, ""},
        SpecialCase{"hr60010_empty_list_no_refresh", 10, 1, 0, 2, {}, {}, hex("140A"), 0x0A14, ""},
        SpecialCase{"hr60010_refresh_from_station_2", 10, 1, 1, 2, readReply(2, 3, "ABCD"),
                    withCrc("0203 0513 0001"), hex("CDAB"), 0xABCD, ""},
        SpecialCase{"refresh_uses_low_byte_of_entry_9", 10, 1, 1, 0x1234,
                    readReply(0x34, 3, "0001"), withCrc("3403 0513 0001"), hex("0100"), 0x0001, ""},
        SpecialCase{"refresh_takes_bad_crc", 10, 1, 8, 2, withBadCrc(readReply(2, 3, "ABCD")),
                    withCrc("0203 0513 0001"), hex("CDAB"), 0xABCD, ""},
        SpecialCase{"range_8_to_10_refreshes", 8, 3, 1, 2, readReply(2, 3, "5555"),
                    withCrc("0203 0513 0001"), hex("1208 0200 5555"), 0x5555, ""},
        SpecialCase{"whole_table", 0, 11, 1, 2, readReply(2, 3, "0FF0"), withCrc("0203 0513 0001"),
                    hex("0100 0B01 0C02 0D03 0E04 0F05 1006 1107 1208 0200 F00F"), 0x0FF0, ""},
        SpecialCase{"refresh_silent_keeps_table_bytes", 9, 2, 1, 2, {}, withCrc("0203 0513 0001"),
                    hex("0200 140A"), 0x0A14, "PLC no response"},
        SpecialCase{"refresh_exception_keeps_table_bytes", 10, 1, 1, 2, hex("028302 3131"),
                    withCrc("0203 0513 0001"), hex("140A"), 0x0A14, "CRC error"},
        SpecialCase{"count_0", 1, 0, 1, 2, {}, {}, {}, 0x0A14, "can't read any word from HR60001"},
        SpecialCase{"count_negative", 1, -1, 1, 2, {}, {}, {}, 0x0A14,
                    "can't read any word from HR60001"},
        SpecialCase{"past_entry_10", 5, 7, 1, 2, {}, {}, {}, 0x0A14,
                    "can't read any word from HR60005"},
        SpecialCase{"huge_count", 0, 0x7FFFFFFF, 1, 2, {}, {}, {}, 0x0A14,
                    "can't read any word from HR60000"},
        SpecialCase{"address_after_the_table", 11, 1, 1, 2, {}, {}, {}, 0x0A14,
                    "can't read any word from HR60011"},
        SpecialCase{"address_before_the_table", -1, 1, 1, 2, {}, {}, {}, 0x0A14,
                    "can't read any word from HR59999"}),
    [](const testing::TestParamInfo<SpecialCase>& info) { return std::string(info.param.name); });

TEST(SpecialReads, NewDriverReadsZerosWithoutTalking)
{
    TestableDriver driver;
    ScriptedPort port;
    EXPECT_EQ(driver.readSpecialHRWords(&port, entryAddress(0), 11), QByteArray(22, '\0'));
    EXPECT_TRUE(port.events().isEmpty());
    EXPECT_FALSE(driver.hasError());
}

} // namespace
