#include "teco_servo/fuzz_line.h"

#include <cstring>

#include "common/fuzz_check.h"
#include "tools/crc.h"

namespace {

// The longest RTU frame a serial line carries.
const int MaxFrame = 256;

void appendModbusCrc(QByteArray& frame)
{
    unsigned short crc = 0xFFFF;
    for (char c : frame)
        crc = update_crc_16(crc, c);
    frame.append(static_cast<char>(crc & 0xFF));
    frame.append(static_cast<char>(crc >> 8));
}

unsigned wordAt(const QByteArray& frame, int at)
{
    return (static_cast<unsigned char>(frame.at(at)) << 8) | static_cast<unsigned char>(frame.at(at + 1));
}

} // namespace

FuzzLine::FuzzLine(FuzzedDataProvider& input, bool framed, int retry, int stationId, int delay)
    : input(input), framed(framed), retry(retry), stationId(stationId), delay(delay)
{
}

int FuzzLine::getRetry()
{
    // Attempts that fail before reaching the line (a bound, a bad station) count too.
    return --budget > 0 ? retry : 0;
}

bool FuzzLine::setOption(int code, const QVariant& value)
{
    FUZZ_REQUIRE(code == 12 && value.toInt() == 0, "the only option is 12 with 0");
    optionBeforeSend = true;
    return true;
}

int FuzzLine::send(const char* data, int length)
{
    --budget;
    FUZZ_REQUIRE(optionBeforeSend, "setOption(12, 0) right before every request");
    optionBeforeSend = false;
    FUZZ_REQUIRE(length >= 8 && length <= MaxFrame, "request length");
    const QByteArray frame(data, length);
    chunks.clear(); // option 12 discards what a request left unread

    const unsigned function = static_cast<unsigned char>(frame.at(1));
    FUZZ_REQUIRE((function >= 1 && function <= 6) || function == 15 || function == 16, "function code");
    QByteArray body = frame.left(length - 2);
    appendModbusCrc(body);
    FUZZ_REQUIRE(body == frame, "request CRC");
    if (function == 15 || function == 16) {
        const int byteCount = static_cast<unsigned char>(frame.at(6));
        const unsigned quantity = wordAt(frame, 4);
        FUZZ_REQUIRE(length == 9 + byteCount, "byte count matches the frame");
        FUZZ_REQUIRE(function == 15 ? static_cast<unsigned>(byteCount) == (quantity + 7) / 8
                                    : static_cast<unsigned>(byteCount) == 2 * quantity,
                     "byte count matches the quantity");
    } else {
        FUZZ_REQUIRE(length == 8, "fixed-length request");
    }
    if (framed && budget > 0)
        queueFramedReply(frame);
    return length;
}

void FuzzLine::queueFramedReply(const QByteArray& request)
{
    const unsigned function = static_cast<unsigned char>(request.at(1));
    const unsigned quantity = wordAt(request, 4);
    QByteArray reply = request.left(2);
    const unsigned char shape = input.ConsumeIntegral<unsigned char>();
    if (shape >= 0xF0) {
        // Exception reply with the input's code.
        reply[1] = static_cast<char>(function | 0x80);
        reply.append(static_cast<char>(input.ConsumeIntegral<unsigned char>()));
    } else if (function <= 4) {
        const unsigned bytes = function <= 2 ? (quantity + 7) / 8 : 2 * quantity;
        const std::string data = input.ConsumeBytesAsString(bytes > 252 ? 252 : bytes);
        reply.append(static_cast<char>(bytes & 0xFF));
        reply.append(data.data(), static_cast<int>(data.size()));
        reply.append(QByteArray(static_cast<int>(bytes > data.size() ? bytes - data.size() : 0), '\0'));
    } else {
        reply = request.left(6); // functions 5, 6, 15 and 16 echo the first six bytes
    }
    appendModbusCrc(reply);
    if (shape >= 0xC0 && shape < 0xF0) {
        // One byte changed: wrong slave, function, count, data or CRC.
        const int at = input.ConsumeIntegralInRange<int>(0, reply.size() - 1);
        reply[at] = static_cast<char>(reply.at(at) ^ input.ConsumeIntegralInRange<int>(1, 255));
    } else if (shape >= 0xB0 && shape < 0xC0) {
        reply.truncate(input.ConsumeIntegralInRange<int>(0, reply.size() - 1));
    }
    // Arrives in pieces; each receive takes at most the front piece.
    while (!reply.isEmpty()) {
        const int piece = input.ConsumeIntegralInRange<int>(1, reply.size() > 1 && input.ConsumeBool()
                                                                   ? reply.size() - 1 : reply.size());
        chunks.push_back(reply.left(piece));
        reply.remove(0, piece);
    }
}

int FuzzLine::receive(char* buffer, int maxLength)
{
    --budget;
    FUZZ_REQUIRE(buffer != nullptr && maxLength > 0 && maxLength <= MaxFrame, "receive length");
    if (budget <= 0)
        return 0;
    if (!framed && chunks.empty()) {
        // Raw mode: 0 is silence, 1 a port error, n a piece of n - 2 bytes.
        const unsigned char control = input.ConsumeIntegral<unsigned char>();
        if (control <= 1)
            return control == 0 ? 0 : -1;
        const std::string bytes = input.ConsumeBytesAsString(control - 2u);
        if (bytes.empty())
            return 0;
        chunks.push_back(QByteArray(bytes.data(), static_cast<int>(bytes.size())));
    }
    if (chunks.empty())
        return 0;
    QByteArray& front = chunks.front();
    const int served = front.size() < maxLength ? front.size() : maxLength;
    std::memcpy(buffer, front.constData(), static_cast<size_t>(served));
    front.remove(0, served);
    if (front.isEmpty())
        chunks.pop_front();
    return served;
}
