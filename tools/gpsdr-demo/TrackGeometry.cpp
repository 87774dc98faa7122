#include "tools/gpsdr-demo/TrackGeometry.h"

#include <cmath>
#include <map>
#include <string>

namespace {

const double kEarthRadius = 6371008.8;  // mean radius, metres
const double kRad = std::acos(-1.0) / 180.0;

// "YYYY-MM-DDThh:mm:ss" of an ISO 8601 time, whatever fraction or zone follows.
std::string UtcSecond(const std::string& iso)
{
    return iso.substr(0, 19);
}

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

std::vector<PointPair> PairBySecond(const GpxTrack& track, const GpxTrack& reference)
{
    std::map<std::string, const GpxPoint*> bySecond;
    for (const GpxPoint& p : reference.points) {
        if (p.time.size() >= 19) bySecond.emplace(UtcSecond(p.time), &p);
    }
    std::vector<PointPair> pairs;
    for (const GpxPoint& p : track.points) {
        if (p.time.size() < 19) continue;
        const auto it = bySecond.find(UtcSecond(p.time));
        if (it != bySecond.end()) pairs.push_back({&p, it->second});
    }
    return pairs;
}

double MeanOffsetMetres(const std::vector<PointPair>& pairs, const LocalProjection& proj)
{
    double sum = 0;
    for (const PointPair& pair : pairs) {
        const PlanePoint a = proj.ToPlane(*pair.track), b = proj.ToPlane(*pair.reference);
        sum += std::hypot(a.x - b.x, a.y - b.y);
    }
    return pairs.empty() ? 0 : sum / pairs.size();
}
