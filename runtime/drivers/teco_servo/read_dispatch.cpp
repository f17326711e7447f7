// The driver's read(): parse the address once, then attempts with the port's
// delay and retry count, each routed to one read operation.
#include "teco_servo/command_attempts.h"
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_address.h"
#include "teco_servo/driver_side_registers.h"

namespace {

struct ParsedAddress {
    QByteArray prefix;
    unsigned short address = 0;
    unsigned char bit = 0;
};

bool isBitArea(const QByteArray& prefix)
{
    return isCoilArea(prefix) || prefixBeginsWith(prefix, "DI");
}

// One attempt: exactly one read operation, chosen by data type and area.
QByteArray readOnce(DriverTecoServo& driver, AbstractDeviceInterface* port,
                    const CommunicatorCommand& command, const ParsedAddress& at)
{
    switch (command.dataType) {
    case Bit:
    case BitBlock:
        if (isBitArea(at.prefix))
            return driver.readDIDOs(port, at.prefix, at.address, command.count);
        return driver.readIRHRbits(port, at.prefix, at.address, at.bit, command.count);
    case Byte:
    case Block: return driver.readBytes(port, at.prefix, at.address, command.count);
    case Word:
        if (isHoldingRegisterArea(at.prefix) && SpecialRegisters::contains(at.address))
            return driver.readSpecialHRWords(port, at.address, command.count);
        return driver.readWords(port, at.prefix, at.address, command.count);
    case DoubleWord:
        return driver.readDWords(port, at.prefix, at.address, command.count,
                                 selectsHighWordFirst(command.deviceAddress));
    default: return QByteArray();
    }
}

} // namespace

QByteArray DriverTecoServo::read(AbstractDeviceInterface* port, const CommunicatorCommand& command)
{
    // No port: nothing can be asked, not even the station for the description.
    if (port == nullptr) {
        setCommError(QStringLiteral("PLC no response"));
        return QByteArray();
    }

    ParsedAddress at;
    ModbusRTUSlaveParseAddress(command.deviceAddress, at.prefix, at.address, at.bit);

    QByteArray result;
    if (!runAttempts(port, command, [&] { result = readOnce(*this, port, command, at); }))
        return QByteArray();
    if (hasError())
        appendCmdToReadCommError(static_cast<unsigned char>(port->getStationId()), command);
    return result;
}

void DriverTecoServo::appendCmdToReadCommError(unsigned char station, const CommunicatorCommand& command)
{
    static const char* const units[] = {"bit", "byte", "word", "dword"};
    if (command.dataType < Bit || command.dataType > DoubleWord)
        return;
    lastError += QString::asprintf(" (read %d %s(s) from %d-", command.count, units[command.dataType],
                                   station) +
                 command.deviceAddress + QLatin1Char(')');
}
