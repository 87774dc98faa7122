// gpsdr-demo: plays the module simulator on a pseudo-terminal, drives the library through its
// native interface as the Java service's start does, prints once a second what Java's
// sendGISInfo would receive, then writes the delivered track beside the simulated ground truth
// as GPX and as an SVG picture.
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/mAndroidLog.h"
#include "tools/common/ChildProcess.h"
#include "tools/common/GpxTrack.h"
#include "tools/common/SimProcess.h"
#include "tools/gpsdr-demo/DriverSession.h"
#include "tools/gpsdr-demo/TrackGeometry.h"
#include "tools/gpsdr-demo/TrackSvg.h"
#include "tools/gpsdr-demo/TruthTrack.h"

namespace {

const char kUsage[] =
    "usage: gpsdr-demo [--seconds N] [--out DIR] [--seed N] [--rate HZ] [--sim PATH]\n"
    "  --seconds N  how long to run, one line per second (20)\n"
    "  --out DIR    where the GPX, SVG, ground truth and logs go (build/demo)\n"
    "  --seed N     the simulator's seed (1)\n"
    "  --rate HZ    the simulator's cycles per second (5)\n"
    "  --sim PATH   the simulator program (zelko-sim next to this program)\n";

struct Options {
    int seconds = 20;
    std::string out = "build/demo";
    std::string seed = "1";
    std::string rate = "5";
    std::string sim;
};

bool PositiveInt(const char* text, int& out)
{
    char* end = nullptr;
    const long v = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || v < 1 || v > 100000) return false;
    out = static_cast<int>(v);
    return true;
}

bool ParseArgs(int argc, char** argv, Options& opt)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (i + 1 >= argc) return false;
        const char* value = argv[++i];
        int n = 0;
        if (arg == "--seconds" && PositiveInt(value, n))
            opt.seconds = n;
        else if (arg == "--out")
            opt.out = value;
        else if (arg == "--seed" && PositiveInt(value, n))
            opt.seed = value;
        else if (arg == "--rate" && PositiveInt(value, n))
            opt.rate = value;
        else if (arg == "--sim")
            opt.sim = value;
        else
            return false;
    }
    return true;
}

// The library's trace goes to a file in the output directory rather than over the demo's lines.
void LogToFile(int, const char* tag, const char* text, void* ctx)
{
    const size_t len = std::strlen(text);
    std::fprintf(static_cast<FILE*>(ctx), "%s: %s%s", tag, text, len && text[len - 1] == '\n' ? "" : "\n");
}

volatile std::sig_atomic_t g_stop = 0;
void OnStop(int)
{
    g_stop = 1;
}

// Sleeps until the absolute monotonic time; false when interrupted by a stop request.
bool SleepUntil(const timespec& at)
{
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr) == EINTR) {
        if (g_stop) return false;
    }
    return !g_stop;
}

// "YYYYMMDDhhmmss" as ISO 8601 UTC; empty for the zero text.
std::string IsoFromGisTime(const std::string& t)
{
    if (t.size() != 14 || t == "00000000000000") return "";
    return t.substr(0, 4) + "-" + t.substr(4, 2) + "-" + t.substr(6, 2) + "T" + t.substr(8, 2) + ":" +
           t.substr(10, 2) + ":" + t.substr(12, 2) + "Z";
}

double SecondsSince(std::chrono::steady_clock::time_point t0)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

}  // namespace

int main(int argc, char** argv)
{
    Options opt;
    if (!ParseArgs(argc, argv, opt)) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    setvbuf(stdout, nullptr, _IOLBF, 0);
    struct sigaction sa {};
    sa.sa_handler = OnStop;
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);

    std::error_code ec;
    std::filesystem::create_directories(opt.out, ec);
    const std::string dir = opt.out + "/";
    const std::string simPath = opt.sim.empty() ? childproc::ProgramDir() + "/zelko-sim" : opt.sim;
    const std::string truthPath = dir + "truth.jsonl";
    FILE* libraryLog = std::fopen((dir + "library.log").c_str(), "w");
    if (libraryLog == nullptr) {
        std::fprintf(stderr, "gpsdr-demo: cannot write into %s: %s\n", opt.out.c_str(), std::strerror(errno));
        return 1;
    }
    mHostLogSetSink(LogToFile, libraryLog);

    // The simulator outlives the run by a margin only, should the demo itself be killed.
    SimProcess sim;
    std::string error;
    const auto simStart = std::chrono::steady_clock::now();
    if (!sim.Start(simPath,
                   {"--truth", truthPath, "--seed", opt.seed, "--rate", opt.rate, "--duration",
                    std::to_string(opt.seconds + 60)},
                   dir + "zelko-sim.log")) {
        std::fprintf(stderr, "gpsdr-demo: %s\n", sim.Error().c_str());
        return 1;
    }
    std::printf("zelko-sim plays the module on %s (seed %s, %s Hz)\n", sim.Pty().c_str(), opt.seed.c_str(),
                opt.rate.c_str());

    DriverSession driver;
    if (!driver.Start(sim.Pty(), error)) {
        std::fprintf(stderr, "gpsdr-demo: %s\n", error.c_str());
        return 1;
    }
    std::printf("libgpsdr started; what Java's sendGISInfo(lat, lon, alt, dop2, dop1, heading, 0, time) "
                "receives each second:\n");

    GpxTrack delivered{"delivered to Java (libgpsdr)", {}};
    timespec next;
    clock_gettime(CLOCK_MONOTONIC, &next);
    for (int k = 1; k <= opt.seconds; ++k) {
        ++next.tv_sec;
        if (!SleepUntil(next)) break;
        const GisSample s = driver.Sample();
        std::printf("[%3ds] %s\n", k, GisSampleText(s).c_str());
        if (s.args.lat != 0 || s.args.lon != 0)
            delivered.points.push_back({s.args.lat, s.args.lon, s.args.alt, IsoFromGisTime(s.args.time)});
    }
    const double played = SecondsSince(simStart);

    std::printf("stopping the library...\n");
    driver.Stop();
    sim.Stop();
    mHostLogSetSink(nullptr, nullptr);
    std::fclose(libraryLog);

    const GpxTrack truth = ReadTruthTrack(truthPath, played);
    const std::vector<PointPair> pairs = PairBySecond(delivered, truth);
    const double offset = MeanOffsetMetres(pairs, LocalProjection({&delivered, &truth}));
    char caption[128];
    std::snprintf(caption, sizeof caption,
                  "%zu positions delivered; mean offset to the truth at the same second %.0f m (%zu pairs)",
                  delivered.points.size(), offset, pairs.size());
    const std::string gpx = dir + "demo.gpx", svg = dir + "demo.svg";
    if (!WriteGpx(gpx, "gpsdr-demo", {delivered, truth}) || !WriteTrackSvg(svg, truth, delivered, pairs, caption)) {
        std::fprintf(stderr, "gpsdr-demo: cannot write the track files into %s\n", opt.out.c_str());
        return 1;
    }
    std::printf("%s\n", caption);
    std::printf("track (GPX): %s\npicture (SVG): %s\nground truth: %s\nlogs: %slibrary.log, %szelko-sim.log\n",
                gpx.c_str(), svg.c_str(), truthPath.c_str(), dir.c_str(), dir.c_str());
    return g_stop ? 130 : 0;
}
