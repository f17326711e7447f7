#ifndef HOST_TESTS_RAW_LINE_H
#define HOST_TESTS_RAW_LINE_H

#include <chrono>
#include <cstdint>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <termios.h>
#include <unistd.h>
#include <vector>

// The bare other end of a line: raw bytes out, raw bytes in, with a deadline.
// Tests use it to send frames no Modbus stack would build and to watch timing.
class RawLine {
public:
    explicit RawLine(const std::string& device)
        : fd(open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
    {
        termios raw{};
        if (fd >= 0 && tcgetattr(fd, &raw) == 0) {
            cfmakeraw(&raw);
            tcsetattr(fd, TCSANOW, &raw);
        }
    }
    // Adopts an open descriptor (the master side of a test's own pseudo-terminal).
    static RawLine adopt(int descriptor) { return RawLine(descriptor); }
    RawLine(RawLine&& other) noexcept : fd(other.fd) { other.fd = -1; }
    ~RawLine()
    {
        if (fd >= 0)
            close(fd);
    }

    bool ok() const { return fd >= 0; }
    int descriptor() const { return fd; }

    bool send(const std::vector<uint8_t>& bytes)
    {
        return write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    }

    // Collects bytes until `count` arrived or `timeoutMs` passed.
    std::vector<uint8_t> take(size_t count, int timeoutMs)
    {
        std::vector<uint8_t> got;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        while (got.size() < count) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now()).count();
            if (left <= 0)
                break;
            pollfd in = {fd, POLLIN, 0};
            if (poll(&in, 1, static_cast<int>(left)) <= 0)
                break;
            uint8_t chunk[512];
            const ssize_t n = read(fd, chunk, std::min(sizeof chunk, count - got.size()));
            if (n <= 0)
                break;
            got.insert(got.end(), chunk, chunk + n);
        }
        return got;
    }

private:
    explicit RawLine(int descriptor) : fd(descriptor) {}
    int fd;
};

inline std::vector<uint8_t> hexBytes(const std::string& hex)
{
    std::vector<uint8_t> bytes;
    std::string digits;
    for (char c : hex)
        if (c != ' ')
            digits += c;
    for (size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

#endif
