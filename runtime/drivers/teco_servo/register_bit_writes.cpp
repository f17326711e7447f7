// Bits inside servo holding registers, changed by read-modify-write: the
// registers that hold the bits are read with function 3, changed in place and
// written back whole with function 16 or register by register with 6.
#include "teco_servo/command_attempts.h"
#include "tools/bit_array.h"

bool DriverTecoServo::writeBits(AbstractDeviceInterface* port, unsigned short address, unsigned char bit,
                                const QByteArray& data, Station station, WriteFunction function)
{
    // All ceil((bit + length) / 16) registers are read and all are written
    // back, changed or not; no bits at bit 0 means no registers, which the
    // read refuses.
    const long long registers = NumOfBitsToNumOfWords(bit, static_cast<unsigned int>(data.size()));
    // The read always goes to the holding registers, whatever the command's
    // area; a given station's reply is taken without its CRC.
    const QByteArray holdingRegisters = QByteArrayLiteral("HR");
    ReplyBuffer read;
    if (!readRegisterImage(port, AreaLetters(holdingRegisters), address, registers, "word", station,
                           station.askPort() ? VerifyCrc : SkipCrc, read))
        return false;

    // Bit i lies in register i div 16, whose low byte is the second on the wire.
    unsigned char* image = read.data();
    for (int k = 0; k < data.size(); ++k) {
        const int i = bit + k;
        unsigned char& byte = image[2 * (i / 16) + (i % 16 < 8 ? 1 : 0)];
        const unsigned char mask = static_cast<unsigned char>(1u << (i % 8));
        byte = static_cast<unsigned char>(data.at(k) != 0 ? byte | mask : byte & ~mask);
    }
    pauseForPortDelay(port);

    const RegisterSource copy(image, 2 * registers, RegisterSource::RegisterImage);
    if (function == WithFN6)
        return writeEachRegisterWithFN6(port, address, copy, station, true);
    return writeRegistersWithFN16(port, address, copy, station, "word");
}

bool DriverTecoServo::writeHRbit(AbstractDeviceInterface* port, unsigned short address, unsigned char bit,
                                 const QByteArray& data)
{
    return writeBits(port, address, bit, data, Station::fromPort(), WithFN16);
}

bool DriverTecoServo::writeHRbit(AbstractDeviceInterface* port, unsigned short address, unsigned char bit,
                                 const QByteArray& data, unsigned char station)
{
    return writeBits(port, address, bit, data, Station::given(station), WithFN16);
}

bool DriverTecoServo::writeHRbitWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                        unsigned char bit, const QByteArray& data)
{
    return writeBits(port, address, bit, data, Station::fromPort(), WithFN6);
}

bool DriverTecoServo::writeHRbitWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                        unsigned char bit, const QByteArray& data, unsigned char station)
{
    return writeBits(port, address, bit, data, Station::given(station), WithFN6);
}
