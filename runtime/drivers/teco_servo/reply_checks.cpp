// Judges the first 5 bytes of a reply: did anything arrive, from whom, and does
// it answer the request normally or with a Modbus exception.
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_rtu_frame.h"

bool DriverTecoServo::checkMinADU(unsigned char slave, const char* buffer, int received)
{
    if (received <= 0) {
        setCommError(QStringLiteral("PLC no response"));
        return false;
    }
    if (received != 5) {
        setCommError(QStringLiteral("received bytes < %1").arg(5));
        return false;
    }
    const unsigned char replySlave = static_cast<unsigned char>(buffer[0]);
    if (replySlave != slave) {
        setCommError(QString::asprintf("invalid slave id:%d", replySlave));
        return false;
    }
    return true;
}

bool DriverTecoServo::checkException(const char* buffer, unsigned char function)
{
    const unsigned char replyFunction = static_cast<unsigned char>(buffer[1]);
    if (replyFunction == function)
        return true;
    if (replyFunction == (function | 0x80)) {
        // An exception reply is complete at 5 bytes: slave, function | 0x80, code, CRC.
        unsigned char exception[5];
        for (int i = 0; i < 5; ++i)
            exception[i] = static_cast<unsigned char>(buffer[i]);
        if (ModbusRTUSlaveCheckCRC(exception, 5))
            setCommError(QString::asprintf("exception code:0x%02X", exception[2]));
        else
            setCommError(QStringLiteral("CRC error"));
        return false;
    }
    setCommError(QStringLiteral("invalid response"));
    return false;
}
