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
};

struct GpxTrack {
    std::string name;
    std::vector<GpxPoint> points;
};

// Writes all tracks into one file; false when the file cannot be written.
bool WriteGpx(const std::string& path, const char* creator, const std::vector<GpxTrack>& tracks);

#endif
