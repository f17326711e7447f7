#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QVariant>

#include "tools/project_database.h"

namespace {

using Pairs = std::vector<std::pair<int, int>>;

void ensureApplication()
{
    if (QCoreApplication::instance() != nullptr)
        return;
    static int argc = 1;
    static char name[] = "tools_tests";
    static char* argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);
}

Pairs pairsOf(const QList<LinkIdStationId>& list)
{
    Pairs pairs;
    for (const LinkIdStationId& entry : list)
        pairs.emplace_back(entry.linkId, entry.stationId);
    return pairs;
}

Pairs sorted(Pairs pairs)
{
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

// A project database file with links and nodes, registered under its own name.
class ProjectDatabase : public ::testing::Test {
protected:
    void SetUp() override
    {
        ensureApplication();
        ASSERT_TRUE(directory.isValid());
        connectionName = QStringLiteral("project-%1").arg(reinterpret_cast<quintptr>(this));
        {
            QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connectionName);
            database.setDatabaseName(directory.filePath(QStringLiteral("database")));
            ASSERT_TRUE(database.open());
        }
        const char* const statements[] = {
            "CREATE TABLE LINK (LINKID INTEGER, HMIPORT INTEGER)",
            "CREATE TABLE NODE (LINKID INTEGER, STATIONID INTEGER, ISDEFAULT INTEGER, IP TEXT, PORT INTEGER)",
            "INSERT INTO LINK VALUES (7, 1003), (8, 1004), (9, 2000), (10, 2000), (11, 1006), ('L', 1005)",
            // Link 7: two default nodes, the second with a station id above 8 bits.
            "INSERT INTO NODE VALUES (7, 5, 1, '', 0), (7, 300, 1, '', 0), (7, 9, 0, '', 0)",
            "INSERT INTO NODE VALUES (8, 'abc', 1, '', 0), (11, 4, 0, '', 0), ('L', 'x', 1, '', 0)",
            "INSERT INTO NODE VALUES (9, 11, 1, '192.168.0.10', 502), (9, 12, 1, '192.168.0.10', 503),"
            " (9, 13, 0, '192.168.0.10', 502), (9, 14, 1, '192.168.0.11', 502), (9, 300, 1, '10.0.0.1', 502),"
            " (10, 21, 1, '192.168.0.10', 502)",
        };
        for (const char* statement : statements)
            ASSERT_TRUE(run(QString::fromLatin1(statement))) << statement;
    }

    void TearDown() override
    {
        QSqlDatabase::database(connectionName, false).close();
        QSqlDatabase::removeDatabase(connectionName);
    }

    bool run(const QString& statement)
    {
        QSqlQuery query(QSqlDatabase::database(connectionName));
        return query.exec(statement);
    }

    // The rows of a statement as it is written out, column 0 and column 1 cut to 8 bits.
    Pairs rowsOf(const QString& statement)
    {
        QSqlQuery query(QSqlDatabase::database(connectionName));
        Pairs rows;
        if (!query.exec(statement))
            return rows;
        while (query.next())
            rows.emplace_back(query.value(0).toInt(), static_cast<int>(query.value(1).toUInt() & 0xFF));
        return rows;
    }

    // The network lookup's statement with its values pasted into the text.
    Pairs pastedNetworkRows(int hmiPort, const QString& ip, unsigned short port)
    {
        return rowsOf(QStringLiteral("SELECT LINK.LINKID, NODE.STATIONID FROM LINK, NODE WHERE LINK.HMIPORT = %1 "
                                     "AND NODE.LINKID = LINK.LINKID AND NODE.IP = '%2' AND NODE.PORT = %3 "
                                     "AND NODE.ISDEFAULT = 1;")
                          .arg(hmiPort)
                          .arg(ip)
                          .arg(port));
    }

    QTemporaryDir directory;
    QString connectionName;
};

} // namespace

TEST_F(ProjectDatabase, ByPortTakesTheFirstDefaultNodeOnly)
{
    const Pairs allRows = rowsOf(QStringLiteral(
        "SELECT LINK.LINKID, NODE.STATIONID FROM LINK, NODE WHERE LINK.HMIPORT = 1003 "
        "AND NODE.LINKID = LINK.LINKID AND NODE.ISDEFAULT = 1;"));
    ASSERT_EQ(sorted(allRows), (Pairs{{7, 5}, {7, 44}}));

    int linkId = -1;
    unsigned char stationId = 0;
    EXPECT_TRUE(GetLinkIdAndDefaultStationId(connectionName, 1003, linkId, stationId));
    EXPECT_EQ(linkId, 7);
    EXPECT_EQ(stationId, allRows.front().second);
}

TEST_F(ProjectDatabase, ByPortFindsLinksWithADefaultNode)
{
    struct Case {
        int hmiPort;
        bool found;
        int linkId; // -5 and 77: left as they were
        int stationId;
    };
    const Case cases[] = {
        {1004, true, 8, 0},      // station id that is not a number
        {1005, true, 0, 0},      // link id that is not a number
        {1099, false, -5, 77},   // no such link
        {1006, false, -5, 77},   // no default node
    };
    for (const Case& c : cases) {
        int linkId = -5;
        unsigned char stationId = 77;
        EXPECT_EQ(GetLinkIdAndDefaultStationId(connectionName, c.hmiPort, linkId, stationId), c.found) << c.hmiPort;
        EXPECT_EQ(linkId, c.linkId) << c.hmiPort;
        EXPECT_EQ(stationId, c.stationId) << c.hmiPort;
    }
}

TEST_F(ProjectDatabase, ByLinkAppendsEveryDefaultNodeWithoutClearing)
{
    const Pairs linkSeven = rowsOf(QStringLiteral(
        "SELECT NODE.LINKID, NODE.STATIONID FROM NODE WHERE NODE.LINKID = 7 AND NODE.ISDEFAULT = 1"));
    ASSERT_EQ(sorted(linkSeven), (Pairs{{7, 5}, {7, 44}}));

    struct Case {
        const char* name;
        QList<LinkIdStationId> before;
        int linkId;
        bool found;
        Pairs after;
    };
    Pairs kept = {{1, 1}};
    kept.insert(kept.end(), linkSeven.begin(), linkSeven.end());
    const Case cases[] = {
        {"two default nodes", {}, 7, true, linkSeven},
        {"appended after a held pair", {{1, 1}}, 7, true, kept},
        {"held pair, link without default nodes", {{3, 4}}, 11, true, {{3, 4}}},
        {"empty list, no such link", {}, 99, false, {}},
        {"station id that is not a number", {}, 8, true, {{8, 0}}},
    };
    for (const Case& c : cases) {
        QList<LinkIdStationId> result = c.before;
        EXPECT_EQ(GetLinkIdAndDefaultStationId(connectionName, c.linkId, result), c.found) << c.name;
        EXPECT_EQ(pairsOf(result), c.after) << c.name;
    }
}

TEST_F(ProjectDatabase, ByNetworkAddressMatchesThePastedStatementForOrdinaryTexts)
{
    struct Case {
        int hmiPort;
        const char* ip;
        unsigned short port;
        Pairs expected; // sorted
    };
    const Case cases[] = {
        {2000, "192.168.0.10", 502, {{9, 11}, {10, 21}}},
        {2000, "192.168.0.10", 503, {{9, 12}}},
        {2000, "192.168.0.11", 502, {{9, 14}}},
        {2000, "10.0.0.1", 502, {{9, 44}}},
        {2000, "10.0.0.1", 503, {}},
        {1003, "192.168.0.10", 502, {}},
        {2000, "", 0, {}},
    };
    for (const Case& c : cases) {
        const QString ip = QString::fromLatin1(c.ip);
        QList<LinkIdStationId> result;
        EXPECT_EQ(GetLinkIdAndDefaultStationId(connectionName, c.hmiPort, ip, c.port, result), !c.expected.empty())
            << c.ip << ':' << c.port;
        EXPECT_EQ(sorted(pairsOf(result)), c.expected) << c.ip << ':' << c.port;
        EXPECT_EQ(pairsOf(result), pastedNetworkRows(c.hmiPort, ip, c.port)) << c.ip << ':' << c.port;
    }
}

TEST_F(ProjectDatabase, ByNetworkAddressTakesTheIpTextAsAValueOnly)
{
    const QString injected = QStringLiteral("1.2.3.4' OR '1'='1");
    ASSERT_FALSE(pastedNetworkRows(2000, injected, 502).empty()) << "the pasted text would have changed the statement";

    const QString texts[] = {injected, QStringLiteral("x'; DELETE FROM NODE; --"), QStringLiteral("192.168.0.10'")};
    for (const QString& ip : texts) {
        QList<LinkIdStationId> result;
        EXPECT_FALSE(GetLinkIdAndDefaultStationId(connectionName, 2000, ip, 502, result)) << qPrintable(ip);
        EXPECT_TRUE(result.isEmpty()) << qPrintable(ip);
    }
    EXPECT_EQ(rowsOf(QStringLiteral("SELECT COUNT(*), 0 FROM NODE")), (Pairs{{12, 0}}));

    QList<LinkIdStationId> held = {{1, 2}};
    EXPECT_TRUE(GetLinkIdAndDefaultStationId(connectionName, 2000, injected, 502, held));
    EXPECT_EQ(pairsOf(held), (Pairs{{1, 2}}));
}

TEST(ProjectDatabaseFailures, UnopenableOrEmptyDatabasesFindNothing)
{
    ensureApplication();
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString unopenable = QStringLiteral("unopenable-database");
    const QString empty = QStringLiteral("database-without-tables");
    QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), unopenable)
        .setDatabaseName(directory.filePath(QStringLiteral("missing/directory/database")));
    QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), empty)
        .setDatabaseName(directory.filePath(QStringLiteral("empty")));

    for (const QString& name : {unopenable, empty, QStringLiteral("never-registered")}) {
        int linkId = -5;
        unsigned char stationId = 77;
        EXPECT_FALSE(GetLinkIdAndDefaultStationId(name, 1003, linkId, stationId)) << qPrintable(name);
        EXPECT_EQ(linkId, -5);
        EXPECT_EQ(stationId, 77);
        QList<LinkIdStationId> result;
        EXPECT_FALSE(GetLinkIdAndDefaultStationId(name, 7, result)) << qPrintable(name);
        EXPECT_FALSE(GetLinkIdAndDefaultStationId(name, 2000, QStringLiteral("192.168.0.10"), 502, result))
            << qPrintable(name);
        EXPECT_TRUE(result.isEmpty());
    }
    QSqlDatabase::database(empty, false).close();
    QSqlDatabase::removeDatabase(unopenable);
    QSqlDatabase::removeDatabase(empty);
}

TEST(DevStrToHmiPort, NumbersPortsFromTheirDeviceStrings)
{
    struct Case {
        const char* device;
        int port;
    };
    const Case cases[] = {
        {"COM2", 1003},         {"COM0", 1001},           {"COM002", 1003},     {"/dev/ttyS1", 1002},
        {"ttyUSB12", 1013},     {"A7", 1008},             {"ETHERNET", 2000},   {"ethernet", 2000},
        {"EtherNet0", 2000},    {"ETHERNET:192.168.0.1", 2000}, {"ETHERNETX", 2000},
        {"", -1},               {"COM", -1},              {"2", -1},            {"123", -1},
        {"ETHER1", 1002},       {"COM2 ", -1},            {"COM2147482646", std::numeric_limits<int>::max()},
        {"COM2147482647", -1},  {"COM99999999999999999999", -1},
    };
    for (const Case& c : cases)
        EXPECT_EQ(DevStrToHmiPort(QString::fromLatin1(c.device)), c.port) << '"' << c.device << '"';
}

TEST(ProjectPaths, FollowTheDirectoriesBesideTheApplication)
{
    ensureApplication();
    struct Layout {
        const char* name;
        std::vector<const char*> directories;
        std::vector<const char*> files;
        const char* compilePath;  // relative to the application directory
        const char* databaseName; // relative to the application directory
    };
    const Layout layouts[] = {
        {"compile and compile/database", {"compile", "compile/database"}, {}, "compile", "compile/database/database"},
        {"compile only", {"compile"}, {}, "compile", "compile/database"},
        {"database only", {"database"}, {}, "", "database/database"},
        {"neither", {}, {}, "", "database"},
        {"compile is a file", {}, {"compile"}, "", "database"},
        {"compile/database is a file", {"compile"}, {"compile/database"}, "compile", "compile/database"},
    };
    for (const Layout& layout : layouts) {
        QTemporaryDir temporary;
        ASSERT_TRUE(temporary.isValid());
        const QDir application(QFileInfo(temporary.path()).canonicalFilePath());
        for (const char* directory : layout.directories)
            ASSERT_TRUE(application.mkpath(QString::fromLatin1(directory)));
        for (const char* file : layout.files) {
            QFile touched(application.filePath(QString::fromLatin1(file)));
            ASSERT_TRUE(touched.open(QIODevice::WriteOnly));
        }
        const QString probe = application.filePath(QStringLiteral("probe"));
        ASSERT_TRUE(QFile::copy(QStringLiteral(PROJECT_PATHS_PROBE), probe));

        QProcess process;
        process.start(probe, QStringList());
        ASSERT_TRUE(process.waitForFinished(30000)) << layout.name;
        const QStringList lines = QString::fromLocal8Bit(process.readAllStandardOutput()).split(QLatin1Char('\n'));
        ASSERT_GE(lines.size(), 2) << layout.name;
        const QString compilePath =
            QDir::cleanPath(application.absolutePath() + QLatin1Char('/') + QLatin1String(layout.compilePath));
        EXPECT_EQ(lines.at(0).toStdString(), compilePath.toStdString()) << layout.name;
        EXPECT_EQ(lines.at(1).toStdString(), application.filePath(QLatin1String(layout.databaseName)).toStdString())
            << layout.name;
    }
}
