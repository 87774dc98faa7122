#include "tools/gpsdr-demo/CallTable.h"

#include <cstdio>

const char kUpdateThread[] = "Update_Thread";

bool HasPosition(const GisCall& c)
{
    return c.lat != 0 || c.lon != 0;
}

std::string IsoTime(const std::string& t)
{
    if (t.size() != 14 || t == "00000000000000") return "";
    return t.substr(0, 4) + "-" + t.substr(4, 2) + "-" + t.substr(6, 2) + "T" + t.substr(8, 2) + ":" +
           t.substr(10, 2) + ":" + t.substr(12, 2) + "Z";
}

DemoCall MatchCall(const GisCall& call, const std::vector<TruthCycle>& truth)
{
    DemoCall d;
    d.call = call;
    if (HasPosition(call)) d.cycle = NearestCycle(truth, call.time, call.lat, call.lon);
    if (d.cycle >= 0) {
        const TruthCycle& t = truth[static_cast<size_t>(d.cycle)];
        d.metres = MetresApart(call.lat, call.lon, t.offLat, t.offLon);
    }
    return d;
}

std::string TableHeader()
{
    return "Each line is one call of NativeCall.sendGISInfo as Java received it, printed by the\n"
           "library's update thread (\"Update_Thread\"; a line from any other thread is marked):\n"
           "  recv s     when Java received the call, seconds since the JVM started\n"
           "  UTC time   the module's time as Java received it (- before the module has one)\n"
           "  lat, lon   degrees in the offset coordinate frame the library delivers: the position\n"
           "             moved by the offset transform (some hundred metres), not WGS 84\n"
           "  alt m      altitude, metres\n"
           "  dop2 dop1  the module's second and first DOP value in tenths (zelko-sim plays them as\n"
           "             HDOP and PDOP): 12 means 1.2\n"
           "  head       heading, whole degrees clockwise from north\n"
           "  rsv        the reserved argument, always 0\n"
           "  truth m    metres to the simulator's truth passed through the same offset transform\n"
           "             (computed in this process, not the library's): a few metres when all is well\n"
           "  fix        what the simulator played then: 3d = GPS fix, dr = dead reckoning only\n"
           "\n"
           " recv s  UTC time             lat (offset)  lon (offset)  alt m  dop2 dop1  head rsv  truth m  fix\n";
}

std::string TableLine(const DemoCall& d, const std::vector<TruthCycle>& truth)
{
    const GisCall& c = d.call;
    const std::string iso = IsoTime(c.time);
    const std::string when = iso.empty() ? "-" : iso.substr(0, 10) + " " + iso.substr(11, 8);
    char metres[16] = "-";
    if (d.cycle >= 0) std::snprintf(metres, sizeof metres, "%.1f", d.metres);
    const std::string fix = d.cycle >= 0 ? truth[static_cast<size_t>(d.cycle)].fix : "-";
    char line[256];
    std::snprintf(line, sizeof line, "%7.2f  %-19s  %12.7f  %12.7f  %5.1f  %4d %4d  %4d %3d  %7s  %-4s%s", c.ms / 1000.0,
                  when.c_str(), c.lat, c.lon, c.alt, c.a, c.b, c.heading, c.reserved, metres, fix.c_str(),
                  c.label == kUpdateThread ? "" : ("  (from thread " + c.label + ")").c_str());
    return line;
}
