// Request frames and the Modbus CRC, byte for byte.
#include <QByteArray>
#include <gtest/gtest.h>
#include <ostream>

#include "teco_servo/modbus_rtu_frame.h"

namespace {

QByteArray hex(const char* text) { return QByteArray::fromHex(text); }

bool crcMatches(QByteArray frame)
{
    return ModbusRTUSlaveCheckCRC(reinterpret_cast<unsigned char*>(frame.data()),
                                  static_cast<unsigned int>(frame.size()));
}

// Bit by bit, straight from the definition: polynomial 0xA001 reflected,
// start 0xFFFF, no final XOR, low byte sent first.
unsigned short bitwiseCrc16(const QByteArray& bytes)
{
    unsigned short crc = 0xFFFF;
    for (char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int k = 0; k < 8; ++k)
            crc = (crc & 1) ? static_cast<unsigned short>((crc >> 1) ^ 0xA001)
                            : static_cast<unsigned short>(crc >> 1);
    }
    return crc;
}

struct FrameCase {
    const char* name;
    QByteArray built;
    const char* expected;
};

void PrintTo(const FrameCase& c, std::ostream* os) { *os << c.name; }

class RequestFrames : public testing::TestWithParam<FrameCase> {};

TEST_P(RequestFrames, AreExactOnTheWire)
{
    EXPECT_EQ(GetParam().built.toHex(' '), hex(GetParam().expected).toHex(' '));
}

INSTANTIATE_TEST_SUITE_P(
    Builders, RequestFrames,
    testing::Values(
        FrameCase{"fn3_slave1_addr0_qty10",
                  ModbusRTUSlaveBuildReadDevicesRequest(1, 3, 0, 10), "0103 0000 000A C5CD"},
        FrameCase{"fn6_slave1_addr1_value0003",
                  ModbusRTUSlaveBuildFn6Request(1, 1, hex("0003")), "0106 0001 0003 980B"},
        FrameCase{"fn16_slave1_addr1_two_registers",
                  ModbusRTUSlaveBuildFn16Request(1, 1, 2, hex("000A0102")),
                  "0110 0001 0002 04 000A0102 9230"},
        FrameCase{"fn5_slave1_coil00AC_on", ModbusRTUSlaveBuildFn5Request(1, 0x00AC, true),
                  "0105 00AC FF00 4C1B"},
        FrameCase{"fn15_slave1_addr0013_ten_coils",
                  ModbusRTUSlaveBuildFn15Request(1, 0x0013, 10, hex("CD01")),
                  "010F 0013 000A 02 CD01 72CB"}),
    [](const testing::TestParamInfo<FrameCase>& info) { return std::string(info.param.name); });

TEST(RequestFrameFields, CoilOffSendsZeroValueUnderItsOwnCrc)
{
    const QByteArray frame = ModbusRTUSlaveBuildFn5Request(1, 0x00AC, false);
    ASSERT_EQ(frame.size(), 8);
    EXPECT_EQ(frame.left(6), hex("010500AC0000"));
    EXPECT_TRUE(crcMatches(frame));
}

TEST(RequestFrameFields, HighAddressAndQuantityGoHighByteFirst)
{
    const QByteArray frame = ModbusRTUSlaveBuildReadDevicesRequest(0xF7, 4, 0xFFFE, 0x07D8);
    EXPECT_EQ(frame.left(6), hex("F704FFFE07D8"));
    EXPECT_TRUE(crcMatches(frame));
}

TEST(ModbusCrc, TablesGiveTheBitwiseCrcLowByteFirst)
{
    // First entries of the published tables, then every single-byte run and a
    // long mixed run against the bitwise definition.
    EXPECT_EQ(auchCRCHi[0], 0x00);
    EXPECT_EQ(auchCRCHi[1], 0xC1);
    EXPECT_EQ(auchCRCHi[2], 0x81);
    EXPECT_EQ(auchCRCHi[3], 0x40);
    EXPECT_EQ(auchCRCLo[0], 0x00);
    EXPECT_EQ(auchCRCLo[1], 0xC0);
    EXPECT_EQ(auchCRCLo[2], 0xC1);
    EXPECT_EQ(auchCRCLo[3], 0x01);
    QByteArray mixed;
    for (int b = 0; b < 256; ++b) {
        QByteArray frame(1, static_cast<char>(b));
        const unsigned short crc = bitwiseCrc16(frame);
        ModbusRTUSlaveAppendCRC(frame);
        ASSERT_EQ(static_cast<unsigned char>(frame.at(1)), crc & 0xFF) << b;
        ASSERT_EQ(static_cast<unsigned char>(frame.at(2)), crc >> 8) << b;
        mixed.append(static_cast<char>((b * 37 + 11) & 0xFF));
    }
    const unsigned short crc = bitwiseCrc16(mixed);
    ModbusRTUSlaveAppendCRC(mixed);
    EXPECT_EQ(static_cast<unsigned char>(mixed.at(256)), crc & 0xFF);
    EXPECT_EQ(static_cast<unsigned char>(mixed.at(257)), crc >> 8);
}

TEST(ModbusCrc, NoBytesGiveFFFF)
{
    QByteArray frame;
    ModbusRTUSlaveAppendCRC(frame);
    EXPECT_EQ(frame, hex("FFFF"));
}

struct CheckCase {
    const char* name;
    const char* frame;
    bool matches;
};

void PrintTo(const CheckCase& c, std::ostream* os) { *os << c.name; }

class CrcCheck : public testing::TestWithParam<CheckCase> {};

TEST_P(CrcCheck, ComparesTheLastTwoBytes)
{
    EXPECT_EQ(crcMatches(hex(GetParam().frame)), GetParam().matches);
}

INSTANTIATE_TEST_SUITE_P(
    Frames, CrcCheck,
    testing::Values(CheckCase{"read_reply_010304000A0102_5A60", "010304000A01025A60", true},
                    CheckCase{"read_reply_crc_swapped", "010304000A0102605A", false},
                    CheckCase{"exception_018302_C0F1", "018302C0F1", true},
                    CheckCase{"exception_018302_0000", "0183020000", false},
                    CheckCase{"length2_FFFF", "FFFF", true},
                    CheckCase{"length2_FFFE", "FFFE", false},
                    CheckCase{"length2_0000", "0000", false}),
    [](const testing::TestParamInfo<CheckCase>& info) { return std::string(info.param.name); });

TEST(CrcCheckBytes, AnySingleChangedByteFails)
{
    const QByteArray good = hex("010304000A01025A60");
    for (int i = 0; i < good.size(); ++i) {
        for (int flip : {0x01, 0x80, 0xFF}) {
            QByteArray bad = good;
            bad[i] = static_cast<char>(bad.at(i) ^ flip);
            EXPECT_FALSE(crcMatches(bad)) << "byte " << i << " xor " << flip;
        }
    }
}

struct ReplyLengthCase {
    QByteArray request;
    int length;
};

void PrintTo(const ReplyLengthCase& c, std::ostream* os) { *os << c.request.toHex().constData() << " -> " << c.length; }

class ReplyLength : public testing::TestWithParam<ReplyLengthCase> {};

TEST_P(ReplyLength, IsKnownFromTheRequest)
{
    EXPECT_EQ(ModbusRTUReplyLength(GetParam().request), GetParam().length);
}

INSTANTIATE_TEST_SUITE_P(
    Functions, ReplyLength,
    testing::Values(ReplyLengthCase{ModbusRTUSlaveBuildReadDevicesRequest(1, 1, 0, 8), 6},
                    ReplyLengthCase{ModbusRTUSlaveBuildReadDevicesRequest(1, 1, 0, 9), 7},
                    ReplyLengthCase{ModbusRTUSlaveBuildReadDevicesRequest(1, 2, 0, 2008), 256},
                    ReplyLengthCase{ModbusRTUSlaveBuildReadDevicesRequest(1, 3, 99, 10), 25},
                    ReplyLengthCase{ModbusRTUSlaveBuildReadDevicesRequest(1, 4, 0, 125), 255},
                    ReplyLengthCase{ModbusRTUSlaveBuildFn5Request(1, 0, true), 8},
                    ReplyLengthCase{ModbusRTUSlaveBuildFn6Request(1, 0, hex("0001")), 8},
                    ReplyLengthCase{ModbusRTUSlaveBuildFn15Request(1, 0, 9, hex("FF01")), 8},
                    ReplyLengthCase{ModbusRTUSlaveBuildFn16Request(1, 0, 1, hex("0001")), 8}));

} // namespace
