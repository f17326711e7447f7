#ifndef FUZZ_LINE_H
#define FUZZ_LINE_H

#include <QByteArray>
#include <QList>
#include <deque>
#include <fuzzer/FuzzedDataProvider.h>

#include "interface/abstract_device_interface.h"

// A port whose replies, chunking, retry count, station id and delay all come from
// the fuzzer's input. In framed mode it answers each request with a well-formed
// reply (right length, echo, CRC) that the input may then corrupt, so that the
// fuzzer gets past the CRC; in raw mode the reply bytes are the input's own.
// Every request is checked as it is sent.
class FuzzLine : public AbstractDeviceInterface {
public:
    FuzzLine(FuzzedDataProvider& input, bool framed, int retry, int stationId, int delay);

    int receive(char* buffer, int maxLength) override;
    int send(const char* data, int length) override;
    bool setOption(int code, const QVariant& value) override;
    int getRetry() override;
    int getStationId() override { return stationId; }
    int getDelay() override { return delay; }

    int delayValue() const { return delay; }

private:
    void queueFramedReply(const QByteArray& request);

    FuzzedDataProvider& input;
    const bool framed;
    const int retry;
    const int stationId;
    const int delay;
    // Calls left before the line turns silent and the host stops retrying, so that
    // any retry count ends (a real host would be stopped by its operator).
    int budget = 400;
    bool optionBeforeSend = false;
    std::deque<QByteArray> chunks;
};

#endif
