// Register reads with function 3 (HR and FN6HR areas) or 4 (any other area).
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_address.h"
#include "teco_servo/modbus_rtu_frame.h"
#include "tools/byte_order.h"

namespace {

// What one reply may carry: 5 + 2 * 125 bytes.
const long long MaxRegistersPerRead = 125;
// The register data of a read reply follow slave, function and byte count.
const int ReplyDataOffset = 3;

} // namespace

bool DriverTecoServo::readDevices(AbstractDeviceInterface* port, int station, unsigned char function,
                                  unsigned short address, unsigned short quantity, CrcCheck crcCheck,
                                  ReplyBuffer& reply)
{
    if (station < 0)
        station = stationFromPort(port);
    if (station < 0)
        return false;
    const QByteArray request = ModbusRTUSlaveBuildReadDevicesRequest(
        static_cast<unsigned char>(station), function, address, quantity);
    return exchange(port, request, reply, crcCheck);
}

bool DriverTecoServo::readRegisterImage(AbstractDeviceInterface* port, const QByteArray& prefix,
                                        unsigned short address, long long registers, const char* unit,
                                        int station, CrcCheck crcCheck, ReplyBuffer& reply)
{
    // A request for no registers is illegal Modbus; refuse it with the range message.
    if (registers < 1 || registers > MaxRegistersPerRead || address + registers > 0x10000) {
        setCommError(QString::asprintf("can't read any %s from %s%d", unit, prefix.constData(),
                                       address + 1));
        return false;
    }
    const unsigned char function = isHoldingRegisterArea(prefix) ? 3 : 4;
    return readDevices(port, station, function, address, static_cast<unsigned short>(registers),
                       crcCheck, reply);
}

QByteArray DriverTecoServo::readWords(AbstractDeviceInterface* port, const QByteArray& prefix,
                                      unsigned short address, int count)
{
    ReplyBuffer reply;
    if (!readRegisterImage(port, prefix, address, count, "word", StationFromPort, VerifyCrc, reply))
        return QByteArray();
    return fromBigEndianUShortArray(reply.bytes + ReplyDataOffset, count);
}

QByteArray DriverTecoServo::readWords(AbstractDeviceInterface* port, const QByteArray& prefix,
                                      unsigned short address, int count, unsigned char station)
{
    ReplyBuffer reply;
    if (!readRegisterImage(port, prefix, address, count, "word", station, SkipCrc, reply))
        return QByteArray();
    return fromBigEndianUShortArray(reply.bytes + ReplyDataOffset, count);
}

QByteArray DriverTecoServo::readDWords(AbstractDeviceInterface* port, const QByteArray& prefix,
                                       unsigned short address, int count, bool highWordFirst)
{
    ReplyBuffer reply;
    const long long registers = 2LL * count;
    if (!readRegisterImage(port, prefix, address, registers, "double word", StationFromPort,
                           VerifyCrc, reply))
        return QByteArray();
    const unsigned char* data = reply.bytes + ReplyDataOffset;
    return highWordFirst ? fromBigEndianULongArray(data, count)
                         : fromBigEndianUShortArray(data, 2 * count);
}

QByteArray DriverTecoServo::readBytes(AbstractDeviceInterface* port, const QByteArray& prefix,
                                      unsigned short address, int count)
{
    ReplyBuffer reply;
    // An odd count still reads the whole last register; its high byte is dropped.
    const long long registers = count < 1 ? 0 : (count + 1LL) / 2;
    if (!readRegisterImage(port, prefix, address, registers, "byte", StationFromPort, VerifyCrc,
                           reply))
        return QByteArray();
    return fromBigEndianUShortArray(reply.bytes + ReplyDataOffset, static_cast<int>(registers))
        .left(count);
}
