#include "tools/project_database.h"

#include <functional>
#include <limits>

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

namespace {

const char kDatabaseFileName[] = "database";
const char kEthernetPrefix[] = "ETHERNET";
constexpr int kEthernetPort = 2000;
constexpr int kNumberedPortBase = 1001;

bool isDecimalDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

// Runs statement with values bound in order; row is called for each result row
// until it returns false.
void forEachRow(const QString& connectionName, const QString& statement, const QVariantList& values,
                const std::function<bool(const QSqlQuery&)>& row)
{
    // Opened here rather than by database(name, true), which would warn when it fails.
    QSqlDatabase database = QSqlDatabase::database(connectionName, false);
    if (!database.isOpen() && !database.open())
        return;
    QSqlQuery query(database);
    query.setForwardOnly(true);
    if (!query.prepare(statement))
        return;
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (!query.exec())
        return;
    while (query.next() && row(query)) {
    }
}

unsigned char stationOf(const QVariant& column)
{
    return static_cast<unsigned char>(column.toUInt() & 0xFFu);
}

} // namespace

QDir GetCompilePath()
{
    QDir directory(QCoreApplication::applicationDirPath());
    directory.cd(QLatin1String(COMPILE_PATH)); // stays put when there is no such directory
    return directory;
}

QString GetDatabaseName()
{
    QDir directory = GetCompilePath();
    directory.cd(QLatin1String(DATABASE_PATH));
    return directory.absoluteFilePath(QLatin1String(kDatabaseFileName));
}

int DevStrToHmiPort(const QString& dev_str)
{
    if (dev_str.startsWith(QLatin1String(kEthernetPrefix), Qt::CaseInsensitive))
        return kEthernetPort;
    int digits = dev_str.size();
    while (digits > 0 && isDecimalDigit(dev_str.at(digits - 1)))
        --digits;
    if (digits == 0 || digits == dev_str.size())
        return -1;
    long long number = 0;
    for (int i = digits; i < dev_str.size(); ++i) {
        number = number * 10 + (dev_str.at(i).unicode() - '0');
        if (number > std::numeric_limits<int>::max() - kNumberedPortBase)
            return -1;
    }
    return static_cast<int>(number) + kNumberedPortBase;
}

bool GetLinkIdAndDefaultStationId(const QString& connectionName, int hmiPort, int& linkId,
                                  unsigned char& stationId)
{
    bool found = false;
    forEachRow(connectionName,
               QStringLiteral("SELECT LINK.LINKID, NODE.STATIONID FROM LINK, NODE WHERE LINK.HMIPORT = ? "
                              "AND NODE.LINKID = LINK.LINKID AND NODE.ISDEFAULT = 1;"),
               {hmiPort}, [&](const QSqlQuery& query) {
                   linkId = query.value(0).toInt();
                   stationId = stationOf(query.value(1));
                   found = true;
                   return false;
               });
    return found;
}

bool GetLinkIdAndDefaultStationId(const QString& connectionName, int linkId, QList<LinkIdStationId>& result)
{
    forEachRow(connectionName,
               QStringLiteral("SELECT NODE.STATIONID FROM NODE WHERE NODE.LINKID = ? AND NODE.ISDEFAULT = 1"),
               {linkId}, [&](const QSqlQuery& query) {
                   result.append({linkId, stationOf(query.value(0))});
                   return true;
               });
    return !result.isEmpty();
}

bool GetLinkIdAndDefaultStationId(const QString& connectionName, int hmiPort, const QString& ip,
                                  unsigned short port, QList<LinkIdStationId>& result)
{
    forEachRow(connectionName,
               QStringLiteral("SELECT LINK.LINKID, NODE.STATIONID FROM LINK, NODE WHERE LINK.HMIPORT = ? "
                              "AND NODE.LINKID = LINK.LINKID AND NODE.IP = ? AND NODE.PORT = ? "
                              "AND NODE.ISDEFAULT = 1;"),
               {hmiPort, ip, static_cast<int>(port)}, [&](const QSqlQuery& query) {
                   result.append({query.value(0).toInt(), stationOf(query.value(1))});
                   return true;
               });
    return !result.isEmpty();
}
