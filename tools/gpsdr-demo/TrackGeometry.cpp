#include "tools/gpsdr-demo/TrackGeometry.h"

#include <cmath>

namespace {

const double kEarthRadius = 6371008.8;  // mean radius, metres
const double kRad = std::acos(-1.0) / 180.0;

}  // namespace

LocalProjection::LocalProjection(const std::vector<const GpxTrack*>& tracks)
{
    double lat = 0, lon = 0;
    int n = 0;
    for (const GpxTrack* track : tracks) {
        for (const GpxPoint& p : track->points) {
            lat += p.lat;
            lon += p.lon;
            ++n;
        }
    }
    if (n > 0) {
        m_lat0 = lat / n;
        m_lon0 = lon / n;
    }
    m_cosLat0 = std::cos(m_lat0 * kRad);
}

PlanePoint LocalProjection::ToPlane(const GpxPoint& p) const
{
    return {kEarthRadius * (p.lon - m_lon0) * kRad * m_cosLat0, kEarthRadius * (p.lat - m_lat0) * kRad};
}
