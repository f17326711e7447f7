#include "port/serial_port.h"
#include "tools/device_setting.h"
#include "tools/driver_setting.h"
#include "tools/timing.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <linux/serial.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

long long monotonicNs()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000000000LL + now.tv_nsec;
}

speed_t speedOf(int baud)
{
    switch (baud) {
    case 300: return B300;
    case 600: return B600;
    case 1200: return B1200;
    case 2400: return B2400;
    case 4800: return B4800;
    case 9600: return B9600;
    case 19200: return B19200;
    case 38400: return B38400;
    case 57600: return B57600;
    case 115200: return B115200;
    case 230400: return B230400;
    default: return B0;
    }
}

tcflag_t characterSize(int dataBits)
{
    switch (dataBits) {
    case 5: return CS5;
    case 6: return CS6;
    case 7: return CS7;
    default: return CS8;
    }
}

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
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

SerialPort::SerialPort(SerialPortOptions options) : settings(std::move(options)) {}

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
        lastError = QStringLiteral("cannot open %1: %2").arg(settings.device, systemError());
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
    markLineActivity();
    return true;
}

void SerialPort::close()
{
    if (fd >= 0)
        ::close(fd);
    fd = -1;
    heldBack.clear();
}

bool SerialPort::configure()
{
    termios tio{};
    if (tcgetattr(fd, &tio) != 0) {
        lastError = QStringLiteral("%1 is not a serial device: %2").arg(settings.device, systemError());
        return false;
    }
    // Raw: no byte is translated, swallowed or answered by the line discipline.
    cfmakeraw(&tio);
    tio.c_cflag |= CLOCAL | CREAD;
    tio.c_cflag &= ~(CSIZE | PARENB | PARODD | CSTOPB | CRTSCTS);
    tio.c_cflag |= characterSize(settings.line.dataBits);
    if (settings.line.parity != 'N')
        tio.c_cflag |= PARENB;
    if (settings.line.parity == 'O')
        tio.c_cflag |= PARODD;
    if (settings.line.stopBits == 2)
        tio.c_cflag |= CSTOPB;
    tio.c_iflag &= ~(IXON | IXOFF | IXANY);
    tio.c_cc[VMIN] = 0;
    tio.c_cc[VTIME] = 0;
    const speed_t speed = speedOf(settings.line.baud);
    cfsetispeed(&tio, speed);
    cfsetospeed(&tio, speed);
    if (tcsetattr(fd, TCSANOW, &tio) != 0) {
        lastError = QStringLiteral("cannot set %1 on %2: %3")
                        .arg(settings.line.toString(), settings.device, systemError());
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
                       .arg(settings.device, systemError());
}

void SerialPort::markLineActivity()
{
    lastActivityNs = monotonicNs();
}

void SerialPort::waitForQuietLine() const
{
    if (!settings.interFrameGap)
        return;
    const long long until = lastActivityNs + interFrameGapMicros(settings.line.baud) * 1000LL;
    timespec wake;
    wake.tv_sec = static_cast<time_t>(until / 1000000000LL);
    wake.tv_nsec = static_cast<long>(until % 1000000000LL);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &wake, nullptr) == EINTR) {
    }
}

int SerialPort::send(const char* data, int length)
{
    if (fd < 0 || data == nullptr || length <= 0)
        return fd < 0 ? -1 : 0;
    waitForQuietLine();
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
    // The gap counts from the last bit on the wire, not from the hand-over to the kernel.
    tcdrain(fd);
    markLineActivity();
    trace.record("TX", data, written);
    if (settings.discardEcho && written > 0)
        discardEchoOf(data, written);
    return written;
}

void SerialPort::discardEchoOf(const char* data, int length)
{
    std::vector<char> echo(static_cast<size_t>(length));
    const int got = readUntil(echo.data(), length, CurrentMSecsSinceBoot() + std::max(0, settings.timeoutMs));
    if (got == length && std::equal(echo.begin(), echo.end(), data))
        return;
    // Not our echo: whatever came is the start of the answer.
    ++echoFaults;
    heldBack.insert(heldBack.end(), echo.begin(), echo.begin() + std::max(0, got));
    trace.record("ECHO?", echo.data(), got);
}

int SerialPort::readUntil(char* buffer, int maxLength, long long deadlineMs)
{
    int got = 0;
    while (got < maxLength) {
        const long long left = deadlineMs - CurrentMSecsSinceBoot();
        if (left <= 0)
            break;
        pollfd in = {fd, POLLIN, 0};
        const int ready = poll(&in, 1, static_cast<int>(std::min<long long>(left, 60000)));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            break;
        const ssize_t n = ::read(fd, buffer + got, static_cast<size_t>(maxLength - got));
        if (n > 0) {
            got += static_cast<int>(n);
            markLineActivity();
        } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
            break; // the line is gone (hang-up)
        }
    }
    return got;
}

int SerialPort::receive(char* buffer, int maxLength)
{
    if (fd < 0)
        return -1;
    if (buffer == nullptr || maxLength <= 0)
        return 0;
    const int held = std::min(maxLength, static_cast<int>(heldBack.size()));
    std::copy(heldBack.begin(), heldBack.begin() + held, buffer);
    heldBack.erase(heldBack.begin(), heldBack.begin() + held);
    const int got = held + readUntil(buffer + held, maxLength - held,
                                     CurrentMSecsSinceBoot() + std::max(0, settings.timeoutMs));
    trace.record("RX", buffer, got);
    return got;
}

bool SerialPort::setOption(int code, const QVariant& value)
{
    Q_UNUSED(value);
    if (code != DiscardInputOption || fd < 0)
        return false;
    tcflush(fd, TCIFLUSH);
    heldBack.clear();
    return true;
}
