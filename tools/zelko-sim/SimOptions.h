// Command-line options of zelko-sim.
#ifndef GPSDR_TOOLS_ZELKO_SIM_SIMOPTIONS_H
#define GPSDR_TOOLS_ZELKO_SIM_SIMOPTIONS_H

#include <cstdint>
#include <string>
#include <vector>

#include "tools/common/ToolCli.h"

struct SimInterval {
    double start;
    double length;  // < 0: to the end of the run
};

// Bytes the host writes at sim second `at`; lets a file capture hold the module's answers.
struct SimHostBytes {
    double at;
    std::vector<uint8_t> bytes;
};

struct SimOptions {
    std::string device;  // empty: a new pseudo-terminal
    std::string output;  // non-empty: write the stream to this file, unpaced
    bool capture = false;  // the output file is a timed capture
    std::string replay;    // non-empty: play this capture instead of a scenario
    double speed = 1;      // replay pace, 1 = as recorded
    bool loop = false;     // replay again from the start at its end
    std::string truth;
    int rate = 1;
    double duration = 0;  // 0: until killed
    int64_t startMs = 0;  // simulated UTC at t = 0
    uint8_t version[3] = {2, 2, 0};  // the module's application version (--firmware)
    double coldStart = 5;
    int mountPitch = 0, mountRoll = 0;
    int sats = 12;
    std::vector<SimInterval> tunnels, stops, silences;
    double vanish = -1;
    int chunkMin = 0, chunkMax = 0;  // 0: one write per cycle
    double noise = 0, corrupt = 0;
    uint32_t seed = 1;
    std::vector<SimHostBytes> host;  // by time
};

// Fills opt from argv. -1 when the simulator should run, otherwise the status to exit with at
// once (after --help or --version, or after naming a bad option on standard error).
int ParseOptions(int argc, char** argv, SimOptions& opt);

bool InAnyInterval(const std::vector<SimInterval>& list, double t);

extern const ToolCommandLine kSimCommandLine;

#endif
