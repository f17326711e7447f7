#ifndef MONITOR_TRANSACTION_DECODER_H
#define MONITOR_TRANSACTION_DECODER_H

#include "monitor/monitored_transaction.h"

#include <vector>

// Pairs the frames of a line, in the order they passed, into transactions. A
// frame after a request is its reply when it can be one (right function, or an
// exception, or anything that is no request of its own); otherwise the request
// had no reply. Bytes cut off a reply without a silence before them are extra
// bytes of that reply, so a finished transaction is held until the next frame
// or expire() shows that nothing more belongs to it.
class TransactionDecoder {
public:
    explicit TransactionDecoder(long long replyTimeoutNs = 1000000000LL);

    // The transactions that this frame completes (usually one or none).
    std::vector<MonitoredTransaction> take(const LineFrame& frame);
    // No frame until nowNs: releases a finished transaction, and a request that
    // has waited longer than the reply time-out as unanswered. Call it once the
    // frames of a FrameSplitter::feed() or idle() have all been taken.
    std::vector<MonitoredTransaction> expire(long long nowNs);
    // End of the capture: everything held.
    std::vector<MonitoredTransaction> finish();

private:
    void startTransaction(const LineFrame& frame);
    bool takeAsReply(const LineFrame& frame);
    void release(std::vector<MonitoredTransaction>* done);

    long long replyTimeout;
    MonitoredTransaction current;
    bool holding = false;  // current is filled
    bool awaiting = false; // and waits for its reply
};

#endif
