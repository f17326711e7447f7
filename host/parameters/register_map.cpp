#include "parameters/register_map.h"
#include "addresses/transfer_plan.h"
#include "parameters/csv_fields.h"
#include "parameters/parameter_codec.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QLocale>
#include <QRegularExpression>
#include <cmath>

namespace {

enum Column { NameColumn, AddressColumn, TypeColumn, ScaleColumn, UnitColumn, AccessColumn, DescriptionColumn, ColumnCount };
const char* const ColumnNames[ColumnCount] = {"name", "address", "type", "scale", "unit", "access", "description"};
const char* const HeaderText = "name,address,type,scale,unit,access,description";

// Collects faults as FILE:LINE:COLUMN: text.
struct Faults {
    QString file;
    QStringList* list;
    void add(int line, int column, const QString& text) const
    {
        *list << QStringLiteral("%1:%2:%3: %4").arg(file).arg(line).arg(column).arg(text);
    }
};

bool isNameText(const QString& name)
{
    static const QRegularExpression shape(QStringLiteral("^[A-Za-z0-9_.]+$"));
    return shape.match(name).hasMatch();
}

// The header row: which field holds which column, -1 for an absent one.
bool readHeader(const QVector<CsvField>& fields, int line, const Faults& faults, int* index)
{
    bool ok = true;
    for (int c = 0; c < ColumnCount; ++c)
        index[c] = -1;
    for (int f = 0; f < fields.size(); ++f) {
        const QString name = fields[f].text.trimmed().toLower();
        int c = 0;
        while (c < ColumnCount && name != QLatin1String(ColumnNames[c]))
            ++c;
        if (c == ColumnCount) {
            faults.add(line, fields[f].column, QStringLiteral("unknown column: %1 (the header is %2)").arg(fields[f].text, QLatin1String(HeaderText)));
            ok = false;
        } else if (index[c] >= 0) {
            faults.add(line, fields[f].column, QStringLiteral("column %1 given twice").arg(name));
            ok = false;
        } else {
            index[c] = f;
        }
    }
    for (int c : {NameColumn, AddressColumn, TypeColumn}) {
        if (index[c] < 0) {
            faults.add(line, 1, QStringLiteral("no %1 column (the header is %2)").arg(QLatin1String(ColumnNames[c]), QLatin1String(HeaderText)));
            ok = false;
        }
    }
    return ok;
}

// Where each parameter lies, to find two that share a register (or a bit of one).
struct Occupant {
    int parameter;
    int bit; // -1: the whole register
};

class Occupancy {
public:
    // The parameter already on one of p's registers, or -1.
    int clash(const Parameter& p) const
    {
        for (int k = 0; k < p.width(); ++k) {
            for (const Occupant& o : taken.values(key(p, k)))
                if (o.bit < 0 || p.address.bit < 0 || o.bit == p.address.bit)
                    return o.parameter;
        }
        return -1;
    }
    void take(const Parameter& p, int index)
    {
        for (int k = 0; k < p.width(); ++k)
            taken.insert(key(p, k), Occupant{index, p.address.bit});
    }

private:
    static quint32 key(const Parameter& p, int k)
    {
        return (static_cast<quint32>(tableOf(p.address.area)) << 17) + static_cast<quint32>(p.address.number + k);
    }
    QMultiHash<quint32, Occupant> taken;
};

// The address and the type together, checked as a command line that reads (and for
// rw writes) the whole parameter would be, with the same texts; then what a map
// adds: a bool names its bit, and the driver's own registers are no parameter.
bool checkPlacement(const Parameter& p, const CsvField& address, const CsvField& access, int line, const Faults& faults)
{
    const int dataType = commandDataType(p.type);
    TransferPlan plan;
    QString error;
    if (!planTransfer(p.addressText, dataType, 1, Direction::Read, &plan, &error)) {
        faults.add(line, address.column, error);
        return false;
    }
    if (p.writable && !planTransfer(p.addressText, dataType, 1, Direction::Write, &plan, &error)) {
        faults.add(line, access.column, error);
        return false;
    }
    const Address& a = p.address;
    error.clear();
    if (p.type == ValueType::Bool && !isBitArea(a.area) && a.bit < 0)
        error = QStringLiteral("bool needs a coil, an input or a register bit (e.g. HR100.3): %1").arg(p.addressText);
    else if (isDriverRegister(a)) // ranges that run into them the plan has refused
        error = QStringLiteral("%1: %2%3..%2%4 are the driver's own registers, not the servo's")
                    .arg(p.addressText, areaName(a.area)).arg(FirstDriverRegister).arg(FirstDriverRegister + MonitoredEntry);
    if (error.isEmpty())
        return true;
    faults.add(line, address.column, error);
    return false;
}

// One parameter row; false when it has faults (all of them reported).
bool readRow(const QVector<CsvField>& fields, const int* index, int line, const Faults& faults, Parameter* p)
{
    const auto field = [&](int c) { return index[c] >= 0 && index[c] < fields.size() ? fields[index[c]] : CsvField{QString(), fields.isEmpty() ? 1 : fields.last().column}; };
    bool ok = true;
    p->line = line;

    const CsvField name = field(NameColumn);
    p->name = name.text.trimmed();
    QString unused;
    Address looksLike;
    if (p->name.isEmpty() || !isNameText(p->name)) {
        faults.add(line, name.column, QStringLiteral("bad name: '%1' (letters, digits, _ and .)").arg(name.text));
        ok = false;
    } else if (parseAddress(p->name, &looksLike, &unused)) {
        faults.add(line, name.column, QStringLiteral("bad name: %1 reads as an address").arg(p->name));
        ok = false;
    }

    const CsvField address = field(AddressColumn);
    p->addressText = address.text.trimmed();
    QString error;
    const bool addressOk = parseAddress(p->addressText, &p->address, &error);
    if (!addressOk) {
        faults.add(line, address.column, error);
        ok = false;
    }

    const CsvField type = field(TypeColumn);
    const bool typeOk = valueTypeFromName(type.text.trimmed().toLower(), &p->type);
    if (!typeOk) {
        faults.add(line, type.column, QStringLiteral("unknown type: '%1' (%2)").arg(type.text, valueTypeNames()));
        ok = false;
    }
    const CsvField scale = field(ScaleColumn);
    const QString scaleText = scale.text.trimmed();
    if (!scaleText.isEmpty()) {
        bool number = false;
        p->scale = QLocale::c().toDouble(scaleText, &number);
        if (!number || p->scale == 0 || !std::isfinite(p->scale)) {
            faults.add(line, scale.column, QStringLiteral("bad scale: '%1' (a number other than 0)").arg(scale.text));
            ok = false;
        } else if (typeOk && p->type == ValueType::Bool && p->scale != 1) {
            faults.add(line, scale.column, QStringLiteral("a bool has no scale: %1").arg(scale.text));
            ok = false;
        } else {
            p->decimals = scaleDecimals(scaleText, p->scale);
        }
    }
    p->unit = field(UnitColumn).text.trimmed();

    const CsvField access = field(AccessColumn);
    const QString accessText = access.text.trimmed().toLower();
    if (accessText == QLatin1String("rw")) {
        p->writable = true;
    } else if (!accessText.isEmpty() && accessText != QLatin1String("r")) {
        faults.add(line, access.column, QStringLiteral("bad access: '%1' (r or rw)").arg(access.text));
        ok = false;
    }
    p->description = field(DescriptionColumn).text.trimmed();
    if (addressOk && typeOk && !checkPlacement(*p, address, access, line, faults))
        ok = false;
    return ok;
}

} // namespace

const Parameter* RegisterMap::find(const QString& wanted) const
{
    for (const Parameter& p : parameters)
        if (p.name == wanted)
            return &p;
    return nullptr;
}

QString mapChecksum(const QByteArray& content)
{
    return QStringLiteral("sha256:") + QString::fromLatin1(QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex());
}

bool parseRegisterMap(const QByteArray& content, const QString& fileName, RegisterMap* map, QStringList* faultList)
{
    const Faults faults{fileName, faultList};
    const int faultsBefore = faultList->size();
    RegisterMap result;
    result.name = QFileInfo(fileName).fileName();
    result.path = fileName;
    result.checksum = mapChecksum(content);

    const QStringList lines = QString::fromUtf8(content).split(QLatin1Char('\n'));
    int index[ColumnCount];
    bool headerSeen = false;
    QHash<QString, int> lineOfName;
    Occupancy occupancy;
    for (int n = 0; n < lines.size(); ++n) {
        QString text = lines[n];
        if (text.endsWith(QLatin1Char('\r')))
            text.chop(1);
        const int line = n + 1;
        if (text.trimmed().isEmpty() || text.trimmed().startsWith(QLatin1Char('#')))
            continue;
        QVector<CsvField> fields;
        int badColumn = 0;
        if (!splitCsvLine(text, &fields, &badColumn)) {
            faults.add(line, badColumn, QStringLiteral("a quote that does not end"));
            continue;
        }
        if (!headerSeen) {
            headerSeen = true;
            if (!readHeader(fields, line, faults, index))
                break; // rows cannot be read without their columns
            continue;
        }
        int columns = 0;
        for (int c = 0; c < ColumnCount; ++c)
            columns += index[c] >= 0 ? 1 : 0;
        if (fields.size() > columns)
            faults.add(line, fields[columns].column, QStringLiteral("%1 fields, the header has %2").arg(fields.size()).arg(columns));
        Parameter p;
        const bool rowOk = readRow(fields, index, line, faults, &p);
        if (!p.name.isEmpty() && lineOfName.contains(p.name)) {
            faults.add(line, fields[index[NameColumn]].column, QStringLiteral("duplicate name: %1 (first on line %2)").arg(p.name).arg(lineOfName.value(p.name)));
            continue;
        }
        lineOfName.insert(p.name, line);
        if (!rowOk)
            continue;
        const int other = occupancy.clash(p);
        if (other >= 0) {
            const Parameter& o = result.parameters[static_cast<size_t>(other)];
            faults.add(line, fields[index[AddressColumn]].column,
                       QStringLiteral("registers of %1 (%2) overlap those of %3 (%4, line %5)").arg(p.name, p.addressText, o.name, o.addressText).arg(o.line));
            continue;
        }
        occupancy.take(p, static_cast<int>(result.parameters.size()));
        result.parameters.push_back(p);
    }
    if (!headerSeen)
        faults.add(1, 1, QStringLiteral("no header row (%1)").arg(QLatin1String(HeaderText)));
    else if (result.parameters.empty() && faultList->size() == faultsBefore)
        faults.add(lines.size(), 1, QStringLiteral("no parameters"));
    if (faultList->size() > faultsBefore)
        return false;
    *map = result;
    return true;
}

bool loadRegisterMap(const QString& path, RegisterMap* map, QStringList* faults)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *faults << QStringLiteral("%1: cannot read the map: %2").arg(path, file.errorString());
        return false;
    }
    return parseRegisterMap(file.readAll(), path, map, faults);
}
