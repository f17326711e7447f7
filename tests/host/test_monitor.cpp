// The line monitor's decoding: frames cut by silence from timed reads,
// transactions paired and decoded in the driver's terms, and their lines.
#include "host_test_support.h"
#include "monitor/frame_splitter.h"
#include "monitor/transaction_decoder.h"
#include "monitor/transaction_format.h"
#include "monitor_test_support.h"
#include "rtu/rtu_frame.h"

#include <gtest/gtest.h>

#include <QStringList>

namespace {

using namespace monitor_test;

QByteArray withCrc(const char* hexFrame)
{
    QByteArray frame = QByteArray::fromHex(hexFrame);
    Rtu::appendCrc(frame);
    return frame;
}

struct Chunk {
    const char* bytes;
    double readMs;
};

TEST(FrameSplitterTest, CutsAtSilencesAndWhereAFrameOfKnownLengthEnds)
{
    const struct {
        const char* name;
        std::vector<Chunk> chunks;
        QStringList frames; // "+" marks one that came without a silence before it
    } cases[] = {
        {"request, 4 ms of silence, reply",
         {{"010300630001 7414", 9.2}, {"0103021234 b533", 9.2 + 4.1 + 8.1}},
         {"01 03 00 63 00 01 74 14", "01 03 02 12 34 B5 33"}},
        {"the same, read late in one go",
         {{"010300630001 7414 0103021234 b533", 30}},
         {"01 03 00 63 00 01 74 14", "+01 03 02 12 34 B5 33"}},
        {"a frame in two reads, each as long after the other as its bytes took",
         {{"01030063", 4.6}, {"00017414", 9.2}},
         {"01 03 00 63 00 01 74 14"}},
        {"less than 2.5 characters between two reads is no boundary",
         {{"0103", 2.3}, {"006300017414", 2.3 + 2.5 + 6.9}},
         {"01 03 00 63 00 01 74 14"}},
        {"trailing bytes after a reply",
         {{"0103021234b533ffffff", 11.5}},
         {"01 03 02 12 34 B5 33", "+FF FF FF"}},
        {"a broken reply and the next request read together",
         {{"0103021234 010300630001 7414", 40}},
         {"01 03 02 12 34", "+01 03 00 63 00 01 74 14"}},
        {"noise, silence, request",
         {{"00ff", 2.3}, {"010300630001 7414", 30}},
         {"00 FF", "01 03 00 63 00 01 74 14"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        FrameSplitter splitter(line9600());
        std::vector<LineFrame> frames;
        for (const Chunk& chunk : c.chunks) {
            const QByteArray bytes = QByteArray::fromHex(chunk.bytes);
            const auto cut = splitter.feed(bytes.constData(), bytes.size(), static_cast<long long>(chunk.readMs * Ms));
            frames.insert(frames.end(), cut.begin(), cut.end());
        }
        const long long last = static_cast<long long>(c.chunks.back().readMs * Ms);
        EXPECT_TRUE(splitter.idle(last + 2 * Ms).empty()); // 2 ms of silence does not end a frame
        for (const LineFrame& frame : splitter.idle(last + 3 * Ms))
            frames.push_back(frame);
        EXPECT_TRUE(splitter.finish().empty());
        QStringList texts;
        for (const LineFrame& frame : frames)
            texts << (frame.afterSilence ? QString() : QStringLiteral("+")) + hexBytes(frame.bytes);
        EXPECT_EQ(lines(texts), lines(c.frames));
    }
}

// Frames 10 ms apart with good CRCs (written as their first bytes).
TEST(TransactionDecoderTest, PairsWhatTheSimulatorCannotProduce)
{
    const struct {
        const char* name;
        std::vector<const char*> frames;
        QStringList transactions;
    } cases[] = {
        {"a retried read after silence",
         {"010300000001", "010300000001", "0103020005"},
         {"station 1 fn 3 read HR1 x1: no reply", "station 1 fn 3 read HR1 x1 = 5"}},
        {"a write of one register is answered by its copy",
         {"01060009abcd", "01060009abcd"},
         {"station 1 fn 6 write FN6HR10 x1 = 43981"}},
        {"a broadcast wants no reply; a reply nobody asked for",
         {"000f000000030105", "0103020005"},
         {"broadcast fn 15 write DO1 x3 = 1 0 1", "station 1 fn 3: frame without a request"}},
        {"a reply of the wrong length",
         {"010400000001", "010404000500ff"},
         {"station 1 fn 4 read IR1 x1: reply of 9 bytes where 7 were expected"}},
        {"an exception to a read of coils, a function without a layout",
         {"010100130025", "018102", "010800000000", "010800000000"},
         {"station 1 fn 1 read DO20 x37: exception 0x02 (illegal data address)", "station 1 fn 8"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TransactionDecoder decoder;
        std::vector<MonitoredTransaction> done;
        long long time = 0;
        for (const char* hexFrame : c.frames) {
            LineFrame frame;
            frame.bytes = withCrc(hexFrame);
            frame.startNs = time;
            frame.endNs = time + Ms;
            time += 10 * Ms;
            for (const auto& t : decoder.take(frame))
                done.push_back(t);
        }
        for (const auto& t : decoder.finish())
            done.push_back(t);
        QStringList texts;
        for (const auto& t : done)
            texts << withoutTimes(formatTransaction(t));
        EXPECT_EQ(lines(texts), lines(c.transactions));
    }
}

TEST(TransactionFormatTest, TextAndJsonLines)
{
    const auto frame = [](const char* bytes, double startMs, double endMs) {
        LineFrame f;
        f.bytes = QByteArray::fromHex(bytes);
        f.startNs = static_cast<long long>(startMs * Ms);
        f.endNs = static_cast<long long>(endMs * Ms);
        return f;
    };
    TransactionDecoder decoder;
    std::vector<MonitoredTransaction> done;
    for (const LineFrame& f : {frame("010300630002 3415", 1500, 1509.2), frame("010304123400 0a3e82", 1513.2, 1523.5),
                               frame("020600090005 99f8", 1600, 1609.2)}) {
        for (const auto& t : decoder.take(f))
            done.push_back(t);
    }
    for (const auto& t : decoder.finish())
        done.push_back(t);
    ASSERT_EQ(done.size(), 2u);
    EXPECT_EQ(formatTransaction(done[0]).toStdString(), "[   1.500000] station 1 fn 3 read HR100 x2 = 4660 10 (4.0 ms)");
    EXPECT_EQ(formatTransaction(done[1]).toStdString(), "[   1.600000] station 2 fn 6 write FN6HR10 x1 = 5, no reply");
    EXPECT_EQ(formatTransactionJson(done[0]).toStdString(),
              "{\"address\":\"HR100\",\"count\":2,\"exception\":null,\"function\":3,\"operation\":\"read\","
              "\"problem\":null,\"reply\":\"01 03 04 12 34 00 0A 3E 82\",\"request\":\"01 03 00 63 00 02 34 15\","
              "\"responseMs\":4,\"station\":1,\"time\":1.5,\"values\":[4660,10]}");
    EXPECT_EQ(formatTransactionJson(done[1]).toStdString(),
              "{\"address\":\"FN6HR10\",\"count\":1,\"exception\":null,\"function\":6,\"operation\":\"write\","
              "\"problem\":\"no reply\",\"reply\":\"\",\"request\":\"02 06 00 09 00 05 99 F8\",\"responseMs\":null,"
              "\"station\":2,\"time\":1.6,\"values\":[5]}");
}

} // namespace
