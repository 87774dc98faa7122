// Throughput of the module stream path: realistic seconds of module output (a fix with DR, a GPS
// fix, a time summary, twelve channel reports and DR sensor data) delivered in serial-read sized
// chunks, against a memchr scan of the same bytes as the floor.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "module/position/PositionMgr.h"
#include "platform/mAndroidLog.h"
#include "tests/support/ZelkoFrames.h"

namespace {

const unsigned kSeconds = 60;
const unsigned kFramesPerSecond = 16;

struct Capture {
    std::vector<std::vector<char>> chunks;
    size_t bytes = 0;
};

const Capture& Stream()
{
    static const Capture capture = [] {
        zf::Bytes stream;
        for (unsigned s = 0; s < kSeconds; ++s) zf::Append(stream, zf::ModuleSecond(s));
        Capture c;
        std::mt19937 rng(42);
        for (size_t at = 0; at < stream.size();) {
            const size_t n = std::min<size_t>(32 + rng() % 225, stream.size() - at);
            c.chunks.emplace_back(stream.begin() + at, stream.begin() + at + n);
            at += n;
        }
        c.bytes = stream.size();
        return c;
    }();
    return capture;
}

void Report(benchmark::State& state, const Capture& c)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * c.bytes));
    state.counters["frame_time"] = benchmark::Counter(static_cast<double>(kSeconds * kFramesPerSecond),
                                                      benchmark::Counter::kIsIterationInvariantRate |
                                                          benchmark::Counter::kInvert);
}

void BM_ParsingZelko(benchmark::State& state)
{
    mHostLogSetSink([](int, const char*, const char*, void*) {}, nullptr);
    const Capture& c = Stream();
    std::vector<std::vector<char>> chunks = c.chunks;
    CPositionMgr mgr;
    mgr.Initialize(1, 2, 2);
    for (auto _ : state) {
        int fixes = 0;
        for (std::vector<char>& chunk : chunks) {
            fixes += mgr.ParsingZelko(chunk.data(), static_cast<unsigned short>(chunk.size()));
        }
        benchmark::DoNotOptimize(fixes);
    }
    Report(state, c);
}
BENCHMARK(BM_ParsingZelko);

// The least any frame cutter must do: look at every byte for the end marker.
void BM_MemchrFloor(benchmark::State& state)
{
    const Capture& c = Stream();
    for (auto _ : state) {
        size_t ends = 0;
        for (const std::vector<char>& chunk : c.chunks) {
            const char* p = chunk.data();
            const char* end = p + chunk.size();
            while ((p = static_cast<const char*>(std::memchr(p, 0x82, static_cast<size_t>(end - p)))) != nullptr) {
                ++ends;
                ++p;
            }
        }
        benchmark::DoNotOptimize(ends);
    }
    Report(state, c);
}
BENCHMARK(BM_MemchrFloor);

}  // namespace

BENCHMARK_MAIN();
