#ifndef PORT_SERIAL_PORT_H
#define PORT_SERIAL_PORT_H

#include <QString>
#include <sys/types.h>
#include <vector>

#include "port/device_lock.h"
#include "port/echo_filter.h"
#include "port/frame_trace.h"
#include "port/line_port.h"
#include "port/line_settings.h"
#include "port/quiet_gap.h"

class DeviceSetting;
class DriverSetting;

struct SerialPortOptions : TransactionSettings {
    QString device;
    LineSettings line;
    EchoMode echoMode = EchoMode::Auto;
    // Keep 3.5 characters of silence before each request, counted from the last
    // byte on the line or from opening the port, whichever came later.
    bool interFrameGap = true;
    // Fail to open unless the kernel's RS-485 mode could be switched on.
    bool requireRs485 = false;

    // Line and device from a port record, the four numbers from a driver record
    // (time-out and delay in milliseconds).
    static bool fromSettings(const DeviceSetting& device, const DriverSetting& driver,
                             SerialPortOptions* options, QString* error);
    void applyDriverSetting(const DriverSetting& driver);
};

// The host's port object over a POSIX serial device, taken for this process
// alone (DeviceLock). receive() waits up to the time-out for the reply's first
// byte, then as long as bytes keep coming at the line's pace (replySilenceNs),
// and returns as soon as the count asked for has arrived.
// Option 12 discards input not yet read, then again right before the next request
// goes out, so a late reply to an earlier request is never taken for the next one.
class SerialPort : public LinePort {
public:
    explicit SerialPort(SerialPortOptions options);
    ~SerialPort() override;
    SerialPort(const SerialPort&) = delete;
    SerialPort& operator=(const SerialPort&) = delete;

    bool open() override;
    void close() override;
    bool isOpen() const override { return fd >= 0; }
    QString errorString() const override { return lastError; }
    QString name() const override { return settings.device; }
    // What became of the kernel's RS-485 mode at open (empty for other line types).
    QString rs485Status() const { return rs485Message; }
    bool rs485Active() const { return rs485On; }
    // Echoes that did not come back as sent (their bytes are kept for receive()).
    int echoMismatches() const { return echo.mismatches(); }
    // Whether echoes are being discarded (forced on, or found by the auto mode).
    bool discardsEcho() const { return echo.discarding(); }
    // The auto mode could not tell whether the line echoes.
    QString doubt() const override { return echoDoubt; }
    const SerialPortOptions& options() const { return settings; }
    void setTraceSink(std::function<void(const QString&)> sink) override { trace.setSink(std::move(sink)); }
    void setTraceByteSink(TraceByteSink sink) override { trace.setByteSink(std::move(sink)); }

    int listen(char* buffer, int maxLength, int waitMs) override;

    int receive(char* buffer, int maxLength) override;
    int send(const char* data, int length) override;
    bool setOption(int code, const QVariant& value) override;

protected:
    // What differs for a line reached another way (a device server over TCP,
    // TcpPort): getting the descriptor, dropping unread input, waiting until the
    // request has left, one write and one read of the descriptor.
    virtual bool openDevice();
    virtual void discardInput();
    virtual void drainOutput();
    virtual ssize_t writeSome(const char* data, size_t length);
    virtual ssize_t readSome(char* buffer, size_t length);
    // The descriptor hung up: say why (markLost).
    virtual void hungUp();

    SerialPortOptions settings;
    int fd = -1;
    QString lastError;
    FrameTrace trace;

private:
    bool configure();
    void enableRs485();
    void waitForQuietLine();
    bool dropLateBytes(long long untilNs);
    int transmit(const char* data, int length);
    bool probeEcho(const char* request);
    // One read of what is there: bytes, 0 for none, -1 when the line is lost.
    int readAvailable(char* buffer, int maxLength);
    int readUntil(char* buffer, int maxLength, long long firstByteDeadlineNs);
    long long screenEcho(int firstCount, long long firstByteDeadlineNs);

    QString rs485Message;
    QString echoDoubt;
    bool rs485On = false;
    bool discardArmed = false;      // option 12 seen since the last request went out
    bool replyFlowing = false;      // bytes came since the request went out
    long long lastByteNs = 0;
    long long silenceNs;            // that ends a reply once it flows
    DeviceLock lock;
    QuietGap gap;
    EchoFilter echo;
    std::vector<char> heldBack;     // bytes read as an echo that were not one
};

#endif
