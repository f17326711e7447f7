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
    : LinePort(options), settings(std::move(options)), silenceNs(replySilenceNs(settings.line)),
      gap(interFrameGapMicros(settings.line.baud) * 1000LL), echo(settings.echoMode)
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
    if (!openDevice())
        return false;
    discardInput();
    gap.opened(monotonicNs());
    echo.restart();
    clearLost();
    return true;
}

bool SerialPort::openDevice()
{
    if (!lock.takeLockFile(settings.device, &lastError))
        return false;
    fd = ::open(settings.device.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        // EBUSY: TIOCEXCL of a program that took no lock file.
        lastError = errno == EBUSY ? QStringLiteral("%1 is in use by another program").arg(settings.device)
                                   : QStringLiteral("cannot open %1: %2").arg(settings.device, systemErrorString());
        lock.release();
        return false;
    }
    if (!lock.lockDevice(settings.device, fd, &lastError) || !configure()) {
        close();
        return false;
    }
    enableRs485();
    if (settings.requireRs485 && !rs485On) {
        lastError = rs485Message;
        close();
        return false;
    }
    tcflush(fd, TCOFLUSH);
    return true;
}

void SerialPort::discardInput()
{
    tcflush(fd, TCIFLUSH);
}

void SerialPort::drainOutput()
{
    tcdrain(fd);
}

ssize_t SerialPort::writeSome(const char* data, size_t length)
{
    return ::write(fd, data, length);
}

ssize_t SerialPort::readSome(char* buffer, size_t length)
{
    return ::read(fd, buffer, length);
}

void SerialPort::close()
{
    lock.release();
    if (fd >= 0)
        ::close(fd);
    fd = -1;
    heldBack.clear();
    echo.forget();
    discardArmed = false;
    replyFlowing = false;
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
        drainOutput();
        gap.heard(monotonicNs());
    }
    const long long giveUpNs = replyDeadlineNs();
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
// starts again after them. False when nothing more will come (line lost, stopped).
bool SerialPort::dropLateBytes(long long untilNs)
{
    const Wait wait = waitFor(fd, POLLIN, untilNs);
    if (wait == Wait::TimedOut)
        return true; // quiet so far: look at the clock again
    if (wait != Wait::Ready) {
        if (wait == Wait::HungUp)
            hungUp();
        return false;
    }
    char late[256];
    const int n = readAvailable(late, sizeof late);
    if (n > 0)
        trace.record("LATE", late, n);
    return n >= 0;
}

int SerialPort::send(const char* data, int length)
{
    if (fd < 0 || lost() || stopped())
        return -1;
    if (data == nullptr || length <= 0)
        return 0;
    echoDoubt.clear();
    if (echo.needsProbe(data, length) && !probeEcho(data))
        return -1;
    waitForQuietLine();
    if (discardArmed) {
        // Last moment before the request: nothing that came in before it can be its reply.
        discardInput();
        heldBack.clear();
        discardArmed = false;
    }
    // Ctrl-C during the driver's delay or the quiet gap: this request stays home.
    if (lost() || stopRequested())
        return -1;
    requestLeaving(monotonicNs());
    replyFlowing = false;
    const int written = transmit(data, length);
    trace.record("TX", data, written);
    echo.sent(data, written);
    return written;
}

// Puts bytes into the UART and notes when their last bit will have left.
int SerialPort::transmit(const char* data, int length)
{
    int written = 0;
    while (written < length) {
        const ssize_t n = writeSome(data + written, static_cast<size_t>(length - written));
        if (n > 0) {
            written += static_cast<int>(n);
            continue;
        }
        if (n < 0 && errno != EAGAIN && errno != EINTR) {
            if (!lost())
                markLost(systemErrorString());
            break;
        }
        const Wait wait = waitFor(fd, POLLOUT, std::max(replyDeadlineNs(), monotonicNs() + NsPerMs));
        if (wait == Wait::HungUp)
            hungUp();
        if (wait != Wait::Ready)
            break;
    }
    gap.sent(monotonicNs() + written * characterTimeNs(settings.line));
    return written;
}

int SerialPort::readAvailable(char* buffer, int maxLength)
{
    const ssize_t n = readSome(buffer, static_cast<size_t>(maxLength));
    if (n > 0) {
        const long long now = monotonicNs();
        gap.heard(now);
        replyByte(now);
        replyFlowing = true;
        lastByteNs = now;
        return static_cast<int>(n);
    }
    if (n < 0 && (errno == EAGAIN || errno == EINTR))
        return 0;
    if (lost()) // the kind of port said why already
        return -1;
    if (n < 0)
        markLost(systemErrorString()); // an unplugged adapter: EIO
    else
        hungUp();
    return -1;
}

// A hung-up tty reads as end of file; what it says to a request on it is the
// system's own word for the state (EIO).
void SerialPort::hungUp()
{
    termios probe{};
    if (tcgetattr(fd, &probe) != 0)
        markLost(systemErrorString());
    else
        markLost(QStringLiteral("the device hung up"));
}

int SerialPort::readUntil(char* buffer, int maxLength, long long firstByteDeadlineNs)
{
    int got = 0;
    while (got < maxLength) {
        const long long deadline = replyFlowing ? lastByteNs + silenceNs : firstByteDeadlineNs;
        const Wait wait = waitFor(fd, POLLIN, deadline);
        if (wait == Wait::HungUp)
            hungUp();
        if (wait != Wait::Ready)
            break;
        const int n = readAvailable(buffer + got, maxLength - got);
        if (n < 0)
            break;
        got += n;
    }
    return got;
}

int SerialPort::listen(char* buffer, int maxLength, int waitMs)
{
    if (fd < 0 || lost())
        return -1;
    if (buffer == nullptr || maxLength <= 0)
        return 0;
    const Wait wait = waitFor(fd, POLLIN, monotonicNs() + std::max(0, waitMs) * NsPerMs);
    if (wait == Wait::HungUp) {
        hungUp();
        return -1;
    }
    if (wait != Wait::Ready)
        return 0; // quiet, or stopped: the caller looks at its own stop signal
    return readAvailable(buffer, maxLength);
}

int SerialPort::receive(char* buffer, int maxLength)
{
    if (fd < 0 || lost() || stopped())
        return -1;
    if (buffer == nullptr || maxLength <= 0)
        return 0;
    long long firstByteNs = replyDeadlineNs();
    if (echo.awaitingEcho())
        firstByteNs = screenEcho(maxLength, firstByteNs);
    const int held = std::min(maxLength, static_cast<int>(heldBack.size()));
    std::copy(heldBack.begin(), heldBack.begin() + held, buffer);
    heldBack.erase(heldBack.begin(), heldBack.begin() + held);
    const int got = held + readUntil(buffer + held, maxLength - held, firstByteNs);
    trace.record("RX", buffer, got);
    return got;
}

bool SerialPort::setOption(int code, const QVariant& value)
{
    Q_UNUSED(value);
    if (code != DiscardInputOption || fd < 0)
        return false;
    discardInput();
    heldBack.clear();
    echo.forget();
    discardArmed = true;
    replyFlowing = false;
    return true;
}
