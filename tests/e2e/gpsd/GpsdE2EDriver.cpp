// gpsd, a GPS daemon no one here wrote, reads the NMEA that zelko-nmea makes of a simulated
// drive: zelko-sim -> pty -> zelko-nmea (the library) -> pty -> gpsd -> gpspipe -w. Every TPV and
// SKY report is checked against the simulator's truth for the same second.
// Tolerances: position 1e-5 degree (about 1 m), altitude 0.5 m, speed 0.05 m/s, track 0.15
// degree, DOPs 0.11; time, mode, DR status and satellite counts exactly.
// Exit 0 passed, 1 failed, 77 skipped (gpsd or gpspipe not installed).
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "tests/e2e/ToolProcess.h"
#include "tools/common/SimProcess.h"

namespace {


// A TCP port nobody listens on now, so that the machine's own gpsd is left alone.
int FreePort()
{
    const int s = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof a;
    const bool ok = bind(s, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0 &&
                    getsockname(s, reinterpret_cast<sockaddr*>(&a), &len) == 0;
    close(s);
    return ok ? ntohs(a.sin_port) : 0;
}

bool Near(double got, double want, double tolerance)
{
    return std::fabs(got - want) <= tolerance;
}

}  // namespace

int main(int argc, char** argv)
{
    std::map<std::string, std::string> o = {{"--sim", ""}, {"--nmea", ""}, {"--work", ""}};
    for (int i = 1; i + 1 < argc && o.count(argv[i]); i += 2) o[argv[i]] = argv[i + 1];
    if (o["--sim"].empty() || o["--nmea"].empty() || o["--work"].empty()) {
        std::fprintf(stderr, "usage: %s --sim ZELKO_SIM --nmea ZELKO_NMEA --work DIR\n", argv[0]);
        return 2;
    }
    const std::string gpsd = "/usr/sbin/gpsd", gpspipe = "/usr/bin/gpspipe";  // where Debian puts them
    if (access(gpsd.c_str(), X_OK) != 0 || access(gpspipe.c_str(), X_OK) != 0) {
        std::printf("SKIP: gpsd or gpspipe not installed (scripts/setup.sh installs gpsd and gpsd-clients)\n");
        return 77;
    }
    const std::string work = o["--work"], truthPath = work + "/truth.jsonl", port = std::to_string(FreePort());
    mkdir(work.c_str(), 0755);
    const auto deadline = tooltest::Clock::now() + std::chrono::seconds(60);
    // A tunnel in the middle: four seconds of dead reckoning.
    SimProcess sim;
    sim.Start(o["--sim"], {"--truth", truthPath, "--seed", "4", "--duration", "45", "--tunnel", "14:4"}, work + "/sim.log");
    std::string nmeaPty, line;
    tooltest::Child nmea = tooltest::Spawn(o["--nmea"], {"--pty", sim.Pty()}, {"", false, work + "/nmea.log"});
    tooltest::Read(nmea.out, nmeaPty, deadline);
    tooltest::Child daemon = tooltest::Spawn(gpsd, {"-N", "-n", "-F", work + "/gpsd.sock", "-P", work + "/gpsd.pid",
                                                    "-S", port, nmeaPty}, {"", false, work + "/gpsd.log"});
    tooltest::Child pipe;
    for (int tries = 0; tries < 50 && pipe.pid < 0; ++tries) {
        usleep(100000);  // until gpsd listens
        tooltest::Child c = tooltest::Spawn(gpspipe, {"-w", "-x", "25", "localhost:" + port}, {"", false, work + "/gpspipe.log"});
        if (tooltest::Read(c.out, line, tooltest::Clock::now() + std::chrono::seconds(2)))
            pipe = c;
        else
            tooltest::Reap(c, tooltest::Clock::now());
    }
    std::vector<std::string> reports;
    std::ofstream saved(work + "/gpspipe.jsonl");
    while (pipe.pid > 0 && tooltest::Read(pipe.out, line, deadline)) {
        reports.push_back(line);
        saved << line << "\n";
    }
    for (tooltest::Child* c : {&pipe, &daemon, &nmea}) {
        if (c->pid > 0) kill(c->pid, SIGTERM);
        tooltest::Reap(*c, tooltest::Clock::now() + std::chrono::seconds(5));
    }
    sim.Stop();

    std::map<std::string, std::string> truth;  // by "YYYY-MM-DDThh:mm:ss"
    for (const std::string& t : tooltest::Lines(tooltest::ReadText(truthPath))) truth[JsonText(t, "utc").substr(0, 19)] = t;
    int failures = 0, fixes = 0, estimated = 0, skies = 0;
    const auto fail = [&](const std::string& what, const std::string& report) {
        std::printf("FAIL: %s: %s\n", what.c_str(), report.c_str());
        ++failures;
    };
    std::string last;  // truth of the second the latest TPV reported
    for (const std::string& r : reports) {
        if (r.find("\"class\":\"TPV\"") != std::string::npos && !JsonText(r, "time").empty()) {
            const auto t = truth.find(JsonText(r, "time").substr(0, 19));
            if (t == truth.end()) {
                fail("no second of the drive has this time", r);
                continue;
            }
            last = t->second;
            // gpsd reports dead reckoning as status 5 and, seeing no satellites used, without
            // a position.
            const bool dr = JsonText(last, "fix") == "dr", estimate = JsonNumber(r, "status") == 5;
            estimated += dr && estimate;
            if (dr != estimate) fail("dead reckoning is not reported as such: " + last, r);
            if (std::isnan(JsonNumber(r, "lat"))) continue;
            if (!Near(JsonNumber(r, "lat"), JsonNumber(last, "lat"), 1e-5) || !Near(JsonNumber(r, "lon"), JsonNumber(last, "lon"), 1e-5) ||
                !Near(JsonNumber(r, "speed"), JsonNumber(last, "speed_kmh") / 3.6, 0.05) ||
                !Near(JsonNumber(r, "track"), JsonNumber(last, "heading"), 0.15))
                fail("position, speed or track differ from " + last, r);
            // Before its first GSA gpsd guesses the mode from RMC alone.
            if (JsonNumber(r, "mode") == 3 && ++fixes && !Near(JsonNumber(r, "alt"), JsonNumber(last, "alt"), 0.5))
                fail("altitude differs from " + last, r);
        } else if (r.find("\"class\":\"SKY\"") != std::string::npos && !last.empty() && JsonText(last, "fix") == "3d") {
            ++skies;
            if (JsonNumber(r, "nSat") != 12 || JsonNumber(r, "uSat") != JsonNumber(last, "sats") ||
                !Near(JsonNumber(r, "pdop"), JsonNumber(last, "dop_raw", 0) / 256, 0.11) ||
                !Near(JsonNumber(r, "hdop"), JsonNumber(last, "dop_raw", 1) / 256, 0.11) ||
                !Near(JsonNumber(r, "vdop"), JsonNumber(last, "dop_raw", 2) / 256, 0.11))
                fail("satellites or DOPs differ from " + last, r);
        }
    }
    if (fixes < 15 || estimated < 2 || skies < 15) fail("too few reports", std::to_string(fixes) + " 3-D fixes, " +
        std::to_string(estimated) + " estimated, " + std::to_string(skies) + " SKY (see " + work + ")");
    std::printf("%zu gpsd reports, %d 3-D fixes, %d estimated, %d SKY checked, %d failures\n", reports.size(), fixes,
                estimated, skies, failures);
    return failures ? 1 : 0;
}
