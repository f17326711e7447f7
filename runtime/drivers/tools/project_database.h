#ifndef PROJECT_DATABASE_H
#define PROJECT_DATABASE_H

#include <QDir>
#include <QList>
#include <QString>

#include "tools/drivertools_export.h"

// The project directory inside the application directory, and the database
// directory inside the project directory. The database file is named "database".
constexpr const char COMPILE_PATH[] = "compile";
constexpr const char DATABASE_PATH[] = "database";

struct LinkIdStationId {
    int linkId;
    unsigned char stationId;
};

inline bool operator==(const LinkIdStationId& a, const LinkIdStationId& b)
{
    return a.linkId == b.linkId && a.stationId == b.stationId;
}

// The application directory, or its "compile" directory when there is one.
DRIVERTOOLS_EXPORT QDir GetCompilePath();
// Absolute path of the file "database" in GetCompilePath(), or in its "database"
// directory when there is one.
DRIVERTOOLS_EXPORT QString GetDatabaseName();

// 2000 for a device string starting with "ETHERNET" in any case; otherwise the
// trailing decimal number + 1001 ("COM2" gives 1003). -1 when the string lacks
// the trailing digits or a character before them, or the number is too large.
DRIVERTOOLS_EXPORT int DevStrToHmiPort(const QString& dev_str);

// The lookups use the named Qt SQL connection, opening it when needed. A connection
// that cannot be opened, a failing statement and no rows all count as not found;
// a column that is not a number counts as 0, and station ids keep their low 8 bits.

// The link of port number hmiPort and the station of its first default node.
// Outputs are left unchanged when nothing is found.
DRIVERTOOLS_EXPORT bool GetLinkIdAndDefaultStationId(const QString& connectionName, int hmiPort, int& linkId,
                                  unsigned char& stationId);
// Appends (linkId, station) for every default node of the link; true when result
// holds any pair afterwards, also one it held before.
DRIVERTOOLS_EXPORT bool GetLinkIdAndDefaultStationId(const QString& connectionName, int linkId, QList<LinkIdStationId>& result);
// Appends (link, station) for every default node with that IP text and port on a
// link of port number hmiPort; true when result holds any pair afterwards. The IP
// text is a value of the statement, never part of its text.
DRIVERTOOLS_EXPORT bool GetLinkIdAndDefaultStationId(const QString& connectionName, int hmiPort, const QString& ip,
                                  unsigned short port, QList<LinkIdStationId>& result);

#endif
