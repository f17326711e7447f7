// Register reads with function 3 (HR and FN6HR areas) or 4 (any other area).
#include "teco_servo/driver_teco_servo.h"
#include "tools/byte_order.h"

bool DriverTecoServo::refuseRegisterRead(const AreaLetters& area, unsigned short address, const char* unit)
{
    setCommError(QString::asprintf("can't read any %s from %s%d", unit, area.toLatin1().constData(), address + 1));
    return false;
}

QByteArray DriverTecoServo::readWords(AbstractDeviceInterface* port, const AreaLetters& area,
                                      unsigned short address, int count, Station station, CrcCheck crcCheck)
{
    ReplyBuffer reply;
    if (!readRegisterImage(port, area, address, count, "word", station, crcCheck, reply))
        return QByteArray();
    return fromBigEndianUShortArray(reply.data(), count);
}

QByteArray DriverTecoServo::readDWords(AbstractDeviceInterface* port, const AreaLetters& area,
                                       unsigned short address, int count, bool highWordFirst)
{
    ReplyBuffer reply;
    if (!readRegisterImage(port, area, address, 2LL * count, "double word", Station::fromPort(), VerifyCrc,
                           reply))
        return QByteArray();
    return highWordFirst ? fromBigEndianULongArray(reply.data(), count)
                         : fromBigEndianUShortArray(reply.data(), 2 * count);
}

QByteArray DriverTecoServo::readBytes(AbstractDeviceInterface* port, const AreaLetters& area,
                                      unsigned short address, int count)
{
    ReplyBuffer reply;
    // An odd count still reads the whole last register; its high byte is dropped.
    const long long registers = count < 1 ? 0 : (count + 1LL) / 2;
    if (!readRegisterImage(port, area, address, registers, "byte", Station::fromPort(), VerifyCrc, reply))
        return QByteArray();
    QByteArray bytes = fromBigEndianUShortArray(reply.data(), static_cast<int>(registers));
    bytes.truncate(count);
    return bytes;
}

QByteArray DriverTecoServo::readWords(AbstractDeviceInterface* port, const QByteArray& prefix,
                                      unsigned short address, int count)
{
    return readWords(port, AreaLetters(prefix), address, count, Station::fromPort(), VerifyCrc);
}

QByteArray DriverTecoServo::readWords(AbstractDeviceInterface* port, const QByteArray& prefix,
                                      unsigned short address, int count, unsigned char station)
{
    return readWords(port, AreaLetters(prefix), address, count, Station::given(station), SkipCrc);
}

QByteArray DriverTecoServo::readDWords(AbstractDeviceInterface* port, const QByteArray& prefix,
                                       unsigned short address, int count, bool highWordFirst)
{
    return readDWords(port, AreaLetters(prefix), address, count, highWordFirst);
}

QByteArray DriverTecoServo::readBytes(AbstractDeviceInterface* port, const QByteArray& prefix,
                                      unsigned short address, int count)
{
    return readBytes(port, AreaLetters(prefix), address, count);
}
