#ifndef SCRIPTED_PORT_H
#define SCRIPTED_PORT_H

#include <QByteArray>
#include <QList>
#include <QVariant>
#include <deque>
#include <functional>

#include "interface/abstract_device_interface.h"

// A port for tests: records every call the driver makes, in order, and serves
// scripted replies chunk by chunk. Each queued chunk answers receive() calls
// until it is used up: a receive takes at most what it asks for from the front
// chunk only, so a short chunk gives a short receive. Silence answers one
// receive with 0 (or any other count, without touching the buffer).
class ScriptedPort : public AbstractDeviceInterface {
public:
    enum class Call { SetOption, Send, Receive, GetRetry, GetStationId, GetDelay };

    struct Event {
        Call call;
        QByteArray bytes;   // Send: the frame; Receive: what was served
        int requested = 0;  // Receive: maximum length asked for
        int result = 0;     // Receive: value returned
        int optionCode = 0; // SetOption
        QVariant optionValue;
    };

    // Answers one receive() (a chunk longer than asked for is served over several calls).
    void queueBytes(const QByteArray& chunk);
    void queueHex(const char* hex) { queueBytes(QByteArray::fromHex(hex)); }
    // One receive() that returns result (0: no response, -1: port error) and writes nothing.
    void queueSilence(int result = 0);
    // Called on every send() while nothing is queued; whatever it returns is
    // queued as one chunk (empty: nothing is queued, so the receive times out).
    void setResponder(std::function<QByteArray(const QByteArray& request)> responder);

    void setRetry(int value) { retry = value; }
    void setStationId(int value) { stationId = value; }
    void setDelay(int value) { delay = value; }

    const QList<Event>& events() const { return log; }
    QList<QByteArray> sentFrames() const;
    QList<int> receiveRequests() const;
    int count(Call call) const;
    // Calls of one kind in order, e.g. to check the order of setOption and send.
    QList<Call> callSequence() const;
    void clearLog() { log.clear(); }
    bool scriptUsedUp() const { return script.empty(); }

    int receive(char* buffer, int maxLength) override;
    int send(const char* data, int length) override;
    bool setOption(int code, const QVariant& value) override;
    int getRetry() override;
    int getStationId() override;
    int getDelay() override;

private:
    struct Chunk {
        bool silence = false;
        int silenceResult = 0;
        QByteArray bytes;
    };
    std::deque<Chunk> script;
    std::function<QByteArray(const QByteArray&)> responder;
    QList<Event> log;
    int retry = 0;
    int stationId = 1;
    int delay = 0;
};

#endif
