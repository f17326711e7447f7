#ifndef PORT_LINE_PORT_H
#define PORT_LINE_PORT_H

#include <QString>
#include <functional>

#include "interface/abstract_device_interface.h"
#include "port/frame_trace.h"

// The four numbers of a driver record that the driver asks the port for.
struct TransactionSettings {
    int timeoutMs = 500; // the wait for a reply's first byte
    int retry = 3;
    int stationId = 1;
    int delayMs = 0;
};

// What drvctl needs of a line beyond the driver's calls, the same for every kind
// of port (a serial device; a device server over TCP): open and close it, the
// transaction settings, the trace, waits that Ctrl-C ends, the line's own faults
// told apart from a silent servo, and the time spent on the line.
class LinePort : public AbstractDeviceInterface {
public:
    explicit LinePort(const TransactionSettings& settings) : transaction(settings) {}

    virtual bool open() = 0;
    virtual void close() = 0;
    virtual bool isOpen() const = 0;
    // Why open() failed, as the user reads it.
    virtual QString errorString() const = 0;
    // The line as the user named it (a device path).
    virtual QString name() const = 0;
    // For a listen-only monitor: waits up to waitMs for input and returns at once
    // whatever has come (at most maxLength bytes), 0 if nothing did, -1 when the
    // port is closed, the line gone (lost()) or the wait stopped.
    virtual int listen(char* buffer, int maxLength, int waitMs) = 0;
    virtual void setTraceSink(std::function<void(const QString&)> sink) = 0;
    virtual void setTraceByteSink(TraceByteSink sink) = 0;

    // The line went away under the open port (unplugged, closed, reset): then
    // every call fails at once until open() succeeds again. The text is the
    // system's ("Input/output error").
    bool lost() const { return !lostText.isEmpty(); }
    QString lostReason() const { return lostText; }

    // Why the port did not send the last request, where it could not have told
    // its reply from something else (empty when it sent it).
    virtual QString doubt() const { return QString(); }

    // Every wait of the port also ends when stopFd becomes readable (drvctl's
    // Ctrl-C); from then on the port sends nothing and waits for nothing, and
    // asks the driver for no pause and no retry, until clearStop().
    void setStopFd(int fd) { stopFd = fd; }
    bool stopped() const { return stopSeen; }
    void clearStop() { stopSeen = false; }

    // Time on the line since resetLineTime(): for each request whose reply came,
    // from its first byte leaving to the reply's last byte arriving. Neither the
    // quiet gap before a request nor the driver's delay is in it.
    long long lineTimeNs() const;
    void resetLineTime();

    const TransactionSettings& transactionSettings() const { return transaction; }
    // For a host that changes them between commands on an open line.
    void setStationId(int id) { transaction.stationId = id; }
    void setRetry(int count) { transaction.retry = count; }
    void setDelay(int ms) { transaction.delayMs = ms; }
    void setTimeoutMs(int ms) { transaction.timeoutMs = ms; }

    int getRetry() override { return stopSeen ? 0 : transaction.retry; }
    int getStationId() override { return transaction.stationId; }
    int getDelay() override { return stopSeen ? 0 : transaction.delayMs; }

protected:
    enum class Wait { Ready, TimedOut, Stopped, HungUp };
    // Waits until fd is ready for `events` (POLLIN or POLLOUT), the monotonic
    // clock passes deadlineNs, the stop descriptor fires or the line hangs up.
    Wait waitFor(int fd, short events, long long deadlineNs);
    // Looks whether the stop descriptor fired, without waiting.
    bool stopRequested();
    void markLost(const QString& reason) { lostText = reason; }
    void clearLost() { lostText.clear(); }

    // The time-out for a reply's first byte, from now.
    long long replyDeadlineNs() const;
    // A request's first byte leaves now; a byte of its reply arrived now.
    void requestLeaving(long long nowNs);
    void replyByte(long long nowNs);

    TransactionSettings transaction;

private:
    void closeExchange();

    int stopFd = -1;
    bool stopSeen = false;
    QString lostText;
    long long requestStartNs = -1; // of the exchange running, -1 between exchanges
    long long replyEndNs = -1;     // its reply's last byte so far, -1 before the first
    long long lineNs = 0;          // exchanges closed since resetLineTime()
};

#endif
