// The simulated servo line, checked with libmodbus's own master and with raw
// frames, values compared on the simulator's side.
#include "libmodbus_master.h"
#include "raw_line.h"
#include "simulator/request_framing.h"
#include "simulator/servo_line.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

namespace {

class ServoLineTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(line.start(&error)) << error;
    }
    ServoLine line;
};

TEST_F(ServoLineTest, Function3ReadsHoldingRegistersSetOnTheServo)
{
    for (int i = 0; i < 10; ++i)
        line.setHoldingRegister(1, 99 + i, static_cast<uint16_t>(1000 + i));
    LibmodbusMaster master(line.devicePath());
    ASSERT_TRUE(master.ok());
    uint16_t values[10] = {};
    ASSERT_EQ(modbus_read_registers(master.station(1), 99, 10, values), 10);
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(values[i], 1000 + i);
}

TEST_F(ServoLineTest, Function4ReadsInputRegisters)
{
    line.setInputRegister(2, 0, 0xBEEF);
    line.setHoldingRegister(2, 0, 0x1111);
    LibmodbusMaster master(line.devicePath());
    uint16_t value = 0;
    ASSERT_EQ(modbus_read_input_registers(master.station(2), 0, 1, &value), 1);
    EXPECT_EQ(value, 0xBEEF);
}

TEST_F(ServoLineTest, Functions1And2ReadCoilsAndDiscreteInputsApart)
{
    line.setCoil(1, 4, true);
    line.setDiscreteInput(1, 5, true);
    LibmodbusMaster master(line.devicePath());
    uint8_t coils[8] = {}, inputs[8] = {};
    ASSERT_EQ(modbus_read_bits(master.station(1), 0, 8, coils), 8);
    ASSERT_EQ(modbus_read_input_bits(master.station(1), 0, 8, inputs), 8);
    EXPECT_EQ(std::vector<uint8_t>(coils, coils + 8), (std::vector<uint8_t>{0, 0, 0, 0, 1, 0, 0, 0}));
    EXPECT_EQ(std::vector<uint8_t>(inputs, inputs + 8), (std::vector<uint8_t>{0, 0, 0, 0, 0, 1, 0, 0}));
}

TEST_F(ServoLineTest, WriteFunctionsChangeTheServosBanks)
{
    LibmodbusMaster master(line.devicePath());
    modbus_t* servo = master.station(3);
    ASSERT_EQ(modbus_write_bit(servo, 172, 1), 1);                    // function 5
    ASSERT_EQ(modbus_write_register(servo, 1, 3), 1);                 // function 6
    const uint8_t bits[10] = {1, 0, 1, 1, 0, 0, 1, 1, 1, 0};          // function 15
    ASSERT_EQ(modbus_write_bits(servo, 19, 10, bits), 10);
    const uint16_t registers[2] = {0x000A, 0x0102};                   // function 16
    ASSERT_EQ(modbus_write_registers(servo, 1299, 2, registers), 2);

    EXPECT_TRUE(line.coil(3, 172));
    EXPECT_EQ(line.holdingRegister(3, 1), 3);
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(line.coil(3, 19 + i), bits[i] != 0) << "coil " << 19 + i;
    EXPECT_EQ(line.holdingRegister(3, 1299), 0x000A);
    EXPECT_EQ(line.holdingRegister(3, 1300), 0x0102);
    // Nothing leaked to the other servos.
    EXPECT_EQ(line.holdingRegister(1, 1299), 0);
    EXPECT_FALSE(line.coil(2, 172));
}

TEST_F(ServoLineTest, StationTwoAnswersRightAfterStationOne)
{
    line.setHoldingRegister(1, 0, 11);
    line.setHoldingRegister(2, 0, 22);
    line.setHoldingRegister(3, 0, 33);
    LibmodbusMaster master(line.devicePath());
    for (int round = 0; round < 3; ++round) {
        for (int station : {1, 2, 3, 2, 1}) {
            uint16_t value = 0;
            ASSERT_EQ(modbus_read_registers(master.station(station), 0, 1, &value), 1)
                << "station " << station << " round " << round;
            EXPECT_EQ(value, station * 11);
        }
    }
}

// Raw exchanges: request and expected reply, both in hex.
struct RawCase {
    const char* name;
    StationFaults faults;
    const char* request;
    const char* reply; // empty: the line stays silent
};

void PrintTo(const RawCase& c, std::ostream* os)
{
    *os << c.name;
}

class RawExchangeTest : public ServoLineTest, public ::testing::WithParamInterface<RawCase> {};

TEST_P(RawExchangeTest, Answers)
{
    const RawCase& c = GetParam();
    line.setHoldingRegister(1, 0, 0x000A);
    line.setHoldingRegister(1, 1, 0x0102);
    line.setFaults(1, c.faults);
    RawLine client(line.devicePath());
    ASSERT_TRUE(client.ok());
    ASSERT_TRUE(client.send(hexBytes(c.request)));
    const std::vector<uint8_t> expected = hexBytes(c.reply);
    // Ask for one byte more than expected, so an over-long reply shows too.
    EXPECT_EQ(client.take(expected.size() + 1, expected.empty() ? 150 : 300), expected);
}

StationFaults exceptionAt(int address, uint8_t code)
{
    StationFaults f;
    f.exceptionAddress = address;
    f.exceptionCode = code;
    return f;
}
StationFaults silent()
{
    StationFaults f;
    f.silent = true;
    return f;
}
StationFaults dropping(int bytes)
{
    StationFaults f;
    f.dropReplyBytes = bytes;
    return f;
}
StationFaults corrupting()
{
    StationFaults f;
    f.corruptCrc = true;
    return f;
}
StationFaults answeringAs(int id)
{
    StationFaults f;
    f.wrongSlaveId = id;
    return f;
}

// Replies worked out by hand: slave, function, byte count, data, CRC low/high.
INSTANTIATE_TEST_SUITE_P(
    Frames, RawExchangeTest,
    ::testing::Values(
        RawCase{"Fn3TwoRegisters", {}, "01 03 00 00 00 02 C4 0B", "01 03 04 00 0A 01 02 5A 60"},
        RawCase{"Fn3PastLastRegisterIsIllegalAddress", {}, "01 03 FF FF 00 02 C4 2F", "01 83 02 C0 F1"},
        RawCase{"UnknownFunctionIsIllegalFunction", {}, "01 41 00 00 51 CC", "01 C1 01 B0 50"},
        RawCase{"BadRequestCrcGetsNoAnswer", {}, "01 03 00 00 00 02 C4 0C", ""},
        RawCase{"UnknownStationGetsNoAnswer", {}, "09 03 00 00 00 01 85 42", ""},
        RawCase{"FixedExceptionAtAddress", exceptionAt(0, 4), "01 03 00 00 00 02 C4 0B", "01 83 04 40 F3"},
        RawCase{"FixedExceptionOnlyAtItsAddress", exceptionAt(5, 4), "01 03 00 00 00 02 C4 0B",
                "01 03 04 00 0A 01 02 5A 60"},
        RawCase{"SilentStation", silent(), "01 03 00 00 00 02 C4 0B", ""},
        RawCase{"DroppedBytes", dropping(3), "01 03 00 00 00 02 C4 0B", "01 03 04 00 0A 01"},
        RawCase{"CorruptedCrc", corrupting(), "01 03 00 00 00 02 C4 0B", "01 03 04 00 0A 01 02 5A 9F"},
        RawCase{"WrongSlaveIdWithGoodCrc", answeringAs(2), "01 03 00 00 00 02 C4 0B",
                "02 03 04 00 0A 01 02 69 60"}),
    [](const ::testing::TestParamInfo<RawCase>& info) { return std::string(info.param.name); });

TEST_F(ServoLineTest, FaultWithRemainingOneClearsAfterOneRequest)
{
    StationFaults once = silent();
    once.remaining = 1;
    line.setFaults(2, once);
    RawLine client(line.devicePath());
    const std::vector<uint8_t> request = hexBytes("02 03 00 00 00 01 84 39");
    ASSERT_TRUE(client.send(request));
    EXPECT_TRUE(client.take(1, 100).empty());
    ASSERT_TRUE(client.send(request));
    EXPECT_EQ(client.take(8, 300).size(), 7u); // 02 03 02 00 00 + CRC
    EXPECT_EQ(line.requestCount(2), 2);
}

TEST_F(ServoLineTest, ReplyDelayHoldsTheAnswerBack)
{
    StationFaults slow;
    slow.replyDelayMs = 80;
    line.setFaults(1, slow);
    RawLine client(line.devicePath());
    const auto before = std::chrono::steady_clock::now();
    ASSERT_TRUE(client.send(hexBytes("01 03 00 00 00 01 84 0A")));
    EXPECT_EQ(client.take(7, 500).size(), 7u);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(80));
}

TEST_F(ServoLineTest, EchoRepeatsTheRequestBeforeTheReply)
{
    line.setEcho(true);
    line.setHoldingRegister(1, 0, 0x000A);
    line.setHoldingRegister(1, 1, 0x0102);
    RawLine client(line.devicePath());
    const std::vector<uint8_t> request = hexBytes("01 03 00 00 00 02 C4 0B");
    ASSERT_TRUE(client.send(request));
    std::vector<uint8_t> expected = request;
    const std::vector<uint8_t> reply = hexBytes("01 03 04 00 0A 01 02 5A 60");
    expected.insert(expected.end(), reply.begin(), reply.end());
    EXPECT_EQ(client.take(expected.size() + 1, 300), expected);
}

TEST_F(ServoLineTest, FrameSplitOverSeveralWritesIsAnswered)
{
    line.setHoldingRegister(1, 0, 0x000A);
    RawLine client(line.devicePath());
    const std::vector<uint8_t> request = hexBytes("01 10 00 00 00 01 02 12 34 AB 27");
    for (uint8_t byte : request) {
        ASSERT_TRUE(client.send({byte}));
        usleep(1000);
    }
    EXPECT_EQ(client.take(8, 300).size(), 8u);
    EXPECT_EQ(line.holdingRegister(1, 0), 0x1234);
}

TEST_F(ServoLineTest, GarbageIsForgottenAfterSilence)
{
    line.setHoldingRegister(1, 0, 7);
    RawLine client(line.devicePath());
    ASSERT_TRUE(client.send(hexBytes("01 10 00")));
    usleep(60 * 1000);
    ASSERT_TRUE(client.send(hexBytes("01 03 00 00 00 01 84 0A")));
    EXPECT_EQ(client.take(7, 300), hexBytes("01 03 02 00 07 F9 86"));
}

TEST(RequestFramingTest, LengthFromTheFirstBytes)
{
    const struct {
        const char* bytes;
        int length;
    } cases[] = {
        {"01", RequestFraming::NeedMoreBytes},
        {"01 03", 8},
        {"01 06", 8},
        {"01 0F 00 13 00 0A", RequestFraming::NeedMoreBytes},
        {"01 0F 00 13 00 0A 02", 11},
        {"01 10 00 01 00 02 04", 13},
        {"01 2B", RequestFraming::UnknownLength},
    };
    for (const auto& c : cases) {
        const std::vector<uint8_t> bytes = hexBytes(c.bytes);
        EXPECT_EQ(RequestFraming::expectedLength(bytes.data(), bytes.size()), c.length) << c.bytes;
    }
}

} // namespace
