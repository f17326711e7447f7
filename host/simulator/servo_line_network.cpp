// The simulated line served over TCP, as a serial device server in "TCP server"
// mode passes RTU frames unchanged between one connection and its serial port.
#include "port/system_error.h"
#include "simulator/servo_line.h"

#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// A loopback address from its text, or false: the simulated line is for this
// machine only.
bool loopbackAddress(const std::string& host, int port, sockaddr_storage* address, socklen_t* length)
{
    *address = sockaddr_storage{};
    const std::string text = host == "localhost" ? "127.0.0.1" : host;
    auto* v4 = reinterpret_cast<sockaddr_in*>(address);
    if (inet_pton(AF_INET, text.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = htons(static_cast<uint16_t>(port));
        *length = sizeof(sockaddr_in);
        return (ntohl(v4->sin_addr.s_addr) >> 24) == 127;
    }
    auto* v6 = reinterpret_cast<sockaddr_in6*>(address);
    if (inet_pton(AF_INET6, text.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(static_cast<uint16_t>(port));
        *length = sizeof(sockaddr_in6);
        return IN6_IS_ADDR_LOOPBACK(&v6->sin6_addr);
    }
    return false;
}

std::string addressText(const sockaddr_storage& address)
{
    char text[INET6_ADDRSTRLEN] = {0};
    if (address.ss_family == AF_INET6) {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
        inet_ntop(AF_INET6, &v6.sin6_addr, text, sizeof text);
        return "tcp://[" + std::string(text) + "]:" + std::to_string(ntohs(v6.sin6_port));
    }
    const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
    inet_ntop(AF_INET, &v4.sin_addr, text, sizeof text);
    return "tcp://" + std::string(text) + ":" + std::to_string(ntohs(v4.sin_port));
}

} // namespace

std::string ServoLine::listen(const std::string& host, int port, const LineSettings& remote, std::string* error)
{
    std::string failure;
    sockaddr_storage address;
    socklen_t length = 0;
    if (port < 0 || port > 65535)
        failure = "bad port " + std::to_string(port) + " (0 to 65535)";
    else if (!loopbackAddress(host, port, &address, &length))
        failure = "the simulated line listens on a loopback address only (127.0.0.1, ::1 or localhost), not on " + host;
    else if (listenFd >= 0)
        failure = "the simulated line listens already";
    int fd = -1;
    if (failure.empty()) {
        fd = socket(address.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        const int on = 1;
        if (fd < 0)
            failure = systemError("socket");
        else if (setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0
                 || bind(fd, reinterpret_cast<sockaddr*>(&address), length) != 0
                 || ::listen(fd, 4) != 0
                 || getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            failure = systemError(addressText(address).c_str());
    }
    if (!failure.empty()) {
        if (fd >= 0)
            close(fd);
        if (error != nullptr)
            *error = failure;
        return std::string();
    }
    {
        std::lock_guard<std::mutex> guard(lock);
        networkPace.characterNs = characterTimeNs(remote);
        networkPace.gapNs = interFrameGapMicros(remote.baud) * 1000LL;
    }
    listenFd = fd;
    if (running)
        wakeThread();
    return addressText(address);
}

void ServoLine::dropNetworkClient()
{
    dropClient = true;
    if (running)
        wakeThread();
}

void ServoLine::acceptNetworkClient()
{
    const int client = accept4(listenFd, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (client < 0)
        return;
    // A new connection takes over, as a device server set to do so does.
    dropNetworkConnection();
    const int on = 1;
    setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    networkFd = client;
}

void ServoLine::readNetworkClient()
{
    uint8_t buffer[512];
    const ssize_t got = recv(networkFd, buffer, sizeof buffer, 0);
    if (got > 0)
        takeBytes(LineDriver::Network, buffer, static_cast<size_t>(got));
    else if (got == 0 || (errno != EAGAIN && errno != EINTR))
        dropNetworkConnection(); // the client went away
}

void ServoLine::writeToNetworkClient(const std::vector<uint8_t>& bytes)
{
    size_t done = 0;
    while (done < bytes.size() && networkFd >= 0) {
        const ssize_t sent = send(networkFd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (sent > 0) {
            done += static_cast<size_t>(sent);
            continue;
        }
        if (sent < 0 && errno == EINTR)
            continue;
        pollfd out = {networkFd, POLLOUT, 0};
        if (sent == 0 || errno != EAGAIN || poll(&out, 1, 50) <= 0) {
            dropNetworkConnection(); // gone, or not reading: a line never waits
            return;
        }
    }
}

void ServoLine::dropNetworkConnection()
{
    const int fd = networkFd.exchange(-1);
    if (fd >= 0)
        close(fd);
}

void ServoLine::closeNetwork()
{
    dropNetworkConnection();
    const int fd = listenFd.exchange(-1);
    if (fd >= 0)
        close(fd);
}
