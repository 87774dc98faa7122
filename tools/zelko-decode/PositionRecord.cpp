#include "tools/zelko-decode/PositionRecord.h"

#include <cstdio>

#include "tools/zelko-decode/JsonLine.h"

namespace {

const double kUnitsPerDegree = 360000.0;
const double kTenthKmhPerMs = 36.0;

// ucPosMode 8: the module used satellites for this position; 6: dead reckoning alone.
const uint8_t kPosModeSatellites = 8;
const uint8_t kFixState2D = 4;

// How a position was found, in the words of gpsd's TPV (mode 1 no fix, 2 2-D, 3 3-D; status 5
// dead reckoning alone, 6 satellites with dead reckoning) and of GPX.
struct FixKind {
    int mode;
    int status;
    const char* name;  // the TPV's "fix"
    const char* gpxType;
    const char* gpxFix;
};

const FixKind kNoFix{1, 0, "none", "", "none"};
const FixKind kFix3D{3, 6, "3D", "GPS", "3d"};
const FixKind kFix2D{2, 6, "2D", "GPS", "2d"};
const FixKind kDeadReckoning{2, 5, "DR", "DR", "none"};

const FixKind& KindOf(const DecodedFix& fix)
{
    if (!PositionHasFix(fix.pos)) return kNoFix;
    if (fix.pos.ucPosMode != kPosModeSatellites) return kDeadReckoning;
    return fix.gpsFixState == kFixState2D ? kFix2D : kFix3D;
}

}  // namespace

RecordDops DopsOf(const _mGpsDataEx& pos)
{
    auto dop = [](int16_t tenths) { return tenths > 0 ? tenths / 10.0 : -1.0; };
    return {dop(pos.sDop1), dop(pos.sDop2), dop(pos.sDop3)};
}

std::string PositionUtc(const _mGpsDataEx& pos, uint32_t milliseconds, bool withFraction)
{
    if (pos.lDate <= 0) return "";
    const int day = pos.lDate / 10000, month = pos.lDate / 100 % 100, year = 2000 + pos.lDate % 100;
    const int hms = pos.lTime / 1000;
    char text[40];
    int n = std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", year, month, day, hms / 10000,
                          hms / 100 % 100, hms % 100);
    if (withFraction) n += std::snprintf(text + n, sizeof text - n, ".%03u", static_cast<unsigned>(milliseconds % 1000));
    std::snprintf(text + n, sizeof text - n, "Z");
    return text;
}

std::string PositionJson(const DecodedFix& fix)
{
    const FixKind& kind = KindOf(fix);
    const _mGpsDataEx& pos = fix.pos;
    JsonLine line;
    line.Text("class", "TPV").Int("mode", kind.mode).Int("status", kind.status).Text("fix", kind.name);
    const std::string utc = PositionUtc(pos, fix.drTimeMs, true);
    if (!utc.empty()) line.Text("time", utc);
    if (kind.mode == kNoFix.mode) return line.Str();
    return line.Fixed("lat", pos.lLat / kUnitsPerDegree, 7)
        .Fixed("lon", pos.lLon / kUnitsPerDegree, 7)
        .Fixed("alt", pos.sAltitude, 1)
        .Fixed("track", pos.wHeading / 10.0, 1)
        .Fixed("speed", pos.sSpeed / kTenthKmhPerMs, 2)
        .Str();
}

bool PositionHasFix(const _mGpsDataEx& pos)
{
    return pos.lLon != 0 || pos.lLat != 0;
}

GpxPoint PositionGpxPoint(const DecodedFix& fix)
{
    const FixKind& kind = KindOf(fix);
    const RecordDops dops = DopsOf(fix.pos);
    GpxPoint p;
    p.lat = fix.pos.lLat / kUnitsPerDegree;
    p.lon = fix.pos.lLon / kUnitsPerDegree;
    p.ele = fix.pos.sAltitude;
    p.time = PositionUtc(fix.pos, fix.drTimeMs, true);
    p.type = kind.gpxType;
    p.fix = kind.gpxFix;
    p.sat = fix.pos.ucSatUsed;
    p.hdop = dops.hdop;
    p.vdop = dops.vdop;
    p.pdop = dops.pdop;
    return p;
}
