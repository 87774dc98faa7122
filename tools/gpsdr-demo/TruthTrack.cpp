#include "tools/gpsdr-demo/TruthTrack.h"

#include <cstdlib>
#include <cstring>
#include <fstream>

namespace {

// The number after "key": in one flat JSON line.
bool NumberField(const std::string& line, const char* key, double& out)
{
    const std::string tag = std::string("\"") + key + "\":";
    const size_t at = line.find(tag);
    if (at == std::string::npos) return false;
    const char* begin = line.c_str() + at + tag.size();
    char* end = nullptr;
    out = std::strtod(begin, &end);
    return end != begin;
}

std::string TextField(const std::string& line, const char* key)
{
    const std::string tag = std::string("\"") + key + "\":\"";
    const size_t at = line.find(tag);
    if (at == std::string::npos) return "";
    const size_t from = at + tag.size(), to = line.find('"', from);
    return to == std::string::npos ? "" : line.substr(from, to - from);
}

}  // namespace

GpxTrack ReadTruthTrack(const std::string& path, double maxSeconds)
{
    GpxTrack track{"ground truth (zelko-sim)", {}};
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        double t = 0;
        GpxPoint p;
        if (!NumberField(line, "t", t) || t > maxSeconds || !NumberField(line, "lat", p.lat) ||
            !NumberField(line, "lon", p.lon))
            continue;
        NumberField(line, "alt", p.ele);
        p.time = TextField(line, "utc");
        track.points.push_back(p);
    }
    return track;
}
