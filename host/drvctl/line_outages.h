#ifndef DRVCTL_LINE_OUTAGES_H
#define DRVCTL_LINE_OUTAGES_H

#include <QJsonObject>
#include <QString>

class LinePort;
class Output;

// A line that went away under poll or monitor (an adapter unplugged, a device
// server gone): said once, the same path opened again every second until the
// line is back or Ctrl-C, and the time without it counted for the summary. The
// one reopening loop for every kind of port.
class LineOutages {
public:
    // After port.lost(): true when the port is open again, false when Ctrl-C came first.
    bool waitForLine(LinePort& port, const Output& out);
    bool any() const { return outages > 0; }
    // ", line lost 2 time(s), 12.3 s without a line" for the summary; empty when never.
    QString summaryText() const;
    void addTo(QJsonObject* summary) const;

private:
    int outages = 0;
    long long withoutNs = 0;
};

#endif
