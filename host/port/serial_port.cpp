#include "port/serial_port.h"
#include "port/monotonic_clock.h"
#include "port/system_error.h"
#include "port/termios_settings.h"
#include "tools/device_setting.h"
#include "tools/driver_setting.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <linux/serial.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr long long NsPerMs = 1000000;

long long timeoutNs(int timeoutMs)
{
    return std::max(0, timeoutMs) * NsPerMs;
}

} // namespace

bool SerialPortOptions::fromSettings(const DeviceSetting& device, const DriverSetting& driver,
                                     SerialPortOptions* options, QString* error)
{
    SerialPortOptions converted;
    if (!lineSettingsFromDeviceSetting(device, &converted.line, error))
        return false;
    converted.device = device.string;
    converted.applyDriverSetting(driver);
    *options = converted;
    return true;
}

void SerialPortOptions::applyDriverSetting(const DriverSetting& driver)
{
    timeoutMs = driver.timeout;
    retry = driver.retry;
    stationId = driver.stationid;
    delayMs = driver.delay;
}

SerialPort::SerialPort(SerialPortOptions options)
    : settings(std::move(options)), gap(interFrameGapMicros(settings.line.baud) * 1000LL), echo(settings.echoMode)
{
}

SerialPort::~SerialPort()
{
    close();
}

bool SerialPort::open()
{
    close();
    if (!isSupportedBaud(settings.line.baud)) {
        lastError = QStringLiteral("unsupported baud rate: %1").arg(settings.line.baud);
        return false;
    }
    fd = ::open(settings.device.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        lastError = QStringLiteral("cannot open %1: %2").arg(settings.device, systemErrorString());
        return false;
    }
    if (!configure()) {
        close();
        return false;
    }
    enableRs485();
    if (settings.requireRs485 && !rs485On) {
        lastError = rs485Message;
        close();
        return false;
    }
    tcflush(fd, TCIOFLUSH);
    gap.opened(monotonicNs());
    echo.restart();
    return true;
}

void SerialPort::close()
{
    if (fd >= 0)
        ::close(fd);
    fd = -1;
    heldBack.clear();
    echo.forget();
    discardArmed = false;
}

bool SerialPort::configure()
{
    termios tio{};
    if (tcgetattr(fd, &tio) != 0) {
        lastError = QStringLiteral("%1 is not a serial device: %2").arg(settings.device, systemErrorString());
        return false;
    }
    // Raw: no byte is translated, swallowed or answered by the line discipline.
    cfmakeraw(&tio);
    tio.c_cflag |= CLOCAL | CREAD;
    tio.c_cflag &= ~CRTSCTS;
    applyLineSettings(settings.line, &tio);
    tio.c_iflag &= ~(IXON | IXOFF | IXANY);
    tio.c_cc[VMIN] = 0;
    tio.c_cc[VTIME] = 0;
    if (tcsetattr(fd, TCSANOW, &tio) != 0) {
        lastError = QStringLiteral("cannot set %1 on %2: %3")
                        .arg(settings.line.toString(), settings.device, systemErrorString());
        return false;
    }
    return true;
}

void SerialPort::enableRs485()
{
    rs485On = false;
    rs485Message.clear();
    if (settings.line.lineType != QLatin1String("RS485"))
        return;
    serial_rs485 rs485{};
    if (ioctl(fd, TIOCGRS485, &rs485) == 0) {
        // The kernel raises RTS for the transmission and drops it right after.
        rs485.flags |= SER_RS485_ENABLED | SER_RS485_RTS_ON_SEND;
        rs485.flags &= ~static_cast<__u32>(SER_RS485_RTS_AFTER_SEND);
        if (ioctl(fd, TIOCSRS485, &rs485) == 0) {
            rs485On = true;
            rs485Message = QStringLiteral("RS-485 mode on %1").arg(settings.device);
            return;
        }
    }
    rs485Message = QStringLiteral("RS-485 mode not available on %1 (%2): the adapter must switch "
                                  "the line direction itself")
                       .arg(settings.device, systemErrorString());
}

void SerialPort::waitForQuietLine()
{
    if (!settings.interFrameGap)
        return;
    // The gap counts from the last bit on the wire. After a reply the request left
    // long ago; only a request that follows a request closely (a broadcast, a short
    // time-out) may still be in the UART, and only then is tcdrain worth its call.
    if (gap.transmitting(monotonicNs())) {
        tcdrain(fd);
        gap.heard(monotonicNs());
    }
    const long long giveUpNs = monotonicNs() + timeoutNs(settings.timeoutMs);
    for (;;) {
        const long long now = monotonicNs();
        const QuietGap::Step step = gap.next(now, discardArmed && now < giveUpNs);
        if (step.action == QuietGap::Action::Send)
            return;
        if (step.action == QuietGap::Action::Sleep || !dropLateBytes(step.untilNs)) {
            sleepUntil(step.untilNs);
            return;
        }
    }
}

// Bytes that come now belong to an earlier exchange: drop them, and the silence
// starts again after them. False when the line is gone and nothing more will come.
bool SerialPort::dropLateBytes(long long untilNs)
{
    pollfd in = {fd, POLLIN, 0};
    const long long waitNs = std::max(0LL, untilNs - monotonicNs());
    const timespec wait = {static_cast<time_t>(waitNs / 1000000000LL), static_cast<long>(waitNs % 1000000000LL)};
    if (ppoll(&in, 1, &wait, nullptr) <= 0)
        return true; // quiet so far (or a signal): look at the clock again
    char late[256];
    const ssize_t n = (in.revents & POLLIN) ? ::read(fd, late, sizeof late) : 0;
    if (n > 0) {
        gap.heard(monotonicNs());
        trace.record("LATE", late, static_cast<int>(n));
        return true;
    }
    return n != 0 && (errno == EAGAIN || errno == EINTR);
}

int SerialPort::send(const char* data, int length)
{
    if (fd < 0 || data == nullptr || length <= 0)
        return fd < 0 ? -1 : 0;
    waitForQuietLine();
    if (discardArmed) {
        // Last moment before the request: nothing that came in before it can be its reply.
        tcflush(fd, TCIFLUSH);
        heldBack.clear();
        discardArmed = false;
    }
    int written = 0;
    while (written < length) {
        const ssize_t n = ::write(fd, data + written, static_cast<size_t>(length - written));
        if (n > 0) {
            written += static_cast<int>(n);
            continue;
        }
        if (n < 0 && errno != EAGAIN && errno != EINTR)
            break;
        pollfd out = {fd, POLLOUT, 0};
        if (poll(&out, 1, std::max(1, settings.timeoutMs)) <= 0)
            break;
    }
    gap.sent(monotonicNs() + written * characterTimeNs(settings.line));
    trace.record("TX", data, written);
    echo.sent(data, written);
    return written;
}

int SerialPort::readUntil(char* buffer, int maxLength, long long deadlineNs)
{
    int got = 0;
    while (got < maxLength) {
        const long long leftNs = deadlineNs - monotonicNs();
        if (leftNs <= 0)
            break;
        pollfd in = {fd, POLLIN, 0};
        // Rounded up, so that a wait shorter than a millisecond is not a busy loop.
        const long long leftMs = (leftNs + NsPerMs - 1) / NsPerMs;
        const int ready = poll(&in, 1, static_cast<int>(std::min<long long>(leftMs, 60000)));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            break;
        const ssize_t n = ::read(fd, buffer + got, static_cast<size_t>(maxLength - got));
        if (n > 0) {
            got += static_cast<int>(n);
            gap.heard(monotonicNs());
        } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
            break; // the line is gone (hang-up)
        }
    }
    return got;
}

int SerialPort::listen(char* buffer, int maxLength, int waitMs)
{
    if (fd < 0)
        return -1;
    if (buffer == nullptr || maxLength <= 0)
        return 0;
    pollfd in = {fd, POLLIN, 0};
    const int ready = poll(&in, 1, std::max(0, waitMs));
    if (ready < 0)
        return errno == EINTR ? 0 : -1;
    if (ready == 0)
        return 0;
    if (!(in.revents & POLLIN))
        return -1; // hung up
    const ssize_t n = ::read(fd, buffer, static_cast<size_t>(maxLength));
    if (n > 0)
        return static_cast<int>(n);
    return n < 0 && (errno == EAGAIN || errno == EINTR) ? 0 : -1;
}

int SerialPort::receive(char* buffer, int maxLength)
{
    if (fd < 0)
        return -1;
    if (buffer == nullptr || maxLength <= 0)
        return 0;
    long long deadlineNs = monotonicNs() + timeoutNs(settings.timeoutMs);
    if (echo.awaitingEcho())
        screenEcho(maxLength, &deadlineNs);
    const int held = std::min(maxLength, static_cast<int>(heldBack.size()));
    std::copy(heldBack.begin(), heldBack.begin() + held, buffer);
    heldBack.erase(heldBack.begin(), heldBack.begin() + held);
    const int got = held + readUntil(buffer + held, maxLength - held, deadlineNs);
    trace.record("RX", buffer, got);
    return got;
}

void SerialPort::screenEcho(int firstCount, long long* deadlineNs)
{
    const long long deadline = *deadlineNs;
    const EchoFilter::Result screened =
        echo.screen(firstCount, !heldBack.empty(),
                    [this, deadline](char* buffer, int count) { return readUntil(buffer, count, deadline); });
    heldBack.insert(heldBack.end(), screened.kept.begin(), screened.kept.end());
    if (screened.verdict == EchoFilter::Verdict::Mismatch)
        trace.record("ECHO?", screened.kept.data(), static_cast<int>(screened.kept.size()));
    else if (screened.verdict == EchoFilter::Verdict::Found)
        trace.note(QStringLiteral("the line echoes each request (2-wire adapter): discarding the echo from now on"));
    // The time-out is the servo's to answer in, counted after the echo.
    if (echo.discarding() && heldBack.empty())
        *deadlineNs = monotonicNs() + timeoutNs(settings.timeoutMs);
}

bool SerialPort::setOption(int code, const QVariant& value)
{
    Q_UNUSED(value);
    if (code != DiscardInputOption || fd < 0)
        return false;
    tcflush(fd, TCIFLUSH);
    heldBack.clear();
    echo.forget();
    discardArmed = true;
    return true;
}
