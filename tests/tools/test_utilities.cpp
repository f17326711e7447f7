// Timing, text and command helpers of the toolkit.
#include <climits>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#include "tools/command_helpers.h"
#include "tools/text_utilities.h"
#include "tools/timing.h"
#include "tools_test_support.h"

TEST(Timing, HRSleepSleepsTheWholeTimeThroughSignals)
{
    static volatile sig_atomic_t alarms = 0;
    struct sigaction action = {}, previous = {};
    action.sa_handler = [](int) { alarms = alarms + 1; }; // no SA_RESTART: the sleep really sees EINTR
    ASSERT_EQ(sigaction(SIGALRM, &action, &previous), 0);
    itimerval every20ms = {{0, 20000}, {0, 20000}}, off = {};
    ASSERT_EQ(setitimer(ITIMER_REAL, &every20ms, nullptr), 0);
    const long long start = CurrentMSecsSinceBoot();
    HRSleep(1010); // whole seconds and the rest must both reach the system
    const long long elapsed = CurrentMSecsSinceBoot() - start;
    setitimer(ITIMER_REAL, &off, nullptr);
    sigaction(SIGALRM, &previous, nullptr);
    EXPECT_GE(alarms, 10);
    EXPECT_GE(elapsed, 1010);
}

TEST(Timing, CurrentMSecsSinceBootIsTheMonotonicClockInMilliseconds)
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    const long long first = CurrentMSecsSinceBoot(), lag = first - (now.tv_sec * 1000LL + now.tv_nsec / 1000000);
    EXPECT_TRUE(lag >= 0 && lag <= 50) << lag; // a clock in other units would be far off
    HRSleep(20);
    EXPECT_GE(CurrentMSecsSinceBoot() - first, 20);
}

TEST(Timing, ProcessIsRunningNamesOneLiveProcessOnly)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(0);
    ASSERT_GT(child, 0);
    waitpid(child, nullptr, 0);
    const struct {
        const char* name;
        long long pid;
        bool running;
    } cases[] = {
        {"our own process", getpid(), true},
        {"a child that has ended and been reaped", child, false},
        {"0, a process group", 0, false},
        {"-1, every process", -1, false},
        {"our id plus 2^32, not cut down to ours", (1LL << 32) + getpid(), false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ProcessIsRunning(c.pid), c.running) << c.name;
}

TEST(TextUtilities, HexToUIntReadsAtMostLengthCharacters)
{
    const struct { const char* text; int length; unsigned int value; } cases[] = {
        {"1F", 2, 31},   {"0x1F", 4, 31}, {"0X1f", 4, 31}, {"ff", 2, 255},    {"1G", 2, 0},   {"1234", 2, 0x12},
        {"12", 5, 0x12}, {"0", 1, 0},     {"0x", 2, 0},    {"0012", 4, 0x12}, {"0x1F", 3, 1}, {"AB", 0, 0},
        {"123456789", 9, 0x23456789u},    {nullptr, 4, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(HexToUInt(c.text, c.length), c.value) << (c.text ? c.text : "null") << " length " << c.length;
}

TEST(TextUtilities, ExtractPLCDeviceAddressInTheAreasBase)
{
    const struct { const char* text; int base; int address; } cases[] = {
        {"HR100", 10, 100}, {"HR100.3", 10, 0}, {"HR", 10, 0},    {"X1F", 16, 31},  {"D100", 16, 53504},
        {"Y17", 8, 15},     {"Y18", 8, 0},      {"HR100", 2, -1}, {"HR100", 0, -1},
        {"HR100 ", 10, 0},  {"HR100\t", 10, 0}, {"HR100\n", 16, 0}, {"HR100x", 10, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(ExtractPLCDeviceAddress(QByteArray(c.text), c.base), c.address) << c.text << " base " << c.base;
}

TEST(TextUtilities, ExtractPrefixSymbolTakesTheLettersBeforeTheNumber)
{
    const struct { const char* text; const char* prefix; } cases[] = {
        {"HR100", "HR"}, {"FN6HR100", "FN"}, {"_AB1", "_AB"}, {"1HR", ""}, {"", ""}};
    for (const auto& c : cases)
        EXPECT_EQ(ExtractPrefixSymbol(QByteArray(c.text)), QByteArray(c.prefix)) << c.text;
}

TEST(TextUtilities, DumpByteArrayShowsHexThenText)
{
    const struct { const char* bytes; const char* text; } cases[] = {
        {"", "() : "}, {"3a3031", "(0X3a 0X30 0X31 ) : :01"}, {"0a", "(0Xa ) : \n"},
        {"4100ff", "(0X41 0X0 0Xff ) : A"}};
    for (const auto& c : cases)
        EXPECT_EQ(dumpByteArray(hex(c.bytes)).toStdString(), c.text) << c.bytes;
}

TEST(CommandHelpers, SafeDataLengthAndData)
{
    const struct { int dataType; int count; int length; } cases[] = {
        {Bit, 0, 0},   {Bit, 1, 1},  {Bit, 8, 1},   {Bit, 9, 2},         {BitBlock, 16, 2}, {Byte, 7, 7},
        {Block, 5, 5}, {Word, 3, 6}, {Word, -4, 0}, {DoubleWord, 3, 12}, {QuadWord, 3, 24}, {7, 10, 0},
        // Negative bit counts that truncating division would round up to one byte.
        {Bit, -1, 0},  {Bit, -7, 0}, {BitBlock, -1, 0}, {BitBlock, -7, 0}, {Bit, -8, 0}, {Bit, INT_MIN, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(GetSafeDataLen(CommunicatorCommand(c.dataType, c.count, "HR1")), c.length)
            << "type " << c.dataType << " count " << c.count;
    const CommunicatorCommand threeWords(Word, 3, QStringLiteral("HR1"));
    EXPECT_EQ(hexOf(ToSafeData(threeWords, hex("01020304"))), "010203040000");
    EXPECT_EQ(hexOf(ToSafeData(threeWords, hex("0102030405060708090a"))), "010203040506");
    EXPECT_TRUE(ToSafeData(CommunicatorCommand(Bit, -3, QStringLiteral("DO1")), hex("ff")).isEmpty());
    EXPECT_FALSE(isBitCommand(CommunicatorCommand(BitBlock, 1, {})));
    EXPECT_TRUE(getBitData(hex("0300")) && !getBitData(hex("02")) && !getBitData(QByteArray()));
}
