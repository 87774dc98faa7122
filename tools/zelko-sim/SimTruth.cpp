#include "tools/zelko-sim/SimTruth.h"

#include "tools/common/ZelkoFrameWriter.h"
#include "tools/zelko-sim/SimTime.h"

namespace {

const char* FixName(FixKind fix) {
    switch (fix) {
        case FixKind::Fix3D: return "3d";
        case FixKind::DeadReckoning: return "dr";
        case FixKind::None: break;
    }
    return "none";
}

}  // namespace

std::string TruthLine(const CycleState& c, size_t bytes, const std::vector<uint16_t>& corrupt) {
    char text[768];
    std::snprintf(
        text, sizeof text,
        "{\"cycle\":%u,\"t\":%.3f,\"utc\":\"%s\",\"sent\":%s,\"bytes\":%zu,"
        "\"lon\":%.9f,\"lat\":%.9f,\"lon_raw\":%d,\"lat_raw\":%d,"
        "\"heading\":%.3f,\"heading_raw\":%u,\"speed_kmh\":%.3f,\"speed_raw\":%u,\"alt\":%d,"
        "\"fix\":\"%s\",\"status\":%u,\"sats\":%u,\"dop_raw\":[%u,%u,%u],\"corrupt\":[",
        static_cast<unsigned>(c.index), c.t, FormatUtc(UtcFromMs(c.utcMs)).c_str(),
        c.silent ? "false" : "true", bytes, c.lon, c.lat, static_cast<int>(c.lonRaw),
        static_cast<int>(c.latRaw), c.heading, static_cast<unsigned>(c.headingRaw),
        c.speed * 3.6, static_cast<unsigned>(c.speedRaw), static_cast<int>(c.altRaw),
        FixName(c.fix), static_cast<unsigned>(c.status), static_cast<unsigned>(c.satsUsed),
        static_cast<unsigned>(c.dop[0]), static_cast<unsigned>(c.dop[1]),
        static_cast<unsigned>(c.dop[2]));
    std::string line = text;
    for (size_t i = 0; i < corrupt.size(); ++i)
        line += (i ? "," : "") + std::to_string(corrupt[i]);
    line += "]}\n";
    return line;
}

std::string CommandTruthLine(double t, const Frame& logical, bool checksumOk, const std::string& outcome) {
    char head[64];
    std::snprintf(head, sizeof head, "{\"class\":\"command\",\"t\":%.3f,\"frame\":\"", t);
    // Outcomes are the simulator's own plain text: no quotes or backslashes to escape.
    return head + ZelkoHexText(logical) + "\",\"checksum_ok\":" + (checksumOk ? "true" : "false") +
           ",\"outcome\":\"" + outcome + "\"}\n";
}
