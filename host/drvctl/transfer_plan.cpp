#include "drvctl/transfer_plan.h"
#include "drvctl/value_codec.h"
#include "interface/communicator_command.h"
#include "rtu/rtu_limits.h"

#include <QStringList>
#include <algorithm>

namespace {

constexpr int LastDriverRegister = FirstDriverRegister + MonitoredEntry;

bool isBitType(int dataType)
{
    return dataType == Bit || dataType == BitBlock;
}

bool isByteType(int dataType)
{
    return dataType == Byte || dataType == Block;
}

// Registers (or, in a bit area, bits) from the address on that the elements cover.
qint64 span(const Address& address, int dataType, int count)
{
    if (isBitArea(address.area))
        return count;
    if (isBitType(dataType))
        return (std::max(address.bit, 0) + qint64(count) + 15) / 16;
    if (isByteType(dataType))
        return (qint64(count) + 1) / 2;
    return dataType == DoubleWord ? 2 * qint64(count) : count;
}

// Elements of one driver command at most: the Modbus limits of one transaction.
// Register bits count whole registers; their window is in bits from bit 0.
int limitOf(const Address& address, int dataType, Direction direction)
{
    const bool read = direction == Direction::Read;
    const int registers = read ? Rtu::MaxRegistersPerRead : Rtu::MaxRegistersPerWrite;
    if (isBitArea(address.area))
        return read ? Rtu::MaxBitsPerRead : Rtu::MaxCoilsPerWrite;
    if (isBitType(dataType))
        return 16 * registers;
    if (isByteType(dataType))
        return 2 * registers;
    return dataType == DoubleWord ? registers / 2 : registers;
}

QString checkType(const Address& address, int dataType)
{
    const QString why = isBitArea(address.area) ? QStringLiteral("DO, DI and FN5DO hold bits: bit or bitblock")
                        : address.bit >= 0      ? QStringLiteral("a .bit address holds bits: bit or bitblock")
                        : address.highWordFirst ? QStringLiteral("SW orders the words of a dword: dword")
                                                : QString();
    const bool fits = address.highWordFirst ? dataType == DoubleWord
                      : isBitArea(address.area) || address.bit >= 0 ? isBitType(dataType)
                                                                    : true;
    return fits ? QString() : QStringLiteral("bad type for %1: %2 (%3)").arg(address.text, dataTypeName(dataType), why);
}

// The driver answers HR60000..HR60010 from its own table when a word command (or a
// bit write) starts there, and sends anything else to the servo's registers.
QString checkDriverRange(const Address& address, int dataType, int count, Direction direction, qint64 last)
{
    if (address.area != Area::HR && address.area != Area::FN6HR)
        return QString();
    const int first = address.number;
    const QString area = areaName(address.area);
    const QString verb = direction == Direction::Read ? QStringLiteral("read") : QStringLiteral("write");
    if (first < FirstDriverRegister && last >= FirstDriverRegister)
        return QStringLiteral("%1 with %2 %3(s) runs into %4%5: %4%5..%4%6 are the driver's own registers, not the "
                              "servo's; %7 up to %4%8 and from %4%5 in two commands")
            .arg(address.text).arg(count).arg(dataTypeName(dataType), area).arg(FirstDriverRegister)
            .arg(LastDriverRegister).arg(verb).arg(FirstDriverRegister - 1);
    if (first < FirstDriverRegister || first > LastDriverRegister)
        return QString();
    if (isBitType(dataType) && direction == Direction::Read)
        return QStringLiteral("%1 would read a bit of the servo's register %2%3, not of the driver's own: read %2%3 "
                              "as a word").arg(address.text, area).arg(first);
    if (isBitType(dataType) && first != LastDriverRegister)
        return QStringLiteral("%1: %2%3..%2%4 hold the driver's station list; write them as whole words")
            .arg(address.text, area).arg(FirstDriverRegister).arg(LastDriverRegister - 1);
    if (!isBitType(dataType) && dataType != Word)
        return QStringLiteral("%1 as %2 would go to the servo's registers, not the driver's own: %3%4..%3%5 are words")
            .arg(address.text, dataTypeName(dataType), area).arg(FirstDriverRegister).arg(LastDriverRegister);
    if (last > LastDriverRegister)
        return QStringLiteral("%1 with %2 %3(s) runs past %4%5, the last of the driver's own registers")
            .arg(address.text).arg(count).arg(dataTypeName(dataType), area).arg(LastDriverRegister);
    if (direction == Direction::Write && last == LastDriverRegister && dataType == Word && count > 1)
        return QStringLiteral("write %1%2 alone, one value: the driver sends every word of a write that reaches it "
                              "to HR1300 onward of each listed station")
            .arg(area).arg(LastDriverRegister);
    return QString();
}

void splitInto(TransferPlan* plan)
{
    const Address& a = plan->address;
    const bool registerBits = !isBitArea(a.area) && isBitType(plan->dataType);
    for (int done = 0; done < plan->count;) {
        TransferPiece piece;
        piece.first = done;
        if (registerBits) {
            const int position = std::max(a.bit, 0) + done; // bits from bit 0 of the first register
            piece.count = std::min(plan->count - done, plan->limit - position % 16);
            piece.address = addressText(a, position / 16, position % 16);
        } else {
            piece.count = std::min(plan->count - done, plan->limit);
            const int offset = isBitArea(a.area) ? done : static_cast<int>(span(a, plan->dataType, done));
            piece.address = addressText(a, offset, -1);
        }
        plan->pieces << piece;
        done += piece.count;
    }
    if (plan->pieces.size() == 1)
        plan->pieces.first().address = a.text; // as written: the driver's messages quote it
}

} // namespace

bool isDriverRegister(const Address& address)
{
    return (address.area == Area::HR || address.area == Area::FN6HR) && address.number >= FirstDriverRegister
           && address.number <= LastDriverRegister;
}

bool planTransfer(const QString& text, int askedType, int count, Direction direction, TransferPlan* plan,
                  QString* error)
{
    TransferPlan result;
    if (!parseAddress(text, &result.address, error))
        return false;
    const Address& address = result.address;
    result.dataType = dataTypeOf(address, askedType);
    result.count = count;
    *error = checkType(address, result.dataType);
    if (!error->isEmpty())
        return false;
    if (direction == Direction::Write && isReadOnly(address.area)) {
        *error = QStringLiteral("%1 is read-only (IR and DI cannot be written)").arg(text);
        return false;
    }
    if (direction == Direction::Write && isByteType(result.dataType) && count % 2 != 0) {
        *error = QStringLiteral("%1 byte(s) to %2: the driver writes whole registers and would set the other byte of "
                                "the last one to 0; write an even number of bytes")
                     .arg(count).arg(text);
        return false;
    }
    const qint64 last = address.number + span(address, result.dataType, count) - 1;
    if (last > 65536) {
        *error = QStringLiteral("bad count for %1: %2 %3(s) run past %4%5")
                     .arg(text).arg(count).arg(dataTypeName(result.dataType), areaName(address.area)).arg(65536);
        return false;
    }
    *error = checkDriverRange(address, result.dataType, count, direction, last);
    if (!error->isEmpty())
        return false;
    result.limit = limitOf(address, result.dataType, direction);
    splitInto(&result);
    *plan = result;
    return true;
}

QString splitDescription(const TransferPlan& plan, Direction direction)
{
    QStringList pieces;
    for (const TransferPiece& piece : plan.pieces)
        pieces << QStringLiteral("%1 x%2").arg(piece.address).arg(piece.count);
    const bool registerBits = !isBitArea(plan.address.area) && isBitType(plan.dataType);
    const QString unit = registerBits ? QStringLiteral("%1 register(s)").arg(plan.limit / 16)
                                      : QStringLiteral("%1 %2(s)").arg(plan.limit).arg(dataTypeName(plan.dataType));
    return QStringLiteral("%1 x%2 in %3 driver commands of at most %4 (the Modbus limit of one %5): %6")
        .arg(plan.address.text).arg(plan.count).arg(plan.pieces.size()).arg(unit,
             direction == Direction::Read ? QStringLiteral("read") : QStringLiteral("write"),
             pieces.join(QStringLiteral(", ")));
}
