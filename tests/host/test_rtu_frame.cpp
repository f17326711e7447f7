// The host side's Modbus RTU unit: lengths told from a frame's first bytes, the
// reply a request implies, the whole-frame test, the CRC and its byte order.
#include "host_test_support.h"
#include "rtu/rtu_frame.h"
#include "rtu/rtu_limits.h"

#include <gtest/gtest.h>

namespace {

std::vector<uint8_t> bytesOf(const char* hexBytes)
{
    const QByteArray bytes = QByteArray::fromHex(hexBytes);
    return std::vector<uint8_t>(bytes.begin(), bytes.end());
}

TEST(RtuFrame, RequestLengthFromTheFirstBytes)
{
    const struct {
        const char* bytes;
        int length;
    } cases[] = {
        {"", Rtu::NeedMoreBytes},
        {"01", Rtu::NeedMoreBytes},
        {"0103", 8},
        {"0106", 8},
        {"0110000000", Rtu::NeedMoreBytes}, // byte count not seen yet
        {"011000000001", Rtu::NeedMoreBytes},
        {"01100000000102", 11},
        {"010f0004000301", 10},
        {"010fffff07d0ff", 264}, // byte count 255: the most a request can say
        {"0107", Rtu::UnknownLength},
        {"0183", Rtu::UnknownLength}, // an exception code is no request
    };
    for (const auto& c : cases) {
        const std::vector<uint8_t> bytes = bytesOf(c.bytes);
        EXPECT_EQ(Rtu::requestLength(bytes.data(), bytes.size()), c.length) << c.bytes;
    }
}

TEST(RtuFrame, ReplyLengthFromTheFirstBytesAndFromTheRequest)
{
    const struct {
        const char* bytes;
        int length;
    } replies[] = {
        {"01", Rtu::NeedMoreBytes},
        {"0183", 5},
        {"0103", Rtu::NeedMoreBytes}, // byte count not seen yet
        {"010304", 9},
        {"0101ff", 260},
        {"0105", 8},
        {"0110", 8},
        {"0107", Rtu::UnknownLength},
    };
    for (const auto& c : replies) {
        const std::vector<uint8_t> bytes = bytesOf(c.bytes);
        EXPECT_EQ(Rtu::replyLength(bytes.data(), bytes.size()), c.length) << c.bytes;
    }
    const struct {
        int function, quantity, length;
    } requests[] = {
        {1, 1, 6},   {1, 8, 6},     {1, 9, 7},    {2, Rtu::MaxBitsPerRead, 255}, {3, 1, 7},
        {4, Rtu::MaxRegistersPerRead, 255},       {5, 1, 8}, {6, 1, 8}, {15, 1968, 8}, {16, 123, 8},
        {7, 1, 0},   {0, 1, 0},
    };
    for (const auto& c : requests)
        EXPECT_EQ(Rtu::normalReplyLength(c.function, c.quantity), c.length) << "fn " << c.function << " x" << c.quantity;
}

TEST(RtuFrame, WholeFramesAndTheCrc)
{
    const struct {
        const char* frame;
        bool crcMatches, request, reply;
    } cases[] = {
        {"010300000001840a", true, true, false},
        {"010300000001840b", false, false, false},
        {"0103000000010a84", false, false, false}, // the low byte of the CRC goes first
        {"0106003100cd1990", true, true, true},    // a write's reply is the copy of its request
        {"0103020007f987", false, false, false},
        {"0103020007f986", true, false, true},
        {"0183024130", false, false, false},
        {"018302c0f1", true, false, true},
        {"0103020007f986ff", false, false, false}, // a byte behind the reply
        {"ffff", false, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.frame);
        std::vector<uint8_t> frame = bytesOf(c.frame);
        EXPECT_EQ(Rtu::crcMatches(frame.data(), frame.size()), c.crcMatches);
        EXPECT_EQ(Rtu::isWholeRequest(frame.data(), frame.size()), c.request);
        EXPECT_EQ(Rtu::isWholeReply(frame.data(), frame.size()), c.reply);
        EXPECT_EQ(Rtu::isWholeFrame(frame.data(), frame.size()), c.request || c.reply);
        Rtu::stampCrc(frame.data(), frame.size());
        EXPECT_EQ(Rtu::crcMatches(frame.data(), frame.size()), frame.size() >= 4);
    }
    // The check value of CRC-16/MODBUS.
    const std::vector<uint8_t> check = bytesOf("313233343536373839");
    EXPECT_EQ(Rtu::crc16(check.data(), check.size()), 0x4B37);
    QByteArray request = QByteArray::fromHex("010300630001");
    Rtu::appendCrc(request);
    EXPECT_EQ(hex(request), "01 03 00 63 00 01 74 14");
}

TEST(RtuFrame, FunctionCodesNameTheDriversAreas)
{
    const struct {
        int function;
        const char* area;
    } cases[] = {{1, "DO"}, {2, "DI"}, {3, "HR"}, {4, "IR"}, {5, "FN5DO"}, {6, "FN6HR"}, {15, "DO"}, {16, "HR"},
                 {7, nullptr}, {0x83, nullptr}};
    for (const auto& c : cases) {
        const char* area = Rtu::areaOf(c.function);
        EXPECT_EQ(std::string(area ? area : "none"), std::string(c.area ? c.area : "none")) << c.function;
    }
}

} // namespace
