// Bounds that a data length near the int limit must not wrap: the length is
// taken from a read-only mapping of zero pages, so no memory is committed.
#include <climits>
#include <sys/mman.h>

#include "teco_test.h"

namespace {

// size bytes of zeros that cost no memory; skips where the address space is too small.
class HugeData {
public:
    explicit HugeData(int size) : length(static_cast<size_t>(size))
    {
        if (sizeof(void*) >= 8)
            memory = mmap(nullptr, length, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    }
    ~HugeData()
    {
        if (available())
            munmap(memory, length);
    }
    bool available() const { return memory != nullptr && memory != MAP_FAILED; }
    QByteArray bytes() const { return QByteArray::fromRawData(static_cast<const char*>(memory), static_cast<int>(length)); }

private:
    size_t length;
    void* memory = nullptr;
};

TEST(WideBounds, CoilWritesOfAnyLengthAreRefusedBeforeAnythingIsSent)
{
    // The smallest length that wraps address 65535 + length in an int.
    const int length = INT_MAX - 65535 + 1;
    HugeData huge(length);
    if (!huge.available())
        GTEST_SKIP() << "no room for a 2 GiB mapping";
    const std::string expected = "can't write " + std::to_string(length) + " bits to DO65536";
    for (const bool singleWrites : {false, true}) {
        TestableDriver driver;
        ScriptedPort port;
        const bool written = singleWrites ? driver.writeCoilsWithFN5(&port, 65535, huge.bytes())
                                          : driver.writeCoils(&port, 65535, huge.bytes());
        EXPECT_FALSE(written);
        EXPECT_EQ(driver.getLastError().toStdString(), expected);
        EXPECT_TRUE(port.sentFrames().isEmpty());
    }
}

TEST(WideBounds, SpecialBitWritesOfAnyLengthAreRefusedAndLeaveTheTable)
{
    // The smallest length that wraps bit 255 + length in an int.
    const int length = INT_MAX - 254;
    HugeData huge(length);
    if (!huge.available())
        GTEST_SKIP() << "no room for a 2 GiB mapping";
    for (const bool withFN6 : {false, true}) {
        TestableDriver driver;
        driver.setSpecial(SpecialRegisters::MonitoredEntry, 0x00FF);
        ScriptedPort port;
        int progress = 0;
        const bool written = withFN6 ? driver.writeSpecialFN6HRbit(&port, 60009, 255, huge.bytes(), progress)
                                     : driver.writeSpecialHRbit(&port, 60009, 255, huge.bytes(), progress);
        EXPECT_FALSE(written);
        EXPECT_EQ(driver.getLastError(), QStringLiteral("can't write any bit to HR60010"));
        EXPECT_EQ(driver.special(SpecialRegisters::MonitoredEntry), 0x00FF);
        EXPECT_TRUE(port.sentFrames().isEmpty());
    }
}

// Register-bit writes read ceil((bit + length) / 16) registers and write all
// of them back, changed or not, also when there is no bit to change; with no
// bits at bit 0 there is no register to read, which the read refuses.
Op emptyBits(bool fn6, unsigned char bit, int station)
{
    return [=](TestableDriver& d, ScriptedPort& p, Servo& s) {
        s.reg(station < 0 ? 1 : station, 99) = 0x1234;
        const QByteArray none;
        bool ok = false;
        if (station < 0)
            ok = fn6 ? d.writeHRbitWithFN6(&p, 99, bit, none) : d.writeHRbit(&p, 99, bit, none);
        else
            ok = fn6 ? d.writeHRbitWithFN6(&p, 99, bit, none, static_cast<unsigned char>(station))
                     : d.writeHRbit(&p, 99, bit, none, static_cast<unsigned char>(station));
        return std::string(ok ? "ok" : "");
    };
}

class EmptyBitWrites : public testing::TestWithParam<Case> {};
TEST_P(EmptyBitWrites, ReadAndWriteBackOrAreRefusedByTheRead) { runCase(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Table, EmptyBitWrites, testing::ValuesIn(std::vector<Case>{
    {"fn16_bit5", emptyBits(false, 5, -1), {}, "01 03 00 63 00 01 | ~ | 01 10 00 63 00 01 02 12 34", "ok", ""},
    {"fn6_bit5", emptyBits(true, 5, -1), {}, "01 03 00 63 00 01 | ~ | 01 06 00 63 12 34", "ok", ""},
    {"fn16_bit5_station_7", emptyBits(false, 5, 7), {}, "07 03 00 63 00 01 | ~ | 07 10 00 63 00 01 02 12 34", "ok", ""},
    {"fn6_bit5_station_7", emptyBits(true, 5, 7), {}, "07 03 00 63 00 01 | ~ | 07 06 00 63 12 34", "ok", ""},
    {"fn16_bit17_two_registers", emptyBits(false, 17, -1), {},
        "01 03 00 63 00 02 | ~ | 01 10 00 63 00 02 04 12 34 00 00", "ok", ""},
    {"fn16_bit0", emptyBits(false, 0, -1), {}, "", "", "can't read any word from HR100"},
    {"fn6_bit0", emptyBits(true, 0, -1), {}, "", "", "can't read any word from HR100"},
    {"fn16_bit0_station_7", emptyBits(false, 0, 7), {}, "", "", "can't read any word from HR100"},
    {"fn6_bit0_station_7", emptyBits(true, 0, 7), {}, "", "", "can't read any word from HR100"}}), caseName);

} // namespace
