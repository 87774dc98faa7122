// A picture of two tracks drawn over each other in a local metric plane, with a scale bar and
// a legend, so that the offset between them can be seen.
#ifndef GPSDR_TOOLS_GPSDR_DEMO_TRACKSVG_H
#define GPSDR_TOOLS_GPSDR_DEMO_TRACKSVG_H

#include <string>

#include <vector>

#include "tools/common/GpxTrack.h"
#include "tools/gpsdr-demo/TrackGeometry.h"

// Draws `reference` (blue line), `track` (red line with a dot per point) and a thin dashed line
// for each pair of points of the same moment; caption goes under the legend. False when the
// file cannot be written.
bool WriteTrackSvg(const std::string& path, const GpxTrack& reference, const GpxTrack& track,
                   const std::vector<PointPair>& pairs, const std::string& caption);

#endif
