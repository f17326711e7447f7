#ifndef MODBUS_RTU_FRAME_H
#define MODBUS_RTU_FRAME_H

#include <QByteArray>

// Modbus RTU frames as byte arrays, for callers that hold frames in Qt
// containers (tools, tests, simulated servos). The driver itself builds its
// requests in place (ModbusRequest); these give the same bytes.

// Appends the two CRC bytes of everything already in frame.
void ModbusRTUSlaveAppendCRC(QByteArray& frame);
// True when the last 2 of the length bytes are the CRC of the bytes before them.
bool ModbusRTUSlaveCheckCRC(unsigned char* adu, unsigned int length);

// Functions 1 to 4: address and quantity.
QByteArray ModbusRTUSlaveBuildReadDevicesRequest(unsigned char slave, unsigned char function,
                                                 unsigned short address, unsigned short quantity);
// Function 5: FF 00 for on, 00 00 for off.
QByteArray ModbusRTUSlaveBuildFn5Request(unsigned char slave, unsigned short address, bool on);
// Function 6: value is the register's two bytes, high byte first, passed unchanged.
QByteArray ModbusRTUSlaveBuildFn6Request(unsigned char slave, unsigned short address,
                                         const QByteArray& value);
// Function 15: packedCoils holds coil k in bit k mod 8 of byte k div 8.
QByteArray ModbusRTUSlaveBuildFn15Request(unsigned char slave, unsigned short address,
                                          unsigned short quantity, const QByteArray& packedCoils);
// Function 16: data is the register image; the byte count is its size's low 8 bits.
QByteArray ModbusRTUSlaveBuildFn16Request(unsigned char slave, unsigned short address,
                                          unsigned short quantity, const QByteArray& data);

#endif
