#include "port/port_for_record.h"
#include "port/tcp_port.h"
#include "tools/device_setting.h"

std::unique_ptr<SerialPort> portForRecord(const DeviceSetting& record, SerialPortOptions options)
{
    options.device = record.string;
    if (record.socketData.isEmpty())
        return std::make_unique<SerialPort>(std::move(options));
    return std::make_unique<TcpPort>(std::move(options), record);
}
