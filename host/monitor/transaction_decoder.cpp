#include "monitor/transaction_decoder.h"
#include "rtu/rtu_frame.h"

namespace {

const uint8_t* bytesOf(const QByteArray& frame)
{
    return reinterpret_cast<const uint8_t*>(frame.constData());
}

int byteAt(const QByteArray& frame, int index)
{
    return index >= 0 && index < frame.size() ? static_cast<uint8_t>(frame[index]) : 0;
}

int wordAt(const QByteArray& frame, int index)
{
    return (byteAt(frame, index) << 8) | byteAt(frame, index + 1);
}

bool crcGood(const QByteArray& frame)
{
    return Rtu::crcMatches(bytesOf(frame), static_cast<size_t>(frame.size()));
}

int requestLengthOf(const QByteArray& frame)
{
    return Rtu::requestLength(bytesOf(frame), static_cast<size_t>(frame.size()));
}

// Data bytes run from `from` up to the CRC.
std::vector<int> bitsFrom(const QByteArray& frame, int from, int count)
{
    std::vector<int> bits;
    for (int i = 0; i < count && from + i / 8 < frame.size() - 2; ++i)
        bits.push_back((byteAt(frame, from + i / 8) >> (i % 8)) & 1);
    return bits;
}

std::vector<int> wordsFrom(const QByteArray& frame, int from, int count)
{
    std::vector<int> words;
    for (int i = 0; i < count && from + 2 * i + 1 < frame.size() - 2; ++i)
        words.push_back(wordAt(frame, from + 2 * i));
    return words;
}

void describeRequest(MonitoredTransaction* t, bool withValues)
{
    const QByteArray& frame = t->request.bytes;
    const char* area = Rtu::areaOf(t->function);
    if (area == nullptr || frame.size() < 6)
        return;
    t->address = QLatin1String(area) + QString::number(wordAt(frame, 2) + 1);
    t->isWrite = t->function >= 5;
    t->count = t->function == 5 || t->function == 6 ? 1 : wordAt(frame, 4);
    if (!withValues)
        return;
    if (t->function == 5) {
        const int value = wordAt(frame, 4);
        t->values = {value == 0xFF00 ? 1 : value == 0 ? 0 : value};
    } else if (t->function == 6) {
        t->values = {wordAt(frame, 4)};
    } else if (t->function == 15) {
        t->values = bitsFrom(frame, 7, t->count);
    } else if (t->function == 16) {
        t->values = wordsFrom(frame, 7, t->count);
    }
}

void describeReply(MonitoredTransaction* t)
{
    const QByteArray& frame = t->reply.bytes;
    if (byteAt(frame, 1) & 0x80)
        t->exceptionCode = byteAt(frame, 2);
    else if (t->function == 1 || t->function == 2)
        t->values = bitsFrom(frame, 3, t->count);
    else if (t->function == 3 || t->function == 4)
        t->values = wordsFrom(frame, 3, t->count);
}

void setProblem(MonitoredTransaction* t, LineProblem problem, int value = 0, int expected = 0)
{
    if (t->problem != LineProblem::None)
        return;
    t->problem = problem;
    t->problemValue = value;
    t->expectedLength = expected;
}

} // namespace

TransactionDecoder::TransactionDecoder(long long replyTimeoutNs) : replyTimeout(replyTimeoutNs) {}

std::vector<MonitoredTransaction> TransactionDecoder::take(const LineFrame& frame)
{
    std::vector<MonitoredTransaction> done;
    if (frame.bytes.isEmpty())
        return done;
    if (holding && awaiting && takeAsReply(frame))
        return done;
    if (holding && !awaiting && !frame.afterSilence) {
        LineFrame& last = current.reply.bytes.isEmpty() ? current.request : current.reply;
        last.bytes += frame.bytes;
        last.endNs = frame.endNs;
        if (current.problem == LineProblem::ExtraBytes)
            current.problemValue += frame.bytes.size();
        setProblem(&current, LineProblem::ExtraBytes, frame.bytes.size());
        return done;
    }
    release(&done);
    startTransaction(frame);
    return done;
}

std::vector<MonitoredTransaction> TransactionDecoder::expire(long long nowNs)
{
    std::vector<MonitoredTransaction> done;
    if (holding && (!awaiting || nowNs - current.request.endNs >= replyTimeout))
        release(&done);
    return done;
}

std::vector<MonitoredTransaction> TransactionDecoder::finish()
{
    std::vector<MonitoredTransaction> done;
    release(&done);
    return done;
}

void TransactionDecoder::release(std::vector<MonitoredTransaction>* done)
{
    if (!holding)
        return;
    if (awaiting)
        setProblem(&current, LineProblem::NoReply);
    done->push_back(current);
    holding = awaiting = false;
}

void TransactionDecoder::startTransaction(const LineFrame& frame)
{
    current = MonitoredTransaction();
    holding = true;
    awaiting = false;
    const QByteArray& bytes = frame.bytes;
    current.timeNs = frame.startNs;
    current.station = bytes.size() >= 1 ? byteAt(bytes, 0) : -1;
    current.function = bytes.size() >= 2 ? byteAt(bytes, 1) : -1;
    const int layout = requestLengthOf(bytes);
    const bool good = crcGood(bytes);
    if (good && (layout == bytes.size() || layout == Rtu::UnknownLength)) {
        current.request = frame;
        describeRequest(&current, true);
        awaiting = current.station != 0; // nobody answers a broadcast
        return;
    }
    if (!good && layout > 0) {
        // A request's layout with a damaged frame: a reply may still come.
        current.request = frame;
        describeRequest(&current, false);
        if (bytes.size() < layout)
            setProblem(&current, LineProblem::TruncatedFrame, bytes.size(), layout);
        else
            setProblem(&current, LineProblem::BadCrc);
        awaiting = current.station != 0;
        return;
    }
    current.reply = frame;
    if (bytes.size() < Rtu::MinFrameLength)
        setProblem(&current, LineProblem::TruncatedFrame, bytes.size());
    else
        setProblem(&current, LineProblem::NoRequest);
}

bool TransactionDecoder::takeAsReply(const LineFrame& frame)
{
    const QByteArray& bytes = frame.bytes;
    const int size = bytes.size();
    const bool good = crcGood(bytes);
    const int function = byteAt(bytes, 1);
    const bool sameFunction = size >= 2 && (function & 0x7F) == current.function;
    const int expected = sameFunction && (function & 0x80) ? Rtu::ExceptionReplyLength
                                                           : Rtu::normalReplyLength(current.function, current.count);
    const bool wholeRequest = good && requestLengthOf(bytes) == size;
    // A request that cannot be the reply (a retry of a read, the next command)
    // means this one went unanswered.
    if (wholeRequest && !(sameFunction && size == expected))
        return false;
    current.reply = frame;
    awaiting = false;
    if (size < Rtu::MinFrameLength || (!good && size < expected))
        setProblem(&current, LineProblem::TruncatedFrame, size, size < expected ? expected : 0);
    else if (!good && expected > 0 && size > expected && Rtu::crcMatches(bytesOf(bytes), expected))
        setProblem(&current, LineProblem::ExtraBytes, size - expected);
    else if (!good)
        setProblem(&current, LineProblem::BadCrc);
    else if (byteAt(bytes, 0) != current.station)
        setProblem(&current, LineProblem::WrongStation, byteAt(bytes, 0));
    else if (!sameFunction)
        setProblem(&current, LineProblem::WrongFunction, function);
    else if (expected > 0 && size != expected)
        setProblem(&current, LineProblem::WrongLength, size, expected);
    if (current.problem == LineProblem::None || current.problem == LineProblem::ExtraBytes)
        describeReply(&current);
    return true;
}
