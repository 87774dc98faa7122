// The simulator's ground truth (one JSON object per cycle) as a track.
#ifndef GPSDR_TOOLS_GPSDR_DEMO_TRUTHTRACK_H
#define GPSDR_TOOLS_GPSDR_DEMO_TRUTHTRACK_H

#include <string>

#include "tools/common/GpxTrack.h"

// The vehicle's positions of the cycles played up to maxSeconds after the simulator's start.
GpxTrack ReadTruthTrack(const std::string& path, double maxSeconds);

#endif
