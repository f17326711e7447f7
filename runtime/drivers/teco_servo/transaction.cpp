// The one request/reply exchange that every read and write transaction runs,
// with the checks of the first 5 bytes of every reply: did anything arrive,
// from whom, and does it answer the request normally or with an exception.
#include "teco_servo/driver_teco_servo.h"

#include <cstring>

#include "teco_servo/modbus_rtu_frame.h"

namespace {

// What setOption carries with the discard-input code; built once, when the plug-in loads.
const QVariant discardValue(0);

} // namespace

// The messages of checkMinADU and checkException, once they have refused a reply.
bool DriverTecoServo::refuseMinADU(const char* buffer, int received)
{
    if (received <= 0)
        setCommError(QStringLiteral("PLC no response"));
    else if (received != ModbusRtu::FirstReceiveLength)
        setCommError(QStringLiteral("received bytes < %1").arg(ModbusRtu::FirstReceiveLength));
    else
        setCommError(QString::asprintf("invalid slave id:%d", static_cast<unsigned char>(buffer[0])));
    return false;
}

bool DriverTecoServo::refuseReplyFunction(const char* buffer, unsigned char function)
{
    if (static_cast<unsigned char>(buffer[1]) != (function | 0x80)) {
        setCommError(QStringLiteral("invalid response"));
        return false;
    }
    // An exception reply is complete at 5 bytes: slave, function | 0x80, code, CRC.
    unsigned char exception[ModbusRtu::ExceptionReplyLength];
    for (int i = 0; i < ModbusRtu::ExceptionReplyLength; ++i)
        exception[i] = static_cast<unsigned char>(buffer[i]);
    if (ModbusRTUSlaveCheckCRC(exception, ModbusRtu::ExceptionReplyLength))
        setCommError(QString::asprintf("exception code:0x%02X", exception[2]));
    else
        setCommError(QStringLiteral("CRC error"));
    return false;
}

bool DriverTecoServo::refuseSlaveId(int id)
{
    setCommError(QString::asprintf("invalid slave id:%d", id));
    return false;
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

    port->setOption(DiscardInputOption, discardValue);
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
        const int end = replyLength - CrcLength;
        if (crcAt(reply.bytes + end) != ModbusRTUCrc(reply.bytes, end)) {
            setCommError(QStringLiteral("CRC error"));
            return false;
        }
    }
    return true;
}
