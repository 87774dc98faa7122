// Tracks in a local metric plane: an equirectangular projection around the tracks' centre,
// accurate to well under a metre over the few kilometres a demo drive covers.
#ifndef GPSDR_TOOLS_GPSDR_DEMO_TRACKGEOMETRY_H
#define GPSDR_TOOLS_GPSDR_DEMO_TRACKGEOMETRY_H

#include <vector>

#include "tools/common/GpxTrack.h"

struct PlanePoint {
    double x;  // metres east
    double y;  // metres north
};

class LocalProjection {
public:
    explicit LocalProjection(const std::vector<const GpxTrack*>& tracks);
    PlanePoint ToPlane(const GpxPoint& p) const;

private:
    double m_lat0 = 0, m_lon0 = 0, m_cosLat0 = 1;
};

#endif
