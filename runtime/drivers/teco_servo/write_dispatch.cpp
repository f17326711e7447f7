// The driver's write: the address is parsed once, then every attempt sleeps the
// port's delay and hands the command to exactly one write operation, until one
// succeeds or the port's retry count is used up.
#include "teco_servo/command_attempts.h"

namespace {

// What one attempt hands to the operation it chooses.
struct WriteTarget {
    AbstractDeviceInterface* port;
    const CommunicatorCommand& command;
    const QByteArray& data;
    const ParsedAddress& at;
    int& progress;

    bool is(AreaKind area) const { return at.is(area); }
    bool special() const { return SpecialRegisters::contains(at.address); }
};

// An area the data type cannot be written to fails the attempt like a transaction.
bool refuseArea(DriverTecoServo& driver, const WriteTarget& target, const char* text)
{
    driver.setCommError(QString::fromLatin1(text).arg(target.command.deviceAddress));
    return false;
}

bool writeBitArea(DriverTecoServo& driver, const WriteTarget& t)
{
    const unsigned short address = t.at.address;
    if (t.is(AreaKind::Coils))
        return driver.writeCoils(t.port, address, t.data);
    if (t.is(AreaKind::CoilsWithFN5))
        return driver.writeCoilsWithFN5(t.port, address, t.data);
    if (t.is(AreaKind::HoldingRegisters))
        return t.special() ? driver.writeSpecialHRbit(t.port, address, t.at.bit, t.data, t.progress)
                           : driver.writeHRbit(t.port, address, t.at.bit, t.data);
    if (t.is(AreaKind::HoldingRegistersWithFN6))
        return t.special() ? driver.writeSpecialFN6HRbit(t.port, address, t.at.bit, t.data, t.progress)
                           : driver.writeHRbitWithFN6(t.port, address, t.at.bit, t.data);
    return refuseArea(driver, t, "can't write any bit to %1");
}

bool writeByteArea(DriverTecoServo& driver, const WriteTarget& t)
{
    if (t.is(AreaKind::HoldingRegisters))
        return driver.writeBytes(t.port, t.at.address, t.data);
    if (t.is(AreaKind::HoldingRegistersWithFN6))
        return driver.writeBytesWithFN6(t.port, t.at.address, t.data);
    return refuseArea(driver, t, "can't write any byte to %1");
}

bool writeWordArea(DriverTecoServo& driver, const WriteTarget& t)
{
    const unsigned short address = t.at.address;
    if (t.is(AreaKind::HoldingRegisters))
        return t.special() ? driver.writeSpecialHRWords(t.port, address, t.data, t.progress)
                           : driver.writeWords(t.port, address, t.data);
    if (t.is(AreaKind::HoldingRegistersWithFN6))
        return t.special() ? driver.writeSpecialFN6HRWords(t.port, address, t.data, t.progress)
                           : driver.writeWordsWithFN6(t.port, address, t.data);
    return refuseArea(driver, t, "can't write any word to %1");
}

// Double words (and bytes) in the special range go to the servo like any other address.
bool writeDoubleWordArea(DriverTecoServo& driver, const WriteTarget& t)
{
    if (t.is(AreaKind::HoldingRegisters))
        return driver.writeDWords(t.port, t.at.address, t.data, t.at.highWordFirst);
    if (t.is(AreaKind::HoldingRegistersWithFN6))
        return driver.writeDWordsWithFN6(t.port, t.at.address, t.data, t.at.highWordFirst);
    return refuseArea(driver, t, "can't write any double word to %1");
}

// One attempt; false with the error set when the type has no write at all.
bool routeWrite(DriverTecoServo& driver, const WriteTarget& target)
{
    switch (target.command.dataType) {
    case Bit:
    case BitBlock: return writeBitArea(driver, target);
    case Byte:
    case Block: return writeByteArea(driver, target);
    case Word: return writeWordArea(driver, target);
    case DoubleWord: return writeDoubleWordArea(driver, target);
    default: return false;
    }
}

} // namespace

bool DriverTecoServo::write(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                            const QByteArray& data)
{
    // Without a port nothing can reach the servo: report it as a silent line.
    if (port == nullptr) {
        setCommError(QStringLiteral("PLC no response"));
        return false;
    }
    const ParsedAddress at = parseDeviceAddress(command.deviceAddress);

    // Shared by all attempts, so a retried fan-out skips the stations already written.
    int progress = 0;
    const WriteTarget target{port, command, data, at, progress};
    bool result = false;
    if (!runAttempts(port, command, [&] { result = routeWrite(*this, target); }))
        return false;
    if (commError)
        appendCmdToWriteCommError(static_cast<unsigned char>(port->getStationId() & 0xFF), command);
    return result;
}

void DriverTecoServo::appendCmdToWriteCommError(unsigned char station, const CommunicatorCommand& command)
{
    const char* format = nullptr;
    switch (command.dataType) {
    case Bit: format = " (write %d bit to %d-"; break;
    case Byte: format = " (write %d byte to %d-"; break;
    case Word: format = " (write %d word to %d-"; break;
    case DoubleWord: format = " (write %d dword to %d-"; break;
    default: return; // Blocks and bit blocks carry no description.
    }
    lastError += QString::asprintf(format, command.count, station) + command.deviceAddress
        + QStringLiteral(")");
}
