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
        FrameCase{"fn3_slave1_addr0_qty10", ModbusRTUSlaveBuildReadDevicesRequest(1, 3, 0, 10),
                  "0103 0000 000A C5CD"},
        FrameCase{"fn6_slave1_addr1_value0003", ModbusRTUSlaveBuildFn6Request(1, 1, hex("0003")),
                  "0106 0001 0003 980B"},
        FrameCase{"fn16_slave1_addr1_two_registers",
                  ModbusRTUSlaveBuildFn16Request(1, 1, 2, hex("000A0102")), "0110 0001 0002 04 000A0102 9230"},
        FrameCase{"fn5_slave1_coil00AC_on", ModbusRTUSlaveBuildFn5Request(1, 0x00AC, true),
                  "0105 00AC FF00 4C1B"},
        FrameCase{"fn15_slave1_addr0013_ten_coils",
                  ModbusRTUSlaveBuildFn15Request(1, 0x0013, 10, hex("CD01")), "010F 0013 000A 02 CD01 72CB"}),
    [](const testing::TestParamInfo<FrameCase>& info) { return std::string(info.param.name); });

TEST(ModbusCrc, TablesGiveTheBitwiseCrcLowByteFirst)
{
    // Every single-byte run and one 256-byte run against the definition, bit by bit:
    // polynomial 0xA001 reflected, start 0xFFFF, no final XOR.
    auto bitwise = [](const QByteArray& bytes) {
        unsigned short crc = 0xFFFF;
        for (char byte : bytes) {
            crc ^= static_cast<unsigned char>(byte);
            for (int k = 0; k < 8; ++k)
                crc = (crc & 1) ? static_cast<unsigned short>((crc >> 1) ^ 0xA001)
                                : static_cast<unsigned short>(crc >> 1);
        }
        return crc;
    };
    QByteArray runs[257];
    for (int b = 0; b < 256; ++b) {
        runs[b] = QByteArray(1, static_cast<char>(b));
        runs[256].append(static_cast<char>((b * 37 + 11) & 0xFF));
    }
    for (const QByteArray& run : runs) {
        const unsigned short crc = bitwise(run);
        QByteArray frame = run;
        ModbusRTUSlaveAppendCRC(frame);
        ASSERT_EQ(frame.mid(run.size()), QByteArray().append(char(crc & 0xFF)).append(char(crc >> 8)))
            << run.toHex().constData();
    }
}

struct CheckCase {
    const char* name;
    const char* frame;
    bool matches;
};

void PrintTo(const CheckCase& c, std::ostream* os) { *os << c.name; }

class CrcCheck : public testing::TestWithParam<CheckCase> {};

TEST_P(CrcCheck, ComparesTheLastTwoBytes) { EXPECT_EQ(crcMatches(hex(GetParam().frame)), GetParam().matches); }

INSTANTIATE_TEST_SUITE_P(Frames, CrcCheck,
                         testing::Values(CheckCase{"read_reply_5A60", "010304000A01025A60", true},
                                         CheckCase{"read_reply_crc_swapped", "010304000A0102605A", false},
                                         CheckCase{"exception_C0F1", "018302C0F1", true},
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

} // namespace
