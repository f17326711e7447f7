// Coil writes: all coils in one function-15 request, or one function-5 request per coil.
#include <algorithm>

#include "teco_servo/driver_teco_servo.h"

namespace {

// The bound of both coil writes, counted wide so that no data length wraps it;
// the text names the area DO for function 5 too.
bool coilWriteFits(DriverTecoServo& driver, unsigned short address, int coils)
{
    if (!ModbusRtu::rangeFits(address, coils, 0, ModbusRtu::MaxCoilsPerWrite)) {
        driver.setCommError(QString::asprintf("can't write %d bits to DO%d", coils, address + 1));
        return false;
    }
    return true;
}

} // namespace

bool DriverTecoServo::writeCoils(AbstractDeviceInterface* port, unsigned short address, const QByteArray& data)
{
    unsigned char slave = 0;
    if (!resolveStation(port, Station::fromPort(), slave) || !coilWriteFits(*this, address, data.size()))
        return false;
    // Coil k goes to bit k mod 8 of byte k div 8; a non-zero data byte means on.
    const int coils = data.size();
    const int packedBytes = (coils + 7) / 8;
    ModbusRequest request = ModbusRequest::writeMultiple(slave, 15, address, static_cast<unsigned short>(coils),
                                                         static_cast<unsigned char>(packedBytes));
    unsigned char* packed = request.payload();
    std::fill(packed, packed + packedBytes, 0);
    for (int k = 0; k < coils; ++k)
        if (data.at(k) != 0)
            packed[k / 8] = static_cast<unsigned char>(packed[k / 8] | (1u << (k % 8)));
    request.seal();
    ReplyBuffer reply;
    return exchange(port, request, reply);
}

bool DriverTecoServo::writeCoilsWithFN5(AbstractDeviceInterface* port, unsigned short address,
                                        const QByteArray& data)
{
    unsigned char slave = 0;
    if (!resolveStation(port, Station::fromPort(), slave) || !coilWriteFits(*this, address, data.size()))
        return false;
    ReplyBuffer reply;
    for (int k = 0; k < data.size(); ++k) {
        const ModbusRequest request = ModbusRequest::writeSingle(
            slave, 5, static_cast<unsigned short>(address + k), data.at(k) != 0 ? 0xFF00 : 0x0000);
        if (!exchange(port, request, reply))
            return false;
    }
    return true;
}
