// Coil writes: all coils in one function-15 request, or one function-5 request per coil.
#include "teco_servo/driver_teco_servo.h"
#include "teco_servo/modbus_rtu_frame.h"

namespace {

// 1976 coils fill a function-15 request to 256 bytes, the most the line takes.
const int MaxCoilsPerWrite = 1976;

// The bound of both coil writes; the text names the area DO for function 5 too.
bool coilWriteFits(DriverTecoServo& driver, unsigned short address, int coils)
{
    if (address + coils > 65536 || coils > MaxCoilsPerWrite) {
        driver.setCommError(QString::asprintf("can't write %d bits to DO%d", coils, address + 1));
        return false;
    }
    return true;
}

// Coil k goes to bit k mod 8 of byte k div 8; a non-zero data byte means on.
QByteArray packCoils(const QByteArray& data)
{
    QByteArray packed((data.size() + 7) / 8, '\0');
    for (int k = 0; k < data.size(); ++k)
        if (data.at(k) != 0)
            packed[k / 8] = static_cast<char>(packed.at(k / 8) | (1 << (k % 8)));
    return packed;
}

} // namespace

bool DriverTecoServo::writeCoils(AbstractDeviceInterface* port, unsigned short address,
                                 const QByteArray& data)
{
    const int station = stationFromPort(port);
    if (station < 0 || !coilWriteFits(*this, address, data.size()))
        return false;
    const QByteArray request = ModbusRTUSlaveBuildFn15Request(
        static_cast<unsigned char>(station), address, static_cast<unsigned short>(data.size()),
        packCoils(data));
    ReplyBuffer reply;
    return exchange(port, request, reply);
}

bool DriverTecoServo::writeCoilsWithFN5(AbstractDeviceInterface* port, unsigned short address,
                                        const QByteArray& data)
{
    const int station = stationFromPort(port);
    if (station < 0 || !coilWriteFits(*this, address, data.size()))
        return false;
    ReplyBuffer reply;
    for (int k = 0; k < data.size(); ++k) {
        const QByteArray request = ModbusRTUSlaveBuildFn5Request(
            static_cast<unsigned char>(station), static_cast<unsigned short>(address + k),
            data.at(k) != 0);
        if (!exchange(port, request, reply))
            return false;
    }
    return true;
}
