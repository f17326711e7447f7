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
    if (words.first() == QLatin1String("TX")) {
        flushReply();
        LineFrame request;
        request.bytes = bytes;
        request.startNs = ns;
        request.endNs = ns;
        pcap.write(request);
    } else if (words.first() == QLatin1String("RX") && !bytes.isEmpty()) {
        if (reply.bytes.isEmpty())
            reply.startNs = ns;
        reply.bytes += bytes;
        reply.endNs = ns;
    }
    // Anything else is a note about the line, not a frame.
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
