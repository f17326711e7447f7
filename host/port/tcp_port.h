#ifndef PORT_TCP_PORT_H
#define PORT_TCP_PORT_H

#include "port/serial_port.h"
#include "tools/device_setting.h"

// A serial line reached through a serial device server in "TCP server" mode:
// RTU frames exactly as on the wire over one TCP connection, no MBAP header.
// The line is the remote one (options.line): the quiet gap and the time-outs
// follow its baud rate, as on a local line; TCP itself keeps no gaps, and the
// reply is framed by its length as everywhere.
//
// The endpoints come from the port record: its list of (IP, port) entries, tried
// in order from the current one; the first that accepts the connection becomes
// current. When the connection fails (reset, closed), the port is lost (LinePort's
// lost() with the system's text) and the entry after it becomes current, so that
// the next open() falls over to it.
class TcpPort : public SerialPort {
public:
    TcpPort(SerialPortOptions options, DeviceSetting record);

    const DeviceSetting& record() const { return portRecord; }
    // "tcp://HOST:PORT" of the connection, or empty when there is none.
    QString endpointInUse() const;

protected:
    bool openDevice() override;
    void discardInput() override;
    void drainOutput() override {} // the server's own buffer: nothing to wait for here
    ssize_t writeSome(const char* data, size_t length) override;
    ssize_t readSome(char* buffer, size_t length) override;
    void hungUp() override;

private:
    bool connectTo(const DeviceSetting::Endpoint& endpoint, QString* failure);
    void noteLoss(int error);

    DeviceSetting portRecord;
    bool connected = false;
};

#endif
