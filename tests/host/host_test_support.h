#ifndef HOST_TESTS_HOST_TEST_SUPPORT_H
#define HOST_TESTS_HOST_TEST_SUPPORT_H

#include "interface/driver_interface.h"
#include "port/serial_port.h"

#include "support/checked_process.h"

#include <QByteArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QStringList>
#include <QLibrary>
#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <memory>
#include <stdlib.h>
#include <string>
#include <unistd.h>

using Clock = std::chrono::steady_clock;

// Nanoseconds per millisecond, for the clocks that count in nanoseconds.
constexpr long long Ms = 1000000;

inline long long msSince(Clock::time_point start)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

// A list of texts as one, for readable failure messages.
inline std::string lines(const QStringList& texts) { return texts.join(QLatin1Char('\n')).toStdString(); }

// Bytes as tests spell them: "01 03 0a".
inline std::string hex(const QByteArray& bytes) { return bytes.toHex(' ').toStdString(); }

// tshark, or an empty path when it is not installed.
inline QString tsharkPath() { return QStandardPaths::findExecutable(QStringLiteral("tshark")); }

// A pcap of Modbus RTU frames as tshark decodes it (link type 147 mapped to mbrtu),
// with a configuration folder of its own so that no user setting plays a part;
// what tshark printed, or an empty text when it did not finish.
inline QString tsharkRead(const QString& pcap, const QStringList& moreArguments = {})
{
    QTemporaryDir config;
    QProcess tshark;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("WIRESHARK_CONFIG_DIR"), config.path());
    tshark.setProcessEnvironment(environment);
    startChecked(tshark, tsharkPath(),
                 QStringList{"-r", pcap, "-o", "uat:user_dlts:\"User 0 (DLT=147)\",\"mbrtu\",\"0\",\"\",\"0\",\"\""}
                     + moreArguments);
    return tshark.waitForFinished(60000) ? QString::fromUtf8(tshark.readAllStandardOutput()) : QString();
}

inline SerialPortOptions portOptions(const std::string& device, int timeoutMs)
{
    SerialPortOptions options;
    options.device = QString::fromStdString(device);
    options.timeoutMs = timeoutMs;
    options.interFrameGap = false;
    return options;
}

// A new driver object from the built plug-in, as a host gets one.
inline std::unique_ptr<DriverInterface> createDriver()
{
    static QLibrary library(QStringLiteral(TECO_SERVO_PLUGIN_PATH));
    using Factory = DriverInterface* (*)();
    const auto factory = reinterpret_cast<Factory>(library.resolve("CreateDriver"));
    return std::unique_ptr<DriverInterface>(factory ? factory() : nullptr);
}

// A bare pseudo-terminal: the port under test opens path(), the test sends raw bytes.
class PtyPair {
public:
    PtyPair() : fd(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
    {
        char name[128] = {0};
        if (fd >= 0 && grantpt(fd) == 0 && unlockpt(fd) == 0 && ptsname_r(fd, name, sizeof name) == 0)
            slavePath = name;
    }
    ~PtyPair() { hangUp(); }
    PtyPair(const PtyPair&) = delete;
    PtyPair& operator=(const PtyPair&) = delete;

    const std::string& path() const { return slavePath; }
    // The other end goes away, as an unplugged adapter does.
    void hangUp()
    {
        if (fd >= 0)
            close(fd);
        fd = -1;
    }
    bool send(const char* hexBytes)
    {
        const QByteArray bytes = QByteArray::fromHex(hexBytes);
        return write(fd, bytes.constData(), bytes.size()) == bytes.size();
    }
    // Waits up to timeoutMs for count bytes from the port's side.
    QByteArray take(int count, int timeoutMs)
    {
        QByteArray got;
        const auto start = Clock::now();
        while (got.size() < count && msSince(start) < timeoutMs) {
            char chunk[256];
            const ssize_t n = read(fd, chunk, std::min<size_t>(sizeof chunk, count - got.size()));
            if (n > 0)
                got.append(chunk, static_cast<int>(n));
            else
                usleep(500);
        }
        return got;
    }

private:
    int fd;
    std::string slavePath;
};

#endif
