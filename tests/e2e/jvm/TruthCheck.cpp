#include "tests/e2e/jvm/TruthCheck.h"

#include <map>
#include <sstream>

#include "tools/common/TruthCycles.h"

std::vector<std::string> CheckAgainstTruth(const std::vector<GisCall>& calls, const std::string& truthPath,
                                           int minTimed)
{
    std::vector<TruthCycle> rows;
    size_t lines = 0;
    ReadTruthCycles(truthPath, rows, lines);
    std::vector<std::string> failures;
    std::map<std::string, int> timed;
    for (const GisCall& c : calls) {
        std::ostringstream what;
        what << c.label << " " << c.time << " (" << c.lat << ", " << c.lon << ") alt " << c.alt << " dop " << c.a
             << "/" << c.b << " heading " << c.heading << ": ";
        if (c.reserved != 0) failures.push_back(what.str() + "reserved argument is not 0");
        int& phaseTimed = timed[c.label];
        if (c.time == "00000000000000") continue;
        ++phaseTimed;
        const int k = NearestCycle(rows, c.time, c.lat, c.lon);
        if (k < 0) {
            failures.push_back(what.str() + "no cycle of the module has this time");
            continue;
        }
        const TruthCycle& e = rows[static_cast<size_t>(k)];
        if (c.heading != e.heading || MetresApart(c.lat, c.lon, e.offLat, e.offLon) >= 5.0)
            failures.push_back(what.str() + "position or heading is not the module's");
        // Altitude and DOP come with other messages than the position, maybe of the next cycle.
        bool alt = false, dop = false;
        for (size_t j = k ? k - 1 : 0; j <= static_cast<size_t>(k) + 1 && j < rows.size(); ++j) {
            alt |= c.alt == rows[j].alt;
            dop |= c.a == rows[j].a && c.b == rows[j].b;
        }
        if (!alt) failures.push_back(what.str() + "altitude is not the module's");
        if (!dop) failures.push_back(what.str() + "DOP values are not the module's");
    }
    for (const auto& phase : timed)
        if (phase.second < minTimed)
            failures.push_back(phase.first + ": fewer than " + std::to_string(minTimed) + " positions with a time");
    return failures;
}
