// Arbitrary bytes heard on a line, in reads of arbitrary size and timing: the
// splitter and the decoder stay inside their buffers, and the frames they cut
// hold every byte heard, once, in order.
#include <cstddef>
#include <cstdint>

#include "monitor/frame_splitter.h"
#include "monitor/transaction_decoder.h"
#include "monitor/transaction_format.h"

namespace {

const int Bauds[] = {1200, 9600, 19200, 115200};

void show(const std::vector<MonitoredTransaction>& transactions)
{
    for (const MonitoredTransaction& t : transactions) {
        if (formatTransaction(t).isEmpty() || formatTransactionJson(t).isEmpty())
            __builtin_trap();
    }
}

} // namespace

// Input: one byte of line settings, then reads: length (low 6 bits), silence
// before it in quarter characters, the bytes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    LineSettings line;
    line.baud = Bauds[data[0] % 4];
    line.parity = data[0] & 4 ? 'E' : 'N';
    line.stopBits = data[0] & 8 ? 2 : 1;
    FrameSplitter splitter(line);
    TransactionDecoder decoder(50 * splitter.characterNs());
    QByteArray heard, cut;
    long long now = 0;
    const auto take = [&](const std::vector<LineFrame>& frames) {
        for (const LineFrame& frame : frames) {
            cut += frame.bytes;
            show(decoder.take(frame));
        }
    };
    size_t at = 1;
    while (at + 2 <= size) {
        const int length = data[at] & 0x3F;
        now += data[at + 1] * splitter.characterNs() / 4;
        at += 2;
        const int available = static_cast<int>(std::min<size_t>(static_cast<size_t>(length), size - at));
        const char* bytes = reinterpret_cast<const char*>(data + at);
        at += static_cast<size_t>(available);
        now += available * splitter.characterNs();
        take(available > 0 ? splitter.feed(bytes, available, now) : splitter.idle(now));
        heard.append(bytes, available);
        show(decoder.expire(now));
    }
    take(splitter.finish());
    show(decoder.finish());
    if (cut != heard)
        __builtin_trap();
    return 0;
}
