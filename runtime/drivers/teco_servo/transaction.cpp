// The one request/reply exchange that every read and write transaction runs.
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_rtu_frame.h"

#include <cstring>

int DriverTecoServo::stationFromPort(AbstractDeviceInterface* port)
{
    const int station = port->getStationId();
    // Compared unsigned, so negative ids are refused too.
    if (static_cast<unsigned int>(station) > 255) {
        setCommError(QString::asprintf("invalid slave id:%d", station));
        return -1;
    }
    return station;
}

bool DriverTecoServo::exchange(AbstractDeviceInterface* port, const QByteArray& request,
                               ReplyBuffer& reply, CrcCheck crcCheck)
{
    const int replyLength = ModbusRTUReplyLength(request);
    if (request.size() < 2 || replyLength > ReplyBuffer::Size) {
        setCommError(QStringLiteral("invalid response"));
        return false;
    }
    const unsigned char slave = static_cast<unsigned char>(request.at(0));
    const unsigned char function = static_cast<unsigned char>(request.at(1));

    port->setOption(12, QVariant(0));
    port->send(request.constData(), request.size());

    std::memset(reply.bytes, 0, sizeof reply.bytes);
    const int received = port->receive(reply.chars(), 5);
    if (!checkMinADU(slave, reply.chars(), received))
        return false;
    if (!checkException(reply.chars(), function))
        return false;

    const int rest = replyLength - 5;
    if (port->receive(reply.chars() + 5, rest) != rest) {
        setCommError(QStringLiteral("packet loss"));
        return false;
    }
    if (crcCheck == VerifyCrc && !ModbusRTUSlaveCheckCRC(reply.bytes, static_cast<unsigned int>(replyLength))) {
        setCommError(QStringLiteral("CRC error"));
        return false;
    }
    return true;
}
