// Tracks as GPX 1.1, shared by the tools that write them (header only, so that this folder
// builds no program of its own).
#ifndef GPSDR_TOOLS_COMMON_GPXTRACK_H
#define GPSDR_TOOLS_COMMON_GPXTRACK_H

#include <cstdio>
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
inline bool WriteGpx(const std::string& path, const char* creator, const std::vector<GpxTrack>& tracks)
{
    FILE* f = std::fopen(path.c_str(), "w");
    if (f == nullptr) return false;
    std::fprintf(f,
                 "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                 "<gpx version=\"1.1\" creator=\"%s\" xmlns=\"http://www.topografix.com/GPX/1/1\">\n",
                 creator);
    for (const GpxTrack& track : tracks) {
        std::fprintf(f, "  <trk>\n    <name>%s</name>\n    <trkseg>\n", track.name.c_str());
        for (const GpxPoint& p : track.points) {
            std::fprintf(f, "      <trkpt lat=\"%.7f\" lon=\"%.7f\"><ele>%.1f</ele>", p.lat, p.lon, p.ele);
            if (!p.time.empty()) std::fprintf(f, "<time>%s</time>", p.time.c_str());
            std::fprintf(f, "</trkpt>\n");
        }
        std::fprintf(f, "    </trkseg>\n  </trk>\n");
    }
    std::fprintf(f, "</gpx>\n");
    return std::fclose(f) == 0;
}

#endif
