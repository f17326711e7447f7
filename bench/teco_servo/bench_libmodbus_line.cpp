#include "libmodbus_line.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/select.h>
#include <unistd.h>

namespace {
int lineFd = -1;
InstantServo* lineServo = nullptr;

template <typename Function>
Function next(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// The C library's own functions, for every other descriptor.
ssize_t realRead(int fd, void* buffer, size_t length)
{
    static const auto real = next<ssize_t (*)(int, void*, size_t)>("read");
    return real(fd, buffer, length);
}
ssize_t realWrite(int fd, const void* data, size_t length)
{
    static const auto real = next<ssize_t (*)(int, const void*, size_t)>("write");
    return real(fd, data, length);
}
int realSelect(int count, fd_set* readable, fd_set* writable, fd_set* failed, struct timeval* timeout)
{
    static const auto real = next<int (*)(int, fd_set*, fd_set*, fd_set*, struct timeval*)>("select");
    return real(count, readable, writable, failed, timeout);
}
} // namespace

LibmodbusLine::LibmodbusLine(InstantServo& servo)
{
    lineServo = &servo;
    lineFd = open("/dev/null", O_RDWR);
    modbusContext = modbus_new_rtu("/dev/null", 9600, 'N', 8, 1);
    modbus_set_slave(modbusContext, 1);
    modbus_set_socket(modbusContext, lineFd);
}

LibmodbusLine::~LibmodbusLine()
{
    modbus_free(modbusContext);
    close(lineFd);
    lineFd = -1;
    lineServo = nullptr;
}

// The system calls libmodbus's RTU back end makes, answered in memory for the
// line's descriptor and passed on for every other.
extern "C" {

ssize_t read(int fd, void* buffer, size_t length)
{
    if (fd == lineFd && lineServo != nullptr)
        return lineServo->take(static_cast<unsigned char*>(buffer), static_cast<int>(length));
    return realRead(fd, buffer, length);
}

ssize_t write(int fd, const void* data, size_t length)
{
    if (fd == lineFd && lineServo != nullptr) {
        lineServo->answer(static_cast<const unsigned char*>(data), static_cast<int>(length));
        return static_cast<ssize_t>(length);
    }
    return realWrite(fd, data, length);
}

int select(int count, fd_set* readable, fd_set* writable, fd_set* failed, struct timeval* timeout)
{
    // libmodbus waits for its own descriptor alone.
    if (lineServo != nullptr && count == lineFd + 1 && writable == nullptr)
        return lineServo->pending() > 0 ? 1 : 0;
    return realSelect(count, readable, writable, failed, timeout);
}

} // extern "C"
