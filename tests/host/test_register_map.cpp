// Register maps: every fault a map can have, reported with file, line and
// column, all of them at once; and the shipped example map loads.
#include "parameters/register_map.h"
#include "addresses/transfer_plan.h"
#include "interface/communicator_command.h"

#include "fake_parameter_line.h"

#include <gtest/gtest.h>

namespace {

const char* const Header = "name,address,type,scale,unit,access,description\n";

QStringList faultsOf(const QByteArray& content)
{
    RegisterMap map;
    QStringList faults;
    EXPECT_FALSE(parseRegisterMap(content, QStringLiteral("m.csv"), &map, &faults));
    return faults;
}

TEST(RegisterMap, RefusesEachFaultWithItsLineAndColumn)
{
    const struct {
        const char* name;
        QByteArray rows; // after the header (line 2 on)
        const char* fault;
    } cases[] = {
        {"unknown type", "speed,HR1,int64,1,rpm,rw,x\n",
         "m.csv:2:11: unknown type: 'int64' (int16, uint16, int32, uint32, float32 or bool)"},
        {"area outside the six", "speed,XR5,int16,1,,r,\n",
         "m.csv:2:7: unknown area 'XR' in XR5 (HR, IR, DO, DI, FN5DO, FN6HR)"},
        {"number beyond 65536", "speed,HR65537,int16,1,,r,\n",
         "m.csv:2:7: bad address: HR65537 (numbers run from 1 to 65536)"},
        {"pair beyond 65536", "pos,HR65536,int32,1,,r,\n",
         "m.csv:2:5: bad count for HR65536: 1 dword(s) run past HR65536"},
        {"driver's own register", "list,HR60000,uint16,1,,r,\n",
         "m.csv:2:6: HR60000: HR60000..HR60010 are the driver's own registers, not the servo's"},
        {"pair running into the driver's registers", "pos,HR59999,int32,1,,r,\n",
         "m.csv:2:5: HR59999 with 1 dword(s) runs into HR60000: HR60000..HR60010 are the driver's own registers, not "
         "the servo's; read up to HR59999 and from HR60000 in two commands"},
        {"no address shape", "speed,HR,int16,1,,r,\n",
         "m.csv:2:7: bad address: HR (area letters and a number, e.g. HR100, DO5, HR100.3, HR200SW)"},
        {"bit on a coil", "on,DO5.1,bool,,,rw,\n",
         "m.csv:2:4: bad address: DO5.1 (DO, DI and FN5DO are bits already; a .bit is for the registers of HR, IR and FN6HR)"},
        {"bit on an input", "on,DI5.1,bool,,,r,\n",
         "m.csv:2:4: bad address: DI5.1 (DO, DI and FN5DO are bits already; a .bit is for the registers of HR, IR and FN6HR)"},
        {"bit beyond 15", "on,HR5.16,bool,,,rw,\n", "m.csv:2:4: bad address: HR5.16 (bit numbers run from 0 to 15)"},
        {"word on a coil", "on,DO5,uint16,,,rw,\n", "m.csv:2:4: bad type for DO5: word (DO, DI and FN5DO hold bits: bit or bitblock)"},
        {"word on a bit", "on,HR5.2,uint16,,,rw,\n", "m.csv:2:4: bad type for HR5.2: word (a .bit address holds bits: bit or bitblock)"},
        {"bool on a whole register", "on,HR5,bool,,,rw,\n",
         "m.csv:2:4: bool needs a coil, an input or a register bit (e.g. HR100.3): HR5"},
        {"SW on one register", "speed,HR5SW,int16,,,rw,\n",
         "m.csv:2:7: bad type for HR5SW: word (SW orders the words of a dword: dword)"},
        {"bad scale", "speed,HR5,int16,fast,,rw,\n", "m.csv:2:17: bad scale: 'fast' (a number other than 0)"},
        {"zero scale", "speed,HR5,int16,0,,rw,\n", "m.csv:2:17: bad scale: '0' (a number other than 0)"},
        {"scaled bool", "on,DO5,bool,2,,rw,\n", "m.csv:2:13: a bool has no scale: 2"},
        {"bad access", "speed,HR5,int16,1,,w,\n", "m.csv:2:20: bad access: 'w' (r or rw)"},
        {"writable input register", "speed,IR5,int16,1,,rw,\n",
         "m.csv:2:20: IR5 is read-only (IR and DI cannot be written)"},
        {"bad name", "spe ed,HR5,int16,1,,r,\n", "m.csv:2:1: bad name: 'spe ed' (letters, digits, _ and .)"},
        {"empty name", ",HR5,int16,1,,r,\n", "m.csv:2:1: bad name: '' (letters, digits, _ and .)"},
        {"name that reads as an address", "HR7,HR5,int16,1,,r,\n", "m.csv:2:1: bad name: HR7 reads as an address"},
        {"duplicate name", "a,HR5,int16,1,,r,\n# comment\na,HR6,int16,1,,r,\n",
         "m.csv:4:1: duplicate name: a (first on line 2)"},
        {"overlapping registers", "pos,HR5,int32,1,,r,\nspeed,HR6,int16,1,,r,\n",
         "m.csv:3:7: registers of speed (HR6) overlap those of pos (HR5, line 2)"},
        {"overlap across HR and FN6HR", "a,HR5,int16,1,,r,\nb,FN6HR5,int16,1,,rw,\n",
         "m.csv:3:3: registers of b (FN6HR5) overlap those of a (HR5, line 2)"},
        {"bit on a named register", "a,HR5,int16,1,,r,\nb,HR5.3,bool,,,rw,\n",
         "m.csv:3:3: registers of b (HR5.3) overlap those of a (HR5, line 2)"},
        {"same bit twice", "a,HR5.3,bool,,,rw,\nb,HR5.3,bool,,,rw,\n",
         "m.csv:3:3: registers of b (HR5.3) overlap those of a (HR5.3, line 2)"},
        {"too many fields", "a,HR5,int16,1,,r,x,extra\n", "m.csv:2:20: 8 fields, the header has 7"},
        {"open quote", "a,HR5,int16,1,,r,\"x\n", "m.csv:2:18: a quote that does not end"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(faultsOf(QByteArray(Header) + c.rows), QStringList{QLatin1String(c.fault)});
    }
}

// A map row is refused exactly as a command line that reads (or, rw, writes) the
// parameter is: one rule for every address text, the map adds where it stands.
TEST(RegisterMap, RefusesARowAsTheCommandLineRefusesItsAddress)
{
    const struct {
        const char* row;
        const char* address;
        int dataType;
        Direction direction;
        int column;
    } cases[] = {
        {"a,FN7HR5,int16,1,,r,\n", "FN7HR5", Word, Direction::Read, 3},
        {"a,HR0,int16,1,,r,\n", "HR0", Word, Direction::Read, 3},
        {"a,DO5SW,bool,,,r,\n", "DO5SW", Bit, Direction::Read, 3},
        {"a,HR60010.2,bool,,,r,\n", "HR60010.2", Bit, Direction::Read, 3},
        {"a,HR60010,float32,1,,r,\n", "HR60010", DoubleWord, Direction::Read, 3},
        {"a,DI4,bool,,,rw,\n", "DI4", Bit, Direction::Write, 14},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.row);
        TransferPlan plan;
        QString refusal;
        ASSERT_FALSE(planTransfer(QLatin1String(c.address), c.dataType, 1, c.direction, &plan, &refusal));
        EXPECT_EQ(faultsOf(QByteArray(Header) + c.row),
                  QStringList{QStringLiteral("m.csv:2:%1: %2").arg(c.column).arg(refusal)});
    }
}

TEST(RegisterMap, RefusesBadHeaders)
{
    const struct {
        QByteArray content;
        QStringList faults;
    } cases[] = {
        {"# only a comment\n", {QStringLiteral("m.csv:1:1: no header row (name,address,type,scale,unit,access,description)")}},
        {"name,address,kind\n",
         {QStringLiteral("m.csv:1:14: unknown column: kind (the header is name,address,type,scale,unit,access,description)"),
          QStringLiteral("m.csv:1:1: no type column (the header is name,address,type,scale,unit,access,description)")}},
        {"name,address,type,name\n", {QStringLiteral("m.csv:1:19: column name given twice")}},
        {"name,address,type\n", {QStringLiteral("m.csv:2:1: no parameters")}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.content.constData());
        EXPECT_EQ(faultsOf(c.content), c.faults);
    }
}

TEST(RegisterMap, ReportsEveryFaultOfAMapAtOnce)
{
    EXPECT_EQ(faultsOf(QByteArray(Header) + "a,HR5,int64,1,,r,\nb,DO5.1,bool,,,x,\nok,HR9,uint16,1,,rw,\n"),
              (QStringList{QStringLiteral("m.csv:2:7: unknown type: 'int64' (int16, uint16, int32, uint32, float32 or bool)"),
                           QStringLiteral("m.csv:3:3: bad address: DO5.1 (DO, DI and FN5DO are bits already; a .bit is "
                                          "for the registers of HR, IR and FN6HR)"),
                           QStringLiteral("m.csv:3:16: bad access: 'x' (r or rw)")}));
}

TEST(RegisterMap, ReadsRowsWithQuotesCommentsAndColumnsInAnyOrder)
{
    RegisterMap map;
    QStringList faults;
    ASSERT_TRUE(parseRegisterMap("# servo\r\naccess,type,address,name,scale,description\r\n"
                                 "rw,uint16,HR513,speed_limit,1,\"Highest speed, in \"\"rpm\"\"\"\r\n"
                                 "  # comment\r\n\r\n"
                                 "r,int32,IR98SW,position,0.001,\r\n",
                                 QStringLiteral("dir/s.csv"), &map, &faults))
        << faults.join(QLatin1Char('\n')).toStdString();
    EXPECT_EQ(map.name, QStringLiteral("s.csv"));
    ASSERT_EQ(map.parameters.size(), 2u);
    const Parameter& speed = map.parameters[0];
    EXPECT_EQ(speed.name, QStringLiteral("speed_limit"));
    EXPECT_TRUE(speed.writable);
    EXPECT_EQ(speed.line, 3);
    EXPECT_EQ(speed.description, QStringLiteral("Highest speed, in \"rpm\""));
    const Parameter& position = *map.find(QStringLiteral("position"));
    EXPECT_EQ(position.address.area, Area::IR);
    EXPECT_EQ(position.address.number, 98);
    EXPECT_TRUE(position.address.highWordFirst);
    EXPECT_EQ(position.decimals, 3);
    EXPECT_FALSE(position.writable);
    EXPECT_EQ(map.checksum.left(7), QStringLiteral("sha256:"));
    EXPECT_EQ(map.checksum.size(), 7 + 64);
}

TEST(RegisterMap, ShippedExampleLoads)
{
    RegisterMap map;
    QStringList faults;
    ASSERT_TRUE(loadRegisterMap(QStringLiteral(EXAMPLE_MAP_PATH), &map, &faults)) << faults.join(QLatin1Char('\n')).toStdString();
    EXPECT_GE(map.parameters.size(), 40u);
    EXPECT_NE(map.find(QStringLiteral("sn.speed_limit")), nullptr);
}

} // namespace
