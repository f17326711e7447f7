// drvctl's parsing of command lines, shell lines, addresses and values from any text.
// Input: texts separated by zero bytes; the first byte picks what is parsed.
#include <QString>
#include <QStringList>
#include <cstddef>
#include <cstdint>

#include "common/fuzz_check.h"
#include "drvctl/address.h"
#include "drvctl/invocation.h"
#include "drvctl/transfer_plan.h"
#include "drvctl/value_codec.h"

namespace {

const int DataTypes[] = {Bit, Byte, Word, DoubleWord, Block, BitBlock, QuadWord, -1};

int widthOf(int dataType)
{
    return dataType == DoubleWord ? 4 : dataType == Word || dataType == QuadWord || dataType == -1 ? 2 : 1;
}

// Only ASCII letters, digits and the bit point may reach the driver: anything
// else can turn into a different address there.
bool plainAscii(const QString& address)
{
    for (const QChar c : address) {
        const ushort u = c.unicode();
        if (!((u >= 'A' && u <= 'Z') || (u >= 'a' && u <= 'z') || (u >= '0' && u <= '9') || u == '.'))
            return false;
    }
    return true;
}

void checkAddressText(const QString& address)
{
    QString error;
    Address parsed;
    if (!parseAddress(address, &parsed, &error)) {
        FUZZ_REQUIRE(!error.isEmpty(), "a refused address says why");
        return;
    }
    FUZZ_REQUIRE(plainAscii(address), "an accepted address is plain ASCII");
    FUZZ_REQUIRE(address.startsWith(areaName(parsed.area), Qt::CaseInsensitive)
                     && address.at(areaName(parsed.area).size()).isDigit(),
                 "an accepted address begins with one of the servo's areas and its number");
    FUZZ_REQUIRE(parsed.bit < 16 && (parsed.bit < 0 || !isBitArea(parsed.area)), "a .bit only 0..15 on registers");
    FUZZ_REQUIRE(!parsed.highWordFirst || !isBitArea(parsed.area), "SW only on registers");
}

// The driver commands of a transfer: the whole count, none over the limit, each
// address one drvctl would accept, none starting inside the driver's own registers
// unless the transfer does.
void checkPlan(const QString& address, int dataType, int count, Direction direction)
{
    TransferPlan plan;
    QString error;
    if (!planTransfer(address, dataType, count, direction, &plan, &error)) {
        FUZZ_REQUIRE(!error.isEmpty(), "a refused transfer says why");
        return;
    }
    int next = 0;
    for (const TransferPiece& piece : plan.pieces) {
        FUZZ_REQUIRE(piece.first == next && piece.count > 0 && piece.count <= plan.limit, "pieces in order, within the limit");
        next += piece.count;
        Address part;
        FUZZ_REQUIRE(parseAddress(piece.address, &part, &error), "every piece's address is one drvctl accepts");
        FUZZ_REQUIRE(part.area == plan.address.area, "every piece in the same area");
        FUZZ_REQUIRE(piece.first == 0 || !isDriverRegister(part), "no piece starts in the driver's own registers");
    }
    FUZZ_REQUIRE(next == count, "the pieces carry the whole count");
}

void checkValues(int dataType, const QStringList& texts)
{
    QByteArray data;
    QString error;
    if (!encodeValues(dataType, texts, &data, &error)) {
        FUZZ_REQUIRE(!error.isEmpty(), "a refused value says why");
        return;
    }
    FUZZ_REQUIRE(data.size() == texts.size() * widthOf(dataType), "one element per value");
    if (dataType == Bit || dataType == BitBlock)
        return; // written one byte per bit, read back as a packed bit array
    // Decoded and written again as decimal: the same bytes.
    QStringList again;
    for (qint64 value : decodeValues(dataType, data, texts.size()))
        again << QString::number(value);
    QByteArray reencoded;
    FUZZ_REQUIRE(again.size() == texts.size() && encodeValues(dataType, again, &reencoded, &error)
                     && reencoded == data,
                 "values decode to what they encoded");
}

void checkDecode(int dataType, const QByteArray& data, int count)
{
    const QList<qint64> values = decodeValues(dataType, data, count);
    const long long available = (dataType == Bit || dataType == BitBlock) ? 8LL * data.size() : data.size() / widthOf(dataType);
    FUZZ_REQUIRE(values.size() <= qMax(count, 0) && values.size() <= available, "no value beyond the data");
}

// What reaches the driver from a parsed command line or shell line: checked addresses only.
void checkAddressesToDriver(const Invocation& invocation)
{
    const QString& command = invocation.command;
    if (command == QLatin1String("read") || command == QLatin1String("poll") || command == QLatin1String("write")) {
        const int addresses = command == QLatin1String("write") ? 1 : invocation.arguments.size();
        for (int i = 0; i < addresses && i < invocation.arguments.size(); ++i)
            FUZZ_REQUIRE(plainAscii(invocation.arguments.at(i)), "only checked addresses reach the driver");
    }
}

void checkShellLine(const QString& line)
{
    Invocation invocation;
    QString text;
    if (parseShellLine(line, &invocation, &text) == ParseOutcome::Run)
        checkAddressesToDriver(invocation);
    else
        FUZZ_REQUIRE(!text.isEmpty(), "a refused shell line says why");
}

void checkCommandLine(const QStringList& arguments)
{
    Invocation invocation;
    QString text;
    const ParseOutcome outcome = parseCommandLine(arguments, &invocation, &text);
    if (outcome != ParseOutcome::Run) {
        FUZZ_REQUIRE(!text.isEmpty(), "help and errors have a text");
        if (outcome == ParseOutcome::Error) {
            const int json = arguments.indexOf(QStringLiteral("--json"));
            const int end = arguments.indexOf(QStringLiteral("--"));
            if (json > 0 && (end < 0 || json < end))
                FUZZ_REQUIRE(invocation.json, "a bad command line still answers in JSON when asked to");
        }
        return;
    }
    checkAddressesToDriver(invocation);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const QByteArray rest(reinterpret_cast<const char*>(data + 1), static_cast<int>(size - 1));
    QStringList texts;
    for (const QByteArray& part : rest.split('\0'))
        texts << QString::fromUtf8(part);
    const int dataType = DataTypes[(data[0] >> 2) % 8];
    switch (data[0] & 3) {
    case 0:
        for (const QString& address : texts) {
            checkAddressText(address);
            // The first text's length picks a count from 1 to 65536, bit 7 the direction.
            checkPlan(address, dataType, 1 + (texts.first().size() * 4099) % 65536,
                      (data[0] & 0x80) ? Direction::Write : Direction::Read);
        }
        break;
    case 1: checkValues(dataType, texts); break;
    case 2: checkDecode(dataType, rest, texts.first().size() * (data[0] >> 5) - 3); break;
    default:
        // The data type bits are free here: one of them picks a shell line instead.
        if ((data[0] >> 2) & 1)
            checkShellLine(texts.join(QLatin1Char(' ')));
        else
            checkCommandLine(QStringList(QStringLiteral("drvctl")) + texts);
        break;
    }
    return 0;
}
