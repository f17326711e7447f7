#include "drvctl/trace_capture.h"

#include <QStringList>

bool TraceCapture::open(const QString& path, QString* error)
{
    return pcap.open(path, error);
}

void TraceCapture::take(const QString& traceLine)
{
    const int close = traceLine.indexOf(QLatin1Char(']'));
    if (!traceLine.startsWith(QLatin1Char('[')) || close < 0)
        return;
    bool ok = false;
    const long long ns = static_cast<long long>(traceLine.midRef(1, close - 1).trimmed().toDouble(&ok) * 1e9);
    const QStringList words = traceLine.mid(close + 1).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (!ok || words.isEmpty())
        return;
    const QByteArray bytes = QByteArray::fromHex(words.mid(1).join(QString()).toLatin1());
    const QString& direction = words.first();
    if (direction == QLatin1String("TX") || direction == QLatin1String("LATE")) {
        // A request, or a reply that came too late for its request: a frame of its own.
        flushReply();
        LineFrame frame;
        frame.bytes = bytes;
        frame.startNs = ns;
        frame.endNs = ns;
        pcap.write(frame);
    } else if (direction == QLatin1String("RX") && !bytes.isEmpty()) {
        if (reply.bytes.isEmpty())
            reply.startNs = ns;
        reply.bytes += bytes;
        reply.endNs = ns;
    }
    // ECHO? bytes come again as RX; anything else is a note about the line.
}

void TraceCapture::finish()
{
    flushReply();
    pcap.close();
}

void TraceCapture::flushReply()
{
    if (!reply.bytes.isEmpty())
        pcap.write(reply);
    reply = LineFrame();
}
