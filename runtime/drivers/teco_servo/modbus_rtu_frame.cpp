#include "teco_servo/modbus_rtu_frame.h"

#include <QtGlobal>
#include <algorithm>

#include "teco_servo/modbus_request.h"

namespace {

QByteArray toByteArray(const ModbusRequest& request)
{
    return QByteArray(request.chars(), request.size());
}

// Functions 15 and 16: the header, the payload as given (as much as a frame holds), the CRC.
QByteArray multipleWrite(unsigned char slave, unsigned char function, unsigned short address,
                         unsigned short quantity, const QByteArray& payload)
{
    ModbusRequest request = ModbusRequest::writeMultiple(slave, function, address, quantity,
                                                         static_cast<unsigned char>(payload.size() & 0xFF));
    const int copied = qMin(payload.size(), request.size() - ModbusRtu::MultipleWriteHeaderLength);
    std::copy(payload.constData(), payload.constData() + copied, reinterpret_cast<char*>(request.payload()));
    request.seal();
    return toByteArray(request);
}

} // namespace

void ModbusRTUSlaveAppendCRC(QByteArray& frame)
{
    const int end = frame.size();
    const unsigned short crc = ModbusRTUCrc(reinterpret_cast<const unsigned char*>(frame.constData()), end);
    frame.resize(end + ModbusRtu::CrcLength);
    ModbusRtu::putCrc(reinterpret_cast<unsigned char*>(frame.data()) + end, crc);
}

bool ModbusRTUSlaveCheckCRC(unsigned char* adu, unsigned int length)
{
    if (adu == nullptr || length < 2 || length > 0x7FFFFFFFu)
        return false;
    const int end = static_cast<int>(length) - ModbusRtu::CrcLength;
    return ModbusRtu::crcAt(adu + end) == ModbusRTUCrc(adu, end);
}

QByteArray ModbusRTUSlaveBuildReadDevicesRequest(unsigned char slave, unsigned char function,
                                                 unsigned short address, unsigned short quantity)
{
    return toByteArray(ModbusRequest::readDevices(slave, function, address, quantity));
}

QByteArray ModbusRTUSlaveBuildFn5Request(unsigned char slave, unsigned short address, bool on)
{
    return toByteArray(ModbusRequest::writeSingle(slave, 5, address, on ? 0xFF00 : 0x0000));
}

QByteArray ModbusRTUSlaveBuildFn6Request(unsigned char slave, unsigned short address, const QByteArray& value)
{
    // The callers pass exactly the register's two bytes.
    const unsigned char high = value.size() > 0 ? static_cast<unsigned char>(value.at(0)) : 0;
    const unsigned char low = value.size() > 1 ? static_cast<unsigned char>(value.at(1)) : 0;
    return toByteArray(ModbusRequest::writeSingle(slave, 6, address, static_cast<unsigned short>(high << 8 | low)));
}

QByteArray ModbusRTUSlaveBuildFn15Request(unsigned char slave, unsigned short address,
                                          unsigned short quantity, const QByteArray& packedCoils)
{
    return multipleWrite(slave, 15, address, quantity, packedCoils);
}

QByteArray ModbusRTUSlaveBuildFn16Request(unsigned char slave, unsigned short address,
                                          unsigned short quantity, const QByteArray& data)
{
    return multipleWrite(slave, 16, address, quantity, data);
}
