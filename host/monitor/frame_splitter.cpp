#include "monitor/frame_splitter.h"
#include "rtu/rtu_frame.h"

#include <algorithm>

namespace {

const uint8_t* data(const QByteArray& bytes, int from)
{
    return reinterpret_cast<const uint8_t*>(bytes.constData()) + from;
}

// Where the first frame of bytes[from..] ends, if it ends before the run does.
int frameEnd(const QByteArray& run, int from)
{
    const int left = run.size() - from;
    const uint8_t* bytes = data(run, from);
    if (Rtu::crcMatches(bytes, static_cast<size_t>(left)))
        return run.size(); // the rest is one frame
    for (int length : {Rtu::requestLength(bytes, left), Rtu::replyLength(bytes, left)}) {
        if (length >= Rtu::MinFrameLength && length < left && Rtu::crcMatches(bytes, static_cast<size_t>(length)))
            return from + length;
    }
    // A broken frame followed by a whole one that runs to the end.
    for (int start = from + 1; start <= run.size() - Rtu::MinFrameLength; ++start) {
        if (Rtu::isWholeFrame(data(run, start), static_cast<size_t>(run.size() - start)))
            return start;
    }
    return run.size();
}

} // namespace

FrameSplitter::FrameSplitter(const LineSettings& line)
{
    charNs = characterTimeNs(line);
    // 3.5 characters end a frame and 1.5 are already too many inside one: cutting
    // halfway keeps a boundary where it is when reads come a little late or early.
    const long long gapNs = interFrameGapMicros(line.baud) * 1000LL;
    thresholdNs = gapNs * 5 / 7;
}

std::vector<LineFrame> FrameSplitter::feed(const char* bytes, int length, long long readNs)
{
    std::vector<LineFrame> frames;
    if (bytes == nullptr || length <= 0)
        return frames;
    const long long firstByteNs = readNs - length * charNs;
    if (!run.isEmpty() && firstByteNs - lastByteNs >= thresholdNs)
        frames = closeRun();
    if (run.isEmpty())
        runStartNs = std::max(firstByteNs, lastByteNs);
    run.append(bytes, length);
    lastByteNs = std::max(readNs, lastByteNs);
    if (run.size() >= MaxRunBytes) {
        std::vector<LineFrame> cut = closeRun();
        frames.insert(frames.end(), cut.begin(), cut.end());
    }
    return frames;
}

std::vector<LineFrame> FrameSplitter::idle(long long nowNs)
{
    if (run.isEmpty() || nowNs - lastByteNs < thresholdNs)
        return {};
    return closeRun();
}

std::vector<LineFrame> FrameSplitter::finish()
{
    return closeRun();
}

std::vector<LineFrame> FrameSplitter::closeRun()
{
    std::vector<LineFrame> frames;
    int from = 0;
    while (from < run.size()) {
        const int end = frameEnd(run, from);
        LineFrame frame;
        frame.bytes = run.mid(from, end - from);
        frame.afterSilence = from == 0;
        frame.startNs = std::min(runStartNs + from * charNs, lastByteNs);
        frame.endNs = end == run.size() ? lastByteNs : std::min(runStartNs + end * charNs, lastByteNs);
        frames.push_back(frame);
        from = end;
    }
    run.clear();
    return frames;
}
