// The simulated line over a pseudo-terminal: what each fault does to a reply,
// the moving registers, the bounded request history, the line's time and
// servos that answer independently.
#include "host_test_support.h"
#include "port/monotonic_clock.h"
#include "rtu/rtu_frame.h"
#include "simulator/servo_line.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

namespace {

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
    line.setInstant(true);
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
    line.setInstant(true); // a thousand requests
    ASSERT_TRUE(line.start());
    SerialPort port(portOptions(line.devicePath(), 60));
    ASSERT_TRUE(port.open());
    // Broadcasts: nobody answers, so they go out back to back.
    const int sent = static_cast<int>(ServoLine::HistoryLimit) + 5;
    for (int i = 0; i < sent; ++i) {
        uint8_t frame[8] = {0, 6, 0, 9, static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i), 0, 0};
        Rtu::stampCrc(frame, sizeof frame);
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

// A read of `registers` from station 1 at each line setting: the reply comes no
// sooner than the line allows (request, 3.5 characters, reply) and not much later.
TEST(ServoLineTest, RoundTripsTakeTheLinesTime)
{
    const struct {
        const char* line;
        int registers;
    } cases[] = {
        {"RS485,9600,NONE,8,2", 1}, {"RS485,9600,NONE,8,2", 125}, {"RS485,19200,NONE,8,1", 10},
        {"RS485,115200,NONE,8,1", 1}, {"RS485,115200,NONE,8,1", 125},
    };
    ServoLine line;
    ASSERT_TRUE(line.start());
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.line) + " x" + std::to_string(c.registers));
        SerialPortOptions options = portOptions(line.devicePath(), 1000);
        ASSERT_TRUE(parseLineSettings(QString::fromLatin1(c.line), &options.line, nullptr));
        SerialPort port(options);
        ASSERT_TRUE(port.open());
        uint8_t request[8] = {1, 3, 0, 0, 0, static_cast<uint8_t>(c.registers), 0, 0};
        Rtu::stampCrc(request, sizeof request);
        const int replySize = 5 + 2 * c.registers;
        const long long minimumNs = (8 + replySize) * characterTimeNs(options.line)
                                  + interFrameGapMicros(options.line.baud) * 1000LL;
        const long long startNs = monotonicNs();
        ASSERT_EQ(port.send(reinterpret_cast<const char*>(request), 8), 8);
        std::vector<char> reply(static_cast<size_t>(replySize));
        ASSERT_EQ(port.receive(reply.data(), replySize), replySize);
        const long long tookNs = monotonicNs() - startNs;
        EXPECT_GE(tookNs, minimumNs);
        EXPECT_LT(tookNs, minimumNs + 500 * Ms); // generous: a loaded machine
    }
}

// Station 2 answers 150 ms late. Station 1, asked right after it, answers at
// once; the late reply then lands in the next transaction, here one for an
// absent station, whose master sees a reply from station 2.
TEST(ServoLineTest, ALateStationHoldsNoOtherUpAndItsReplyLandsLater)
{
    ServoLine line;
    ASSERT_TRUE(line.start());
    line.setHoldingRegister(1, 0, 0x0101);
    line.setHoldingRegister(2, 0, 0x0202);
    StationFaults late;
    late.replyDelayMs = 150;
    line.setFaults(2, late);
    SerialPort port(portOptions(line.devicePath(), 1000));
    ASSERT_TRUE(port.open());
    const auto readOne = [&port](uint8_t station) {
        uint8_t request[8] = {station, 3, 0, 0, 0, 1, 0, 0};
        Rtu::stampCrc(request, sizeof request);
        return port.send(reinterpret_cast<const char*>(request), 8) == 8;
    };
    const long long startNs = monotonicNs();
    ASSERT_TRUE(readOne(2));
    ASSERT_TRUE(readOne(1));
    char reply[7] = {};
    ASSERT_EQ(port.receive(reply, 7), 7);
    EXPECT_EQ(hex(QByteArray(reply, 7)), "01 03 02 01 01 78 14");
    EXPECT_LT(monotonicNs() - startNs, 150 * Ms);
    ASSERT_TRUE(readOne(9));
    ASSERT_EQ(port.receive(reply, 7), 7);
    EXPECT_EQ(hex(QByteArray(reply, 7)), "02 03 02 02 02 7c e5");
    EXPECT_GE(monotonicNs() - startNs, 150 * Ms);
}

} // namespace
