// A serial line behind a device server, over loopback TCP only: the endpoint
// texts, every read and write kind against `drvctl simulate --listen`, the
// fail-over past a refusing endpoint, a server that drops the connection, and
// the simulated line's listen address and tap.
#include "drvctl_runner.h"
#include "host_test_support.h"
#include "port/network_endpoints.h"
#include "port/tcp_port.h"
#include "simulator/servo_line.h"

#include <gtest/gtest.h>

#include <QJsonDocument>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>

namespace {

// A loopback port that refuses connections: bound, never listening, held for the test.
class RefusingPort {
public:
    RefusingPort() : fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (fd >= 0 && bind(fd, reinterpret_cast<sockaddr*>(&address), length) == 0
            && getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0)
            number = ntohs(address.sin_port);
    }
    ~RefusingPort() { close(fd); }
    QString endpoint() const { return QStringLiteral("tcp://127.0.0.1:%1").arg(number); }

private:
    int fd;
    int number = 0;
};

// A device server that takes one connection, reads the first request and then
// closes it, or resets it (SO_LINGER 0).
class DroppingServer {
public:
    explicit DroppingServer(bool reset) : fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), length) != 0 || ::listen(fd, 1) != 0
            || getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            return;
        number = ntohs(address.sin_port);
        worker = std::thread([this, reset] {
            const int client = accept(fd, nullptr, nullptr);
            if (client < 0)
                return;
            char request[256];
            if (recv(client, request, sizeof request, 0) > 0 && reset) {
                const linger abort = {1, 0};
                setsockopt(client, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
            }
            close(client);
        });
    }
    ~DroppingServer()
    {
        shutdown(fd, SHUT_RDWR); // ends an accept that nobody reached
        if (worker.joinable())
            worker.join();
        close(fd);
    }
    QString endpoint() const { return QStringLiteral("tcp://127.0.0.1:%1").arg(number); }

private:
    int fd;
    int number = 0;
    std::thread worker;
};

TEST(NetworkEndpoints, ListsOfTcpEndpointsAndWhatIsRefused)
{
    const struct {
        const char* text;
        QStringList endpoints; // empty: refused
    } cases[] = {
        {"tcp://127.0.0.1:4001", {"127.0.0.1 4001"}},
        {"tcp://10.0.0.5:4001,tcp://10.0.0.6:4002", {"10.0.0.5 4001", "10.0.0.6 4002"}},
        {"tcp://[::1]:502", {"::1 502"}},
        {"tcp://server.local:65535", {"server.local 65535"}},
        {"tcp://127.0.0.1:0", {}},
        {"tcp://127.0.0.1:65536", {}},
        {"tcp://127.0.0.1", {}},
        {"tcp://:4001", {}},
        {"tcp://::1:502", {}}, // IPv6 without brackets
        {"tcp://127.0.0.1:4001,/dev/ttyUSB0", {}},
        {"tcp://127.0.0.1:4001/x", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        QList<DeviceSetting::Endpoint> endpoints;
        QString error;
        const bool parsed = parseNetworkEndpoints(QString::fromLatin1(c.text), &endpoints, &error);
        EXPECT_EQ(parsed, !c.endpoints.isEmpty());
        QStringList got;
        for (const DeviceSetting::Endpoint& e : endpoints)
            got << QStringLiteral("%1 %2").arg(e.first).arg(e.second);
        EXPECT_EQ(lines(got), lines(c.endpoints));
        if (!parsed) {
            EXPECT_TRUE(error.startsWith(QStringLiteral("bad network endpoint \""))) << error.toStdString();
        }
    }
}

TEST(NetworkEndpoints, TheRecordCarriesTheLineAndTheEndpoints)
{
    LineSettings line;
    ASSERT_TRUE(parseLineSettings(QStringLiteral("RS485,19200,EVEN,8,1"), &line, nullptr));
    DeviceSetting record(SerialDevice, QString(), 0, 0, 0, 0);
    QString error;
    ASSERT_TRUE(deviceSettingFor(QStringLiteral("tcp://10.0.0.5:4001,tcp://10.0.0.6:4002"), line, &record, &error));
    EXPECT_EQ(record.type, SerialDevice);
    EXPECT_EQ(record.baudrate, 19200);
    EXPECT_EQ(record.parity, 2);   // even
    EXPECT_EQ(record.stopbits, 0); // one
    EXPECT_EQ(record.currentIPIndex, 0);
    EXPECT_EQ(record.socketIP(1), QStringLiteral("10.0.0.6"));
    EXPECT_EQ(record.port(1), 4002);
    LineSettings back;
    ASSERT_TRUE(lineSettingsFromDeviceSetting(record, &back, &error));
    EXPECT_EQ(back.toString(), line.toString());

    const Outcome info = drvctl({"info", "--device", "tcp://10.0.0.5:4001,tcp://10.0.0.6:4002", "--json"});
    ASSERT_EQ(info.exitCode, 0) << info.err;
    EXPECT_EQ(info.json(0).value(QStringLiteral("portSetting")).toString(),
              QStringLiteral("type: 16 string: \"tcp://10.0.0.5:4001,tcp://10.0.0.6:4002\" baudrate: 9600 databits: 8 "
                             "stopbits: 2 parity: 0 linkID: -1 current ip: \"10.0.0.5\" current port: 4001"));
}

// drvctl simulate --listen on a free loopback port, stopped at the end.
class SimulatedDeviceServer : public ::testing::Test {
protected:
    void SetUp() override
    {
        startDrvctl(&simulator, {"simulate", "--json", "--listen", "tcp://127.0.0.1:0", "--fault", "3:exception=7:2"});
        ASSERT_TRUE(simulator.waitForReadyRead(10000));
        served = QJsonDocument::fromJson(simulator.readLine()).object();
        address = served.value(QStringLiteral("listen")).toString();
        ASSERT_TRUE(address.startsWith(QStringLiteral("tcp://127.0.0.1:"))) << address.toStdString();
    }
    void TearDown() override
    {
        if (interrupt(&simulator)) {
            EXPECT_EQ(finish(&simulator).exitCode, 0);
        }
    }

    QProcess simulator;
    QJsonObject served;
    QString address;
};

TEST_F(SimulatedDeviceServer, EveryReadAndWriteKindOverTcp)
{
    const Outcome run = drvctl({"shell", "--device", address},
                               "write HR100 1234 5678\nread HR100 --count 2\n"
                               "write HR200SW 0x12345678\nread HR200SW\n"
                               "write HR100.3 1\nread HR100\n"
                               "write FN6HR50 0xABCD\nread FN6HR50 --hex\n"
                               "write DO5 1 0 1\nread DO5 --count 3\n"
                               "write FN5DO9 1\nread FN5DO9\n"
                               "read IR5 --count 2\nread DI6 --count 2\n"
                               "write HR60000 1 2\nwrite HR60010 777\nread HR1300 --station 2\n"
                               "read HR7 --station 3\n");
    EXPECT_EQ(run.exitCode, 1) << run.err; // the last line: station 3 refuses HR7
    EXPECT_EQ(lines(run.lines().filter(QRegularExpression(QStringLiteral("^HR|^FN|^DO|^IR|^DI")))),
              lines({"HR100 word[2] written", "HR100 word[2]: 1234 5678", "HR200SW dword[1] written",
                           "HR200SW dword[1]: 305419896", "HR100.3 bit[1] written", "HR100 word[1]: 1242",
                           "FN6HR50 word[1] written", "FN6HR50 word[1]: 0xABCD", "DO5 bit[3] written", "DO5 bit[3]: 1 0 1",
                           "FN5DO9 bit[1] written", "FN5DO9 bit[1]: 1", "IR5 word[2]: 0 0", "DI6 bit[2]: 0 0",
                           "HR60000 word[2] written", "HR60010 word[1] written", "HR1300 word[1]: 777"}));
    EXPECT_EQ(run.err, "drvctl: exception code:0x02 (read 1 word(s) from 3-HR7)\n");

    const Outcome read = drvctl({"read", "HR1", "--count", "10", "--device", address});
    EXPECT_EQ(read.exitCode, 0) << read.err;
    EXPECT_EQ(read.out, "HR1 word[10]: 0 0 0 0 0 0 0 0 0 0\n");
}

TEST_F(SimulatedDeviceServer, FallsOverPastAnEndpointThatRefuses)
{
    RefusingPort refusing;
    const Outcome run = drvctl({"read", "HR1", "--trace", "--device", refusing.endpoint() + QLatin1Char(',') + address});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    const QString trace = QString::fromStdString(run.err);
    EXPECT_TRUE(trace.contains(QStringLiteral("] connected to %1 (endpoint 2 of 2); %2: Connection refused\n")
                                   .arg(address, refusing.endpoint())))
        << run.err;

    const Outcome none = drvctl({"read", "HR1", "--device", refusing.endpoint()});
    EXPECT_EQ(none.exitCode, 3);
    EXPECT_EQ(none.err, QStringLiteral("drvctl: cannot connect to %1: Connection refused\n").arg(refusing.endpoint()).toStdString());
}

TEST_F(SimulatedDeviceServer, PrintsItsTapAndAMonitorThereSeesTheTcpClientsTransactions)
{
    const QString tap = served.value(QStringLiteral("tap")).toString();
    ASSERT_TRUE(tap.startsWith(QStringLiteral("/dev/pts/"))) << tap.toStdString();
    EXPECT_NE(tap, served.value(QStringLiteral("device")).toString());
    QProcess monitor;
    startDrvctl(&monitor, {"monitor", "--device", tap, "--json"});
    ASSERT_TRUE(monitor.waitForStarted());
    std::this_thread::sleep_for(std::chrono::milliseconds(300)); // listening
    EXPECT_EQ(drvctl({"write", "HR9", "99", "--device", address}).exitCode, 0);
    ASSERT_TRUE(interrupt(&monitor));
    const Outcome watched = finish(&monitor);
    ASSERT_EQ(watched.lines().size(), 2) << watched.out;
    EXPECT_EQ(watched.json(0).value(QStringLiteral("request")).toString(), QStringLiteral("01 10 00 08 00 01 02 00 63 E7 31"));
}

TEST(NetworkLine, AConnectionTheServerDropsIsALostLine)
{
    const struct {
        bool reset;
        const char* reason;
    } cases[] = {
        {false, "the device server closed the connection"},
        {true, "Connection reset by peer"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reason);
        DroppingServer server(c.reset);
        const Outcome run = drvctl({"read", "HR1", "--device", server.endpoint()});
        EXPECT_EQ(run.exitCode, 3);
        EXPECT_EQ(run.err, QStringLiteral("drvctl: line lost: %1: %2\n").arg(server.endpoint(), QLatin1String(c.reason)).toStdString());
    }
}

// The port alone against the simulated line served in this process: a dropped
// connection is lost at once, and open() connects again.
TEST(NetworkLine, TheTcpPortReconnectsAfterTheServerDroppedIt)
{
    ServoLine line;
    ASSERT_TRUE(line.start());
    line.setHoldingRegister(1, 0, 0x0102);
    LineSettings remote;
    const QString address = QString::fromStdString(line.listen("127.0.0.1", 0, remote));
    ASSERT_FALSE(address.isEmpty());
    DeviceSetting record(SerialDevice, QString(), 0, 0, 0, 0);
    ASSERT_TRUE(deviceSettingFor(address, remote, &record, nullptr));
    TcpPort port(portOptions(address.toStdString(), 500), record);
    ASSERT_TRUE(port.open()) << port.errorString().toStdString();
    auto driver = createDriver();
    ASSERT_TRUE(driver);
    driver->initialize(&port);
    const CommunicatorCommand hr1(Word, 1, QStringLiteral("HR1"));
    EXPECT_EQ(hex(driver->read(&port, hr1)), "02 01");
    EXPECT_EQ(port.endpointInUse(), address);

    line.dropNetworkClient();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_TRUE(driver->read(&port, hr1).isEmpty());
    EXPECT_EQ(port.lostReason(), QStringLiteral("the device server closed the connection"));
    EXPECT_EQ(port.endpointInUse(), QString());

    ASSERT_TRUE(port.open()) << port.errorString().toStdString();
    EXPECT_EQ(hex(driver->read(&port, hr1)), "02 01");
}

TEST(NetworkLine, TheSimulatedLineListensOnLoopbackOnly)
{
    const struct {
        const char* host;
        bool served;
    } cases[] = {
        {"127.0.0.1", true}, {"localhost", true}, {"::1", true},
        {"0.0.0.0", false}, {"192.0.2.1", false}, {"::", false}, {"example.com", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.host);
        ServoLine line;
        std::string error;
        const std::string address = line.listen(c.host, 0, LineSettings(), &error);
        EXPECT_EQ(!address.empty(), c.served) << error;
        if (!c.served) {
            EXPECT_EQ(error, std::string("the simulated line listens on a loopback address only (127.0.0.1, ::1 or "
                                         "localhost), not on ") + c.host);
        }
    }
    const Outcome refused = drvctl({"simulate", "--listen", "tcp://192.0.2.1:5020"});
    EXPECT_EQ(refused.exitCode, 3);
    EXPECT_EQ(refused.err, "drvctl: cannot serve the simulated line over TCP: the simulated line listens on a "
                           "loopback address only (127.0.0.1, ::1 or localhost), not on 192.0.2.1\n");
}

} // namespace
