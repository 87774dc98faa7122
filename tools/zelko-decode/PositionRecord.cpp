#include "tools/zelko-decode/PositionRecord.h"

#include <cstdio>

#include "tools/zelko-decode/JsonLine.h"

namespace {

const double kUnitsPerDegree = 360000.0;

std::string Tenths(int v)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", v / 10.0);
    return text;
}

}  // namespace

std::string PositionUtc(const _mGpsDataEx& pos)
{
    if (pos.lDate <= 0) return "";
    const int day = pos.lDate / 10000, month = pos.lDate / 100 % 100, year = 2000 + pos.lDate % 100;
    const int ms = pos.lTime % 1000, hms = pos.lTime / 1000;
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", year, month, day, hms / 10000,
                  hms / 100 % 100, hms % 100, ms);
    return text;
}

std::string PositionJson(const _mGpsDataEx& pos)
{
    JsonLine line;
    line.Text("type", "pos")
        .Fixed("lon", pos.lLon / kUnitsPerDegree, 7)
        .Fixed("lat", pos.lLat / kUnitsPerDegree, 7)
        .Fixed("heading", pos.wHeading / 10.0, 1)
        .Fixed("speed_kmh", pos.sSpeed / 10.0, 1)
        .Int("alt", pos.sAltitude);
    const std::string utc = PositionUtc(pos);
    if (utc.empty())
        line.Null("utc");
    else
        line.Text("utc", utc);
    return line.Int("sats_used", pos.ucSatUsed)
        .Int("sats_view", pos.ucSatView)
        .Raw("dop", "[" + Tenths(pos.sDop1) + "," + Tenths(pos.sDop2) + "," + Tenths(pos.sDop3) + "]")
        .Int("fix", pos.ucFixValid)
        .Int("mode", pos.ucPosMode)
        .Str();
}

bool PositionHasFix(const _mGpsDataEx& pos)
{
    return pos.lLon != 0 || pos.lLat != 0;
}

GpxPoint PositionGpxPoint(const _mGpsDataEx& pos)
{
    GpxPoint p;
    p.lat = pos.lLat / kUnitsPerDegree;
    p.lon = pos.lLon / kUnitsPerDegree;
    p.ele = pos.sAltitude;
    p.time = PositionUtc(pos);
    return p;
}
