// Coil writes with function 15 and function 5, byte for byte on the scripted port.
#include <gtest/gtest.h>

#include "support/scripted_port.h"
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_rtu_frame.h"

namespace {

QByteArray hex(const char* text) { return QByteArray::fromHex(text); }

QByteArray withCrc(QByteArray frame)
{
    ModbusRTUSlaveAppendCRC(frame);
    return frame;
}

QByteArray echo(const QByteArray& request) { return withCrc(request.left(6)); }

// Frames as sent without their CRC (the link layer's tests pin it), joined by " | ".
QString wire(const ScriptedPort& port)
{
    QStringList frames;
    for (const QByteArray& frame : port.sentFrames())
        frames << QString::fromLatin1(frame.chopped(2).toHex(' '));
    return frames.join(QStringLiteral(" | "));
}

struct CoilCase {
    const char* name;
    bool fn5;
    unsigned short address;
    QByteArray data;
    int station;
    QString frames;
    QString error;
};

void PrintTo(const CoilCase& c, std::ostream* os) { *os << c.name; }

class CoilWrites : public testing::TestWithParam<CoilCase> {};

TEST_P(CoilWrites, SendExactFrames)
{
    const CoilCase& c = GetParam();
    ScriptedPort port;
    port.setStationId(c.station);
    port.setResponder(echo);
    DriverTecoServo driver;

    const bool ok = c.fn5 ? driver.writeCoilsWithFN5(&port, c.address, c.data)
                          : driver.writeCoils(&port, c.address, c.data);

    EXPECT_EQ(ok, c.error.isEmpty());
    EXPECT_EQ(wire(port).toStdString(), c.frames.toStdString());
    EXPECT_EQ(driver.getLastError().toStdString(), c.error.toStdString());
    EXPECT_EQ(port.count(ScriptedPort::Call::GetDelay), 0) << "no pause between coils";
}

INSTANTIATE_TEST_SUITE_P(
    Frames, CoilWrites,
    testing::Values(
        CoilCase{"fn15_nine_coils_pack_09_01", false, 0, hex("010000050000000007"), 1, "01 0f 00 00 00 09 02 09 01", {}},
        CoilCase{"fn15_1976_coils_fill_247_bytes", false, 0, QByteArray(1976, 1), 1,
                 QStringLiteral("01 0f 00 00 07 b8 f7") + QStringLiteral(" ff").repeated(247), {}},
        CoilCase{"fn15_1977_coils", false, 0, QByteArray(1977, 1), 1, {}, "can't write 1977 bits to DO1"},
        CoilCase{"fn15_past_coil_65535", false, 65535, hex("0101"), 1, {}, "can't write 2 bits to DO65536"},
        CoilCase{"fn15_empty_sends_quantity_0", false, 0, {}, 1, "01 0f 00 00 00 00 00", {}},
        CoilCase{"fn15_station_before_bound", false, 0, QByteArray(1977, 1), 256, {}, "invalid slave id:256"},
        CoilCase{"fn5_one_frame_per_coil", true, 0xAC, hex("020001"), 255,
                 "ff 05 00 ac ff 00 | ff 05 00 ad 00 00 | ff 05 00 ae ff 00", {}},
        CoilCase{"fn5_empty_sends_nothing", true, 0, {}, 1, {}, {}},
        CoilCase{"fn5_past_coil_65535", true, 65534, hex("000100"), 1, {}, "can't write 3 bits to DO65535"},
        CoilCase{"fn5_station_before_bound", true, 0, QByteArray(1977, 1), -1, {}, "invalid slave id:-1"}));

TEST(CoilWrites, Fn5StopsAtTheFirstFailedCoil)
{
    ScriptedPort port;
    int requests = 0;
    port.setResponder([&](const QByteArray& r) { return ++requests == 2 ? withCrc(hex("018502")) : echo(r); });
    DriverTecoServo driver;

    EXPECT_FALSE(driver.writeCoilsWithFN5(&port, 0, hex("010101")));
    EXPECT_EQ(wire(port), QStringLiteral("01 05 00 00 ff 00 | 01 05 00 01 ff 00"));
    EXPECT_EQ(driver.getLastError(), QStringLiteral("exception code:0x02"));
}

} // namespace
