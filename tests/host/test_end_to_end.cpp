// The driver plug-in over the termios port and a real pseudo-terminal to the
// simulated servos: every function code, injected faults with the dispatch's
// retries, and the station-list fan-out.
#include "host_test_support.h"
#include "simulator/servo_line.h"

#include <gtest/gtest.h>

#include <QStringList>
#include <functional>
#include <memory>

namespace {

class DriverOverPty : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string error;
        line.setInstant(true); // short time-outs; the paced line has tests of its own
        ASSERT_TRUE(line.start(&error)) << error;
        driver = createDriver();
        ASSERT_TRUE(driver) << "CreateDriver not found in " << TECO_SERVO_PLUGIN_PATH;
        port = std::make_unique<SerialPort>(portOptions(line.devicePath(), 80));
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

// A value in station 1's 'H'olding/'I'nput registers, 'C'oils or 'D'iscrete inputs (from 0).
struct Cell {
    char bank;
    int address;
    int value;
};

// On a line that echoes and on one that does not, with the port left to find out:
// the first read shows the echo, and from then on function 5 and 6 replies, which
// equal their requests, are told from the echo too.
TEST_F(DriverOverPty, EveryFunctionCodeReachesTheServoWhetherOrNotTheLineEchoes)
{
    const struct {
        int functionCode; // 5 and above write
        int type, count;
        const char* address;
        const char* data;        // written, or expected from the read
        std::vector<Cell> servo; // set before a read, expected after a write
    } cases[] = {
        {1, Bit, 3, "DO5", "05", {{'C', 4, 1}, {'C', 6, 1}}},
        {2, Bit, 2, "DI6", "02", {{'D', 6, 1}}},
        {3, Word, 3, "HR100", "34 12 01 00 ff ff", {{'H', 99, 0x1234}, {'H', 100, 1}, {'H', 101, 0xFFFF}}},
        {4, Word, 1, "IR5", "ef be", {{'I', 4, 0xBEEF}}},
        {5, Bit, 1, "FN5DO9", "01", {{'C', 8, 1}}},
        {6, Word, 1, "FN6HR50", "cd ab", {{'H', 49, 0xABCD}}},
        {15, Bit, 3, "DO5", "01 00 01", {{'C', 4, 1}, {'C', 5, 0}, {'C', 6, 1}}},
        {16, Word, 2, "HR60", "34 12 78 56", {{'H', 59, 0x1234}, {'H', 60, 0x5678}}},
    };
    for (const bool echoes : {false, true}) {
        SCOPED_TRACE(echoes ? "echoing line" : "quiet line");
        line.setEcho(echoes);
        // A long time-out: finding out about the echo must never wait it out.
        port = std::make_unique<SerialPort>(portOptions(line.devicePath(), 1000));
        ASSERT_TRUE(port->open());
        QStringList notes;
        port->setTraceSink([&](const QString& text) {
            if (text.contains(QLatin1String("echo")))
                notes << text;
        });
        for (const auto& c : cases) {
            SCOPED_TRACE("function " + std::to_string(c.functionCode));
            line.clearRequests();
            const auto start = Clock::now();
            if (c.functionCode >= 5) {
                EXPECT_TRUE(write(c.type, c.count, c.address, c.data));
                for (const Cell& cell : c.servo)
                    EXPECT_EQ(cell.bank == 'H' ? line.holdingRegister(1, cell.address) : line.coil(1, cell.address),
                              cell.value) << cell.bank << cell.address;
            } else {
                for (const Cell& cell : c.servo) {
                    const auto value = static_cast<uint16_t>(cell.value);
                    switch (cell.bank) {
                    case 'H': line.setHoldingRegister(1, cell.address, value); break;
                    case 'I': line.setInputRegister(1, cell.address, value); break;
                    case 'C': line.setCoil(1, cell.address, value != 0); break;
                    default: line.setDiscreteInput(1, cell.address, value != 0);
                    }
                }
                EXPECT_EQ(hex(read(c.type, c.count, c.address)), c.data);
            }
            EXPECT_FALSE(driver->hasError()) << driver->getLastError().toStdString();
            EXPECT_LT(msSince(start), 500);
            ASSERT_EQ(line.requests().size(), 1u);
            EXPECT_EQ(line.requests().front()[1], c.functionCode);
            EXPECT_EQ(port->discardsEcho(), echoes);
        }
        EXPECT_EQ(notes.size(), echoes ? 1 : 0);
    }
}

TEST_F(DriverOverPty, EachInjectedFaultGivesTheDriversTextAfterRetryPlusOneAttempts)
{
    const struct {
        std::function<void(StationFaults&)> fault;
        int retry;
        bool isWrite;
        const char* error; // the whole text after the last attempt
    } cases[] = {
        {[](StationFaults& f) { f.silent = true; }, 2, false, "PLC no response (read 1 word(s) from 1-HR100)"},
        {[](StationFaults& f) { f.dropReplyBytes = 1; }, 1, false, "packet loss (read 1 word(s) from 1-HR100)"},
        {[](StationFaults& f) { f.dropReplyBytes = 4; }, 0, false, "received bytes < 5 (read 1 word(s) from 1-HR100)"},
        {[](StationFaults& f) { f.corruptCrc = true; }, 1, false, "CRC error (read 1 word(s) from 1-HR100)"},
        {[](StationFaults& f) { f.wrongSlaveId = 7; }, 1, false, "invalid slave id:7 (read 1 word(s) from 1-HR100)"},
        {[](StationFaults& f) { f.wrongFunctionCode = true; }, 1, false, "invalid response (read 1 word(s) from 1-HR100)"},
        {[](StationFaults& f) { f.exceptionAddress = 99; f.exceptionCode = 0x0B; }, 2, true,
         "exception code:0x0B (write 1 word to 1-HR100)"},
        // Last, with no retry: its late reply would answer the next identical request.
        {[](StationFaults& f) { f.replyDelayMs = 150; }, 0, false, "PLC no response (read 1 word(s) from 1-HR100)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.error);
        StationFaults faults;
        c.fault(faults);
        line.setFaults(1, faults);
        line.clearRequests();
        port->setRetry(c.retry);
        if (c.isWrite)
            EXPECT_FALSE(write(Word, 1, "HR100", "01 00"));
        else
            EXPECT_TRUE(read(Word, 1, "HR100").isEmpty());
        EXPECT_TRUE(driver->hasError());
        EXPECT_EQ(driver->getLastError().toStdString(), c.error);
        EXPECT_EQ(line.requestCount(1), c.retry + 1);
    }
}

// Station 2 is asked right after station 1 answered; station 3 fails once.
TEST_F(DriverOverPty, FanOutWritesRegister1299OfEachListedStationInTurnAndResumesWhereItFailed)
{
    // HR60000 = 3 stations, HR60001..HR60003 = 1, 2, 3; the list lives in the driver.
    ASSERT_TRUE(write(Word, 4, "HR60000", "03 00 01 00 02 00 03 00"));
    ASSERT_TRUE(line.requests().empty());
    StationFaults once;
    once.silent = true;
    once.remaining = 1;
    line.setFaults(3, once);
    port->setRetry(1);
    EXPECT_TRUE(write(Word, 1, "HR60010", "ef be"));
    EXPECT_FALSE(driver->hasError()) << driver->getLastError().toStdString();
    std::vector<int> slaves;
    for (const auto& frame : line.requests())
        slaves.push_back(frame[0]);
    EXPECT_EQ(slaves, (std::vector<int>{1, 2, 3, 3}));
    for (int station : {1, 2, 3})
        EXPECT_EQ(line.holdingRegister(station, 1299), 0xBEEF) << "station " << station;
}

} // namespace
