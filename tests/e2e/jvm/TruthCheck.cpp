#include "tests/e2e/jvm/TruthCheck.h"

#include <cmath>
#include <cstdint>
#include <map>
#include <sstream>

#include "module/geo/MMUtility.h"
#include "module/position/PositionMgr.h"
#include "tests/e2e/ToolProcess.h"

namespace {

// What the module sent in one cycle, and what the library should make of it.
struct Expected {
    bool hasPos;
    double lat, lon;  // degrees
    int heading;      // whole degrees
    double alt;
    int a, b;
};

// The chain the driver applies: module units to 1/1024 arc-second, the offset transform of
// the matching step, then degrees. The transform's pseudo-random term differs between this
// process and the library's, by a few metres at most.
Expected FromTruth(const std::string& line, const std::string& time)
{
    using tooltest::Number;
    const int32_t lonRaw = static_cast<int32_t>(Number(line, "lon_raw"));
    const int32_t latRaw = static_cast<int32_t>(Number(line, "lat_raw"));
    const _mLonLat units = CMMUtility::ChangeLonLatUnits(2, lonRaw, latRaw);
    VIT_S vit{};
    vit.lFlag = 1;
    vit.lTime = std::stoi(time.substr(8)) * 1000;
    vit.stGps.lLon = units.lLon;
    vit.stGps.lLat = units.lLat;
    vit.stGps.sAltitude = static_cast<int16_t>(Number(line, "alt"));
    _mGpsDataEx out{};
    Expected e{};
    e.hasPos = lonRaw != 0 && latRaw != 0 && GetGpsData(&vit, &out) == 1;
    e.lat = out.lLat / 360000.0;
    e.lon = out.lLon / 360000.0;
    e.heading = CMMUtility::ChangeHeadUnits(static_cast<uint16_t>(Number(line, "heading_raw"))) / 10;
    e.alt = Number(line, "alt");
    e.a = CMMUtility::ChangeDOPUnits(static_cast<uint16_t>(Number(line, "dop_raw", 1)));
    e.b = CMMUtility::ChangeDOPUnits(static_cast<uint16_t>(Number(line, "dop_raw", 0)));
    return e;
}

double MetresApart(double lat1, double lon1, double lat2, double lon2)
{
    const double perDegree = 111320.0;
    return std::hypot((lat1 - lat2) * perDegree, (lon1 - lon2) * perDegree * std::cos(lat1 * M_PI / 180));
}

}  // namespace

bool ParseReportedCall(const std::string& line, ReportedCall& c)
{
    std::istringstream in(line);
    std::string word;
    return (in >> word >> c.phase >> c.lat >> c.lon >> c.alt >> c.a >> c.b >> c.heading >> c.reserved >>
            c.time) &&
           word == "CALL";
}

std::vector<std::string> CheckAgainstTruth(const std::vector<ReportedCall>& calls,
                                           const std::string& truthPath, int minTimed)
{
    std::vector<Expected> rows;
    std::map<std::string, size_t> byTime;  // "YYYYMMDDhhmmss" of each cycle
    for (const std::string& line : tooltest::Lines(tooltest::ReadText(truthPath))) {
        if (tooltest::Text(line, "class") == "command") continue;
        std::string time;
        for (char c : tooltest::Text(line, "utc").substr(0, 19))
            if (c >= '0' && c <= '9') time += c;
        rows.push_back(FromTruth(line, time));
        byTime[time] = rows.size() - 1;
    }

    std::vector<std::string> failures;
    std::map<std::string, int> timed;
    for (const ReportedCall& c : calls) {
        std::ostringstream what;
        what << c.phase << " " << c.time << " (" << c.lat << ", " << c.lon << ") alt " << c.alt << " dop "
             << c.a << "/" << c.b << " heading " << c.heading << ": ";
        if (c.reserved != 0) failures.push_back(what.str() + "reserved argument is not 0");
        int& phaseTimed = timed[c.phase];
        if (c.time == "00000000000000") continue;
        ++phaseTimed;
        auto k = byTime.find(c.time);
        if (k == byTime.end()) {
            failures.push_back(what.str() + "no cycle of the module has this time");
            continue;
        }
        // Time and position come from different messages and reach the reader by different
        // paths, so the position may be one cycle behind or ahead of the time.
        bool pos = false, alt = false, dop = false;
        for (size_t j = k->second ? k->second - 1 : 0; j <= k->second + 1 && j < rows.size(); ++j) {
            const Expected& e = rows[j];
            pos |= e.hasPos && c.heading == e.heading && MetresApart(c.lat, c.lon, e.lat, e.lon) < 5.0;
            alt |= c.alt == e.alt;
            dop |= c.a == e.a && c.b == e.b;
        }
        if (!pos) failures.push_back(what.str() + "position or heading is not the module's");
        if (!alt) failures.push_back(what.str() + "altitude is not the module's");
        if (!dop) failures.push_back(what.str() + "DOP values are not the module's");
    }
    for (const auto& phase : timed)
        if (phase.second < minTimed)
            failures.push_back(phase.first + ": fewer than " + std::to_string(minTimed) + " positions with a time");
    return failures;
}
