// Bits inside servo holding registers, changed by read-modify-write: the
// registers that hold the bits are read with function 3, changed in the host
// copy and written back whole with function 16 or register by register with 6.
#include "teco_servo/driver_teco_servo.h"
#include "tools/bit_array.h"
#include "tools/byte_order.h"

namespace {

// Bit numbers count from the least significant bit of the first register; the
// read always goes to the holding registers, whatever the command's area.
const QByteArray& holdingRegisters()
{
    static const QByteArray prefix("HR");
    return prefix;
}

// Reads the registers that hold bits bit .. bit + data length - 1, sets or
// clears them from the data bytes (non-zero is on), pauses for the port's
// delay and hands the copy to write. No bits to change means nothing to do.
template <typename Read, typename Pause, typename Write>
bool readModifyWrite(unsigned char bit, const QByteArray& data, Read read, Pause pause, Write write)
{
    if (data.isEmpty())
        return true;
    const int registers = static_cast<int>(NumOfBitsToNumOfWords(bit, static_cast<unsigned int>(data.size())));
    QByteArray copy = read(registers);
    if (copy.isEmpty())
        return false;
    for (int k = 0; k < data.size(); ++k)
        setBit(copy, bit + k, data.at(k) != 0);
    pause();
    return write(copy);
}

} // namespace

bool DriverTecoServo::writeHRbit(AbstractDeviceInterface* port, unsigned short address,
                                 unsigned char bit, const QByteArray& data)
{
    return readModifyWrite(
        bit, data, [&](int registers) { return readWords(port, holdingRegisters(), address, registers); },
        [&] { pauseForPortDelay(port); },
        [&](const QByteArray& copy) { return writeWords(port, address, copy); });
}

bool DriverTecoServo::writeHRbit(AbstractDeviceInterface* port, unsigned short address,
                                 unsigned char bit, const QByteArray& data, unsigned char station)
{
    return readModifyWrite(
        bit, data,
        [&](int registers) { return readWords(port, holdingRegisters(), address, registers, station); },
        [&] { pauseForPortDelay(port); },
        [&](const QByteArray& copy) { return writeWords(port, address, copy, station); });
}

bool DriverTecoServo::writeHRbitWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                        unsigned char bit, const QByteArray& data)
{
    return readModifyWrite(
        bit, data, [&](int registers) { return readWords(port, holdingRegisters(), address, registers); },
        [&] { pauseForPortDelay(port); },
        [&](const QByteArray& copy) {
            return writeImageWithFN6(port, address, toBigEndianUShortArray(copy), StationFromPort, true);
        });
}

bool DriverTecoServo::writeHRbitWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                        unsigned char bit, const QByteArray& data, unsigned char station)
{
    return readModifyWrite(
        bit, data,
        [&](int registers) { return readWords(port, holdingRegisters(), address, registers, station); },
        [&] { pauseForPortDelay(port); },
        [&](const QByteArray& copy) {
            return writeImageWithFN6(port, address, toBigEndianUShortArray(copy), station, true);
        });
}
