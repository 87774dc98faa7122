// One start/stop cycle of the stress test: what the module does meanwhile, what the caller
// does, and when; drawn from a seeded generator so that a failing cycle can be replayed.
#ifndef GPSDR_TESTS_E2E_STRESS_CYCLEPLAN_H
#define GPSDR_TESTS_E2E_STRESS_CYCLEPLAN_H

#include <random>
#include <string>

enum class Device {
    Steady,   // the long-running simulator
    Vanish,   // a simulator that closes its pty and exits at eventMs
    Silent,   // a simulator that stops sending (and answering) at eventMs
    Killed,   // the long-running simulator, killed at eventMs (restarted for the next cycle)
    Missing,  // /dev/ttyGPS1 points nowhere
};

enum class Action {
    Run,          // start, run, stop
    EarlyStop,    // stop within the start-up queries
    DoubleStart,  // start twice, then stop once
};

struct Cycle {
    Device device;
    Action action;
    bool commands;  // the caller's other thread also sends commands, from start to end of stop
    int runMs;      // from the start to the stop
    int eventMs;    // after the start (Killed) or after the simulator's start (Vanish, Silent)
};

Cycle PlanCycle(std::mt19937& rng);
const char* DeviceName(Device d);
const char* ActionName(Action a);
std::string Describe(const Cycle& c);
// Whether a position must have been published by the time of the stop.
bool ExpectsPosition(const Cycle& c);

#endif
