#include "drvctl/address.h"
#include "interface/communicator_command.h"

#include <cctype>

namespace {

struct AreaName {
    Area area;
    const char* name;
};

const AreaName Areas[] = {
    {Area::HR, "HR"}, {Area::IR, "IR"}, {Area::DO, "DO"}, {Area::DI, "DI"}, {Area::FN5DO, "FN5DO"}, {Area::FN6HR, "FN6HR"},
};

const char* const AreaList = "HR, IR, DO, DI, FN5DO, FN6HR";

bool isAsciiLetter(QChar c)
{
    return (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) || (c >= QLatin1Char('a') && c <= QLatin1Char('z'));
}

bool isAsciiDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

// Case-insensitive for ASCII letters only (Qt's own comparison folds U+017F to s).
bool hasAsciiWordAt(const QString& text, int at, const char* word)
{
    for (int k = 0; word[k] != 0; ++k, ++at)
        if (at >= text.size() || text.at(at).unicode() > 0x7F || std::toupper(text.at(at).toLatin1()) != word[k])
            return false;
    return true;
}

// The parts of an address text, as positions in it.
struct AddressShape {
    int numberStart = 0, numberEnd = 0;
    int bitStart = -1, bitEnd = -1;
    bool sw = false;
};

// [FN<digit>]letters digits [.digits] [SW], ASCII only and nothing after it: Unicode
// case folding would let a Kelvin sign pass for K, and the driver would read another area.
bool matchAddressShape(const QString& text, AddressShape* shape)
{
    const int size = text.size();
    int i = 0;
    const auto skip = [&text, &i, size](bool (*accepts)(QChar)) {
        const int start = i;
        while (i < size && accepts(text.at(i)))
            ++i;
        return i > start;
    };
    if (size > 3 && hasAsciiWordAt(text, 0, "FN") && isAsciiDigit(text.at(2)) && isAsciiLetter(text.at(3)))
        i = 3;
    if (!skip(isAsciiLetter))
        return false;
    shape->numberStart = i;
    if (!skip(isAsciiDigit))
        return false;
    shape->numberEnd = i;
    if (i < size && text.at(i) == QLatin1Char('.')) {
        shape->bitStart = ++i;
        if (!skip(isAsciiDigit))
            return false;
        shape->bitEnd = i;
    }
    if (size - i == 2 && hasAsciiWordAt(text, i, "SW")) {
        shape->sw = true;
        i = size;
    }
    return i == size;
}

bool findArea(const QString& text, int length, Area* area)
{
    for (const AreaName& a : Areas)
        if (static_cast<int>(qstrlen(a.name)) == length && hasAsciiWordAt(text, 0, a.name)) {
            *area = a.area;
            return true;
        }
    return false;
}

} // namespace

bool parseAddress(const QString& text, Address* address, QString* error)
{
    const auto refuse = [&text, error](const char* why) {
        *error = QStringLiteral("bad address: %1 (%2)").arg(text, QLatin1String(why));
        return false;
    };
    AddressShape shape;
    if (!matchAddressShape(text, &shape))
        return refuse("area letters and a number, e.g. HR100, DO5, HR100.3, HR200SW");
    Address parsed;
    parsed.text = text;
    if (!findArea(text, shape.numberStart, &parsed.area)) {
        *error = QStringLiteral("unknown area '%1' in %2 (%3)").arg(text.left(shape.numberStart), text, QLatin1String(AreaList));
        return false;
    }
    bool ok = false;
    const qulonglong number = text.midRef(shape.numberStart, shape.numberEnd - shape.numberStart).toULongLong(&ok);
    if (!ok || number < 1 || number > 65536)
        return refuse("numbers run from 1 to 65536");
    parsed.number = static_cast<int>(number);
    parsed.highWordFirst = shape.sw;
    if (shape.bitStart >= 0) {
        if (isBitArea(parsed.area))
            return refuse("DO, DI and FN5DO are bits already; a .bit is for the registers of HR, IR and FN6HR");
        if (shape.sw)
            return refuse("SW orders the words of a dword; a .bit address holds bits");
        const uint bit = text.midRef(shape.bitStart, shape.bitEnd - shape.bitStart).toUInt(&ok);
        if (!ok || bit > 15)
            return refuse("bit numbers run from 0 to 15");
        parsed.bit = static_cast<int>(bit);
    }
    if (shape.sw && isBitArea(parsed.area))
        return refuse("SW orders the words of a dword, which only HR, IR and FN6HR hold");
    *address = parsed;
    return true;
}

QString areaName(Area area)
{
    for (const AreaName& a : Areas)
        if (a.area == area)
            return QLatin1String(a.name);
    return QString();
}

bool isBitArea(Area area)
{
    return area == Area::DO || area == Area::DI || area == Area::FN5DO;
}

bool isReadOnly(Area area)
{
    return area == Area::IR || area == Area::DI;
}

QString addressText(const Address& address, int offset, int bit)
{
    QString text = areaName(address.area) + QString::number(address.number + offset);
    if (bit >= 0)
        text += QLatin1Char('.') + QString::number(bit);
    if (address.highWordFirst)
        text += QLatin1String("SW");
    return text;
}

int defaultDataType(const Address& address)
{
    if (isBitArea(address.area) || address.bit >= 0)
        return Bit;
    return address.highWordFirst ? DoubleWord : Word;
}
