// The line monitor over real pseudo-terminals: a driver session on the simulated
// line seen through its listen-only tap, decoded, saved as pcap and read back by
// Wireshark's tshark.
#include "host_test_support.h"
#include "monitor/frame_splitter.h"
#include "monitor/pcap_writer.h"
#include "monitor/transaction_decoder.h"
#include "monitor/transaction_format.h"
#include "monitor_test_support.h"
#include "port/monotonic_clock.h"
#include "simulator/servo_line.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QStringList>
#include <QTemporaryDir>
#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

using namespace monitor_test;

namespace {

// Reads the tap as a monitor does: every read stamped, cut into frames, paired.
class TapListener {
public:
    TapListener(const std::string& path, const LineSettings& line)
        : tap(portOptions(path, 0)), splitter(line), decoder(300 * Ms)
    {
        if (tap.open())
            reader = std::thread([this] { run(); });
    }
    ~TapListener() { stop(); }
    bool listening() const { return tap.isOpen(); }
    void stop()
    {
        running = false;
        if (reader.joinable())
            reader.join();
        std::lock_guard<std::mutex> guard(lock);
        keep(splitter.finish());
        for (const auto& t : decoder.finish())
            transactions.push_back(t);
    }
    // Waits until the line has been quiet long enough for everything to be out.
    std::vector<MonitoredTransaction> settled()
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        std::lock_guard<std::mutex> guard(lock);
        std::vector<MonitoredTransaction> out;
        out.swap(transactions);
        return out;
    }
    std::vector<LineFrame> frames;

private:
    void keep(const std::vector<LineFrame>& cut)
    {
        for (const LineFrame& frame : cut) {
            frames.push_back(frame);
            for (const auto& t : decoder.take(frame))
                transactions.push_back(t);
        }
    }
    void run()
    {
        char chunk[512];
        while (running) {
            const int got = tap.listen(chunk, sizeof chunk, 1);
            const long long readNs = monotonicNs();
            std::lock_guard<std::mutex> guard(lock);
            keep(got > 0 ? splitter.feed(chunk, got, readNs) : splitter.idle(readNs));
            for (const auto& t : decoder.expire(readNs))
                transactions.push_back(t);
        }
    }

    SerialPort tap; // opening it discards what the line said before
    FrameSplitter splitter;
    TransactionDecoder decoder;
    std::vector<MonitoredTransaction> transactions;
    std::mutex lock;
    std::atomic<bool> running{true};
    std::thread reader;
};

// The driver on the simulated line at 9600 baud, a monitor on its tap, and the
// port's trace recording what the driver sent and got.
class MonitoredSession : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(line.start(&error)) << error;
        const std::string tap = line.openTap(&error);
        ASSERT_FALSE(tap.empty()) << error;
        listener = std::make_unique<TapListener>(tap, line9600());
        ASSERT_TRUE(listener->listening());
        driver = createDriver();
        ASSERT_TRUE(driver);
        SerialPortOptions options = portOptions(line.devicePath(), 150);
        options.interFrameGap = true;
        options.retry = 0;
        port = std::make_unique<SerialPort>(options);
        port->setTraceSink([this](const QString& text) {
            const QString frame = text.section(QLatin1String("] "), 1); // "TX 01 03 ..."
            if (frame.startsWith(QLatin1String("TX "))) {
                sent << frame.mid(3);
                got << QString();
            } else if (frame.startsWith(QLatin1String("RX ")) && !got.isEmpty()) {
                got.last() = (got.last() + QLatin1Char(' ') + frame.mid(3)).trimmed();
            }
        });
        ASSERT_TRUE(port->open());
        driver->initialize(port.get());
    }

    ServoLine line;
    std::unique_ptr<TapListener> listener;
    std::unique_ptr<DriverInterface> driver;
    std::unique_ptr<SerialPort> port;
    QStringList sent, got; // one entry per request, the reply bytes the driver read
};

TEST_F(MonitoredSession, DecodesEveryFunctionCodeAndEveryFaultAsTheDriverSawThem)
{
    line.setHoldingRegister(1, 99, 0x1234);
    line.setHoldingRegister(1, 100, 1);
    line.setInputRegister(1, 4, 0xBEEF);
    line.setCoil(1, 4, true);
    line.setCoil(1, 6, true);
    line.setDiscreteInput(1, 6, true);
    const struct {
        std::function<void(StationFaults&)> fault;
        bool isWrite;
        int type, count;
        const char* address;
        const char* data; // written, in host order
        const char* decoded;
    } cases[] = {
        {{}, false, Bit, 3, "DO5", "", "station 1 fn 1 read DO5 x3 = 1 0 1"},
        {{}, false, Bit, 2, "DI6", "", "station 1 fn 2 read DI6 x2 = 0 1"},
        {{}, false, Word, 2, "HR100", "", "station 1 fn 3 read HR100 x2 = 4660 1"},
        {{}, false, Word, 1, "IR5", "", "station 1 fn 4 read IR5 x1 = 48879"},
        {{}, true, Bit, 1, "FN5DO9", "01", "station 1 fn 5 write FN5DO9 x1 = 1"},
        {{}, true, Word, 1, "FN6HR50", "cd ab", "station 1 fn 6 write FN6HR50 x1 = 43981"},
        {{}, true, Bit, 3, "DO5", "00 01 01", "station 1 fn 15 write DO5 x3 = 0 1 1"},
        {{}, true, Word, 2, "HR60", "34 12 78 56", "station 1 fn 16 write HR60 x2 = 4660 22136"},
        {[](StationFaults& f) { f.silent = true; }, false, Word, 1, "HR100", "", "station 1 fn 3 read HR100 x1: no reply"},
        {[](StationFaults& f) { f.dropReplyBytes = 2; }, false, Word, 1, "HR100", "",
         "station 1 fn 3 read HR100 x1: truncated frame (5 of 7 bytes)"},
        {[](StationFaults& f) { f.corruptCrc = true; }, false, Word, 1, "HR100", "", "station 1 fn 3 read HR100 x1: bad CRC"},
        {[](StationFaults& f) { f.wrongSlaveId = 7; }, false, Word, 1, "HR100", "",
         "station 1 fn 3 read HR100 x1: reply from station 7"},
        {[](StationFaults& f) { f.wrongFunctionCode = true; }, false, Word, 1, "HR100", "",
         "station 1 fn 3 read HR100 x1: reply with function 4"},
        {[](StationFaults& f) { f.extraReplyBytes = 3; }, false, Word, 1, "HR100", "",
         "station 1 fn 3 read HR100 x1 = 4660, 3 extra bytes after the reply"},
        {[](StationFaults& f) { f.exceptionAddress = 99; f.exceptionCode = 2; }, true, Word, 1, "HR100", "01 00",
         "station 1 fn 16 write HR100 x1 = 1, exception 0x02 (illegal data address)"},
        {[](StationFaults& f) { f.replyDelayMs = 40; }, false, Word, 1, "HR100", "", "station 1 fn 3 read HR100 x1 = 4660"},
    };
    QStringList expected, decoded;
    std::vector<MonitoredTransaction> transactions;
    for (const auto& c : cases) {
        StationFaults faults;
        if (c.fault)
            c.fault(faults);
        line.setFaults(1, faults);
        const CommunicatorCommand command(c.type, c.count, QString::fromLatin1(c.address));
        if (c.isWrite)
            driver->write(port.get(), command, QByteArray::fromHex(c.data));
        else
            driver->read(port.get(), command);
        expected << QString::fromLatin1(c.decoded);
        for (const auto& t : listener->settled())
            transactions.push_back(t);
    }
    listener->stop();
    for (const auto& t : listener->settled())
        transactions.push_back(t);
    for (const auto& t : transactions)
        decoded << withoutTimes(formatTransaction(t));
    EXPECT_EQ(lines(decoded), lines(expected));

    // Byte for byte what the driver sent, and what it read is where the reply starts.
    ASSERT_EQ(transactions.size(), static_cast<size_t>(sent.size()));
    for (size_t i = 0; i < transactions.size(); ++i) {
        SCOPED_TRACE(expected.value(static_cast<int>(i)).toStdString());
        EXPECT_EQ(hexBytes(transactions[i].request.bytes), sent[static_cast<int>(i)]);
        EXPECT_TRUE(hexBytes(transactions[i].reply.bytes).startsWith(got[static_cast<int>(i)]));
        EXPECT_LE(transactions[i].request.endNs, transactions[i].reply.bytes.isEmpty() ? transactions[i].request.endNs
                                                                                       : transactions[i].reply.startNs);
    }
    // The servo told to answer 40 ms late.
    const MonitoredTransaction& late = transactions.back();
    EXPECT_GE(late.reply.startNs - late.request.endNs, 40 * Ms);
}

} // namespace

namespace {

// Every frame of a driver session saved as pcap, read back by tshark as Modbus
// RTU: station, function, query or response, and register values, frame by frame.
TEST_F(MonitoredSession, SavedFramesReadBackByTsharkAsModbusRtu)
{
    line.setHoldingRegister(1, 99, 0x1234);
    line.setHoldingRegister(1, 100, 10);
    driver->read(port.get(), CommunicatorCommand(Word, 2, QStringLiteral("HR100")));
    driver->read(port.get(), CommunicatorCommand(Bit, 3, QStringLiteral("DO5")));
    driver->write(port.get(), CommunicatorCommand(Word, 2, QStringLiteral("HR60")), QByteArray::fromHex("34127856"));
    driver->write(port.get(), CommunicatorCommand(Word, 1, QStringLiteral("FN6HR50")), QByteArray::fromHex("cdab"));
    StationFaults refuse;
    refuse.exceptionAddress = 3;
    refuse.exceptionCode = 2;
    line.setFaults(1, refuse);
    driver->read(port.get(), CommunicatorCommand(Word, 1, QStringLiteral("IR4")));
    std::vector<MonitoredTransaction> transactions = listener->settled();
    listener->stop();
    for (const auto& t : listener->settled())
        transactions.push_back(t);

    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    PcapWriter pcap;
    QString error;
    ASSERT_TRUE(pcap.open(dir.filePath(QStringLiteral("line.pcap")), &error)) << error.toStdString();
    int size = 24; // classic pcap: global header, then a 16-byte header per record
    for (const LineFrame& frame : listener->frames) {
        ASSERT_TRUE(pcap.write(frame));
        size += 16 + frame.bytes.size();
    }
    pcap.close();
    QFile saved(dir.filePath(QStringLiteral("line.pcap")));
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    const QByteArray file = saved.readAll();
    EXPECT_EQ(file.size(), size);
    // Magic (microseconds), version 2.4, time zone 0, accuracy 0, snaplen 65535, link type 147.
    EXPECT_EQ(hex(file.left(24)), "d4 c3 b2 a1 02 00 04 00 00 00 00 00 00 00 00 00 ff ff 00 00 93 00 00 00");
    if (tsharkPath().isEmpty())
        GTEST_SKIP() << "tshark is not installed (scripts/install_deps.sh installs it)";

    // What we decoded, frame by frame, in tshark's fields.
    QStringList expected;
    for (const auto& t : transactions) {
        QStringList values;
        for (int value : t.values)
            values << QString::number(value);
        const bool registers = t.function == 3 || t.function == 4 || t.function == 16;
        // Wireshark cannot tell a copy from its request: functions 5 and 6 stay unclassified.
        const bool copy = t.function == 5 || t.function == 6;
        expected << QStringLiteral("%1 %2 %3 %4").arg(t.station).arg(t.function)
                        .arg(registers && t.isWrite ? values.join(QLatin1Char(',')) : QString(),
                             copy ? "unknown" : "Query");
        expected << QStringLiteral("%1 %2 %3 %4").arg(t.station).arg(t.function)
                        .arg(registers && !t.isWrite ? values.join(QLatin1Char(',')) : QString(),
                             copy ? "unknown" : t.exceptionCode != 0 ? "Response exception" : "Response");
    }
    ASSERT_EQ(static_cast<int>(listener->frames.size()), expected.size());

    const QString rows = tsharkRead(dir.filePath(QStringLiteral("line.pcap")),
                                    {"-T", "fields", "-e", "mbrtu.unit_id", "-e", "modbus.func_code", "-e",
                                     "modbus.regval_uint16", "-e", "_ws.col.Info"});
    ASSERT_FALSE(rows.isEmpty());
    QStringList decoded;
    for (const QString& row : rows.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QStringList fields = row.split(QLatin1Char('\t'));
        ASSERT_EQ(fields.size(), 4) << row.toStdString();
        const QString info = fields[3].trimmed();
        decoded << QStringLiteral("%1 %2 %3 %4%5").arg(fields[0], fields[1], fields[2], info.section(QLatin1Char(':'), 0, 0),
                                                        info.contains(QLatin1String("Exception returned")) ? " exception" : "");
    }
    EXPECT_EQ(lines(decoded), lines(expected));
}

} // namespace
