#include "tests/e2e/stress/CyclePlan.h"

namespace {

// A few frames at 10 Hz, with room for the sanitizers' slowdown.
constexpr int kPositionWithinMs = 500;

int Between(std::mt19937& rng, int lo, int hi)
{
    return lo + static_cast<int>(rng() % static_cast<unsigned>(hi - lo + 1));
}

}  // namespace

const char* DeviceName(Device d)
{
    switch (d) {
        case Device::Steady: return "module streaming";
        case Device::Vanish: return "device vanishes";
        case Device::Silent: return "module falls silent";
        case Device::Killed: return "simulator killed";
        case Device::Missing: return "no device";
    }
    return "?";
}

const char* ActionName(Action a)
{
    switch (a) {
        case Action::Run: return "start, stop";
        case Action::EarlyStop: return "stop during start-up queries";
        case Action::DoubleStart: return "double start";
    }
    return "?";
}

Cycle PlanCycle(std::mt19937& rng)
{
    static const Device kDevices[] = {Device::Steady, Device::Steady, Device::Steady, Device::Steady, Device::Vanish,
                                      Device::Silent, Device::Silent, Device::Killed, Device::Missing};
    static const Action kActions[] = {Action::Run, Action::Run, Action::EarlyStop, Action::DoubleStart};
    Cycle c{};
    c.device = kDevices[rng() % (sizeof kDevices / sizeof kDevices[0])];
    c.action = kActions[rng() % (sizeof kActions / sizeof kActions[0])];
    c.commands = rng() % 5 < 2;
    // Not before the start has opened the device: a module gone by then is a missing device.
    c.eventMs = Between(rng, 150, 600);
    if (c.action == Action::EarlyStop)
        c.runMs = Between(rng, 0, 300);
    else if (c.device == Device::Steady || c.device == Device::Missing)
        c.runMs = Between(rng, 50, 1000);
    else
        c.runMs = c.eventMs + Between(rng, 100, 500);
    return c;
}

std::string Describe(const Cycle& c)
{
    return std::string(DeviceName(c.device)) + ", " + ActionName(c.action) + (c.commands ? ", commands" : "") + ", run " +
           std::to_string(c.runMs) + " ms";
}

bool ExpectsPosition(const Cycle& c)
{
    // Commands reset the module, which then has no fix for a while.
    return c.device == Device::Steady && c.action != Action::EarlyStop && !c.commands &&
           c.runMs >= kPositionWithinMs;
}
