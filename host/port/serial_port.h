#ifndef PORT_SERIAL_PORT_H
#define PORT_SERIAL_PORT_H

#include <QString>
#include <vector>

#include "interface/abstract_device_interface.h"
#include "port/echo_filter.h"
#include "port/frame_trace.h"
#include "port/line_settings.h"
#include "port/quiet_gap.h"

class DeviceSetting;
class DriverSetting;

struct SerialPortOptions {
    QString device;
    LineSettings line;
    int timeoutMs = 500; // each receive() waits at most this long
    int retry = 3;
    int stationId = 1;
    int delayMs = 0;
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

// The host's port object over a POSIX serial device. receive() returns as soon as
// the count asked for has arrived and waits out the time-out only when it has not.
// Option 12 discards input not yet read, then again right before the next request
// goes out, so a late reply to an earlier request is never taken for the next one.
class SerialPort : public AbstractDeviceInterface {
public:
    explicit SerialPort(SerialPortOptions options);
    ~SerialPort() override;
    SerialPort(const SerialPort&) = delete;
    SerialPort& operator=(const SerialPort&) = delete;

    bool open();
    void close();
    bool isOpen() const { return fd >= 0; }
    QString errorString() const { return lastError; }
    // What became of the kernel's RS-485 mode at open (empty for other line types).
    QString rs485Status() const { return rs485Message; }
    bool rs485Active() const { return rs485On; }
    // Echoes that did not come back as sent (their bytes are kept for receive()).
    int echoMismatches() const { return echo.mismatches(); }
    // Whether echoes are being discarded (forced on, or found by the auto mode).
    bool discardsEcho() const { return echo.discarding(); }
    const SerialPortOptions& options() const { return settings; }
    // For a host that changes them between commands on an open line.
    void setStationId(int id) { settings.stationId = id; }
    void setRetry(int count) { settings.retry = count; }
    void setDelay(int ms) { settings.delayMs = ms; }
    void setTimeoutMs(int ms) { settings.timeoutMs = ms; }
    void setTraceSink(std::function<void(const QString&)> sink) { trace.setSink(std::move(sink)); }
    void setTraceByteSink(TraceByteSink sink) { trace.setByteSink(std::move(sink)); }

    // For a listen-only monitor: waits up to waitMs for input and returns at once
    // whatever has come (at most maxLength bytes), 0 if nothing did, -1 when the
    // port is closed or the line gone.
    int listen(char* buffer, int maxLength, int waitMs);

    int receive(char* buffer, int maxLength) override;
    int send(const char* data, int length) override;
    bool setOption(int code, const QVariant& value) override;
    int getRetry() override { return settings.retry; }
    int getStationId() override { return settings.stationId; }
    int getDelay() override { return settings.delayMs; }

private:
    bool configure();
    void enableRs485();
    void waitForQuietLine();
    bool dropLateBytes(long long untilNs);
    int readUntil(char* buffer, int maxLength, long long deadlineNs);
    void screenEcho(int firstCount, long long* deadlineNs);

    SerialPortOptions settings;
    int fd = -1;
    QString lastError;
    QString rs485Message;
    bool rs485On = false;
    bool discardArmed = false;      // option 12 seen since the last request went out
    QuietGap gap;
    EchoFilter echo;
    std::vector<char> heldBack;     // bytes read as an echo that were not one
    FrameTrace trace;
};

#endif
