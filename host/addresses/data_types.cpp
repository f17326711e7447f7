#include "addresses/data_types.h"

namespace {

struct TypeName {
    int dataType;
    const char* name;
};

const TypeName TypeNames[] = {
    {Bit, "bit"}, {Byte, "byte"}, {Word, "word"}, {DoubleWord, "dword"}, {Block, "block"}, {BitBlock, "bitblock"},
};

} // namespace

bool dataTypeFromName(const QString& name, int* dataType)
{
    for (const TypeName& t : TypeNames) {
        if (name.compare(QLatin1String(t.name), Qt::CaseInsensitive) == 0) {
            *dataType = t.dataType;
            return true;
        }
    }
    return false;
}

QString dataTypeName(int dataType)
{
    for (const TypeName& t : TypeNames)
        if (t.dataType == dataType)
            return QLatin1String(t.name);
    return QStringLiteral("type %1").arg(dataType);
}
