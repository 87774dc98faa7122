// Turns sealed frames into the bytes on the wire, with the faults the options ask for.
#ifndef GPSDR_TOOLS_ZELKO_SIM_SIMSTREAM_H
#define GPSDR_TOOLS_ZELKO_SIM_SIMSTREAM_H

#include <cstdint>
#include <vector>

#include "tools/zelko-sim/SimMessages.h"
#include "tools/zelko-sim/SimRandom.h"

struct FaultRates {
    double noise = 0;    // a burst of garbage somewhere between the frames, per call
    double corrupt = 0;  // a wrong checksum, per frame
};

// Stuffed frames in order; the ids of frames sent with a wrong checksum go to corruptIds.
Frame ToWire(const std::vector<IdFrame>& frames, const FaultRates& rates, SimRandom& random,
             std::vector<uint16_t>& corruptIds);

#endif
