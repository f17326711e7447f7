#ifndef MONITOR_TRANSACTION_FORMAT_H
#define MONITOR_TRANSACTION_FORMAT_H

#include "monitor/monitored_transaction.h"

#include <QString>

// One line per transaction, seconds of the monotonic clock first, as the port's trace:
//   [  12.345678] station 1 fn 3 read HR100 x2 = 4660 22136 (4.1 ms)
//   [  12.351234] station 1 fn 6 write FN6HR50 x1 = 43981, exception 0x02 (illegal data address) (3.9 ms)
//   [  12.400000] station 2 fn 3 read HR1 x1: no reply
// The time in brackets after a reply is the servo's: from the end of the request
// to the start of the reply.
QString formatTransaction(const MonitoredTransaction& transaction);

// The same as one JSON object on one line, for scripts: time (seconds), station,
// function, operation ("read", "write" or null), address, count, values,
// exception (null or the code), problem (null or its text), responseMs (null
// when no reply), request and reply (the frames in hex, "" when absent).
QString formatTransactionJson(const MonitoredTransaction& transaction);

// "01 03 00 63 00 0A 35 D3"
QString hexBytes(const QByteArray& bytes);

#endif
