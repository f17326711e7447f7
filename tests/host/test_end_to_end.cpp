// The driver plug-in over the termios port and a real pseudo-terminal to the
// simulated servos: every function code, injected faults with the dispatch's
// retries, two stations in turn, and the station-list fan-out.
#include "host_test_support.h"
#include "interface/driver_interface.h"
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

StationFaults faults(const std::function<void(StationFaults&)>& set)
{
    StationFaults f;
    set(f);
    return f;
}

class DriverOverPty : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(line.start(&error)) << error;
        driver = createDriver();
        ASSERT_TRUE(driver) << "CreateDriver not found in " << TECO_SERVO_PLUGIN_PATH;
        SerialPortOptions options = portOptions(line.devicePath(), 80);
        options.retry = 0;
        port = std::make_unique<SerialPort>(options);
        ASSERT_TRUE(port->open()) << port->errorString().toStdString();
        driver->initialize(port.get());
    }
    QByteArray read(int type, int count, const char* address)
    {
        return driver->read(port.get(), CommunicatorCommand(type, count, QString::fromLatin1(address)));
    }
    // `data` in host order (low byte first), as hex.
    bool write(int type, int count, const char* address, const char* data)
    {
        return driver->write(port.get(), CommunicatorCommand(type, count, QString::fromLatin1(address)),
                             QByteArray::fromHex(data));
    }

    ServoLine line;
    std::unique_ptr<DriverInterface> driver;
    std::unique_ptr<SerialPort> port;
};

// One value in station 1's banks, addresses from 0: 'H'olding register,
// 'I'nput register, 'C'oil or 'D'iscrete input.
struct Cell {
    char bank;
    int address;
    int value;
};

struct FunctionCase {
    const char* name;
    int functionCode;
    bool isWrite;
    int type, count;
    const char* address;
    const char* data;        // written, or expected from the read
    std::vector<Cell> servo; // set before a read, expected after a write
};

void PrintTo(const FunctionCase& c, std::ostream* os) { *os << c.name; }

class FunctionCodeTest : public DriverOverPty, public ::testing::WithParamInterface<FunctionCase> {
protected:
    int valueOf(const Cell& c) const
    {
        switch (c.bank) {
        case 'H': return line.holdingRegister(1, c.address);
        case 'I': return line.inputRegister(1, c.address);
        case 'C': return line.coil(1, c.address);
        default: return line.discreteInput(1, c.address);
        }
    }
    void store(const Cell& c)
    {
        switch (c.bank) {
        case 'H': return line.setHoldingRegister(1, c.address, static_cast<uint16_t>(c.value));
        case 'I': return line.setInputRegister(1, c.address, static_cast<uint16_t>(c.value));
        case 'C': return line.setCoil(1, c.address, c.value != 0);
        default: return line.setDiscreteInput(1, c.address, c.value != 0);
        }
    }
};

TEST_P(FunctionCodeTest, ReachesTheServo)
{
    const FunctionCase& c = GetParam();
    if (c.isWrite) {
        EXPECT_TRUE(write(c.type, c.count, c.address, c.data));
        for (const Cell& cell : c.servo)
            EXPECT_EQ(valueOf(cell), cell.value) << cell.bank << cell.address;
    } else {
        for (const Cell& cell : c.servo)
            store(cell);
        EXPECT_EQ(hex(read(c.type, c.count, c.address)), c.data);
    }
    EXPECT_FALSE(driver->hasError()) << driver->getLastError().toStdString();
    ASSERT_EQ(line.requests().size(), 1u);
    EXPECT_EQ(line.requests().front()[1], c.functionCode);
}

INSTANTIATE_TEST_SUITE_P(
    Wire, FunctionCodeTest,
    ::testing::Values(
        FunctionCase{"Fn1CoilsFromDO", 1, false, Bit, 3, "DO5", "05", {{'C', 4, 1}, {'C', 6, 1}}},
        FunctionCase{"Fn2InputsFromDI", 2, false, Bit, 2, "DI6", "02", {{'D', 6, 1}}},
        FunctionCase{"Fn3WordsFromHR", 3, false, Word, 3, "HR100", "34 12 01 00 ff ff",
                     {{'H', 99, 0x1234}, {'H', 100, 1}, {'H', 101, 0xFFFF}}},
        FunctionCase{"Fn4WordsFromIR", 4, false, Word, 1, "IR5", "ef be", {{'I', 4, 0xBEEF}}},
        FunctionCase{"Fn5CoilToFN5DO", 5, true, Bit, 1, "FN5DO9", "01", {{'C', 8, 1}}},
        FunctionCase{"Fn6WordToFN6HR", 6, true, Word, 1, "FN6HR50", "cd ab", {{'H', 49, 0xABCD}}},
        FunctionCase{"Fn15CoilsToDO", 15, true, Bit, 3, "DO5", "01 00 01", {{'C', 4, 1}, {'C', 5, 0}, {'C', 6, 1}}},
        FunctionCase{"Fn16WordsToHR", 16, true, Word, 2, "HR60", "34 12 78 56",
                     {{'H', 59, 0x1234}, {'H', 60, 0x5678}}}),
    [](const ::testing::TestParamInfo<FunctionCase>& info) { return std::string(info.param.name); });

struct FaultCase {
    const char* name;
    StationFaults faults;
    int retry;
    bool isWrite;
    const char* error; // the whole text after the last attempt
};

void PrintTo(const FaultCase& c, std::ostream* os) { *os << c.name; }

class FaultTest : public DriverOverPty, public ::testing::WithParamInterface<FaultCase> {};

TEST_P(FaultTest, GivesTheDriversTextAfterRetryPlusOneAttempts)
{
    const FaultCase& c = GetParam();
    line.setFaults(1, c.faults);
    port->setRetry(c.retry);
    if (c.isWrite)
        EXPECT_FALSE(write(Word, 1, "HR100", "01 00"));
    else
        EXPECT_TRUE(read(Word, 1, "HR100").isEmpty());
    EXPECT_TRUE(driver->hasError());
    EXPECT_EQ(driver->getLastError().toStdString(), c.error);
    EXPECT_EQ(line.requestCount(1), c.retry + 1);
}

// A late reply would answer the retry's identical request, so that case has none.
INSTANTIATE_TEST_SUITE_P(
    Injected, FaultTest,
    ::testing::Values(
        FaultCase{"SilentStation", faults([](StationFaults& f) { f.silent = true; }), 2, false,
                  "PLC no response (read 1 word(s) from 1-HR100)"},
        FaultCase{"ReplyLaterThanTheTimeOut", faults([](StationFaults& f) { f.replyDelayMs = 150; }), 0, false,
                  "PLC no response (read 1 word(s) from 1-HR100)"},
        FaultCase{"LastByteDropped", faults([](StationFaults& f) { f.dropReplyBytes = 1; }), 1, false,
                  "packet loss (read 1 word(s) from 1-HR100)"},
        FaultCase{"ReplyShorterThanFive", faults([](StationFaults& f) { f.dropReplyBytes = 4; }), 1, false,
                  "received bytes < 5 (read 1 word(s) from 1-HR100)"},
        FaultCase{"CorruptedCrc", faults([](StationFaults& f) { f.corruptCrc = true; }), 1, false,
                  "CRC error (read 1 word(s) from 1-HR100)"},
        FaultCase{"WrongSlaveId", faults([](StationFaults& f) { f.wrongSlaveId = 7; }), 1, false,
                  "invalid slave id:7 (read 1 word(s) from 1-HR100)"},
        FaultCase{"ExceptionOnRead", faults([](StationFaults& f) { f.exceptionAddress = 99; f.exceptionCode = 2; }),
                  1, false, "exception code:0x02 (read 1 word(s) from 1-HR100)"},
        FaultCase{"ExceptionOnWrite", faults([](StationFaults& f) { f.exceptionAddress = 99; f.exceptionCode = 0x0B; }),
                  2, true, "exception code:0x0B (write 1 word to 1-HR100)"}),
    [](const ::testing::TestParamInfo<FaultCase>& info) { return std::string(info.param.name); });

TEST_F(DriverOverPty, StationTwoAnswersRightAfterStationOne)
{
    line.setHoldingRegister(1, 0, 11);
    line.setHoldingRegister(2, 0, 22);
    for (int station : {1, 2, 1, 2}) {
        port->setStationId(station);
        EXPECT_EQ(hex(read(Word, 1, "HR1")), station == 1 ? "0b 00" : "16 00") << "station " << station;
    }
}

TEST_F(DriverOverPty, FanOutWritesRegister1299OfEveryListedStationAndResumesWhereItFailed)
{
    // HR60000 = 3 stations, HR60001..HR60003 = 1, 2, 3; the list lives in the driver.
    ASSERT_TRUE(write(Word, 4, "HR60000", "03 00 01 00 02 00 03 00"));
    ASSERT_TRUE(line.requests().empty());
    line.setFaults(2, faults([](StationFaults& f) { f.silent = true; f.remaining = 1; }));
    port->setRetry(1);
    EXPECT_TRUE(write(Word, 1, "HR60010", "ef be"));
    EXPECT_FALSE(driver->hasError()) << driver->getLastError().toStdString();
    for (int station : {1, 2, 3}) {
        EXPECT_EQ(line.holdingRegister(station, 1299), 0xBEEF) << "station " << station;
        EXPECT_EQ(line.requestCount(station), station == 2 ? 2 : 1) << "station " << station;
    }
}

} // namespace
