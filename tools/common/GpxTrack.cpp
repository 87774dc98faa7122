#include "tools/common/GpxTrack.h"

#include <cstdio>
#include <utility>

bool WriteGpx(const std::string& path, const char* creator, const std::vector<GpxTrack>& tracks)
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
            // GPX fixes the order of these elements.
            if (!p.time.empty()) std::fprintf(f, "<time>%s</time>", p.time.c_str());
            if (!p.type.empty()) std::fprintf(f, "<type>%s</type>", p.type.c_str());
            if (!p.fix.empty()) std::fprintf(f, "<fix>%s</fix>", p.fix.c_str());
            if (p.sat >= 0) std::fprintf(f, "<sat>%d</sat>", p.sat);
            const std::pair<const char*, double> dops[] = {{"hdop", p.hdop}, {"vdop", p.vdop}, {"pdop", p.pdop}};
            for (const auto& dop : dops)
                if (dop.second >= 0) std::fprintf(f, "<%s>%.1f</%s>", dop.first, dop.second, dop.first);
            std::fprintf(f, "</trkpt>\n");
        }
        std::fprintf(f, "    </trkseg>\n  </trk>\n");
    }
    std::fprintf(f, "</gpx>\n");
    return std::fclose(f) == 0;
}

