// gpsdr-demo: the road the library ships on, run on a development machine. zelko-sim plays the
// module on a pseudo-terminal that the JVM reaches as /dev/ttyGPS1; the JVM loads libgpsdr.so
// through com.corvane.velmorith.NativeCall and starts it with StartGPSDRmodule; every
// sendGISInfo call Java receives is printed beside the simulator's truth; EndGPSDRmodule stops
// it; then a summary, and the track as GPX and SVG.
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tools/common/ChildProcess.h"
#include "tools/common/DeviceView.h"
#include "tools/common/GpxTrack.h"
#include "tools/common/SimProcess.h"
#include "tools/common/ToolCli.h"
#include "tools/gpsdr-demo/CallTable.h"
#include "tools/gpsdr-demo/TrackSvg.h"

#ifndef GPSDR_JAVA
#define GPSDR_JAVA "/usr/bin/java"
#endif

namespace {

enum OptionId { kSeconds, kOut, kSeed, kRate, kSim };

const ToolCommandLine kDemoCommandLine = {
    "gpsdr-demo",
    "",
    "The library's shipped road on this machine: zelko-sim on a pseudo-terminal that the JVM sees as\n"
    "/dev/ttyGPS1, libgpsdr.so in the JVM, and every sendGISInfo call Java receives, printed.",
    {
        {kSeconds, "seconds", "N", "how many sendGISInfo calls to wait for, about one a second (20)"},
        {kOut, "out", "DIR", "where the GPX, SVG, truth and logs go (build/demo)"},
        {kSeed, "seed", "N", "the simulator's seed (1)"},
        {kRate, "rate", "HZ", "the simulator's cycles per second, 1..10 (5)"},
        {kSim, "sim", "PATH", "the simulator program (zelko-sim beside this program)"},
    },
    "The JVM is " GPSDR_JAVA "; libgpsdr.so and java-classes/ are taken from beside this program.\n"
    "Without root the JVM sees the device in a user and mount namespace of its own. SIGINT and SIGTERM\n"
    "stop the module through EndGPSDRmodule; the summary and the track files are still written.\n",
    {
        {kExitOk, "the run went through"},
        {kExitFailure, "the simulator, the device or the JVM failed, or a call came from another thread"},
        {130, "stopped by SIGINT or SIGTERM"},
    },
};

struct Options {
    int seconds = 20;
    std::string out = "build/demo";
    std::string seed = "1";
    int rate = 5;
    std::string sim;
};

int ParseArgs(int argc, char** argv, Options& opt)
{
    return ParseToolCommandLine(
        kDemoCommandLine, argc, argv,
        [&](int id, const char* arg, std::string&) {
            long long n = 0;
            switch (id) {
                case kSeconds: return ParseToolInt(arg, 1, 100000, n) && (opt.seconds = static_cast<int>(n), true);
                case kOut: return opt.out = arg, true;
                case kSeed: return ParseToolInt(arg, 0, 2147483647, n) && (opt.seed = arg, true);
                case kRate: return ParseToolInt(arg, 1, 10, n) && (opt.rate = static_cast<int>(n), true);
                case kSim: return opt.sim = arg, true;
            }
            return false;
        },
        [](const char*, std::string& why) {
            why = "the demo takes no operands";
            return false;
        });
}

// Ctrl-C asks the Java side to stop the module the proper way; the summary still follows.
int g_javaIn = -1;
volatile sig_atomic_t g_stopped = 0;
void OnStop(int)
{
    if (!g_stopped && g_javaIn >= 0) {
        const ssize_t n = write(g_javaIn, "STOP\n", 5);
        (void)n;
    }
    g_stopped = 1;
}

struct Summary {
    int calls = 0, positions = 0, gps = 0, dr = 0, otherThread = 0, matched = 0;
    double sumMetres = 0, maxMetres = 0, sumShift = 0;
    long firstMs = 0, lastMs = 0;
};

void Count(Summary& s, const DemoCall& d, const std::vector<TruthCycle>& truth)
{
    if (s.calls++ == 0) s.firstMs = d.call.ms;
    s.lastMs = d.call.ms;
    s.otherThread += d.call.label != kUpdateThread;
    s.positions += HasPosition(d.call);
    if (d.cycle < 0) return;
    const TruthCycle& t = truth[static_cast<size_t>(d.cycle)];
    ++s.matched;
    (t.fix == "dr" ? s.dr : s.gps) += 1;
    s.sumMetres += d.metres;
    s.maxMetres = std::max(s.maxMetres, d.metres);
    s.sumShift += MetresApart(t.lat, t.lon, t.offLat, t.offLon);
}

std::vector<std::string> SummaryLines(const Summary& s)
{
    char a[200], b[200], c[200];
    std::snprintf(a, sizeof a, "Java received %d calls of sendGISInfo in %.1f s, %d from the update thread; %d with a position",
                  s.calls, (s.lastMs - s.firstMs) / 1000.0, s.calls - s.otherThread, s.positions);
    std::snprintf(b, sizeof b, "distance to the truth through the same offset transform: mean %.1f m, max %.1f m (%d positions: %d GPS, %d DR)",
                  s.matched ? s.sumMetres / s.matched : 0.0, s.maxMetres, s.matched, s.gps, s.dr);
    std::snprintf(c, sizeof c, "the offset transform itself moves the truth by %.0f m on average (the frame's shift, not an error)",
                  s.matched ? s.sumShift / s.matched : 0.0);
    return {a, b, c};
}

}  // namespace

int main(int argc, char** argv)
{
    Options opt;
    const int parsed = ParseArgs(argc, argv, opt);
    if (parsed >= 0) return parsed;
    setvbuf(stdout, nullptr, _IOLBF, 0);
    mkdir(opt.out.c_str(), 0755);
    const std::string dir = opt.out + "/", here = childproc::ProgramDir();
    const std::string truthPath = dir + "truth.jsonl";
    if (access(opt.out.c_str(), W_OK) != 0) {
        std::fprintf(stderr, "gpsdr-demo: cannot write into %s: %s\n", opt.out.c_str(), std::strerror(errno));
        return 1;
    }

    // Some of the drive in a tunnel, so that dead reckoning shows.
    const double tunnelAt = 0.4 * opt.seconds, tunnelFor = std::max(2.0, 0.2 * opt.seconds);
    SimProcess sim;
    char tunnel[64];
    std::snprintf(tunnel, sizeof tunnel, "%.1f:%.1f", tunnelAt, tunnelFor);
    if (!sim.Start(opt.sim.empty() ? here + "/zelko-sim" : opt.sim,
                   {"--truth", truthPath, "--seed", opt.seed, "--rate", std::to_string(opt.rate), "--tunnel", tunnel,
                    "--duration", std::to_string(opt.seconds + 60)},
                   dir + "zelko-sim.log")) {
        std::fprintf(stderr, "gpsdr-demo: %s\n", sim.Error().c_str());
        return 1;
    }
    std::printf("zelko-sim plays the module on %s (seed %s, %d Hz; GPS lost from %.1f s to %.1f s: dead reckoning)\n",
                sim.Pty().c_str(), opt.seed.c_str(), opt.rate, tunnelAt, tunnelAt + tunnelFor);
    ChildDevice device(opt.out);
    std::string error;
    if (!device.Prepare(error) || !device.PointAt(sim.Pty())) {
        std::fprintf(stderr, "gpsdr-demo: cannot show the simulator as %s to the JVM: %s\n", DeviceLink::kPath,
                     error.empty() ? "the link could not be made" : error.c_str());
        return 1;
    }
    std::printf("%s\n", device.Describe(sim.Pty()).c_str());

    // The time text is the module's UTC only where local time has no daylight saving.
    childproc::Io io{"", true, dir + "java.log", {"TZ=UTC"}};
    io.device = device.View();
#ifdef GPSDR_JVM_PRELOAD
    io.env.push_back("LD_PRELOAD=" GPSDR_JVM_PRELOAD);
    io.env.push_back("ASAN_OPTIONS=detect_leaks=0:handle_segv=0:allow_user_segv_handler=1");
#endif
    io.ownGroup = true;  // a terminal's Ctrl-C reaches the demo, which stops Java properly
    childproc::Child java = childproc::Spawn(
        GPSDR_JAVA, {"-Djava.library.path=" + here, "-cp", here + "/java-classes", "com.corvane.velmorith.NativeCallDemo",
                     std::to_string(opt.seconds)},
        io);
    if (java.pid < 0) {
        std::fprintf(stderr, "gpsdr-demo: cannot run %s\n", GPSDR_JAVA);
        return 1;
    }
    g_javaIn = java.in;
    struct sigaction sa {};
    sa.sa_handler = OnStop;
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
    signal(SIGPIPE, SIG_IGN);
    std::printf("the JVM (%s) loads libgpsdr.so from %s and calls StartGPSDRmodule\n", GPSDR_JAVA, here.c_str());

    std::vector<TruthCycle> truth;
    size_t truthLines = 0;
    std::vector<DemoCall> calls;
    Summary summary;
    int started = -1, ended = -1;
    const auto deadline = childproc::Clock::now() + std::chrono::seconds(opt.seconds + 40);
    for (std::string line; childproc::Read(java.out, line, deadline);) {
        GisCall call;
        if (ParseGisCall(line, call)) {
            ReadTruthCycles(truthPath, truth, truthLines);
            calls.push_back(MatchCall(call, truth));
            Count(summary, calls.back(), truth);
            std::printf("%s\n", TableLine(calls.back(), truth).c_str());
        } else if (std::sscanf(line.c_str(), "START %d", &started) == 1) {
            std::printf("StartGPSDRmodule() returned %d\n\n%s", started, started == 1 ? TableHeader().c_str() : "");
        } else if (std::sscanf(line.c_str(), "END %d", &ended) == 1) {
            std::printf("\nEndGPSDRmodule() returned %d\n", ended);
        } else {
            std::printf("java: %s\n", line.c_str());
        }
    }
    g_javaIn = -1;
    const int javaStatus = childproc::Reap(java, deadline);
    sim.Stop();

    std::vector<std::string> caption = SummaryLines(summary);
    for (const std::string& s : caption) std::printf("%s\n", s.c_str());
    GpxTrack delivered{"received by Java (offset frame)", {}}, moved{"truth through the offset transform (offset frame)", {}},
        played{"truth (WGS 84)", {}};
    for (const DemoCall& d : calls)
        if (HasPosition(d.call)) delivered.points.push_back({d.call.lat, d.call.lon, d.call.alt, IsoTime(d.call.time)});
    for (const TruthCycle& t : truth) {
        const std::string iso = IsoTime(t.time);
        played.points.push_back({t.lat, t.lon, t.alt, iso});
        if (t.hasPos) moved.points.push_back({t.offLat, t.offLon, t.alt, iso});
    }
    caption.insert(caption.begin(), "gpsdr-demo: the positions Java received, in the offset coordinate frame");
    caption.pop_back();
    const std::string gpx = dir + "demo.gpx", svg = dir + "demo.svg";
    if (!WriteGpx(gpx, "gpsdr-demo", {delivered, moved, played}) || !WriteTrackSvg(svg, truth, calls, caption)) {
        std::fprintf(stderr, "gpsdr-demo: cannot write the track files into %s\n", opt.out.c_str());
        return 1;
    }
    std::printf("track (GPX): %s\npicture (SVG): %s\ntruth: %s\nlogs: %sjava.log (the JVM and the library), %szelko-sim.log\n",
                gpx.c_str(), svg.c_str(), truthPath.c_str(), dir.c_str(), dir.c_str());
    if (g_stopped) return 130;
    return started == 1 && ended == 1 && javaStatus == 0 && summary.calls > 0 && summary.otherThread == 0 ? 0 : 1;
}
