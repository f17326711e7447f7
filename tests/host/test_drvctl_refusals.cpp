// What drvctl refuses before the driver could read or write something other than
// what was asked, and counts beyond one transaction split at the Modbus limits:
// as a user runs it, over the simulated line's pseudo-terminal.
#include "drvctl_runner.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QRegularExpression>

namespace {

std::string refused(const char* command, const char* message)
{
    return std::string("drvctl: ") + message + "\nTry 'drvctl " + command + " --help'.\n";
}

TEST(DrvctlRefuses, WhatTheDriverWouldTurnIntoSomethingElse)
{
    const struct {
        QStringList arguments;
        const char* message; // on stderr, exit status 2, nothing on stdout
    } cases[] = {
        {{"read", "HD100"}, "unknown area 'HD' in HD100 (HR, IR, DO, DI, FN5DO, FN6HR)"},
        {{"read", "XX1"}, "unknown area 'XX' in XX1 (HR, IR, DO, DI, FN5DO, FN6HR)"},
        {{"write", "FN7HR1", "5"}, "unknown area 'FN7HR' in FN7HR1 (HR, IR, DO, DI, FN5DO, FN6HR)"},
        {{"poll", "HR1", "HRR1"}, "unknown area 'HRR' in HRR1 (HR, IR, DO, DI, FN5DO, FN6HR)"},
        {{"scan", "--probe", "HD1"}, "unknown area 'HD' in HD1 (HR, IR, DO, DI, FN5DO, FN6HR)"},
        {{"write", "DO1.3", "1"},
         "bad address: DO1.3 (DO, DI and FN5DO are bits already; a .bit is for the registers of HR, IR and FN6HR)"},
        {{"read", "HR1.16"}, "bad address: HR1.16 (bit numbers run from 0 to 15)"},
        {{"read", "FN5DO5SW"}, "bad address: FN5DO5SW (SW orders the words of a dword, which only HR, IR and FN6HR hold)"},
        {{"read", "DO1", "--type", "word"}, "bad type for DO1: word (DO, DI and FN5DO hold bits: bit or bitblock)"},
        {{"read", "HR100.3", "--type", "word"}, "bad type for HR100.3: word (a .bit address holds bits: bit or bitblock)"},
        {{"read", "HR200SW", "--type", "word"}, "bad type for HR200SW: word (SW orders the words of a dword: dword)"},
        {{"write", "IR5", "1"}, "IR5 is read-only (IR and DI cannot be written)"},
        {{"write", "HR5", "--type", "byte", "1", "2", "3"},
         "3 byte(s) to HR5: the driver writes whole registers and would set the other byte of the last one to 0; "
         "write an even number of bytes"},
        {{"read", "HR65530", "--count", "10"}, "bad count for HR65530: 10 word(s) run past HR65536"},
        {{"read", "DO65000", "--count", "600"}, "bad count for DO65000: 600 bit(s) run past DO65536"},
        {{"read", "HR1", "--station", "0"},
         "bad value for --station: 0 is broadcast, which no servo answers, and the driver waits for an answer after "
         "every request (1 to 247)"},
        {{"read", "HR1", "--station", "248"}, "bad value for --station: 248 (1 to 247)"},
        {{"read", "HR1", "--device", ""},
         "--device needs a path: an empty one (an unset variable?) would start the simulated line; leave --device out "
         "for that"},
        {{"read", "HR1", "--fault", "5:silent"},
         "--fault names station 5, which is not on the simulated line (stations 1, 2, 3)"},
        // The driver's own registers HR60000..HR60010.
        {{"write", "HR59995", "1", "2", "3", "4", "5", "6"},
         "HR59995 with 6 word(s) runs into HR60000: HR60000..HR60010 are the driver's own registers, not the servo's; "
         "write up to HR59999 and from HR60000 in two commands"},
        {{"read", "FN6HR59999", "--count", "2"},
         "FN6HR59999 with 2 word(s) runs into FN6HR60000: FN6HR60000..FN6HR60010 are the driver's own registers, not "
         "the servo's; read up to FN6HR59999 and from FN6HR60000 in two commands"},
        {{"read", "HR60005", "--count", "7"}, "HR60005 with 7 word(s) runs past HR60010, the last of the driver's own registers"},
        {{"write", "HR60009", "1", "5"},
         "write HR60010 alone, one value: the driver sends every word of a write that reaches it to HR1300 onward of "
         "each listed station"},
        {{"read", "HR60001.3"},
         "HR60001.3 would read a bit of the servo's register HR60001, not of the driver's own: read HR60001 as a word"},
        {{"write", "HR60001.3", "1"}, "HR60001.3: HR60000..HR60009 hold the driver's station list; write them as whole words"},
        {{"read", "HR60003", "--type", "dword"},
         "HR60003 as dword would go to the servo's registers, not the driver's own: HR60000..HR60010 are words"},
        {{"write", "HR60000", "9"}, "HR60000 holds how many stations the driver's list has: 0 to 8, not 9"},
        {{"write", "HR60001", "2", "300"},
         "HR60002 holds a station of the driver's list: 1 to 247, not 300 (the driver sends to its low byte: 300 would "
         "reach station 44)"},
        {{"write", "HR60003", "0"},
         "HR60003 holds a station of the driver's list: 1 to 247, not 0 (0 is broadcast, which no servo answers)"},
        {{"write", "HR60008", "250"},
         "HR60008 holds a station of the driver's list: 1 to 247, not 250 (248 to 255 are no station's)"},
        {{"write", "HR60009", "9"},
         "HR60009 names the station HR60010 is read from: 0 to 8 (the driver stores anything above 8 as 8), not 9"},
        {{"scan", "--probe", "HR60005"},
         "--probe HR60005: the driver answers HR60000..HR60010 itself, without the line, so every station would seem "
         "to answer; probe a servo register such as HR1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments.join(QLatin1Char(' ')).toStdString());
        const Outcome run = drvctl(c.arguments);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, refused(c.arguments[0].toLatin1().constData(), c.message));
    }
}

TEST(DrvctlRefuses, InJsonWhenAskedTo)
{
    const struct {
        QStringList arguments;
        const char* out;
    } cases[] = {
        {{"read", "HD100", "--json"},
         R"j({"error":"unknown area 'HD' in HD100 (HR, IR, DO, DI, FN5DO, FN6HR)","exit":2,"ok":false})j"},
        {{"write", "HR60001", "0", "--json"},
         R"j({"error":"HR60001 holds a station of the driver's list: 1 to 247, not 0 (0 is broadcast, which no servo answers)","exit":2,"ok":false})j"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments.join(QLatin1Char(' ')).toStdString());
        const Outcome run = drvctl(c.arguments);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.out, std::string(c.out) + "\n");
        EXPECT_EQ(run.err, "");
    }
}

TEST(DrvctlRefuses, StationListThatWouldSendToNoServo)
{
    // The table is the driver's, kept for the session: what it holds decides.
    const Outcome run = drvctl({"shell", "--retry", "0", "--timeout", "50"},
                               "write HR60000 2 2\n"  // a list of 2 with its second entry still 0
                               "write HR60010 5\n"    // refused: the fan-out would broadcast
                               "read HR60010\n"       // refused: HR60009 names no station
                               "write HR60002 3\n"
                               "write HR60009 3\n"
                               "write HR60010 5\n"
                               "read HR60010\n"
                               "read HR1300 --station 2\n");
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.lines().filter(QRegularExpression(QStringLiteral("^HR\\d+ word"))),
              QStringList({"HR60000 word[2] written", "HR60002 word[1] written", "HR60009 word[1] written",
                           "HR60010 word[1] written", "HR60010 word[1]: 5", "HR1300 word[1]: 5"}));
    EXPECT_EQ(run.err,
              refused("write", "the driver's station list names 0 at HR60002 (0 is broadcast, which no servo answers), "
                               "and a write of HR60010 goes to every listed station; write station ids from 1 to 247 "
                               "to HR60001..HR60002 first")
                  + refused("read", "HR60009 names no station to read HR60010 from while the driver's list has 2: the "
                                    "driver would ask station 0, which never answers; write the station to read from "
                                    "to HR60009 first"));
}

int framesSent(const std::string& trace)
{
    return QString::fromStdString(trace).count(QRegularExpression(QStringLiteral("\\] TX ")));
}

TEST(DrvctlSplits, CountsBeyondOneTransactionAtTheModbusLimits)
{
    const struct {
        QStringList arguments;
        int requests;
        const char* split; // what --trace says, nullptr: one request
    } cases[] = {
        {{"read", "HR1", "--count", "125"}, 1, nullptr},
        {{"read", "HR1", "--count", "1000"}, 8,
         "HR1 x1000 in 8 driver commands of at most 125 word(s) (the Modbus limit of one read): HR1 x125, HR126 x125, "
         "HR251 x125, HR376 x125, HR501 x125, HR626 x125, HR751 x125, HR876 x125"},
        {{"read", "HR10SW", "--count", "100"}, 2,
         "HR10SW x100 in 2 driver commands of at most 62 dword(s) (the Modbus limit of one read): HR10SW x62, HR134SW x38"},
        {{"read", "DI1", "--count", "4001"}, 3,
         "DI1 x4001 in 3 driver commands of at most 2000 bit(s) (the Modbus limit of one read): DI1 x2000, "
         "DI2001 x2000, DI4001 x1"},
        {{"read", "HR1.4", "--count", "2000"}, 2,
         "HR1.4 x2000 in 2 driver commands of at most 125 register(s) (the Modbus limit of one read): HR1.4 x1996, "
         "HR126.0 x4"},
        {{"read", "IR1", "--type", "byte", "--count", "251"}, 2,
         "IR1 x251 in 2 driver commands of at most 250 byte(s) (the Modbus limit of one read): IR1 x250, IR126 x1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments.join(QLatin1Char(' ')).toStdString());
        const Outcome run = drvctl(c.arguments + QStringList{"--trace", "--json"});
        ASSERT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(framesSent(run.err), c.requests) << run.err;
        const int count = c.arguments.at(c.arguments.indexOf(QStringLiteral("--count")) + 1).toInt();
        EXPECT_EQ(run.json(0).value(QStringLiteral("values")).toArray().size(), count);
        const bool said = run.err.find(std::string("drvctl: ") + (c.split ? c.split : "") + "\n") != std::string::npos;
        EXPECT_EQ(said, c.split != nullptr) << run.err;
    }
}

TEST(DrvctlSplits, ALongWriteReadsBackWhole)
{
    QStringList values;
    for (int v = 1; v <= 300; ++v)
        values << QString::number(v * 7);
    const Outcome run = drvctl({"shell", "--trace"}, QStringLiteral("write HR2001 %1\nread HR2001 --count 300\n"
                                                                      "write DO1 %2\nread DO1 --count 1970\n")
                                                         .arg(values.join(QLatin1Char(' ')),
                                                              QString(QStringLiteral("1 ")).repeated(1969) + QStringLiteral("0"))
                                                         .toUtf8());
    ASSERT_EQ(run.exitCode, 0) << run.err.substr(0, 2000);
    const QStringList lines = run.lines().filter(QRegularExpression(QStringLiteral("^(HR|DO)\\d+ ")));
    ASSERT_EQ(lines.size(), 4);
    EXPECT_EQ(lines[1], QStringLiteral("HR2001 word[300]: ") + values.join(QLatin1Char(' ')));
    EXPECT_EQ(lines[3], QStringLiteral("DO1 bit[1970]: ") + QString(QStringLiteral("1 ")).repeated(1969) + QStringLiteral("0"));
    // Function 16 in 123s, function 15 in 1968s.
    const QString trace = QString::fromStdString(run.err);
    EXPECT_EQ(trace.count(QRegularExpression(QStringLiteral("\\] TX 01 10 "))), 3);
    EXPECT_EQ(trace.count(QRegularExpression(QStringLiteral("\\] TX 01 0F "))), 2);
    EXPECT_TRUE(trace.contains(QLatin1String(
        "drvctl: HR2001 x300 in 3 driver commands of at most 123 word(s) (the Modbus limit of one write): HR2001 x123, "
        "HR2124 x123, HR2247 x54\n")));
}

TEST(DrvctlSplits, AFailedPartSaysWhatWasWritten)
{
    // Station 1 refuses requests that start at HR124, the second part.
    QStringList values;
    for (int v = 0; v < 200; ++v)
        values << QStringLiteral("1");
    const Outcome run = drvctl(QStringList{"write", "HR1"} + values + QStringList{"--retry", "0", "--fault", "1:exception=124"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "drvctl: exception code:0x04 (write 77 word to 1-HR124); the first 123 of 200 value(s) were written\n");
}

} // namespace
