// The demo's track picture, in the offset coordinate frame: the truth passed through the offset
// transform as a line, each position Java received as a mark (GPS fix and dead reckoning told
// apart) linked to the truth of its moment, axes in metres from the start, UTC time labels, the
// caption above and a legend of every mark below. Labels are placed where they overlap nothing
// else, whatever the length of the run.
#ifndef GPSDR_TOOLS_GPSDR_DEMO_TRACKSVG_H
#define GPSDR_TOOLS_GPSDR_DEMO_TRACKSVG_H

#include <string>
#include <vector>

#include "tools/common/TruthCycles.h"
#include "tools/gpsdr-demo/CallTable.h"

// False when the file cannot be written.
bool WriteTrackSvg(const std::string& path, const std::vector<TruthCycle>& truth, const std::vector<DemoCall>& calls,
                   const std::vector<std::string>& caption);

#endif
