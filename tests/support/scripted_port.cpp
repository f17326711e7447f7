#include "support/scripted_port.h"

#include <cstring>

void ScriptedPort::queueBytes(const QByteArray& chunk)
{
    Chunk entry;
    entry.bytes = chunk;
    script.push_back(entry);
}

void ScriptedPort::queueSilence(int result)
{
    Chunk entry;
    entry.silence = true;
    entry.silenceResult = result;
    script.push_back(entry);
}

void ScriptedPort::setResponder(std::function<QByteArray(const QByteArray&)> answer)
{
    responder = std::move(answer);
}

int ScriptedPort::receive(char* buffer, int maxLength)
{
    Event event;
    event.call = Call::Receive;
    event.requested = maxLength;
    if (script.empty() || maxLength <= 0) {
        event.result = 0;
    } else if (script.front().silence) {
        event.result = script.front().silenceResult;
        script.pop_front();
    } else {
        Chunk& front = script.front();
        const int served = qMin(maxLength, front.bytes.size());
        std::memcpy(buffer, front.bytes.constData(), static_cast<size_t>(served));
        event.bytes = front.bytes.left(served);
        event.result = served;
        front.bytes.remove(0, served);
        if (front.bytes.isEmpty())
            script.pop_front();
    }
    log.append(event);
    return event.result;
}

int ScriptedPort::send(const char* data, int length)
{
    Event event;
    event.call = Call::Send;
    event.bytes = QByteArray(data, length);
    log.append(event);
    if (responder && script.empty()) {
        const QByteArray reply = responder(event.bytes);
        if (!reply.isEmpty())
            queueBytes(reply);
    }
    return length;
}

bool ScriptedPort::setOption(int code, const QVariant& value)
{
    Event event;
    event.call = Call::SetOption;
    event.optionCode = code;
    event.optionValue = value;
    log.append(event);
    return true;
}

int ScriptedPort::getRetry()
{
    log.append(Event{Call::GetRetry, {}, 0, 0, 0, {}});
    return retry;
}

int ScriptedPort::getStationId()
{
    log.append(Event{Call::GetStationId, {}, 0, 0, 0, {}});
    return stationId;
}

int ScriptedPort::getDelay()
{
    log.append(Event{Call::GetDelay, {}, 0, 0, 0, {}});
    return delay;
}

QList<QByteArray> ScriptedPort::sentFrames() const
{
    QList<QByteArray> frames;
    for (const Event& event : log)
        if (event.call == Call::Send)
            frames.append(event.bytes);
    return frames;
}

QList<int> ScriptedPort::receiveRequests() const
{
    QList<int> requests;
    for (const Event& event : log)
        if (event.call == Call::Receive)
            requests.append(event.requested);
    return requests;
}

int ScriptedPort::count(Call call) const
{
    int n = 0;
    for (const Event& event : log)
        n += event.call == call ? 1 : 0;
    return n;
}

QList<ScriptedPort::Call> ScriptedPort::callSequence() const
{
    QList<Call> calls;
    for (const Event& event : log)
        calls.append(event.call);
    return calls;
}
