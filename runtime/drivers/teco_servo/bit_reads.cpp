// Coil and discrete-input reads, and bits cut out of registers.
#include "teco_servo/driver_teco_servo.h"
#include "tools/bit_array.h"
#include "tools/text_utilities.h"

namespace {

bool bitRangeFits(unsigned short address, int count)
{
    return ModbusRtu::rangeFits(address, count, 0, ModbusRtu::MaxBitsPerRead);
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

QByteArray DriverTecoServo::readDIDOs(AbstractDeviceInterface* port, const AreaLetters& area,
                                      unsigned short address, int count)
{
    if (!bitRangeFits(address, count)) {
        setCommError(QString::asprintf("can't read %d bits from %s%u", count, area.toLatin1().constData(),
                                       address + 1u));
        return QByteArray();
    }
    ReplyBuffer reply;
    if (!readDevices(port, Station::fromPort(), bitReadFunction(area.kind()), address,
                     static_cast<unsigned short>(count), VerifyCrc, reply))
        return QByteArray();
    QByteArray bits(reinterpret_cast<const char*>(reply.data()), bytesOfBits(count));
    clearUnnecessaryBits(bits, count);
    return bits;
}

QByteArray DriverTecoServo::readIRHRbits(AbstractDeviceInterface* port, const AreaLetters& area,
                                         unsigned short address, unsigned char bit, int count)
{
    // A negative count is passed on as one that the register read refuses with its own message.
    const int registers = count < 0 ? -1 : static_cast<int>(NumOfBitsToNumOfWords(bit, static_cast<unsigned int>(count)));
    QByteArray bits = readWords(port, area, address, registers, Station::fromPort(), VerifyCrc);
    if (bits.isEmpty())
        return bits;
    RightShiftNBits(bits, bit);
    FitBitArray(bits, count);
    clearUnnecessaryBits(bits, count);
    return bits;
}

QByteArray DriverTecoServo::readDIDOs(AbstractDeviceInterface* port, const QByteArray& prefix,
                                      unsigned short address, int count)
{
    return readDIDOs(port, AreaLetters(prefix), address, count);
}

QByteArray DriverTecoServo::readIRHRbits(AbstractDeviceInterface* port, const QByteArray& prefix,
                                         unsigned short address, unsigned char bit, int count)
{
    return readIRHRbits(port, AreaLetters(prefix), address, bit, count);
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
    if (!readDevices(port, Station::fromPort(), function, address, static_cast<unsigned short>(count), SkipCrc,
                     reply))
        return QByteArray();
    return QByteArray(reinterpret_cast<const char*>(reply.data()), bytesOfBits(count));
}
