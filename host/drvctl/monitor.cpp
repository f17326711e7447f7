// drvctl monitor: listen-only decoding of a line that another master drives.
#include "drvctl/exit_codes.h"
#include "drvctl/session.h"
#include "drvctl/stop_signals.h"
#include "monitor/frame_splitter.h"
#include "monitor/pcap_writer.h"
#include "monitor/transaction_decoder.h"
#include "monitor/transaction_format.h"
#include "port/monotonic_clock.h"
#include "simulator/servo_line.h"

#include <QJsonArray>
#include <QStringList>
#include <algorithm>

namespace {

// Frames through the decoder to the output, and into the pcap file as they pass.
class MonitorSink {
public:
    MonitorSink(const Output& out, bool raw, PcapWriter* pcap) : out(out), raw(raw), pcap(pcap) {}

    void frames(const std::vector<LineFrame>& frames, TransactionDecoder* decoder)
    {
        for (const LineFrame& frame : frames) {
            if (pcap->isOpen())
                pcap->write(frame);
            print(decoder->take(frame));
        }
    }

    void print(const std::vector<MonitoredTransaction>& transactions)
    {
        for (const MonitoredTransaction& t : transactions) {
            ++seen;
            if (t.problem != LineProblem::None)
                ++troubled;
            QString text = formatTransaction(t);
            if (raw) {
                if (!t.request.bytes.isEmpty())
                    text += QStringLiteral("\n    request %1").arg(hexBytes(t.request.bytes));
                if (!t.reply.bytes.isEmpty())
                    text += QStringLiteral("\n    reply   %1").arg(hexBytes(t.reply.bytes));
            }
            if (out.json())
                out.line(formatTransactionJson(t));
            else
                out.line(text);
        }
    }

    int seen = 0;
    int troubled = 0;

private:
    const Output& out;
    bool raw;
    PcapWriter* pcap;
};

} // namespace

int Session::monitor(const Invocation& request)
{
    LineSettings line;
    int status = lineSettings(&line);
    if (status != ExitSuccess)
        return status;
    QString device = request.device;
    if (device.isEmpty()) {
        // A line nobody drives shows nothing, so the simulated line is started and
        // its tap watched; its path is printed first, for driving it from another
        // shell (drvctl poll --device PATH): a user sees both sides at once.
        status = startSimulatedLine(request.line.isEmpty() ? nullptr : &line);
        if (status != ExitSuccess)
            return status;
        std::string error;
        device = QString::fromStdString(simulatedLine->openTap(&error));
        if (device.isEmpty())
            return out.failure(QStringLiteral("cannot open the simulated line's tap: %1").arg(QString::fromStdString(error)), ExitSetup);
    }

    // Opened like any port, for its line settings; nothing is ever sent on it.
    SerialPortOptions options;
    options.device = device;
    options.line = line;
    SerialPort listener(options);
    if (!listener.open())
        return out.failure(listener.errorString(), ExitSetup);
    if (simulatedLine) { // listening from here on, so the path can be handed out
        const QString path = QString::fromStdString(simulatedLine->devicePath());
        out.result(QJsonObject{{QStringLiteral("device"), path}}, path);
        out.note(QStringLiteral("monitoring the simulated line; drive it from another shell, e.g. "
                                "drvctl poll HR1300 --device %1; Ctrl-C stops")
                     .arg(path));
    }
    PcapWriter pcap;
    QString error;
    if (!request.pcapFile.isEmpty() && !pcap.open(request.pcapFile, &error))
        return out.failure(error, ExitSetup);

    FrameSplitter splitter(line);
    TransactionDecoder decoder;
    MonitorSink sink(out, request.raw, &pcap);
    // Wake at least once a silence, so that a frame ends when the line goes quiet.
    const int wakeMs = static_cast<int>(std::max(1LL, splitter.boundaryNs() / 1000000));
    char buffer[512];
    while (!waitForStopSignal(0)) {
        const int got = listener.listen(buffer, sizeof buffer, wakeMs);
        const long long now = monotonicNs();
        if (got < 0)
            break; // the adapter is gone
        if (got > 0)
            sink.frames(splitter.feed(buffer, got, now), &decoder);
        sink.frames(splitter.idle(now), &decoder);
        sink.print(decoder.expire(now));
    }
    sink.frames(splitter.finish(), &decoder);
    sink.print(decoder.finish());
    pcap.close();
    out.result(QJsonObject{{QStringLiteral("summary"), true},
                           {QStringLiteral("transactions"), sink.seen},
                           {QStringLiteral("problems"), sink.troubled}},
               QStringLiteral("--- %1 transaction(s), %2 with problems ---").arg(sink.seen).arg(sink.troubled));
    return ExitSuccess;
}
