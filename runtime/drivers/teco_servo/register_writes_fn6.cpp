// Register writes with function 6: one transaction per register, stopped by the
// first failure, for servos or registers that do not take function 16.
#include "teco_servo/command_attempts.h"

bool DriverTecoServo::writeEachRegisterWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                               const RegisterSource& source, Station station, bool pauseBetween)
{
    const long long registers = source.registers();
    ReplyBuffer reply;
    for (long long r = 0; r < registers; ++r) {
        if (r > 0 && pauseBetween)
            pauseForPortDelay(port);
        unsigned char slave = 0;
        if (!resolveStation(port, station, slave))
            return false;
        const unsigned short registerAddress = static_cast<unsigned short>(address + r);
        if (!exchange(port, ModbusRequest::writeSingle(slave, 6, registerAddress, source.value(r)), reply))
            return false;
    }
    return true;
}

bool DriverTecoServo::writeRegistersWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                            const RegisterSource& source, Station station, const char* unit)
{
    // As with function 16, an odd last byte is one more (padded) register.
    if (!registerWriteFits(address, source.registers(), unit))
        return false;
    // The port's station is refused once up front; every register asks it again.
    unsigned char slave = 0;
    if (!resolveStation(port, station, slave))
        return false;
    return writeEachRegisterWithFN6(port, address, source, station, false);
}

bool DriverTecoServo::writeWordWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                       const QByteArray& data)
{
    // The callers pass the register's two bytes, high byte first.
    const RegisterSource value(data, RegisterSource::RegisterImage);
    return registerWriteFits(address, value.registers(), "word")
        && writeEachRegisterWithFN6(port, address, value, Station::fromPort(), false);
}

bool DriverTecoServo::writeWordWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                       const QByteArray& data, unsigned char station)
{
    const RegisterSource value(data, RegisterSource::RegisterImage);
    return registerWriteFits(address, value.registers(), "word")
        && writeEachRegisterWithFN6(port, address, value, Station::given(station), false);
}

bool DriverTecoServo::writeWordsWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                        const QByteArray& data)
{
    return writeRegistersWithFN6(port, address, RegisterSource(data, RegisterSource::HostWords),
                                 Station::fromPort(), "word");
}

bool DriverTecoServo::writeWordsWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                        const QByteArray& data, unsigned char station)
{
    return writeRegistersWithFN6(port, address, RegisterSource(data, RegisterSource::HostWords),
                                 Station::given(station), "word");
}

bool DriverTecoServo::writeBytesWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                        const QByteArray& data)
{
    return writeRegistersWithFN6(port, address, RegisterSource(data, RegisterSource::HostWords),
                                 Station::fromPort(), "byte");
}

bool DriverTecoServo::writeDWordsWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                         const QByteArray& data, bool highWordFirst)
{
    return writeRegistersWithFN6(
        port, address,
        RegisterSource(data, highWordFirst ? RegisterSource::HostDoubleWordsHighFirst : RegisterSource::HostWords),
        Station::fromPort(), "double word");
}
