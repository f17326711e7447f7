// Register writes with function 6: one transaction per register, stopped by the
// first failure, for servos or registers that do not take function 16.
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_rtu_frame.h"
#include "tools/byte_order.h"

bool DriverTecoServo::writeWordWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                       const QByteArray& data)
{
    if (!registerWriteFits(address, (data.size() + 1) / 2, "word"))
        return false;
    const int station = stationFromPort(port);
    return station >= 0 && writeWordWithFN6(port, address, data, static_cast<unsigned char>(station));
}

bool DriverTecoServo::writeWordWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                       const QByteArray& data, unsigned char station)
{
    if (!registerWriteFits(address, (data.size() + 1) / 2, "word"))
        return false;
    ReplyBuffer reply;
    return exchange(port, ModbusRTUSlaveBuildFn6Request(station, address, data), reply);
}

bool DriverTecoServo::writeImageWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                        const QByteArray& image, int station, bool pauseBetween)
{
    for (int k = 0; k + 1 < image.size(); k += 2) {
        if (k > 0 && pauseBetween)
            pauseForPortDelay(port);
        const unsigned short registerAddress = static_cast<unsigned short>(address + k / 2);
        const QByteArray value = image.mid(k, 2);
        const bool written = station == StationFromPort
            ? writeWordWithFN6(port, registerAddress, value)
            : writeWordWithFN6(port, registerAddress, value, static_cast<unsigned char>(station));
        if (!written)
            return false;
    }
    return true;
}

bool DriverTecoServo::writeRegistersWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                            const QByteArray& image, int station, const char* unit)
{
    // As with function 16, an odd last byte is one more (padded) register.
    if (!registerWriteFits(address, image.size() / 2, unit))
        return false;
    // The port's station is refused once up front; every register asks it again.
    if (station == StationFromPort && stationFromPort(port) < 0)
        return false;
    return writeImageWithFN6(port, address, image, station, false);
}

bool DriverTecoServo::writeWordsWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                        const QByteArray& data)
{
    return writeRegistersWithFN6(port, address, toBigEndianUShortArray(data), StationFromPort, "word");
}

bool DriverTecoServo::writeWordsWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                        const QByteArray& data, unsigned char station)
{
    return writeRegistersWithFN6(port, address, toBigEndianUShortArray(data), station, "word");
}

bool DriverTecoServo::writeBytesWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                        const QByteArray& data)
{
    return writeRegistersWithFN6(port, address, toBigEndianUShortArray(data), StationFromPort, "byte");
}

bool DriverTecoServo::writeDWordsWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                         const QByteArray& data, bool highWordFirst)
{
    const QByteArray image = highWordFirst ? toBigEndianULongArray(data) : toBigEndianUShortArray(data);
    return writeRegistersWithFN6(port, address, image, StationFromPort, "double word");
}
