// Throughput of the module stream path against the floor of any frame cutter. 16 MiB of the
// module's output as it runs (1 Hz epochs of a fix with DR, a GPS fix, a time summary, twelve
// channel reports and DR sensor data, about 20 bytes a frame) go through
// CPositionMgr::ParsingZelko in 256-byte reads and in random 32 to 256-byte reads; in the same
// run, alternating with it, a memchr pass over the same reads counts the end markers. Prints
// the medians and their ratio, and exits 1 when the parser's positions or frames differ from
// what the stream holds.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "module/geo/MMUtility.h"
#include "module/position/PositionMgr.h"
#include "platform/mAndroidLog.h"
#include "tools/common/ZelkoSampleFrames.h"

namespace {

const size_t kStreamBytes = 16u << 20;
const unsigned kFramesPerEpoch = 16;
const unsigned char kUnitKind = 2;

struct Stream {
    std::vector<char> bytes;
    unsigned epochs = 0;
};

struct Reads {
    std::string name;
    std::vector<size_t> ends;  // end offset of each read
};

Stream MakeStream()
{
    Stream s;
    ZelkoBytes wire;
    while (wire.size() < kStreamBytes) ZelkoAppend(wire, ZelkoSampleSecond(s.epochs++));
    s.bytes.assign(wire.begin(), wire.end());
    return s;
}

Reads MakeReads(const std::string& name, size_t total, unsigned lo, unsigned hi)
{
    Reads r{name, {}};
    std::mt19937 rng(42);
    for (size_t at = 0; at < total;) {
        at = std::min(total, at + lo + rng() % (hi - lo + 1));
        r.ends.push_back(at);
    }
    return r;
}

// The calling thread's CPU time: on a shared machine other processes' load does not count.
double CpuSeconds()
{
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + t.tv_nsec * 1e-9;
}

// One pass of the parser over all reads; the CPU seconds it took and the fixes it reported.
double ParserPass(Stream& s, const Reads& r, unsigned& fixes)
{
    CPositionMgr mgr;
    mgr.Initialize(1, kUnitKind, 2);
    fixes = 0;
    const double start = CpuSeconds();
    size_t at = 0;
    for (size_t end : r.ends) {
        fixes += static_cast<unsigned>(mgr.ParsingZelko(s.bytes.data() + at, static_cast<unsigned short>(end - at)));
        at = end;
    }
    return CpuSeconds() - start;
}

// The least a frame cutter must do: look at every byte of every read for the end marker.
double MemchrPass(const Stream& s, const Reads& r, size_t& markers)
{
    markers = 0;
    const double start = CpuSeconds();
    size_t at = 0;
    for (size_t end : r.ends) {
        const char* p = s.bytes.data() + at;
        const char* stop = s.bytes.data() + end;
        while ((p = static_cast<const char*>(std::memchr(p, ZELKO_END, static_cast<size_t>(stop - p))))) {
            ++p;
            ++markers;
        }
        at = end;
    }
    return CpuSeconds() - start;
}

// Replays the reads checking, at every fix, that it is the next epoch's position and that the
// previous epoch's frames all arrived; then the last epoch's satellites. Empty when all holds.
std::string Verify(Stream& s, const Reads& r)
{
    CPositionMgr mgr;
    mgr.Initialize(1, kUnitKind, 2);
    unsigned epoch = 0;
    size_t at = 0;
    char why[200];
    for (size_t end : r.ends) {
        const int fix = mgr.ParsingZelko(s.bytes.data() + at, static_cast<unsigned short>(end - at));
        at = end;
        if (!fix) continue;
        _mGpsDataEx pos;
        _sZelkoTimeData time;
        mgr.GetPosData(&pos);
        mgr.GetZelkoTimeData(&time);
        const _mLonLat want = CMMUtility::ChangeLonLatUnits(
            kUnitKind, static_cast<int32_t>(ZelkoModuleAngle(127.0 + epoch * 1e-5)),
            static_cast<int32_t>(ZelkoModuleAngle(37.5 + epoch * 1e-5)));
        const uint32_t sensorWant = epoch == 0 ? 0 : (epoch - 1) * 1000u;
        if (time.ulDRTime != epoch * 1000u || pos.lLon != want.lLon || pos.lLat != want.lLat ||
            time.ulSensorTime != sensorWant) {
            std::snprintf(why, sizeof why, "%s: fix %u: DR time %u, position %d,%d, sensor time %u (want %u, %d,%d, %u)",
                          r.name.c_str(), epoch, time.ulDRTime, pos.lLon, pos.lLat, time.ulSensorTime, epoch * 1000u,
                          want.lLon, want.lLat, sensorWant);
            return why;
        }
        ++epoch;
    }
    _mSatelView sats[CPositionMgr::SATEL_TABLE_SIZE];
    mgr.GetSatelData(sats);
    if (epoch != s.epochs || sats[11].wSatID != 34 || sats[12].wSatID != 65535) {
        std::snprintf(why, sizeof why, "%s: %u fixes of %u epochs, satellites %u,%u", r.name.c_str(), epoch, s.epochs,
                      sats[11].wSatID, sats[12].wSatID);
        return why;
    }
    return "";
}

double Median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

}  // namespace

int main(int argc, char** argv)
{
    const char kUsage[] = "usage: bench_parsing [--repetitions N]   (default 15; exit 1 when a result is wrong)\n";
    const bool help = argc == 2 && (!std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "--help"));
    const int repetitions = argc == 1 ? 15 : argc == 3 && !std::strcmp(argv[1], "--repetitions") ? std::atoi(argv[2]) : 0;
    if (help || repetitions <= 0) {
        std::fputs(kUsage, help ? stdout : stderr);
        return help ? 0 : 2;
    }
    mHostLogSetSink([](int, const char*, const char*, void*) {}, nullptr);
    Stream s = MakeStream();
    const size_t bytes = s.bytes.size();
    const double frames = static_cast<double>(s.epochs) * kFramesPerEpoch;
    std::printf("stream: %zu bytes, %u epochs, %.0f frames (%.1f bytes a frame); median of %d\n", bytes, s.epochs,
                frames, static_cast<double>(bytes) / frames, repetitions);

    int status = 0;
    for (const Reads& r : {MakeReads("256-byte reads", bytes, 256, 256), MakeReads("32-256-byte reads", bytes, 32, 256)}) {
        const std::string wrong = Verify(s, r);
        if (!wrong.empty()) {
            std::fprintf(stderr, "bench_parsing: wrong result: %s\n", wrong.c_str());
            status = 1;
        }
        std::vector<double> parser, floor;
        for (int i = 0; i < repetitions; ++i) {
            unsigned fixes;
            size_t markers;
            parser.push_back(ParserPass(s, r, fixes));
            floor.push_back(MemchrPass(s, r, markers));
            if (fixes != s.epochs || markers != frames) {
                std::fprintf(stderr, "bench_parsing: %s: %u fixes, %zu end markers for %u epochs\n", r.name.c_str(),
                             fixes, markers, s.epochs);
                status = 1;
            }
        }
        const double p = Median(parser), m = Median(floor);
        std::printf("%-18s ParsingZelko %7.1f MB/s %6.1f ns/frame | memchr %7.1f MB/s | ratio %5.1f %%\n",
                    r.name.c_str(), bytes / p / 1e6, p / frames * 1e9, bytes / m / 1e6, 100.0 * m / p);
    }
    return status;
}
