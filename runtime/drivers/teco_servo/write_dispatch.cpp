// The driver's write: the address is parsed once, then every attempt sleeps the
// port's delay and hands the command to exactly one write operation, until one
// succeeds or the port's retry count is used up.
#include "teco_servo/command_attempts.h"
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_address.h"
#include "teco_servo/driver_side_registers.h"
#include "tools/timing.h"

namespace {

// What one attempt hands to the operation it chooses.
struct WriteTarget {
    AbstractDeviceInterface* port;
    const CommunicatorCommand& command;
    const QByteArray& data;
    const QByteArray& prefix;
    unsigned short address;
    unsigned char bit;
    int& progress;

    bool is(const char* area) const { return prefixBeginsWith(prefix, area); }
    bool special() const { return SpecialRegisters::contains(address); }
};

// An area the data type cannot be written to fails the attempt like a transaction.
bool refuseArea(DriverTecoServo& driver, const WriteTarget& target, const char* text)
{
    driver.setCommError(QString::fromLatin1(text).arg(target.command.deviceAddress));
    return false;
}

bool writeBitArea(DriverTecoServo& driver, const WriteTarget& t)
{
    if (t.is("DO"))
        return driver.writeCoils(t.port, t.address, t.data);
    if (t.is("FN5DO"))
        return driver.writeCoilsWithFN5(t.port, t.address, t.data);
    if (t.is("HR"))
        return t.special() ? driver.writeSpecialHRbit(t.port, t.address, t.bit, t.data, t.progress)
                           : driver.writeHRbit(t.port, t.address, t.bit, t.data);
    if (t.is("FN6HR"))
        return t.special() ? driver.writeSpecialFN6HRbit(t.port, t.address, t.bit, t.data, t.progress)
                           : driver.writeHRbitWithFN6(t.port, t.address, t.bit, t.data);
    return refuseArea(driver, t, "can't write any bit to %1");
}

bool writeByteArea(DriverTecoServo& driver, const WriteTarget& t)
{
    if (t.is("HR"))
        return driver.writeBytes(t.port, t.address, t.data);
    if (t.is("FN6HR"))
        return driver.writeBytesWithFN6(t.port, t.address, t.data);
    return refuseArea(driver, t, "can't write any byte to %1");
}

bool writeWordArea(DriverTecoServo& driver, const WriteTarget& t)
{
    if (t.is("HR"))
        return t.special() ? driver.writeSpecialHRWords(t.port, t.address, t.data, t.progress)
                           : driver.writeWords(t.port, t.address, t.data);
    if (t.is("FN6HR"))
        return t.special() ? driver.writeSpecialFN6HRWords(t.port, t.address, t.data, t.progress)
                           : driver.writeWordsWithFN6(t.port, t.address, t.data);
    return refuseArea(driver, t, "can't write any word to %1");
}

// Double words (and bytes) in the special range go to the servo like any other address.
bool writeDoubleWordArea(DriverTecoServo& driver, const WriteTarget& t)
{
    const bool highWordFirst = selectsHighWordFirst(t.command.deviceAddress);
    if (t.is("HR"))
        return driver.writeDWords(t.port, t.address, t.data, highWordFirst);
    if (t.is("FN6HR"))
        return driver.writeDWordsWithFN6(t.port, t.address, t.data, highWordFirst);
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

void DriverTecoServo::pauseForPortDelay(AbstractDeviceInterface* port)
{
    // A negative delay from the port means no pause, not a huge unsigned one.
    const int delay = port->getDelay();
    if (delay > 0)
        HRSleep(static_cast<unsigned long>(delay));
}

bool DriverTecoServo::write(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                            const QByteArray& data)
{
    // Without a port nothing can reach the servo: report it as a silent line.
    if (port == nullptr) {
        setCommError(QStringLiteral("PLC no response"));
        return false;
    }
    QByteArray prefix;
    unsigned short address = 0xFFFF;
    unsigned char bit = 0;
    ModbusRTUSlaveParseAddress(command.deviceAddress, prefix, address, bit);

    // Shared by all attempts, so a retried fan-out skips the stations already written.
    int progress = 0;
    const WriteTarget target{port, command, data, prefix, address, bit, progress};
    bool result = false;
    if (!runAttempts(port, command, [&] { result = routeWrite(*this, target); }))
        return false;
    if (hasError())
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
