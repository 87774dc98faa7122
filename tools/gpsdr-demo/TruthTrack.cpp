#include "tools/gpsdr-demo/TruthTrack.h"

#include <cmath>
#include <fstream>

#include "tools/common/JsonFields.h"

GpxTrack ReadTruthTrack(const std::string& path, double maxSeconds)
{
    GpxTrack track{"ground truth (zelko-sim)", {}};
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        GpxPoint p;
        p.lat = JsonNumber(line, "lat");
        p.lon = JsonNumber(line, "lon");
        if (!(JsonNumber(line, "t") <= maxSeconds) || std::isnan(p.lat) || std::isnan(p.lon)) continue;
        p.ele = std::isnan(JsonNumber(line, "alt")) ? 0 : JsonNumber(line, "alt");
        p.time = JsonText(line, "utc");
        track.points.push_back(p);
    }
    return track;
}
