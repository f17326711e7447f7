// The judgement of a reply's first 5 bytes.
#include <QByteArray>
#include <gtest/gtest.h>
#include <ostream>

#include "teco_servo/driver_teco_servo.h"

namespace {

struct FirstBytesCase {
    const char* name;
    unsigned char slave;     // of the request
    unsigned char function;  // of the request
    int received;            // what the first receive returned
    const char* bytes;       // what it delivered
    bool passes;
    const char* message;     // error text when refused
};

void PrintTo(const FirstBytesCase& c, std::ostream* os) { *os << c.name; }

class FirstFiveBytes : public testing::TestWithParam<FirstBytesCase> {};

TEST_P(FirstFiveBytes, ArePassedOrRefusedWithTheirMessage)
{
    const FirstBytesCase& c = GetParam();
    QByteArray buffer = QByteArray::fromHex(c.bytes);
    buffer.append(QByteArray(8, '\0'));

    DriverTecoServo driver;
    const bool passed = driver.checkMinADU(c.slave, buffer.constData(), c.received) &&
                        driver.checkException(buffer.constData(), c.function);

    EXPECT_EQ(passed, c.passes);
    EXPECT_EQ(driver.hasError(), !c.passes);
    EXPECT_EQ(driver.getLastError(), QString::fromLatin1(c.message));
}

INSTANTIATE_TEST_SUITE_P(
    Replies, FirstFiveBytes,
    testing::Values(
        FirstBytesCase{"nothing_received", 1, 3, 0, "", false, "PLC no response"},
        FirstBytesCase{"port_error", 1, 3, -1, "", false, "PLC no response"},
        FirstBytesCase{"three_bytes", 1, 3, 3, "010314", false, "received bytes < 5"},
        FirstBytesCase{"one_byte", 1, 3, 1, "01", false, "received bytes < 5"},
        FirstBytesCase{"six_bytes", 1, 3, 6, "010314000A00", false, "received bytes < 5"},
        FirstBytesCase{"foreign_slave_2", 1, 3, 5, "020314000A", false, "invalid slave id:2"},
        FirstBytesCase{"foreign_slave_255", 1, 3, 5, "FF0314000A", false, "invalid slave id:255"},
        FirstBytesCase{"exception_02", 1, 3, 5, "018302C0F1", false, "exception code:0x02"},
        FirstBytesCase{"exception_bad_crc", 1, 3, 5, "0183020000", false, "CRC error"},
        FirstBytesCase{"wrong_function_04_for_03", 1, 3, 5, "010414000A", false,
                       "invalid response"},
        FirstBytesCase{"exception_of_other_function", 1, 3, 5, "018402C2C1", false,
                       "invalid response"},
        FirstBytesCase{"normal_reply_any_later_bytes", 1, 3, 5, "010314000A", true, ""},
        FirstBytesCase{"echo_of_fn16", 7, 16, 5, "0710000100", true, ""}),
    [](const testing::TestParamInfo<FirstBytesCase>& info) { return std::string(info.param.name); });

// Exception replies carry their own CRC; the codes are built here with a valid one.
struct ExceptionCase {
    unsigned char function;
    unsigned char code;
    const char* message;
};

void PrintTo(const ExceptionCase& c, std::ostream* os) { *os << "fn" << int(c.function) << "_code" << int(c.code); }

class ExceptionReplies : public testing::TestWithParam<ExceptionCase> {};

TEST_P(ExceptionReplies, ReportTheCodeInUpperCaseHex)
{
    const ExceptionCase& c = GetParam();
    QByteArray reply;
    reply.append(char(1)).append(static_cast<char>(c.function | 0x80)).append(static_cast<char>(c.code));
    // CRC-16/MODBUS computed bit by bit, low byte first.
    unsigned short crc = 0xFFFF;
    for (char byte : reply) {
        crc ^= static_cast<unsigned char>(byte);
        for (int k = 0; k < 8; ++k)
            crc = (crc & 1) ? static_cast<unsigned short>((crc >> 1) ^ 0xA001)
                            : static_cast<unsigned short>(crc >> 1);
    }
    reply.append(static_cast<char>(crc & 0xFF)).append(static_cast<char>(crc >> 8));

    DriverTecoServo driver;
    ASSERT_TRUE(driver.checkMinADU(1, reply.constData(), 5));
    EXPECT_FALSE(driver.checkException(reply.constData(), c.function));
    EXPECT_EQ(driver.getLastError(), QString::fromLatin1(c.message));
}

INSTANTIATE_TEST_SUITE_P(Codes, ExceptionReplies,
                         testing::Values(ExceptionCase{3, 0x0B, "exception code:0x0B"},
                                         ExceptionCase{16, 0x04, "exception code:0x04"},
                                         ExceptionCase{1, 0xAF, "exception code:0xAF"},
                                         ExceptionCase{2, 0x00, "exception code:0x00"}));

TEST(ReplyChecks, LaterFailureReplacesTheEarlierText)
{
    DriverTecoServo driver;
    const QByteArray foreign = QByteArray::fromHex("020314000A");
    EXPECT_FALSE(driver.checkMinADU(1, foreign.constData(), 0));
    EXPECT_FALSE(driver.checkMinADU(1, foreign.constData(), 5));
    EXPECT_EQ(driver.getLastError(), QStringLiteral("invalid slave id:2"));
}

} // namespace
