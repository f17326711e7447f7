// Coil and discrete-input reads, and bits cut out of registers.
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_address.h"
#include "tools/bit_array.h"
#include "tools/text_utilities.h"

namespace {

// What one reply may carry: 251 data bytes, 5 + 251 bytes in all.
const unsigned int MaxBitsPerRead = 2008;
const int ReplyDataOffset = 3;

// Unsigned, so a negative count never fits.
bool bitRangeFits(unsigned short address, int count)
{
    const unsigned int bits = static_cast<unsigned int>(count);
    return bits <= MaxBitsPerRead && address + bits <= 0x10000;
}

int bytesOfBits(int count) { return count / 8 + (count % 8 != 0 ? 1 : 0); }

// All digits of the text joined into one number, minus 1, cut to 16 bits.
unsigned short digitsAsAddress(const QString& text)
{
    unsigned int value = 0;
    for (const QChar c : text)
        if (c >= QLatin1Char('0') && c <= QLatin1Char('9'))
            value = value * 10 + static_cast<unsigned int>(c.unicode() - '0');
    return static_cast<unsigned short>(value - 1);
}

} // namespace

QByteArray DriverTecoServo::readDIDOs(AbstractDeviceInterface* port, const QByteArray& prefix,
                                      unsigned short address, int count)
{
    if (!bitRangeFits(address, count)) {
        setCommError(QString::asprintf("can't read %d bits from %s%u", count, prefix.constData(),
                                       address + 1u));
        return QByteArray();
    }
    const unsigned char function = isCoilArea(prefix) ? 1 : 2;
    ReplyBuffer reply;
    if (!readDevices(port, StationFromPort, function, address, static_cast<unsigned short>(count),
                     VerifyCrc, reply))
        return QByteArray();
    QByteArray bits(reply.chars() + ReplyDataOffset, bytesOfBits(count));
    clearUnnecessaryBits(bits, count);
    return bits;
}

QByteArray DriverTecoServo::readIRHRbits(AbstractDeviceInterface* port, const QByteArray& prefix,
                                         unsigned short address, unsigned char bit, int count)
{
    // A negative count is passed on as one that readWords refuses with its own message.
    const int registers = count < 0 ? -1 : static_cast<int>(NumOfBitsToNumOfWords(bit, count));
    QByteArray bits = readWords(port, prefix, address, registers);
    if (bits.isEmpty())
        return bits;
    RightShiftNBits(bits, bit);
    FitBitArray(bits, count);
    clearUnnecessaryBits(bits, count);
    return bits;
}

QByteArray DriverTecoServo::readBits(AbstractDeviceInterface* port, const CommunicatorCommand& command)
{
    const QByteArray prefix = ExtractPrefixSymbol(command.deviceAddress);
    if (prefix != "DO" && prefix != "DI") {
        setCommError(QStringLiteral("can't read any bit from") + command.deviceAddress);
        return QByteArray();
    }
    const unsigned short address = digitsAsAddress(command.deviceAddress);
    const int count = command.count;
    if (!bitRangeFits(address, count)) {
        setCommError(QString::asprintf("can't read %d bits from ", count) + command.deviceAddress);
        return QByteArray();
    }
    const unsigned char function = prefix == "DO" ? 1 : 2;
    ReplyBuffer reply;
    // This reader takes the reply without its CRC and with the bits above the count as sent.
    if (!readDevices(port, StationFromPort, function, address, static_cast<unsigned short>(count),
                     SkipCrc, reply))
        return QByteArray();
    return QByteArray(reply.chars() + ReplyDataOffset, bytesOfBits(count));
}
