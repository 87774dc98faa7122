// Tracks as GPX 1.1, shared by the tools that write them.
#ifndef GPSDR_TOOLS_COMMON_GPXTRACK_H
#define GPSDR_TOOLS_COMMON_GPXTRACK_H

#include <string>
#include <vector>

struct GpxPoint {
    double lat = 0;  // degrees
    double lon = 0;
    double ele = 0;    // metres
    std::string time;  // ISO 8601 UTC, or empty
    // How good the fix was, in GPX's own elements; left at their defaults they are not written.
    std::string type{};  // how the position was found ("GPS", "DR")
    std::string fix{};   // "none", "2d", "3d"
    int sat = -1;      // satellites used
    double hdop = -1, vdop = -1, pdop = -1;
};

struct GpxTrack {
    std::string name;
    std::vector<GpxPoint> points;
};

// Writes all tracks into one file; false when the file cannot be written.
bool WriteGpx(const std::string& path, const char* creator, const std::vector<GpxTrack>& tracks);

#endif
