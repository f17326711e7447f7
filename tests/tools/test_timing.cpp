#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cstdlib>

#include "tools/timing.h"

namespace {

volatile sig_atomic_t alarmsSeen = 0;

void countAlarm(int) { alarmsSeen = alarmsSeen + 1; }

} // namespace

TEST(HRSleep, SignalsDoNotShortenTheSleep)
{
    struct sigaction action = {};
    action.sa_handler = countAlarm;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0; // no SA_RESTART: nanosleep really sees EINTR
    struct sigaction previous = {};
    ASSERT_EQ(sigaction(SIGALRM, &action, &previous), 0);

    itimerval every20ms = {};
    every20ms.it_interval.tv_usec = 20000;
    every20ms.it_value.tv_usec = 20000;
    alarmsSeen = 0;
    ASSERT_EQ(setitimer(ITIMER_REAL, &every20ms, nullptr), 0);

    const auto start = std::chrono::steady_clock::now();
    HRSleep(250);
    const auto elapsed = std::chrono::steady_clock::now() - start;

    itimerval off = {};
    setitimer(ITIMER_REAL, &off, nullptr);
    sigaction(SIGALRM, &previous, nullptr);

    EXPECT_GE(alarmsSeen, 1);
    EXPECT_GE(std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count(), 250);
}

TEST(HRSleep, ZeroReturnsAtOnceAndSecondsSplitCorrectly)
{
    HRSleep(0);
    const auto start = std::chrono::steady_clock::now();
    HRSleep(1005);
    EXPECT_GE(std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count(),
              1005);
}

TEST(CurrentMSecsSinceBoot, FollowsTheMonotonicClock)
{
    const long long first = CurrentMSecsSinceBoot();
    HRSleep(20);
    const long long second = CurrentMSecsSinceBoot();
    EXPECT_GE(second - first, 20);
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    EXPECT_LE(std::llabs(CurrentMSecsSinceBoot() - (now.tv_sec * 1000LL + now.tv_nsec / 1000000)), 5);
}

TEST(ProcessIsRunning, KnowsOurselvesAndNotTheDead)
{
    EXPECT_TRUE(ProcessIsRunning(getpid()));
    EXPECT_TRUE(ProcessIsRunning(1)); // init exists; we may lack permission to signal it
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
        _exit(0);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_FALSE(ProcessIsRunning(child));
    EXPECT_FALSE(ProcessIsRunning(0));
    EXPECT_FALSE(ProcessIsRunning(-1));
}
