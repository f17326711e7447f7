#include "port/serial_port.h"
#include "port/rtu_frame_layout.h"
#include "port/termios_settings.h"
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

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

// Normal replies to functions 5 and 6 are copies of the request, so an echo
// cannot be told from them.
bool replyMayEqualRequest(const std::vector<char>& request)
{
    return request.size() >= 2 && (request[1] == 5 || request[1] == 6);
}

void sleepUntil(long long monotonicTimeNs)
{
    timespec wake;
    wake.tv_sec = static_cast<time_t>(monotonicTimeNs / 1000000000LL);
    wake.tv_nsec = static_cast<long>(monotonicTimeNs % 1000000000LL);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &wake, nullptr) == EINTR) {
    }
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
    // We cannot know how long the line has been quiet before we opened it.
    markLineActivity();
    transmitEndNs = 0;
    echoFound = false;
    return true;
}

void SerialPort::close()
{
    if (fd >= 0)
        ::close(fd);
    fd = -1;
    heldBack.clear();
    lastRequest.clear();
    discardArmed = false;
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
    tio.c_cflag &= ~CRTSCTS;
    applyLineSettings(settings.line, &tio);
    tio.c_iflag &= ~(IXON | IXOFF | IXANY);
    tio.c_cc[VMIN] = 0;
    tio.c_cc[VTIME] = 0;
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

void SerialPort::waitForQuietLine()
{
    if (!settings.interFrameGap)
        return;
    // The gap counts from the last bit on the wire. After a reply the request left
    // long ago; only a request that follows a request closely (a broadcast, a short
    // time-out) may still be in the UART, and only then is tcdrain worth its call.
    if (monotonicNs() < transmitEndNs) {
        tcdrain(fd);
        markLineActivity();
    }
    const long long gapNs = interFrameGapMicros(settings.line.baud) * 1000LL;
    const long long giveUpNs = monotonicNs() + std::max(0, settings.timeoutMs) * 1000000LL;
    for (;;) {
        const long long now = monotonicNs();
        const long long quietFrom = lastActivityNs + gapNs;
        if (now >= quietFrom)
            return;
        if (!discardArmed || now >= giveUpNs) {
            sleepUntil(quietFrom);
            return;
        }
        // Bytes that come now belong to an earlier exchange: drop them, and the
        // silence starts again after them.
        pollfd in = {fd, POLLIN, 0};
        const long long waitNs = quietFrom - now;
        const timespec wait = {static_cast<time_t>(waitNs / 1000000000LL), static_cast<long>(waitNs % 1000000000LL)};
        if (ppoll(&in, 1, &wait, nullptr) <= 0)
            continue; // quiet so far (or a signal): look at the clock again
        char late[256];
        const ssize_t n = (in.revents & POLLIN) ? ::read(fd, late, sizeof late) : 0;
        if (n > 0) {
            markLineActivity();
            trace.record("LATE", late, static_cast<int>(n));
        } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
            sleepUntil(quietFrom); // a hung-up line: nothing more will come
            return;
        }
    }
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
    transmitEndNs = monotonicNs() + written * characterTimeNs(settings.line);
    lastActivityNs = transmitEndNs;
    trace.record("TX", data, written);
    lastRequest.assign(data, data + written);
    return written;
}

void SerialPort::takeEcho(long long deadlineMs)
{
    const int length = static_cast<int>(lastRequest.size());
    std::vector<char> echo(lastRequest.size());
    const int got = readUntil(echo.data(), length, deadlineMs);
    if (got == length && echo == lastRequest)
        return;
    // Not our echo: whatever came is the start of the answer.
    ++echoFaults;
    heldBack.insert(heldBack.end(), echo.begin(), echo.begin() + std::max(0, got));
    trace.record("ECHO?", echo.data(), got);
}

void SerialPort::detectEcho(int firstCount, long long deadlineMs)
{
    const int length = static_cast<int>(lastRequest.size());
    std::vector<char> seen(lastRequest.size());
    // First no more than the caller asked for, so that a short reply costs no
    // extra wait; then on, a byte at a time, only while every byte matched and
    // they do not already make a whole reply (those of 15 and 16 begin as their request).
    int got = readUntil(seen.data(), std::min(firstCount, length), deadlineMs);
    const auto wholeReply = [&seen](int count) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(seen.data());
        return RtuFrameLayout::replyLength(bytes, static_cast<size_t>(count)) == count
            && RtuFrameLayout::crcMatches(bytes, static_cast<size_t>(count));
    };
    while (got < length && got > 0 && std::equal(seen.begin(), seen.begin() + got, lastRequest.begin())
           && !wholeReply(got)) {
        const int more = readUntil(seen.data() + got, 1, deadlineMs);
        if (more <= 0)
            break;
        got += more;
    }
    if (got == length && seen == lastRequest) {
        echoFound = true;
        trace.note(QStringLiteral("the line echoes each request (2-wire adapter): discarding the echo from now on"));
        return;
    }
    heldBack.insert(heldBack.end(), seen.begin(), seen.begin() + got);
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
    long long deadlineMs = CurrentMSecsSinceBoot() + std::max(0, settings.timeoutMs);
    if (!lastRequest.empty()) {
        if (discardsEcho())
            takeEcho(deadlineMs);
        else if (settings.echoMode == EchoMode::Auto && heldBack.empty() && !replyMayEqualRequest(lastRequest))
            detectEcho(maxLength, deadlineMs);
        lastRequest.clear();
        // The time-out is the servo's to answer in, counted after the echo.
        if (discardsEcho() && heldBack.empty())
            deadlineMs = CurrentMSecsSinceBoot() + std::max(0, settings.timeoutMs);
    }
    const int held = std::min(maxLength, static_cast<int>(heldBack.size()));
    std::copy(heldBack.begin(), heldBack.begin() + held, buffer);
    heldBack.erase(heldBack.begin(), heldBack.begin() + held);
    const int got = held + readUntil(buffer + held, maxLength - held, deadlineMs);
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
    lastRequest.clear();
    discardArmed = true;
    return true;
}
