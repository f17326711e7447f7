// The one request/reply exchange that every read and write transaction runs.
#include "teco_servo/driver_teco_servo.h"

#include <cstring>

namespace {

// What setOption carries with the discard-input code; built once.
const QVariant& discardValue()
{
    static const QVariant zero(0);
    return zero;
}

} // namespace

bool DriverTecoServo::resolveStation(AbstractDeviceInterface* port, Station station, unsigned char& slave)
{
    if (!station.askPort()) {
        slave = station.slave();
        return true;
    }
    const int id = port->getStationId();
    if (static_cast<unsigned int>(id) > 255) {
        setCommError(QString::asprintf("invalid slave id:%d", id));
        return false;
    }
    slave = static_cast<unsigned char>(id);
    return true;
}

bool DriverTecoServo::exchange(AbstractDeviceInterface* port, const ModbusRequest& request, ReplyBuffer& reply,
                               CrcCheck crcCheck)
{
    using namespace ModbusRtu;
    const int replyLength = request.replyLength();
    if (replyLength > ReceiveBufferSize) {
        setCommError(QStringLiteral("invalid response"));
        return false;
    }

    port->setOption(DiscardInputOption, discardValue());
    port->send(request.chars(), request.size());

    // Only the bytes of this reply are ever looked at; they start out zero.
    std::memset(reply.bytes, 0, static_cast<size_t>(replyLength));
    const int received = port->receive(reply.chars(), FirstReceiveLength);
    if (!checkMinADU(request.slave(), reply.chars(), received))
        return false;
    if (!checkException(reply.chars(), request.function()))
        return false;

    const int rest = replyLength - FirstReceiveLength;
    if (port->receive(reply.chars() + FirstReceiveLength, rest) != rest) {
        setCommError(QStringLiteral("packet loss"));
        return false;
    }
    if (crcCheck == VerifyCrc) {
        const unsigned short crc = ModbusRTUCrc(reply.bytes, replyLength - CrcLength);
        if (reply.bytes[replyLength - 2] != (crc & 0xFF) || reply.bytes[replyLength - 1] != (crc >> 8)) {
            setCommError(QStringLiteral("CRC error"));
            return false;
        }
    }
    return true;
}
