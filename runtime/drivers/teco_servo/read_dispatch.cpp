// The driver's read(): parse the address once, then attempts with the port's
// delay and retry count, each routed to one read operation.
#include "teco_servo/command_attempts.h"

// One attempt: exactly one read operation, chosen by data type and area.
// Only read() runs it, so it is compiled into read().
inline QByteArray DriverTecoServo::readOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                                            const ParsedAddress& at)
{
    switch (command.dataType) {
    case Bit:
    case BitBlock:
        if (at.is(AreaKind::Coils) || at.is(AreaKind::CoilsWithFN5) || at.is(AreaKind::DiscreteInputs))
            return readDIDOs(port, at.letters(), at.address, command.count);
        return readIRHRbits(port, at.letters(), at.address, at.bit, command.count);
    case Byte:
    case Block: return readBytes(port, at.letters(), at.address, command.count);
    case Word:
        if ((at.is(AreaKind::HoldingRegisters) || at.is(AreaKind::HoldingRegistersWithFN6))
            && SpecialRegisters::contains(at.address))
            return readSpecialHRWords(port, at.address, command.count);
        return readWords(port, at.letters(), at.address, command.count, Station::fromPort(), VerifyCrc);
    case DoubleWord: return readDWords(port, at.letters(), at.address, command.count, at.highWordFirst);
    default: return QByteArray();
    }
}

QByteArray DriverTecoServo::read(AbstractDeviceInterface* port, const CommunicatorCommand& command)
{
    // No port: nothing can be asked, not even the station for the description.
    if (port == nullptr) {
        setCommError(QStringLiteral("PLC no response"));
        return QByteArray();
    }

    const ParsedAddress at = parseDeviceAddress(command.deviceAddress);
    QByteArray result;
    if (!runAttempts(port, command, [&] { result = readOnce(port, command, at); }))
        return QByteArray();
    if (commError)
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
