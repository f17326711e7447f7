// Register writes with function 16: every register of a call in one request.
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_rtu_frame.h"
#include "tools/byte_order.h"

namespace {

// 123 registers fill a function-16 request to 255 bytes.
const int MaxRegistersPerWrite = 123;

} // namespace

bool DriverTecoServo::registerWriteFits(unsigned short address, int registers, const char* unit)
{
    if (registers < 0 || registers > MaxRegistersPerWrite || address + registers > 65536) {
        setCommError(QStringLiteral("can't write any ") + QLatin1String(unit)
                     + QStringLiteral(" to HR") + QString::number(address + 1));
        return false;
    }
    return true;
}

bool DriverTecoServo::writeRegistersWithFN16(AbstractDeviceInterface* port, unsigned short address,
                                             const QByteArray& image, int station, const char* unit)
{
    // The registers counted are those of the padded image, so an odd last byte
    // is one more register and the byte count is always twice the quantity.
    const int registers = image.size() / 2;
    if (!registerWriteFits(address, registers, unit))
        return false;
    if (station == StationFromPort)
        station = stationFromPort(port);
    if (station < 0)
        return false;
    const QByteArray request = ModbusRTUSlaveBuildFn16Request(
        static_cast<unsigned char>(station), address, static_cast<unsigned short>(registers), image);
    ReplyBuffer reply;
    return exchange(port, request, reply);
}

bool DriverTecoServo::writeWords(AbstractDeviceInterface* port, unsigned short address,
                                 const QByteArray& data)
{
    return writeRegistersWithFN16(port, address, toBigEndianUShortArray(data), StationFromPort, "word");
}

bool DriverTecoServo::writeWords(AbstractDeviceInterface* port, unsigned short address,
                                 const QByteArray& data, unsigned char station)
{
    return writeRegistersWithFN16(port, address, toBigEndianUShortArray(data), station, "word");
}

bool DriverTecoServo::writeBytes(AbstractDeviceInterface* port, unsigned short address,
                                 const QByteArray& data)
{
    // Byte 2k is the low and byte 2k+1 the high half of register k, as in host words.
    return writeRegistersWithFN16(port, address, toBigEndianUShortArray(data), StationFromPort, "byte");
}

bool DriverTecoServo::writeDWords(AbstractDeviceInterface* port, unsigned short address,
                                  const QByteArray& data, bool highWordFirst)
{
    // A length that is not whole values is padded by the conversion, and the
    // padded registers count against the bound like the others.
    const QByteArray image = highWordFirst ? toBigEndianULongArray(data) : toBigEndianUShortArray(data);
    return writeRegistersWithFN16(port, address, image, StationFromPort, "double word");
}
