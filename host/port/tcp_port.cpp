#include "port/tcp_port.h"
#include "port/network_endpoints.h"
#include "port/system_error.h"

#include <QStringList>
#include <cerrno>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// A device server that is there accepts within milliseconds; one that is not
// must not hold the command up for the system's minutes.
constexpr int ConnectTimeoutMs = 3000;

} // namespace

TcpPort::TcpPort(SerialPortOptions options, DeviceSetting record) : SerialPort(std::move(options)), portRecord(std::move(record))
{
}

QString TcpPort::endpointInUse() const
{
    return fd >= 0 && connected ? endpointText(portRecord.socketData.value(portRecord.currentIPIndex)) : QString();
}

bool TcpPort::openDevice()
{
    connected = false;
    if (settings.requireRs485) {
        lastError = QStringLiteral("%1: the RS-485 mode of a line behind a device server is set on the server")
                        .arg(settings.device);
        return false;
    }
    const int count = portRecord.socketData.size();
    if (count == 0) {
        lastError = QStringLiteral("%1 names no network endpoint").arg(settings.device);
        return false;
    }
    const int first = portRecord.currentIPIndex >= 0 && portRecord.currentIPIndex < count ? portRecord.currentIPIndex : 0;
    QStringList failures;
    for (int k = 0; k < count; ++k) {
        const int index = (first + k) % count;
        const DeviceSetting::Endpoint endpoint = portRecord.socketData.at(index);
        QString failure;
        if (!connectTo(endpoint, &failure)) {
            failures << QStringLiteral("%1: %2").arg(endpointText(endpoint), failure);
            continue;
        }
        portRecord.setCurrentIPIndex(index);
        connected = true;
        trace.note(QStringLiteral("connected to %1 (endpoint %2 of %3)%4")
                       .arg(endpointText(endpoint))
                       .arg(index + 1)
                       .arg(count)
                       .arg(failures.isEmpty() ? QString() : QStringLiteral("; ") + failures.join(QStringLiteral("; "))));
        return true;
    }
    lastError = QStringLiteral("cannot connect to %1").arg(failures.join(QStringLiteral("; ")));
    return false;
}

bool TcpPort::connectTo(const DeviceSetting::Endpoint& endpoint, QString* failure)
{
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int resolved = getaddrinfo(endpoint.first.toLocal8Bit().constData(),
                                     QByteArray::number(endpoint.second).constData(), &hints, &found);
    if (resolved != 0) {
        *failure = QString::fromLocal8Bit(gai_strerror(resolved));
        return false;
    }
    for (addrinfo* address = found; address != nullptr && fd < 0; address = address->ai_next) {
        fd = socket(address->ai_family, address->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, address->ai_protocol);
        if (fd < 0) {
            *failure = systemErrorString(errno);
            continue;
        }
        int error = 0;
        if (::connect(fd, address->ai_addr, address->ai_addrlen) != 0) {
            error = errno;
            pollfd out = {fd, POLLOUT, 0};
            socklen_t length = sizeof error;
            if (error == EINPROGRESS)
                error = poll(&out, 1, ConnectTimeoutMs) <= 0 ? ETIMEDOUT
                      : getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) != 0 ? errno : error;
        }
        if (error != 0) {
            *failure = systemErrorString(error);
            ::close(fd);
            fd = -1;
        }
    }
    freeaddrinfo(found);
    if (fd < 0)
        return false;
    // Each frame goes out whole and at once, as the driver hands it over.
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return true;
}

void TcpPort::discardInput()
{
    char dropped[512];
    for (;;) {
        const ssize_t n = recv(fd, dropped, sizeof dropped, MSG_DONTWAIT);
        if (n > 0)
            continue;
        if (n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR))
            noteLoss(n == 0 ? 0 : errno);
        return;
    }
}

ssize_t TcpPort::writeSome(const char* data, size_t length)
{
    // MSG_NOSIGNAL: a connection the server closed is a failed write, not SIGPIPE.
    const ssize_t sent = ::send(fd, data, length, MSG_NOSIGNAL);
    if (sent < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)
        noteLoss(errno);
    return sent;
}

ssize_t TcpPort::readSome(char* buffer, size_t length)
{
    // A closed connection reads as the end of the stream, a reset one as an error.
    const ssize_t got = recv(fd, buffer, length, MSG_DONTWAIT);
    if (got == 0 || (got < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR))
        noteLoss(got == 0 ? 0 : errno);
    return got;
}

void TcpPort::hungUp()
{
    int error = 0;
    socklen_t length = sizeof error;
    getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length);
    noteLoss(error);
}

void TcpPort::noteLoss(int error)
{
    if (lost())
        return;
    const int callersErrno = errno; // the port's read and write loops look at it next
    markLost(error == 0 ? QStringLiteral("the device server closed the connection") : systemErrorString(error));
    trace.note(QStringLiteral("%1: %2").arg(endpointInUse(), lostReason()));
    const int count = portRecord.socketData.size();
    if (count > 0)
        portRecord.setCurrentIPIndex((portRecord.currentIPIndex + 1) % count); // fall over to the next
    connected = false;
    errno = callersErrno;
}
