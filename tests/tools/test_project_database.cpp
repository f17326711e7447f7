// Project database lookups on a real SQLite file, port numbers and project paths.
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <utility>
#include <vector>

#include "tools/project_database.h"

namespace {

using Pairs = std::vector<std::pair<int, int>>;

Pairs sortedPairs(const QList<LinkIdStationId>& list)
{
    Pairs pairs;
    for (const LinkIdStationId& entry : list)
        pairs.emplace_back(entry.linkId, entry.stationId);
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

void ensureApplication()
{
    static int argc = 1;
    static char name[] = "tools_tests";
    static char* argv[] = {name, nullptr};
    if (QCoreApplication::instance() == nullptr)
        static QCoreApplication application(argc, argv);
}

class ProjectDatabase : public ::testing::Test {
protected:
    const QString connection = QStringLiteral("project");

    void SetUp() override
    {
        ensureApplication();
        ASSERT_TRUE(directory.isValid());
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
        database.setDatabaseName(directory.filePath(QStringLiteral("database")));
        ASSERT_TRUE(database.open());
        for (const char* statement : {
                 "CREATE TABLE LINK (LINKID INTEGER, HMIPORT INTEGER)",
                 "CREATE TABLE NODE (LINKID INTEGER, STATIONID INTEGER, ISDEFAULT INTEGER, IP TEXT, PORT INTEGER)",
                 "INSERT INTO LINK VALUES (7, 1003), (8, 1004), (9, 2000), (10, 2000), (11, 1006), ('L', 1005)",
                 // Link 7: two default nodes, the first inserted (so the first row) with station 5.
                 "INSERT INTO NODE VALUES (7, 5, 1, '', 0), (7, 300, 1, '', 0), (7, 9, 0, '', 0), (11, 4, 0, '', 0)",
                 "INSERT INTO NODE VALUES (8, 'abc', 1, '', 0), ('L', 'x', 1, '', 0), (9, 11, 1, '192.168.0.10', 502),"
                 " (9, 12, 1, '192.168.0.10', 503), (9, 13, 0, '192.168.0.10', 502), (9, 300, 1, '10.0.0.1', 502),"
                 " (10, 21, 1, '192.168.0.10', 502)"})
            ASSERT_TRUE(QSqlQuery(database).exec(QString::fromLatin1(statement))) << statement;
    }

    void TearDown() override
    {
        QSqlDatabase::database(connection, false).close();
        QSqlDatabase::removeDatabase(connection);
    }

    QTemporaryDir directory;
};

} // namespace

TEST_F(ProjectDatabase, ByPortTakesTheFirstRowOnly)
{
    const struct {
        int hmiPort;
        bool found;
        int linkId; // -5 and 77: left as they were
        int stationId;
    } cases[] = {{1003, true, 7, 5}, {1004, true, 8, 0}, {1005, true, 0, 0}, {1099, false, -5, 77},
                 {1006, false, -5, 77}};
    for (const auto& c : cases) {
        int linkId = -5;
        unsigned char stationId = 77;
        EXPECT_EQ(GetLinkIdAndDefaultStationId(connection, c.hmiPort, linkId, stationId), c.found) << c.hmiPort;
        EXPECT_EQ(linkId, c.linkId) << c.hmiPort;
        EXPECT_EQ(stationId, c.stationId) << c.hmiPort;
    }
    int linkId = -5;
    unsigned char stationId = 77;
    EXPECT_FALSE(GetLinkIdAndDefaultStationId(QStringLiteral("never-registered"), 1003, linkId, stationId));
    EXPECT_EQ(linkId, -5);
}

TEST_F(ProjectDatabase, ByLinkAndByAddressAppendWithoutClearing)
{
    const auto byLink = [this](QList<LinkIdStationId> list, int linkId) {
        const bool found = GetLinkIdAndDefaultStationId(connection, linkId, list);
        return std::make_pair(found, sortedPairs(list));
    };
    const auto byAddress = [this](QList<LinkIdStationId> list, int hmiPort, const char* ip, unsigned short port) {
        const bool found = GetLinkIdAndDefaultStationId(connection, hmiPort, QString::fromLatin1(ip), port, list);
        return std::make_pair(found, sortedPairs(list));
    };
    const struct {
        const char* name;
        std::pair<bool, Pairs> result;
        std::pair<bool, Pairs> expected;
    } cases[] = {
        {"link 7, station 300 cut to 44", byLink({}, 7), {true, {{7, 5}, {7, 44}}}},
        {"link 7 after a held pair", byLink({{1, 1}}, 7), {true, {{1, 1}, {7, 5}, {7, 44}}}},
        {"held pair, no default node", byLink({{3, 4}}, 11), {true, {{3, 4}}}},
        {"no such link", byLink({}, 99), {false, {}}},
        {"station that is not a number", byLink({}, 8), {true, {{8, 0}}}},
        {"two links at one address", byAddress({}, 2000, "192.168.0.10", 502), {true, {{9, 11}, {10, 21}}}},
        {"other port", byAddress({}, 2000, "192.168.0.10", 503), {true, {{9, 12}}}},
        {"station 300", byAddress({}, 2000, "10.0.0.1", 502), {true, {{9, 44}}}},
        {"no such node", byAddress({}, 2000, "10.0.0.1", 503), {false, {}}},
        {"other port number", byAddress({}, 1003, "192.168.0.10", 502), {false, {}}},
        // Pasted between quotes this text would match every default node of port 502.
        {"injection", byAddress({}, 2000, "1.2.3.4' OR '1'='1", 502), {false, {}}},
        {"injection after a held pair", byAddress({{1, 2}}, 2000, "1.2.3.4' OR '1'='1", 502), {true, {{1, 2}}}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.result.first, c.expected.first) << c.name;
        EXPECT_EQ(c.result.second, c.expected.second) << c.name;
    }
}

TEST(DevStrToHmiPort, NumbersPortsFromTheirDeviceStrings)
{
    const struct {
        const char* device;
        int port;
    } cases[] = {
        {"COM2", 1003},       {"COM002", 1003}, {"/dev/ttyS1", 1002}, {"ETHER1", 1002}, {"ETHERNET", 2000},
        {"ethernet", 2000},   {"EtherNet:192.168.0.1", 2000},         {"", -1},         {"COM", -1},
        {"2", -1},            {"COM2 ", -1},    {"COM2147482646", std::numeric_limits<int>::max()},
        {"COM2147482647", -1}, {"COM99999999999999999999", -1},
    };
    for (const auto& c : cases)
        EXPECT_EQ(DevStrToHmiPort(QString::fromLatin1(c.device)), c.port) << '"' << c.device << '"';
}

TEST(ProjectPaths, FollowTheDirectoriesBesideTheApplication)
{
    ensureApplication();
    const struct {
        std::vector<const char*> directories;
        const char* compilePath;  // relative to the application directory
        const char* databaseName; // relative to the application directory
    } layouts[] = {
        {{"compile", "compile/database"}, "compile", "compile/database/database"},
        {{"compile"}, "compile", "compile/database"},
        {{"database"}, ".", "database/database"},
        {{}, ".", "database"},
    };
    for (const auto& layout : layouts) {
        QTemporaryDir temporary;
        ASSERT_TRUE(temporary.isValid());
        const QDir application(QFileInfo(temporary.path()).canonicalFilePath());
        for (const char* directory : layout.directories)
            ASSERT_TRUE(application.mkpath(QString::fromLatin1(directory)));
        const QString probe = application.filePath(QStringLiteral("probe"));
        ASSERT_TRUE(QFile::copy(QStringLiteral(PROJECT_PATHS_PROBE), probe));
        QProcess process;
        process.start(probe, QStringList());
        ASSERT_TRUE(process.waitForFinished(30000)) << layout.databaseName;
        const QStringList lines = QString::fromLocal8Bit(process.readAllStandardOutput()).split(QLatin1Char('\n'));
        ASSERT_GE(lines.size(), 2) << layout.databaseName;
        EXPECT_EQ(lines.at(0), QDir::cleanPath(application.filePath(QLatin1String(layout.compilePath))));
        EXPECT_EQ(lines.at(1), application.filePath(QLatin1String(layout.databaseName)));
    }
}
