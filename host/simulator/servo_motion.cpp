#include "simulator/servo_motion.h"

namespace {

constexpr long long NsPerTick = ServoMotion::TickMs * 1000000LL;

} // namespace

uint16_t ServoMotion::rampAt(long long step)
{
    const long long period = 2 * RampTop / RampStep;
    const long long phase = step % period;
    return static_cast<uint16_t>(RampStep * (phase <= period / 2 ? phase : period - phase));
}

void ServoMotion::start(long long nowNs)
{
    if (!running)
        nextTick = nowNs + NsPerTick;
    running = true;
}

bool ServoMotion::tick(long long nowNs)
{
    if (!running || nowNs < nextTick)
        return false;
    ++step;
    nextTick += NsPerTick;
    return true;
}
