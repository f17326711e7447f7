#include "parameters/set_diff.h"

#include <QJsonArray>
#include <QStringList>

namespace {

bool sameValue(const SetEntry& a, const SetEntry& b)
{
    if (a.type != b.type || a.address != b.address || a.scale != b.scale)
        return a.valueText() == b.valueText();
    if (a.type == ValueType::Bool)
        return a.value == b.value;
    return a.raw == b.raw;
}

QString sideText(const SetEntry* entry)
{
    return entry ? entry->valueText() : QStringLiteral("(missing)");
}

QJsonValue sideJson(const SetEntry* entry)
{
    if (!entry)
        return QJsonValue();
    QJsonArray raw;
    for (quint16 r : entry->raw)
        raw.append(r);
    return QJsonObject{{QStringLiteral("value"), entry->value}, {QStringLiteral("unit"), entry->unit}, {QStringLiteral("raw"), raw}};
}

} // namespace

SetComparison compareSets(const ParameterSet& left, const ParameterSet& right, bool includeReadOnly)
{
    SetComparison result;
    const auto wanted = [includeReadOnly](const SetEntry& e) { return includeReadOnly || e.writable; };
    for (const SetEntry& l : left.entries) {
        if (!wanted(l))
            continue;
        ++result.compared;
        const SetEntry* r = right.find(l.name);
        if (r == nullptr || !sameValue(l, *r))
            result.differences.push_back(Difference{l.name, &l, r});
    }
    for (const SetEntry& r : right.entries) {
        if (!wanted(r) || left.find(r.name) != nullptr)
            continue;
        ++result.compared;
        result.differences.push_back(Difference{r.name, nullptr, &r});
    }
    return result;
}

QString comparisonText(const SetComparison& comparison, const QString& leftLabel, const QString& rightLabel)
{
    if (comparison.differences.empty())
        return QStringLiteral("no difference in %1 parameter(s)").arg(comparison.compared);
    int nameWidth = 9, leftWidth = leftLabel.size();
    for (const Difference& d : comparison.differences) {
        nameWidth = std::max(nameWidth, d.name.size());
        leftWidth = std::max(leftWidth, sideText(d.left).size());
    }
    QStringList lines{QStringLiteral("%1  %2  %3").arg(QStringLiteral("parameter"), -nameWidth).arg(leftLabel, -leftWidth).arg(rightLabel)};
    for (const Difference& d : comparison.differences)
        lines << QStringLiteral("%1  %2  %3").arg(d.name, -nameWidth).arg(sideText(d.left), -leftWidth).arg(sideText(d.right));
    lines << QStringLiteral("%1 of %2 parameter(s) differ").arg(comparison.differences.size()).arg(comparison.compared);
    return lines.join(QLatin1Char('\n'));
}

QJsonObject comparisonJson(const SetComparison& comparison, const QString& leftLabel, const QString& rightLabel)
{
    QJsonArray differences;
    for (const Difference& d : comparison.differences)
        differences.append(QJsonObject{{QStringLiteral("name"), d.name},
                                       {QStringLiteral("left"), sideJson(d.left)},
                                       {QStringLiteral("right"), sideJson(d.right)}});
    return QJsonObject{{QStringLiteral("ok"), true},
                       {QStringLiteral("same"), comparison.differences.empty()},
                       {QStringLiteral("left"), leftLabel},
                       {QStringLiteral("right"), rightLabel},
                       {QStringLiteral("compared"), comparison.compared},
                       {QStringLiteral("differences"), differences}};
}
