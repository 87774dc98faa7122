// The module's answers to what the host writes: queries, system (reset) commands and the
// mount-angle calibration command.
#ifndef GPSDR_TOOLS_ZELKO_SIM_SIMCOMMANDS_H
#define GPSDR_TOOLS_ZELKO_SIM_SIMCOMMANDS_H

#include <string>
#include <vector>

#include "tools/zelko-sim/SimMessages.h"
#include "tools/zelko-sim/SimTypes.h"

struct CommandOutcome {
    std::vector<IdFrame> replies;
    std::string log;  // one line describing the command, without a line end
};

// Handles one host frame (logical form) received at sim time now.
CommandOutcome HandleHostFrame(const Frame& logical, bool checksumOk, ModuleState& module,
                               double now);

// Sets the stored mount angle as the gravity direction the host would send for it.
void SetMountAngle(ModuleState& module, int pitch, int roll);

#endif
