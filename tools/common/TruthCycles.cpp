#include "tools/common/TruthCycles.h"

#include <cmath>
#include <cstdint>
#include <fstream>

#include "module/geo/MMUtility.h"
#include "module/position/PositionMgr.h"
#include "tools/common/JsonFields.h"

namespace {

TruthCycle FromLine(const std::string& line)
{
    TruthCycle c{};
    c.t = JsonNumber(line, "t");
    for (char ch : JsonText(line, "utc").substr(0, 19))
        if (ch >= '0' && ch <= '9') c.time += ch;
    c.fix = JsonText(line, "fix");
    c.lat = JsonNumber(line, "lat");
    c.lon = JsonNumber(line, "lon");
    c.alt = JsonNumber(line, "alt");
    const int32_t lonRaw = static_cast<int32_t>(JsonNumber(line, "lon_raw"));
    const int32_t latRaw = static_cast<int32_t>(JsonNumber(line, "lat_raw"));
    const _mLonLat units = CMMUtility::ChangeLonLatUnits(2, lonRaw, latRaw);
    VIT_S vit{};
    vit.lFlag = 1;
    vit.lTime = c.time.size() == 14 ? std::stoi(c.time.substr(8)) * 1000 : 0;
    vit.stGps.lLon = units.lLon;
    vit.stGps.lLat = units.lLat;
    vit.stGps.sAltitude = static_cast<int16_t>(c.alt);
    _mGpsDataEx out{};
    c.hasPos = lonRaw != 0 && latRaw != 0 && GetGpsData(&vit, &out) == 1;
    c.offLat = out.lLat / 360000.0;
    c.offLon = out.lLon / 360000.0;
    c.heading = CMMUtility::ChangeHeadUnits(static_cast<uint16_t>(JsonNumber(line, "heading_raw"))) / 10;
    c.a = CMMUtility::ChangeDOPUnits(static_cast<uint16_t>(JsonNumber(line, "dop_raw", 1)));
    c.b = CMMUtility::ChangeDOPUnits(static_cast<uint16_t>(JsonNumber(line, "dop_raw", 0)));
    return c;
}

}  // namespace

void ReadTruthCycles(const std::string& path, std::vector<TruthCycle>& cycles, size_t& linesRead)
{
    std::ifstream in(path);
    std::string line;
    // A line without its newline is still being written.
    for (size_t n = 0; std::getline(in, line) && !in.eof(); ++n) {
        if (n < linesRead) continue;
        ++linesRead;
        if (JsonText(line, "class") != "command") cycles.push_back(FromLine(line));
    }
}

double MetresApart(double lat1, double lon1, double lat2, double lon2)
{
    const double perDegree = 111320.0, rad = std::acos(-1.0) / 180;
    return std::hypot((lat1 - lat2) * perDegree, (lon1 - lon2) * perDegree * std::cos(lat1 * rad));
}

int NearestCycle(const std::vector<TruthCycle>& cycles, const std::string& time, double lat, double lon)
{
    int best = -1;
    double bestMetres = 0;
    for (size_t i = 0; i < cycles.size(); ++i) {
        const bool near = cycles[i].time == time || (i > 0 && cycles[i - 1].time == time) ||
                          (i + 1 < cycles.size() && cycles[i + 1].time == time);
        if (!near || !cycles[i].hasPos) continue;
        const double m = MetresApart(lat, lon, cycles[i].offLat, cycles[i].offLon);
        if (best < 0 || m < bestMetres) {
            best = static_cast<int>(i);
            bestMetres = m;
        }
    }
    return best;
}
