#include "tools/zelko-decode/SkyReport.h"

#include <algorithm>
#include <utility>

#include "module/position/PositionMgr.h"
#include "tools/zelko-decode/JsonLine.h"
#include "tools/zelko-decode/PositionRecord.h"

void SkyEpoch::Add(uint16_t prn)
{
    if (std::find(m_prns.begin(), m_prns.end(), prn) == m_prns.end()) m_prns.push_back(prn);
}

std::string SkyEpoch::Take(const _mSatelView* table, const _mGpsDataEx& pos)
{
    std::string satellites;
    int used = 0, inView = 0;
    for (const uint16_t prn : m_prns) {
        const _mSatelView* end = table + CPositionMgr::SATEL_TABLE_SIZE;
        const _mSatelView* sat = std::find_if(table, end, [prn](const _mSatelView& v) { return v.wSatID == prn; });
        if (sat == end) continue;  // the table was full: the library dropped it
        ++inView;
        used += sat->ucUsed ? 1 : 0;
        satellites += std::string(satellites.empty() ? "" : ",") + JsonLine()
                                                                       .Int("PRN", sat->wSatID)
                                                                       .Int("el", sat->wElevation)
                                                                       .Int("az", sat->sAzimuth)
                                                                       .Int("ss", sat->wSNR)
                                                                       .Bool("used", sat->ucUsed != 0)
                                                                       .Str();
    }
    m_prns.clear();

    JsonLine line;
    line.Text("class", "SKY");
    // The summary carries whole seconds, and the epoch's fraction is not known until its fix.
    const std::string utc = PositionUtc(pos, 0, false);
    if (!utc.empty()) line.Text("time", utc);
    const RecordDops dops = DopsOf(pos);
    const std::pair<const char*, double> named[] = {{"hdop", dops.hdop}, {"vdop", dops.vdop}, {"pdop", dops.pdop}};
    for (const auto& dop : named)
        if (dop.second >= 0) line.Fixed(dop.first, dop.second, 1);
    return line.Int("nSat", inView)
        .Int("uSat", used)
        .Raw("satellites", "[" + satellites + "]")
        .Str();
}
