// gpsdr-soak: the whole road (zelko-sim at 10 Hz with noise and corrupt frames, pty, libgpsdr.so)
// for a long time, driven as the Java side drives it: one start, positions read once a second,
// one stop. Every minute it prints resident memory, the library's CPU time, the thread count
// and how many positions came through; it fails when memory or threads grow after warm-up, when
// a minute passes without a new position, or when a thread of the library outlives the stop.
//
// As root the start goes through the bridge's native entry point with /dev/ttyGPS1 linked to
// the simulator; otherwise a facade is started by hand on the pty with the same settings.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "jni/GpsDRInterface.h"
#include "jni/NativeCall.h"
#include "platform/mAndroidLog.h"
#include "tools/common/DeviceLink.h"
#include "tools/common/ProcSelf.h"
#include "tools/common/SimProcess.h"
#include "tools/common/ToolCli.h"

namespace {

using Clock = std::chrono::steady_clock;

enum OptionId { kMinutes, kWarmup, kRssTolerance };

const ToolCommandLine kSoakCommandLine = {
    "gpsdr-soak",
    "",
    "The whole road (zelko-sim at 10 Hz with noise and corrupt frames, pty, libgpsdr.so) for a long\n"
    "time, with memory, CPU, threads and positions printed once a minute.",
    {
        {kMinutes, "minutes", "N", "how long to run (30)"},
        {kWarmup, "warmup", "N", "minutes before memory and threads are watched (2, or 1 below 10 minutes)"},
        {kRssTolerance, "rss-tolerance-kb", "K", "resident memory growth allowed after the warm-up (1024)"},
    },
    "",
    {
        {kExitOk, "passed"},
        {kExitFailure, "memory or threads grew, positions stopped, or a thread outlived the stop"},
    },
};

struct Options {
    int minutes = 30;
    int warmup = -1;            // minutes; -1: 2, or 1 for runs shorter than 10 minutes
    long rssToleranceKb = 1024;  // growth allowed over the warm-up figure
};

int ParseArgs(int argc, char** argv, Options& o)
{
    const int parsed = ParseToolCommandLine(
        kSoakCommandLine, argc, argv,
        [&](int id, const char* arg, std::string&) {
            long long v = 0;
            if (!ParseToolInt(arg, 0, 1000000, v)) return false;
            if (id == kRssTolerance)
                o.rssToleranceKb = static_cast<long>(v);
            else
                (id == kMinutes ? o.minutes : o.warmup) = static_cast<int>(v);
            return true;
        },
        [](const char*, std::string& why) {
            why = "the soak takes no operands";
            return false;
        });
    if (parsed >= 0) return parsed;
    if (o.warmup < 0) o.warmup = o.minutes < 10 ? 1 : 2;
    return o.minutes > o.warmup ? -1 : ToolUsageError(kSoakCommandLine, "the minutes must exceed the warm-up");
}

// The update thread logs each sendGISInfo call just before making it: counting those lines
// counts what the update path delivered (the callback itself needs a JVM).
struct Deliveries {
    std::atomic<long> calls{0};
    std::atomic<long> withFix{0};  // non-zero coordinates
};

void CountDelivery(int, const char*, const char* text, void* ctx)
{
    static const char kCall[] = "[LIB_DBG] call sendGISInfo (";
    if (std::strncmp(text, kCall, sizeof kCall - 1) != 0) return;
    Deliveries& d = *static_cast<Deliveries*>(ctx);
    ++d.calls;
    if (std::strncmp(text + sizeof kCall - 1, "0,0)", 4) != 0) ++d.withFix;
}

// The driver started either way; Stop ends it and frees what the start made.
class Driver {
public:
    bool Start(const std::string& pty, std::string& how)
    {
        const std::string why = m_link.Claim();
        if (why.empty() && m_link.PointAt(pty)) {
            how = std::string("Java bridge entry points, ") + DeviceLink::kPath + " -> " + pty;
            m_bridge = true;
            const int started = Java_com_corvane_velmorith_NativeCall_StartGPSDRmodule(nullptr, nullptr);
            m_facade = g_pGpsDr.load();
            return started == 1;
        }
        how = "facade on " + pty + " (" + (why.empty() ? "link failed" : why) + ")";
        m_facade = new GpsDRInterface();
        std::vector<unsigned short> name(pty.begin(), pty.end());  // a pty path is ASCII
        name.push_back(0);
        if (!m_facade->Initialize(1)) return false;
        m_facade->SetParam(16, 1);  // the module's binary protocol
        if (!m_facade->CreateDataThread(name.data(), 115200, 8, 0, 0, 360, 0)) return false;
        m_facade->StartUpdateThread();
        return true;
    }

    GpsDRInterface& Facade() { return *m_facade; }

    // True when no thread of the library outlives the stop.
    bool Stop()
    {
        if (m_bridge)
            Java_com_corvane_velmorith_NativeCall_EndGPSDRmodule(nullptr, nullptr);
        else if (m_facade)
            m_facade->EndOnlyGpsDRModule();
        m_link.Remove();
        const Clock::time_point deadline = Clock::now() + std::chrono::seconds(5);
        while (procself::LibraryThreadCount() > 0) {
            if (Clock::now() >= deadline) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        delete m_facade;  // never freed by the bridge; nothing uses it any more
        m_facade = nullptr;
        g_pGpsDr = nullptr;
        return true;
    }

private:
    DeviceLink m_link{childproc::ProgramDir() + "/soak-ttyGPS1.target"};
    bool m_bridge = false;
    GpsDRInterface* m_facade = nullptr;
};

struct Minute {
    long rssKb;
    size_t threads;
    double libCpu, processCpu;  // seconds so far
    long calls, withFix, newPositions;
};

void PrintMinute(int n, const Minute& now, const Minute& before)
{
    std::printf("%4d  %9ld  %7.2f (+%5.2f)  %7.2f  %7zu  %6ld  %6ld  %6ld\n", n, now.rssKb, now.libCpu,
                now.libCpu - before.libCpu, now.processCpu, now.threads, now.calls - before.calls,
                now.withFix - before.withFix, now.newPositions - before.newPositions);
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv)
{
    Options o;
    const int parsed = ParseArgs(argc, argv, o);
    if (parsed >= 0) return parsed;
    Deliveries deliveries;
    mHostLogSetSink(CountDelivery, &deliveries);

    SimProcess sim;
    if (!sim.Start(childproc::ProgramDir() + "/zelko-sim", {"--rate", "10", "--noise", "0.2", "--corrupt", "0.05", "--seed", "11"})) {
        std::fprintf(stderr, "gpsdr-soak: %s\n", sim.Error().c_str());
        return 2;
    }
    Driver driver;
    std::string how;
    const bool started = driver.Start(sim.Pty(), how);
    std::printf("soak: %d minutes (warm-up %d), %s\n", o.minutes, o.warmup, how.c_str());
    if (!started) {
        std::printf("FAIL: the driver did not start\n");
        driver.Stop();
        return 1;
    }
    std::printf(" min     rss kB  lib cpu s          proc s  threads   calls     fix  new pos\n");

    std::vector<std::string> failures;
    Minute last{procself::ResidentKb(), procself::TaskCount(), 0, 0, 0, 0, 0};
    Minute baseline = last;
    _mMMPosition seen{};
    long newPositions = 0;
    const Clock::time_point t0 = Clock::now();
    for (int second = 1; second <= o.minutes * 60; ++second) {
        std::this_thread::sleep_until(t0 + std::chrono::seconds(second));
        _mMMPosition pos{};
        driver.Facade().GetCarPos(&pos);
        if (pos.lLat != 0 && (pos.lLat != seen.lLat || pos.lLon != seen.lLon)) ++newPositions;
        seen = pos;
        if (second % 60 != 0) continue;

        const int minute = second / 60;
        const Minute now{procself::ResidentKb(), procself::TaskCount(), procself::LibraryCpuSeconds(),
                         procself::ProcessCpuSeconds(), deliveries.calls.load(), deliveries.withFix.load(),
                         newPositions};
        PrintMinute(minute, now, last);
        if (minute == o.warmup) baseline = now;
        if (minute > o.warmup) {
            const std::string at = "minute " + std::to_string(minute) + ": ";
            if (now.rssKb > baseline.rssKb + o.rssToleranceKb)
                failures.push_back(at + "resident memory " + std::to_string(now.rssKb) + " kB, " +
                                   std::to_string(baseline.rssKb) + " kB after warm-up");
            if (now.threads > baseline.threads)
                failures.push_back(at + std::to_string(now.threads) + " threads, " +
                                   std::to_string(baseline.threads) + " after warm-up");
            if (now.newPositions == last.newPositions) failures.push_back(at + "no new position");
        }
        last = now;
    }

    if (!driver.Stop()) failures.push_back("library threads left after the stop");
    sim.Stop();
    mHostLogSetSink(nullptr, nullptr);
    std::printf("soak: %ld sendGISInfo calls (%ld with a position), %ld new positions read, rss %ld -> %ld kB\n",
                last.calls, last.withFix, last.newPositions, baseline.rssKb, last.rssKb);
    for (const std::string& f : failures) std::printf("FAIL: %s\n", f.c_str());
    std::printf("soak: %s\n", failures.empty() ? "passed" : "FAILED");
    return failures.empty() ? 0 : 1;
}
