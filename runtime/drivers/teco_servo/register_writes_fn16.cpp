// Register writes with function 16: every register of a call in one request.
#include "teco_servo/driver_teco_servo.h"

bool DriverTecoServo::refuseRegisterWrite(unsigned short address, const char* unit)
{
    setCommError(QStringLiteral("can't write any ") + QLatin1String(unit) + QStringLiteral(" to HR")
                 + QString::number(address + 1));
    return false;
}

bool DriverTecoServo::writeRegistersWithFN16(AbstractDeviceInterface* port, unsigned short address,
                                             const RegisterSource& source, Station station, const char* unit)
{
    // The registers counted are those of the padded data, so an odd last byte
    // is one more register and the byte count is always twice the quantity.
    const long long registers = source.registers();
    unsigned char slave = 0;
    if (!registerWriteFits(address, registers, unit) || !resolveStation(port, station, slave))
        return false;
    ModbusRequest request = ModbusRequest::writeMultiple(slave, 16, address, static_cast<unsigned short>(registers),
                                                         static_cast<unsigned char>(2 * registers));
    source.copyImageTo(request.payload());
    request.seal();
    ReplyBuffer reply;
    return exchange(port, request, reply);
}

bool DriverTecoServo::writeWords(AbstractDeviceInterface* port, unsigned short address, const QByteArray& data)
{
    return writeRegistersWithFN16(port, address, RegisterSource(data, RegisterSource::HostWords),
                                  Station::fromPort(), "word");
}

bool DriverTecoServo::writeWords(AbstractDeviceInterface* port, unsigned short address, const QByteArray& data,
                                 unsigned char station)
{
    return writeRegistersWithFN16(port, address, RegisterSource(data, RegisterSource::HostWords),
                                  Station::given(station), "word");
}

bool DriverTecoServo::writeBytes(AbstractDeviceInterface* port, unsigned short address, const QByteArray& data)
{
    // Byte 2k is the low and byte 2k+1 the high half of register k, as in host words.
    return writeRegistersWithFN16(port, address, RegisterSource(data, RegisterSource::HostWords),
                                  Station::fromPort(), "byte");
}

bool DriverTecoServo::writeDWords(AbstractDeviceInterface* port, unsigned short address, const QByteArray& data,
                                  bool highWordFirst)
{
    // A length that is not whole values is padded, and the padded registers
    // count against the bound like the others: the request must hold the whole
    // converted image, so an image past 123 registers or past register 65535
    // is refused rather than cut.
    return writeRegistersWithFN16(
        port, address,
        RegisterSource(data, highWordFirst ? RegisterSource::HostDoubleWordsHighFirst : RegisterSource::HostWords),
        Station::fromPort(), "double word");
}
