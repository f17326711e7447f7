// The driver plug-in over the termios port and a real pseudo-terminal to the
// simulated servos: every function code, every injected fault with the dispatch's
// retries, and the station-list fan-out.
#include "interface/driver_interface.h"
#include "port/serial_port.h"
#include "simulator/servo_line.h"

#include <gtest/gtest.h>

#include <QLibrary>
#include <functional>
#include <memory>

namespace {

// A new driver object from the built plug-in, as a host gets one.
std::unique_ptr<DriverInterface> createDriver()
{
    static QLibrary library(QStringLiteral(TECO_SERVO_PLUGIN_PATH));
    using Factory = DriverInterface* (*)();
    const auto factory = reinterpret_cast<Factory>(library.resolve("CreateDriver"));
    return std::unique_ptr<DriverInterface>(factory ? factory() : nullptr);
}

QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray data;
    for (int v : values)
        data.append(static_cast<char>(v));
    return data;
}

class DriverOverPty : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(line.start(&error)) << error;
        driver = createDriver();
        ASSERT_TRUE(driver) << "CreateDriver not found in " << TECO_SERVO_PLUGIN_PATH;
        SerialPortOptions options;
        options.device = QString::fromStdString(line.devicePath());
        options.timeoutMs = 80;
        options.retry = 0;
        options.stationId = 1;
        options.delayMs = 0;
        port = std::make_unique<SerialPort>(options);
        ASSERT_TRUE(port->open()) << port->errorString().toStdString();
        driver->initialize(port.get());
    }

    QByteArray read(int type, int count, const char* address)
    {
        return driver->read(port.get(), CommunicatorCommand(type, count, QString::fromLatin1(address)));
    }
    bool write(int type, int count, const char* address, const QByteArray& data)
    {
        return driver->write(port.get(), CommunicatorCommand(type, count, QString::fromLatin1(address)), data);
    }
    int lastFunctionCode() const
    {
        const auto frames = line.requests();
        return frames.empty() ? -1 : frames.back()[1];
    }

    ServoLine line;
    std::unique_ptr<DriverInterface> driver;
    std::unique_ptr<SerialPort> port;
};

struct FunctionCase {
    const char* name;
    std::function<void(ServoLine&)> prepare;
    bool isWrite;
    int type;
    int count;
    const char* address;
    QByteArray data;     // written, or expected from the read
    int functionCode;
    std::function<void(const ServoLine&)> check; // on the servo's side
};

void PrintTo(const FunctionCase& c, std::ostream* os)
{
    *os << c.name;
}

class FunctionCodeTest : public DriverOverPty, public ::testing::WithParamInterface<FunctionCase> {};

TEST_P(FunctionCodeTest, ReachesTheServo)
{
    const FunctionCase& c = GetParam();
    if (c.prepare)
        c.prepare(line);
    if (c.isWrite) {
        EXPECT_TRUE(write(c.type, c.count, c.address, c.data));
    } else {
        EXPECT_EQ(read(c.type, c.count, c.address).toHex(' '), c.data.toHex(' '));
    }
    EXPECT_FALSE(driver->hasError()) << driver->getLastError().toStdString();
    EXPECT_EQ(lastFunctionCode(), c.functionCode);
    if (c.check)
        c.check(line);
}

// Host order is low byte first; registers travel high byte first.
INSTANTIATE_TEST_SUITE_P(
    Wire, FunctionCodeTest,
    ::testing::Values(
        FunctionCase{"Fn3WordsFromHR",
                     [](ServoLine& l) { l.setHoldingRegister(1, 99, 0x1234); l.setHoldingRegister(1, 100, 1); l.setHoldingRegister(1, 101, 0xFFFF); },
                     false, Word, 3, "HR100", bytes({0x34, 0x12, 0x01, 0x00, 0xFF, 0xFF}), 3, nullptr},
        FunctionCase{"Fn4WordsFromIR", [](ServoLine& l) { l.setInputRegister(1, 4, 0xBEEF); }, false, Word, 1,
                     "IR5", bytes({0xEF, 0xBE}), 4, nullptr},
        FunctionCase{"Fn1CoilsFromDO", [](ServoLine& l) { l.setCoil(1, 4, true); l.setCoil(1, 6, true); }, false,
                     Bit, 3, "DO5", bytes({0x05}), 1, nullptr},
        FunctionCase{"Fn2InputsFromDI", [](ServoLine& l) { l.setDiscreteInput(1, 6, true); }, false, Bit, 2, "DI6",
                     bytes({0x02}), 2, nullptr},
        FunctionCase{"Fn3RegisterBit", [](ServoLine& l) { l.setHoldingRegister(1, 99, 0x0008); }, false, Bit, 1,
                     "HR100.3", bytes({0x01}), 3, nullptr},
        FunctionCase{"Fn3DwordHighWordFirst",
                     [](ServoLine& l) { l.setHoldingRegister(1, 199, 0x1234); l.setHoldingRegister(1, 200, 0x5678); },
                     false, DoubleWord, 1, "HR200SW", bytes({0x78, 0x56, 0x34, 0x12}), 3, nullptr},
        FunctionCase{"Fn15CoilsToDO", nullptr, true, Bit, 3, "DO5", bytes({1, 0, 1}), 15,
                     [](const ServoLine& l) {
                         EXPECT_TRUE(l.coil(1, 4));
                         EXPECT_FALSE(l.coil(1, 5));
                         EXPECT_TRUE(l.coil(1, 6));
                     }},
        FunctionCase{"Fn5CoilToFN5DO", nullptr, true, Bit, 1, "FN5DO9", bytes({1}), 5,
                     [](const ServoLine& l) { EXPECT_TRUE(l.coil(1, 8)); }},
        FunctionCase{"Fn16WordsToHR", nullptr, true, Word, 2, "HR60", bytes({0x34, 0x12, 0x78, 0x56}), 16,
                     [](const ServoLine& l) {
                         EXPECT_EQ(l.holdingRegister(1, 59), 0x1234);
                         EXPECT_EQ(l.holdingRegister(1, 60), 0x5678);
                     }},
        FunctionCase{"Fn6WordToFN6HR", nullptr, true, Word, 1, "FN6HR50", bytes({0xCD, 0xAB}), 6,
                     [](const ServoLine& l) { EXPECT_EQ(l.holdingRegister(1, 49), 0xABCD); }},
        FunctionCase{"Fn16DwordLowWordFirst", nullptr, true, DoubleWord, 1, "HR300", bytes({0x78, 0x56, 0x34, 0x12}),
                     16,
                     [](const ServoLine& l) {
                         EXPECT_EQ(l.holdingRegister(1, 299), 0x5678);
                         EXPECT_EQ(l.holdingRegister(1, 300), 0x1234);
                     }},
        FunctionCase{"Fn16RegisterBitReadModifyWrite", [](ServoLine& l) { l.setHoldingRegister(1, 99, 0x1200); },
                     true, Bit, 1, "HR100.3", bytes({1}), 16,
                     [](const ServoLine& l) { EXPECT_EQ(l.holdingRegister(1, 99), 0x1208); }}),
    [](const ::testing::TestParamInfo<FunctionCase>& info) { return std::string(info.param.name); });

StationFaults make(std::function<void(StationFaults&)> set)
{
    StationFaults f;
    set(f);
    return f;
}

struct FaultCase {
    const char* name;
    StationFaults faults;
    int retry;
    bool isWrite;
    const char* error; // the whole text after the last attempt
};

void PrintTo(const FaultCase& c, std::ostream* os)
{
    *os << c.name;
}

class FaultTest : public DriverOverPty, public ::testing::WithParamInterface<FaultCase> {};

TEST_P(FaultTest, GivesTheDriversTextAfterEveryAttempt)
{
    const FaultCase& c = GetParam();
    line.setFaults(1, c.faults);
    port->setRetry(c.retry);
    if (c.isWrite)
        EXPECT_FALSE(write(Word, 1, "HR100", bytes({1, 0})));
    else
        EXPECT_TRUE(read(Word, 1, "HR100").isEmpty());
    EXPECT_TRUE(driver->hasError());
    EXPECT_EQ(driver->getLastError().toStdString(), c.error);
    EXPECT_EQ(line.requestCount(1), c.retry + 1);
}

INSTANTIATE_TEST_SUITE_P(
    Injected, FaultTest,
    ::testing::Values(
        FaultCase{"SilentStation", make([](StationFaults& f) { f.silent = true; }), 2, false,
                  "PLC no response (read 1 word(s) from 1-HR100)"},
        FaultCase{"ReplyLaterThanTheTimeOut", make([](StationFaults& f) { f.replyDelayMs = 150; }), 0, false,
                  "PLC no response (read 1 word(s) from 1-HR100)"},
        FaultCase{"CorruptedCrc", make([](StationFaults& f) { f.corruptCrc = true; }), 1, false,
                  "CRC error (read 1 word(s) from 1-HR100)"},
        FaultCase{"WrongSlaveId", make([](StationFaults& f) { f.wrongSlaveId = 7; }), 1, false,
                  "invalid slave id:7 (read 1 word(s) from 1-HR100)"},
        FaultCase{"ExceptionAtTheAddress", make([](StationFaults& f) { f.exceptionAddress = 99; f.exceptionCode = 2; }),
                  1, false, "exception code:0x02 (read 1 word(s) from 1-HR100)"},
        FaultCase{"LastByteDropped", make([](StationFaults& f) { f.dropReplyBytes = 1; }), 0, false,
                  "packet loss (read 1 word(s) from 1-HR100)"},
        FaultCase{"ReplyShorterThanFive", make([](StationFaults& f) { f.dropReplyBytes = 4; }), 0, false,
                  "received bytes < 5 (read 1 word(s) from 1-HR100)"},
        FaultCase{"SilentOnWrite", make([](StationFaults& f) { f.silent = true; }), 1, true,
                  "PLC no response (write 1 word to 1-HR100)"},
        FaultCase{"ExceptionOnWrite", make([](StationFaults& f) { f.exceptionAddress = 99; f.exceptionCode = 0x0B; }),
                  0, true, "exception code:0x0B (write 1 word to 1-HR100)"},
        FaultCase{"CorruptedEcho", make([](StationFaults& f) { f.corruptCrc = true; }), 2, true,
                  "CRC error (write 1 word to 1-HR100)"}),
    [](const ::testing::TestParamInfo<FaultCase>& info) { return std::string(info.param.name); });

TEST_F(DriverOverPty, OneFailedAttemptIsRetriedToSuccess)
{
    line.setHoldingRegister(1, 99, 0x0102);
    line.setFaults(1, make([](StationFaults& f) { f.silent = true; f.remaining = 1; }));
    port->setRetry(1);
    EXPECT_EQ(read(Word, 1, "HR100"), bytes({0x02, 0x01}));
    EXPECT_FALSE(driver->hasError());
    EXPECT_EQ(line.requestCount(1), 2);
}

TEST_F(DriverOverPty, AnswerWithinTheTimeOutIsTaken)
{
    line.setHoldingRegister(1, 99, 7);
    line.setFaults(1, make([](StationFaults& f) { f.replyDelayMs = 30; }));
    EXPECT_EQ(read(Word, 1, "HR100"), bytes({7, 0}));
    EXPECT_FALSE(driver->hasError()) << driver->getLastError().toStdString();
}

class FanOutTest : public DriverOverPty {
protected:
    void SetUp() override
    {
        DriverOverPty::SetUp();
        // Three stations in the list: HR60000 = 3, HR60001..HR60003 = 1, 2, 3.
        ASSERT_TRUE(write(Word, 4, "HR60000", bytes({3, 0, 1, 0, 2, 0, 3, 0})));
        ASSERT_TRUE(line.requests().empty()); // the list lives in the driver
    }
    static constexpr int Monitored = 1299;
};

TEST_F(FanOutTest, WritesTheMonitoredRegisterOfEveryListedStation)
{
    EXPECT_TRUE(write(Word, 1, "HR60010", bytes({0xEF, 0xBE})));
    for (int station : {1, 2, 3}) {
        EXPECT_EQ(line.holdingRegister(station, Monitored), 0xBEEF) << "station " << station;
        EXPECT_EQ(line.requestCount(station), 1);
    }
    for (const auto& frame : line.requests()) {
        EXPECT_EQ(frame[1], 16);
        EXPECT_EQ((frame[2] << 8) | frame[3], Monitored);
    }
}

TEST_F(FanOutTest, RetryResumesAtTheStationThatFailed)
{
    line.setFaults(2, make([](StationFaults& f) { f.silent = true; f.remaining = 1; }));
    port->setRetry(1);
    EXPECT_TRUE(write(Word, 1, "HR60010", bytes({0x34, 0x12})));
    EXPECT_FALSE(driver->hasError());
    EXPECT_EQ(line.requestCount(1), 1); // not written again
    EXPECT_EQ(line.requestCount(2), 2);
    EXPECT_EQ(line.requestCount(3), 1);
    for (int station : {1, 2, 3})
        EXPECT_EQ(line.holdingRegister(station, Monitored), 0x1234) << "station " << station;
}

TEST_F(FanOutTest, FailureStopsAtTheSilentStation)
{
    line.setFaults(2, make([](StationFaults& f) { f.silent = true; }));
    EXPECT_FALSE(write(Word, 1, "HR60010", bytes({0x34, 0x12})));
    EXPECT_EQ(driver->getLastError().toStdString(), "PLC no response (write 1 word to 1-HR60010)");
    EXPECT_EQ(line.holdingRegister(1, Monitored), 0x1234);
    EXPECT_EQ(line.holdingRegister(3, Monitored), 0);
    EXPECT_EQ(line.requestCount(3), 0);
}

} // namespace
