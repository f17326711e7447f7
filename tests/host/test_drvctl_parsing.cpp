// drvctl's command-line pieces called directly: --fault switches, shell lines on
// parsers that are built once and reused, and the poll summary's statistics.
#include "drvctl/fault_switches.h"
#include "drvctl/invocation.h"
#include "drvctl/round_trip_stats.h"
#include "drvctl/transfer_plan.h"
#include "interface/communicator_command.h"

#include <gtest/gtest.h>

namespace {

TEST(FaultSwitch, ParsesStationNameAndValueIntoTheSimulatorsFaults)
{
    const struct {
        const char* text;
        int station;
        StationFaults expected;
    } cases[] = {
        {"silent", 0, [] { StationFaults f; f.silent = true; return f; }()},
        {"2:delay=150", 2, [] { StationFaults f; f.replyDelayMs = 150; return f; }()},
        {"247:drop=0x3", 247, [] { StationFaults f; f.dropReplyBytes = 3; return f; }()},
        {"bad-crc", 0, [] { StationFaults f; f.corruptCrc = true; return f; }()},
        {"1:slave-id=0", 1, [] { StationFaults f; f.wrongSlaveId = 0; return f; }()},
        {"exception=100", 0, [] { StationFaults f; f.exceptionAddress = 99; f.exceptionCode = 4; return f; }()},
        {"3:exception=65536:2", 3, [] { StationFaults f; f.exceptionAddress = 65535; f.exceptionCode = 2; return f; }()},
        {"wrong-function", 0, [] { StationFaults f; f.wrongFunctionCode = true; return f; }()},
        {"extra=255", 0, [] { StationFaults f; f.extraReplyBytes = 255; return f; }()},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        FaultSwitch fault;
        QString error;
        ASSERT_TRUE(parseFaultSwitch(QLatin1String(c.text), &fault, &error)) << error.toStdString();
        EXPECT_EQ(fault.station, c.station);
        StationFaults faults;
        applyFaultSwitch(fault, &faults);
        EXPECT_EQ(faults.silent, c.expected.silent);
        EXPECT_EQ(faults.replyDelayMs, c.expected.replyDelayMs);
        EXPECT_EQ(faults.dropReplyBytes, c.expected.dropReplyBytes);
        EXPECT_EQ(faults.corruptCrc, c.expected.corruptCrc);
        EXPECT_EQ(faults.wrongSlaveId, c.expected.wrongSlaveId);
        EXPECT_EQ(faults.exceptionAddress, c.expected.exceptionAddress);
        EXPECT_EQ(faults.exceptionCode, c.expected.exceptionCode);
        EXPECT_EQ(faults.wrongFunctionCode, c.expected.wrongFunctionCode);
        EXPECT_EQ(faults.extraReplyBytes, c.expected.extraReplyBytes);
        EXPECT_TRUE(faults.any());
    }
}

TEST(FaultSwitch, RefusesWithTheReason)
{
    const struct {
        const char* text;
        const char* error;
    } cases[] = {
        {"0:silent", "bad value for --fault: 0:silent (station ids run from 1 to 247)"},
        {"248:silent", "bad value for --fault: 248:silent (station ids run from 1 to 247)"},
        {"slow", "bad value for --fault: slow (see 'drvctl simulate --help' for the faults)"},
        {"silent=1", "bad value for --fault: silent=1 (silent takes no value)"},
        {"delay", "bad value for --fault: delay (delay=MS with MS from 1 to 60000)"},
        {"delay=60001", "bad value for --fault: delay=60001 (delay=MS with MS from 1 to 60000)"},
        {"delay=5:1", "bad value for --fault: delay=5:1 (delay=MS with MS from 1 to 60000)"},
        {"exception=0", "bad value for --fault: exception=0 (exception=ADDRESS[:CODE] with ADDRESS[:CODE] from 1 to 65536)"},
        {"exception=5:256", "bad value for --fault: exception=5:256 (exception codes run from 1 to 255)"},
        {"exception=5:", "bad value for --fault: exception=5: (exception codes run from 1 to 255)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        FaultSwitch fault;
        QString error;
        EXPECT_FALSE(parseFaultSwitch(QLatin1String(c.text), &fault, &error));
        EXPECT_EQ(error.toStdString(), c.error);
    }
}

TEST(ShellLine, EachLineStartsFromNothingOnTheReusedParser)
{
    const struct {
        const char* line;
        ParseOutcome outcome;
        int station, count, dataType;
        bool hex;
        const char* text;
    } lines[] = {
        {"read HR5 --station 7 --count 4 --type dword --hex", ParseOutcome::Run, 7, 4, DoubleWord, true, ""},
        {"read   HR5\t", ParseOutcome::Run, -1, 1, -1, false, ""}, // nothing of the line before
        {"write HR5 1 2 3 --station=2", ParseOutcome::Run, 2, 1, -1, false, ""},
        {"read HR5 --trace --json", ParseOutcome::Run, -1, 1, -1, false, ""},
        {"read HR5 --echo on", ParseOutcome::Error, -1, 1, -1, false,
         "--echo holds for the whole session: give it to 'drvctl shell', not to a line"},
        {"read HR5 --station 0", ParseOutcome::Error, -1, 1, -1, false,
         "bad value for --station: 0 is broadcast, which no servo answers, and the driver waits for an answer after "
         "every request (1 to 247)"},
        {"read HD5", ParseOutcome::Error, -1, 1, -1, false, "unknown area 'HD' in HD5 (HR, IR, DO, DI, FN5DO, FN6HR)"},
        {"read HR5 --count 0", ParseOutcome::Error, -1, 1, -1, false, "bad value for --count: 0 (1 to 65536)"},
        {"read HR5 HR6", ParseOutcome::Error, -1, 1, -1, false, "read takes ADDRESS"},
        {"poll HR5", ParseOutcome::Error, -1, 1, -1, false, "poll is not available in the shell"},
        {"read HR5\u00A0", ParseOutcome::Run, -1, 1, -1, false, ""}, // a no-break space separates too
    };
    for (const auto& l : lines) {
        SCOPED_TRACE(l.line);
        Invocation invocation;
        QString text;
        ASSERT_EQ(parseShellLine(QString::fromUtf8(l.line), &invocation, &text), l.outcome);
        EXPECT_EQ(text.toStdString(), l.text);
        if (l.outcome != ParseOutcome::Run)
            continue;
        EXPECT_EQ(invocation.station, l.station);
        EXPECT_EQ(invocation.count, l.count);
        EXPECT_EQ(invocation.dataType, l.dataType);
        EXPECT_EQ(invocation.hex, l.hex);
    }
}

TEST(TransferPlan, SplitsAtTheModbusLimitsOfOneTransaction)
{
    const struct {
        const char* address;
        int type; // -1: from the address
        int count;
        Direction direction;
        const char* pieces; // address xcount, ...
    } cases[] = {
        {"hr1", -1, 125, Direction::Read, "hr1 x125"}, // one command keeps the text as written
        {"hr1", -1, 126, Direction::Read, "HR1 x125, HR126 x1"},
        {"HR1", -1, 124, Direction::Write, "HR1 x123, HR124 x1"},
        {"FN6HR10", -1, 250, Direction::Write, "FN6HR10 x123, FN6HR133 x123, FN6HR256 x4"},
        {"HR1SW", -1, 63, Direction::Read, "HR1SW x62, HR125SW x1"},
        {"HR1SW", -1, 62, Direction::Write, "HR1SW x61, HR123SW x1"},
        {"HR1", Byte, 252, Direction::Write, "HR1 x246, HR124 x6"},
        {"IR1", Block, 251, Direction::Read, "IR1 x250, IR126 x1"},
        {"DO1", -1, 2001, Direction::Read, "DO1 x2000, DO2001 x1"},
        {"FN5DO1", -1, 1969, Direction::Write, "FN5DO1 x1968, FN5DO1969 x1"},
        {"DI7", BitBlock, 4000, Direction::Read, "DI7 x2000, DI2007 x2000"},
        // Register bits: whole registers per command, the bit number carried on.
        {"HR1.15", -1, 2000, Direction::Read, "HR1.15 x1985, HR126.0 x15"},
        {"HR1.4", -1, 1965, Direction::Write, "HR1.4 x1964, HR124.0 x1"},
        {"HR60000", -1, 11, Direction::Read, "HR60000 x11"},
        {"HR65536", -1, 1, Direction::Write, "HR65536 x1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.address);
        TransferPlan plan;
        QString error;
        ASSERT_TRUE(planTransfer(QLatin1String(c.address), c.type, c.count, c.direction, &plan, &error))
            << error.toStdString();
        QStringList pieces;
        int next = 0;
        for (const TransferPiece& piece : plan.pieces) {
            EXPECT_EQ(piece.first, next);
            next += piece.count;
            pieces << QStringLiteral("%1 x%2").arg(piece.address).arg(piece.count);
        }
        EXPECT_EQ(next, c.count);
        EXPECT_EQ(pieces.join(QStringLiteral(", ")).toStdString(), c.pieces);
    }
}

TEST(RoundTripStats, NearestRankPercentileAndMoments)
{
    RoundTripStats stats;
    EXPECT_TRUE(stats.empty());
    EXPECT_EQ(stats.percentile(99), 0.0);
    for (int ms = 100; ms >= 1; --ms) // 1..100 in any order
        stats.add(ms);
    EXPECT_EQ(stats.min(), 1.0);
    EXPECT_EQ(stats.max(), 100.0);
    EXPECT_DOUBLE_EQ(stats.average(), 50.5);
    EXPECT_EQ(stats.percentile(99), 99.0);
    EXPECT_EQ(stats.percentile(50), 50.0);
    stats.add(1000); // 101 samples: rank ceil(0.99 * 101) = 100
    EXPECT_EQ(stats.percentile(99), 100.0);
    EXPECT_EQ(stats.percentile(100), 1000.0);
}

} // namespace
