// The scenario: moves the vehicle along the route cycle by cycle and decides what the module
// knows and reports (fix, satellites, events, cold start).
#ifndef GPSDR_TOOLS_ZELKO_SIM_SIMSCENARIO_H
#define GPSDR_TOOLS_ZELKO_SIM_SIMSCENARIO_H

#include <cstdint>

#include "tools/zelko-sim/SimOptions.h"
#include "tools/zelko-sim/SimRandom.h"
#include "tools/zelko-sim/SimRoute.h"
#include "tools/zelko-sim/SimTypes.h"

class Scenario {
public:
    explicit Scenario(const SimOptions& opt);
    // The next cycle; cycles are numbered from 0 and follow each other at 1/rate seconds.
    CycleState Next(const ModuleState& module);

private:
    void FillSatellites(CycleState& c, bool tracking, bool solving);

    const SimOptions& opt_;
    Route route_;
    SimRandom random_;
    uint32_t index_ = 0;
    double tau_ = 0;    // profile time: stands still while the vehicle is held by --stop
    double along_ = 0;  // distance driven
    double speed_ = 0;
    double heading_ = 0;
};

// Module units.
int32_t AngleToRaw(double degrees);
uint16_t HeadingToRaw(double degrees);
uint16_t SpeedToRaw(double metresPerSecond);

#endif
