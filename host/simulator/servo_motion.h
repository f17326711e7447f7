#ifndef SIMULATOR_SERVO_MOTION_H
#define SIMULATOR_SERVO_MOTION_H

#include <cstdint>

// Something alive to poll and monitor: a tick every TickMs while on. At each
// tick the line sets HR1300 (RampAddress) to ramp() and counts HR1301
// (CounterAddress) up by one. Times in monotonic nanoseconds.
class ServoMotion {
public:
    static constexpr int TickMs = 100;
    // HR1300, the register the driver's HR60010 mirrors, and HR1301 (from 0).
    static constexpr int RampAddress = 1299;
    static constexpr int CounterAddress = 1300;
    static constexpr int RampStep = 30;
    static constexpr int RampTop = 3000;

    // The ramp after step ticks: 0, 30, ..., 3000 and back down, a slow speed
    // ramp of 10 s up and 10 s down.
    static uint16_t rampAt(long long step);

    // The first tick comes TickMs after nowNs; a motion already on keeps its beat.
    void start(long long nowNs);
    // Leaves the ramp where it is: the next start() goes on from there.
    void stop() { running = false; }
    bool on() const { return running; }

    // True once for each tick due by nowNs, which it takes: call it until false.
    bool tick(long long nowNs);
    long long nextTickNs() const { return nextTick; }
    uint16_t ramp() const { return rampAt(step); }

private:
    bool running = false;
    long long step = 0; // ticks since motion first began
    long long nextTick = 0;
};

#endif
