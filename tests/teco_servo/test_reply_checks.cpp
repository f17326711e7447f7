// The judgement of a reply's first 5 bytes.
#include <QByteArray>
#include <gtest/gtest.h>
#include <ostream>

#include "teco_servo/driver_teco_servo.h"

namespace {

struct FirstBytesCase {
    const char* name;
    unsigned char function;  // of a request to slave 1
    int received;            // what the first receive returned
    const char* bytes;       // what it delivered
    const char* message;     // empty: both checks pass
};

void PrintTo(const FirstBytesCase& c, std::ostream* os) { *os << c.name; }

class FirstFiveBytes : public testing::TestWithParam<FirstBytesCase> {};

TEST_P(FirstFiveBytes, ArePassedOrRefusedWithTheirMessage)
{
    const FirstBytesCase& c = GetParam();
    const QByteArray buffer = QByteArray::fromHex(c.bytes) + QByteArray(8, '\0');
    DriverTecoServo driver;
    const bool passed = driver.checkMinADU(1, buffer.constData(), c.received) &&
                        driver.checkException(buffer.constData(), c.function);
    EXPECT_EQ(passed, c.message[0] == '\0');
    EXPECT_EQ(driver.hasError(), !passed);
    EXPECT_EQ(driver.getLastError(), QString::fromLatin1(c.message));
}

// Exception replies with a valid CRC: 01 83 02 C0 F1, 01 83 0B 00 F7, 01 90 04 4D C3.
INSTANTIATE_TEST_SUITE_P(
    Replies, FirstFiveBytes,
    testing::Values(
        FirstBytesCase{"nothing_received", 3, 0, "", "PLC no response"},
        FirstBytesCase{"port_error", 3, -1, "", "PLC no response"},
        FirstBytesCase{"three_bytes", 3, 3, "010314", "received bytes < 5"},
        FirstBytesCase{"six_bytes", 3, 6, "010314000A00", "received bytes < 5"},
        FirstBytesCase{"foreign_slave_2", 3, 5, "020314000A", "invalid slave id:2"},
        FirstBytesCase{"foreign_slave_255", 3, 5, "FF0314000A", "invalid slave id:255"},
        FirstBytesCase{"exception_02", 3, 5, "018302C0F1", "exception code:0x02"},
        FirstBytesCase{"exception_0B_upper_case", 3, 5, "01830B00F7", "exception code:0x0B"},
        FirstBytesCase{"exception_to_fn16", 16, 5, "0190044DC3", "exception code:0x04"},
        FirstBytesCase{"exception_bad_crc", 3, 5, "0183020000", "CRC error"},
        FirstBytesCase{"fn4_reply_to_fn3", 3, 5, "010414000A", "invalid response"},
        FirstBytesCase{"exception_of_other_function", 3, 5, "018402C2C1", "invalid response"},
        FirstBytesCase{"normal_reply_any_later_bytes", 3, 5, "010314000A", ""},
        FirstBytesCase{"echo_of_fn16", 16, 5, "0110000100", ""}),
    [](const testing::TestParamInfo<FirstBytesCase>& info) { return std::string(info.param.name); });

} // namespace
