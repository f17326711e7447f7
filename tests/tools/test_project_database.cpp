// Project database lookups on a real SQLite file, port numbers and project paths.
#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include "tools/project_database.h"
#include "support/checked_process.h"

TEST(ProjectDatabase, LookupsOnARealFile)
{
    int argc = 1;
    char name[] = "tools_tests", *argv[] = {name, nullptr};
    QCoreApplication application(argc, argv); // the SQL driver plug-ins load through it
    QTemporaryDir directory;
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("project"));
    database.setDatabaseName(directory.filePath(QStringLiteral("database")));
    ASSERT_TRUE(database.open());
    for (const char* statement : {
             "CREATE TABLE LINK (LINKID INTEGER, HMIPORT INTEGER)",
             "CREATE TABLE NODE (LINKID INTEGER, STATIONID INTEGER, ISDEFAULT INTEGER, IP TEXT, PORT INTEGER)",
             "INSERT INTO LINK VALUES (7, 1003), (8, 1004), (9, 2000), (10, 2000), (11, 1006), ('L', 1005)",
             // Link 7 has two default nodes; the first row holds station 5.
             "INSERT INTO NODE VALUES (7, 5, 1, '', 0), (7, 300, 1, '', 0), (7, 9, 0, '', 0), (11, 4, 0, '', 0),"
             " (8, 'abc', 1, '', 0), ('L', 'x', 1, '', 0), (9, 11, 1, '192.168.0.10', 502),"
             " (9, 12, 1, '192.168.0.10', 503), (9, 13, 0, '192.168.0.10', 502), (9, 300, 1, '10.0.0.1', 502),"
             " (10, 21, 1, '192.168.0.10', 502)"})
        ASSERT_TRUE(QSqlQuery(database).exec(QString::fromLatin1(statement))) << statement;

    // -5 and 77: the outputs as they were before the call.
    const struct { const char* connection; int hmiPort; bool found; int linkId, stationId; } byPort[] = {
        {"project", 1003, true, 7, 5},    {"project", 1004, true, 8, 0},    {"project", 1005, true, 0, 0},
        {"project", 1099, false, -5, 77}, {"project", 1006, false, -5, 77}, {"unregistered", 1003, false, -5, 77}};
    for (const auto& c : byPort) {
        int linkId = -5;
        unsigned char stationId = 77;
        EXPECT_EQ(GetLinkIdAndDefaultStationId(c.connection, c.hmiPort, linkId, stationId), c.found) << c.hmiPort;
        EXPECT_EQ(linkId, c.linkId) << c.hmiPort;
        EXPECT_EQ(stationId, c.stationId) << c.hmiPort;
    }
    const char* const injected = "1.2.3.4' OR '1'='1"; // pasted between the quotes it would match many nodes
    // Rows come in the order of the tables' rows, whichever table a join scans first.
    using Pairs = QList<LinkIdStationId>;
    const struct { const char* name; Pairs held; int link; const char* ip; int port; Pairs after; } appending[] = {
        {"link 7, station 300 cut to 44", {}, 7, nullptr, 0, {{7, 5}, {7, 44}}},
        {"link 7 after a held pair", {{1, 1}}, 7, nullptr, 0, {{1, 1}, {7, 5}, {7, 44}}},
        {"held pair, no default node", {{3, 4}}, 11, nullptr, 0, {{3, 4}}},
        {"no such link", {}, 99, nullptr, 0, {}},
        {"station that is not a number", {}, 8, nullptr, 0, {{8, 0}}},
        {"two links at one address", {}, 2000, "192.168.0.10", 502, {{9, 11}, {10, 21}}},
        {"other port", {}, 2000, "192.168.0.10", 503, {{9, 12}}},
        {"station 300", {}, 2000, "10.0.0.1", 502, {{9, 44}}},
        {"other port number", {}, 1003, "192.168.0.10", 502, {}},
        {"injection", {}, 2000, injected, 502, {}},
        {"injection after a held pair", {{1, 2}}, 2000, injected, 502, {{1, 2}}},
    };
    for (const auto& c : appending) {
        Pairs result = c.held;
        const bool found = c.ip ? GetLinkIdAndDefaultStationId("project", c.link, c.ip, c.port, result)
                                : GetLinkIdAndDefaultStationId("project", c.link, result);
        EXPECT_EQ(result, c.after) << c.name;
        EXPECT_EQ(found, !result.isEmpty()) << c.name;
    }
}

TEST(DevStrToHmiPort, NumbersPortsFromTheirDeviceStrings)
{
    const struct { const char* device; int port; } cases[] = {
        {"COM2", 1003},     {"COM002", 1003}, {"/dev/ttyS1", 1002}, {"ETHER1", 1002},     {"ETHERNET", 2000},
        {"ethernet", 2000}, {"EtherNet:192.168.0.1", 2000},         {"", -1},             {"COM", -1},
        {"2", -1},          {"COM2 ", -1},    {"COM2147482646", 2147483647},             {"COM2147482647", -1},
        {"COM99999999999999999999", -1}};
    for (const auto& c : cases)
        EXPECT_EQ(DevStrToHmiPort(QString::fromLatin1(c.device)), c.port) << '"' << c.device << '"';
}

TEST(ProjectPaths, FollowTheDirectoriesBesideTheApplication)
{
    // The directories made beside the probe, then its project directory and database file.
    const struct { QStringList directories; const char* compile; const char* database; } layouts[] = {
        {{"compile", "compile/database"}, "/compile", "/compile/database/database"},
        {{"compile"}, "/compile", "/compile/database"}, {{"database"}, "", "/database/database"}, {{}, "", "/database"},
    };
    for (const auto& layout : layouts) {
        QTemporaryDir temporary;
        const QString application = QFileInfo(temporary.path()).canonicalFilePath();
        for (const QString& directory : layout.directories)
            ASSERT_TRUE(QDir(application).mkpath(directory));
        ASSERT_TRUE(QFile::copy(QStringLiteral(PROJECT_PATHS_PROBE), application + "/probe"));
        QProcess probe;
        startChecked(probe, application + "/probe", QStringList());
        ASSERT_TRUE(probe.waitForFinished(30000)) << layout.database;
        EXPECT_EQ(QString::fromLocal8Bit(probe.readAllStandardOutput()),
                  application + layout.compile + '\n' + application + layout.database + '\n');
    }
}
