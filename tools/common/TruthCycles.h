// zelko-sim's truth file, cycle by cycle, beside what the library makes of each cycle: the
// module's units, the offset coordinate transform of the matching step, degrees. The transform
// keeps process-wide state, so it runs here in the reading process, never in the library's: its
// pseudo-random term then differs by a few metres at most.
#ifndef GPSDR_TOOLS_COMMON_TRUTHCYCLES_H
#define GPSDR_TOOLS_COMMON_TRUTHCYCLES_H

#include <string>
#include <vector>

struct TruthCycle {
    double t;          // seconds since the simulator started
    std::string time;  // "YYYYMMDDhhmmss" UTC
    std::string fix;   // "3d", "dr" or "none"
    double lat, lon;   // played, degrees WGS 84
    double alt;        // metres
    bool hasPos;       // the library delivers a position for it
    double offLat, offLon;  // that position, degrees in the offset frame
    int heading;       // whole degrees, as delivered
    int a, b;          // DOP values as delivered (second, first), tenths
};

// Reads the lines of the truth file after the first linesRead (the simulator writes it as it
// plays), appends their cycles, transformed, and counts them into linesRead. The command frames
// the simulator received are not cycles.
void ReadTruthCycles(const std::string& path, std::vector<TruthCycle>& cycles, size_t& linesRead);

// Distance in metres between two nearby positions in degrees.
double MetresApart(double lat1, double lon1, double lat2, double lon2);

// Index of the cycle of the given time (or one either side: time and position reach the reader
// by different messages) whose delivered position is nearest; -1 when none has one.
int NearestCycle(const std::vector<TruthCycle>& cycles, const std::string& time, double lat, double lon);

#endif
