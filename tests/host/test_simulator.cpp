// The simulated line's own rules: where a request ends, what each fault does to
// a reply, the moving registers and the bounded request history.
#include "host_test_support.h"
#include "port/rtu_frame_layout.h"
#include "simulator/request_framing.h"
#include "simulator/servo_line.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

namespace {

std::vector<uint8_t> bytesOf(const char* hexBytes)
{
    const QByteArray bytes = QByteArray::fromHex(hexBytes);
    return std::vector<uint8_t>(bytes.begin(), bytes.end());
}

TEST(RequestFramingTest, LengthFromTheFirstBytes)
{
    const struct {
        const char* bytes;
        int length;
    } cases[] = {
        {"", RequestFraming::NeedMoreBytes},
        {"01", RequestFraming::NeedMoreBytes},
        {"0103", 8},
        {"0106", 8},
        {"0110000000", RequestFraming::NeedMoreBytes}, // byte count not seen yet
        {"011000000001", RequestFraming::NeedMoreBytes},
        {"01100000000102", 11},
        {"010f0004000301", 10},
        {"010fffff07d0ff", 264}, // byte count 255: the most a request can say
        {"0107", RequestFraming::UnknownLength},
        {"0183", RequestFraming::UnknownLength}, // an exception code is no request
    };
    for (const auto& c : cases) {
        const std::vector<uint8_t> bytes = bytesOf(c.bytes);
        EXPECT_EQ(RequestFraming::expectedLength(bytes.data(), bytes.size()), c.length) << c.bytes;
    }
}

TEST(RequestFramingTest, CrcCheckAndRestamp)
{
    const struct {
        const char* frame;
        bool matches;
    } cases[] = {
        {"010300000001840a", true},
        {"010300000001840b", false},
        {"0103000000010a84", false}, // the low byte of the CRC goes first
        {"0106003100cd1990", true},
        {"ffff", false},
    };
    for (const auto& c : cases) {
        std::vector<uint8_t> frame = bytesOf(c.frame);
        EXPECT_EQ(RequestFraming::crcMatches(frame.data(), frame.size()), c.matches) << c.frame;
        RequestFraming::restampCrc(frame.data(), frame.size());
        EXPECT_EQ(RequestFraming::crcMatches(frame.data(), frame.size()), frame.size() >= 4) << c.frame;
    }
    // The check value of CRC-16/MODBUS.
    const std::vector<uint8_t> check = bytesOf("313233343536373839");
    EXPECT_EQ(RtuFrameLayout::crc16(check.data(), check.size()), 0x4B37);
}

// Station 1 with one fault, asked for HR1..HR2 (0x1234, 0x5678) by a bare port.
TEST(ServoLineTest, EachFaultShapesTheReply)
{
    const struct {
        std::function<void(StationFaults&)> fault;
        const char* reply;
    } cases[] = {
        {[](StationFaults&) {}, "01 03 04 12 34 56 78 81 07"},
        {[](StationFaults& f) { f.silent = true; }, ""},
        {[](StationFaults& f) { f.dropReplyBytes = 2; }, "01 03 04 12 34 56 78"},
        {[](StationFaults& f) { f.corruptCrc = true; }, "01 03 04 12 34 56 78 81 f8"},
        {[](StationFaults& f) { f.wrongSlaveId = 7; }, "07 03 04 12 34 56 78 e7 07"},
        {[](StationFaults& f) { f.wrongFunctionCode = true; }, "01 04 04 12 34 56 78 80 b0"},
        {[](StationFaults& f) { f.extraReplyBytes = 3; }, "01 03 04 12 34 56 78 81 07 ff ff ff"},
        {[](StationFaults& f) { f.exceptionAddress = 0; f.exceptionCode = 2; }, "01 83 02 c0 f1"},
        {[](StationFaults& f) { f.exceptionAddress = 0; f.wrongFunctionCode = true; }, "01 84 04 42 c3"},
    };
    ServoLine line;
    ASSERT_TRUE(line.start());
    line.setHoldingRegister(1, 0, 0x1234);
    line.setHoldingRegister(1, 1, 0x5678);
    SerialPort port(portOptions(line.devicePath(), 60));
    ASSERT_TRUE(port.open());
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reply);
        StationFaults faults;
        c.fault(faults);
        line.setFaults(1, faults);
        port.setOption(DiscardInputOption, QVariant(0));
        port.send("\x01\x03\x00\x00\x00\x02\xC4\x0B", 8);
        char reply[16] = {};
        const int got = port.receive(reply, sizeof reply);
        EXPECT_EQ(hex(QByteArray(reply, std::max(0, got))), c.reply);
    }
}

TEST(ServoLineTest, MotionRampsOneRegisterAndCountsInTheNext)
{
    ServoLine line({1, 2});
    ASSERT_TRUE(line.start());
    line.setHoldingRegister(2, ServoLine::MotionCounterAddress, 65534);
    line.setMotion(true);
    std::this_thread::sleep_for(std::chrono::milliseconds(5 * ServoLine::MotionTickMs + 50));
    line.setMotion(false);
    const int ticks = line.holdingRegister(1, ServoLine::MotionCounterAddress);
    EXPECT_GE(ticks, 4);
    EXPECT_LE(ticks, 100); // the ramp's first 100 steps go up
    EXPECT_EQ(line.holdingRegister(1, ServoLine::MotionRampAddress), 30 * ticks);
    EXPECT_EQ(line.holdingRegister(2, ServoLine::MotionCounterAddress), (65534 + ticks) % 65536);
    std::this_thread::sleep_for(std::chrono::milliseconds(2 * ServoLine::MotionTickMs));
    EXPECT_EQ(line.holdingRegister(1, ServoLine::MotionCounterAddress), ticks); // still once off
}

TEST(ServoLineTest, HistoryKeepsTheLatestRequestsAndCountsThemAll)
{
    ServoLine line;
    ASSERT_TRUE(line.start());
    SerialPort port(portOptions(line.devicePath(), 60));
    ASSERT_TRUE(port.open());
    // Broadcasts: nobody answers, so they go out back to back.
    const int sent = static_cast<int>(ServoLine::HistoryLimit) + 5;
    for (int i = 0; i < sent; ++i) {
        uint8_t frame[8] = {0, 6, 0, 9, static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i), 0, 0};
        RequestFraming::restampCrc(frame, sizeof frame);
        ASSERT_EQ(port.send(reinterpret_cast<const char*>(frame), 8), 8);
    }
    const auto start = Clock::now();
    while (line.requestCount(0) < sent && msSince(start) < 2000)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(line.requestCount(0), sent);
    const auto history = line.requests();
    ASSERT_EQ(history.size(), ServoLine::HistoryLimit);
    EXPECT_EQ(history.front()[5], 5); // the first five are gone
    EXPECT_EQ(line.holdingRegister(3, 9), sent - 1);
}

} // namespace
