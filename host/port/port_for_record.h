#ifndef PORT_PORT_FOR_RECORD_H
#define PORT_PORT_FOR_RECORD_H

#include <memory>

#include "port/serial_port.h"

class DeviceSetting;

// The port a port record describes: a TcpPort for a record with network
// endpoints, a SerialPort on its device path otherwise. `options` carry the
// line and the transaction settings; their device is the record's text.
std::unique_ptr<SerialPort> portForRecord(const DeviceSetting& record, SerialPortOptions options);

#endif
