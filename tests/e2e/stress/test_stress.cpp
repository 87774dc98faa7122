// Start/stop cycles through the Java bridge's native entry points, against zelko-sim at 10 Hz
// with noise and corrupt frames, in a seeded random mix of what the service meets in a car:
// double starts, commands and reads from another thread, the module vanishing or falling
// silent, stops in the middle of the start-up queries. After every stop each thread the library
// started must be gone and no facade may still reach the freed manager; at the end the process
// has exactly the threads it began with. The sanitizers watch every step.
//
// GPSDR_STRESS_CYCLES sets the number of cycles (100); each stop takes about three seconds.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "jni/GpsDRInterface.h"
#include "jni/NativeCall.h"
#include "platform/mAndroidLog.h"
#include "tests/e2e/ToolProcess.h"
#include "tests/support/WaitUntil.h"
#include "tools/common/DeviceLink.h"
#include "tools/common/ProcSelf.h"
#include "tools/common/SimProcess.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr unsigned kSeed = 20240315;
const char kMissingDevice[] = "/nonexistent/ttyGPS1";

// The bridge never frees a facade (a restart just overwrites the pointer) and update threads
// are detached, so no join orders their last reads before a delete. As in the service's
// process, every facade stays for the rest of the process: held from a list that is never
// destroyed, so that they are still reachable when the leak check runs at exit.
std::vector<GpsDRInterface*>& KeptFacades()
{
    static auto* kept = new std::vector<GpsDRInterface*>;
    return *kept;
}

// One cycle: what the module does meanwhile, what the caller does, and when; drawn from a seeded
// generator so that a failing cycle can be replayed.
enum Device { Steady, Vanish, Silent, Killed, Missing };
const char* const kDeviceNames[] = {"module streaming", "device vanishes", "module falls silent", "simulator killed",
                                    "no device"};
enum Action { RunStop, EarlyStop, DoubleStart };
const char* const kActionNames[] = {"start, stop", "stop during start-up queries", "double start"};

struct Cycle {
    Device device;
    Action action;
    bool commands;  // the caller's other thread also sends commands, from start to end of stop
    int runMs;      // from the start to the stop
    int eventMs;    // after the start (Killed) or after the simulator's start (Vanish, Silent)

    // Whether a position must have been published by the stop: a few frames at 10 Hz, with room
    // for the sanitizers' slowdown; commands reset the module, which then has no fix for a while.
    bool ExpectsPosition() const { return device == Steady && action != EarlyStop && !commands && runMs >= 500; }
    std::string Describe() const
    {
        return std::string(kDeviceNames[device]) + ", " + kActionNames[action] + (commands ? ", commands" : "") +
               ", run " + std::to_string(runMs) + " ms";
    }
};

Cycle PlanCycle(std::mt19937& rng)
{
    static const Device kDevices[] = {Steady, Steady, Steady, Steady, Vanish, Silent, Silent, Killed, Missing};
    static const Action kActions[] = {RunStop, RunStop, EarlyStop, DoubleStart};
    auto between = [&](int lo, int hi) { return lo + static_cast<int>(rng() % static_cast<unsigned>(hi - lo + 1)); };
    Cycle c{};
    c.device = kDevices[rng() % 9];
    c.action = kActions[rng() % 4];
    c.commands = rng() % 5 < 2;
    // Not before the start has opened the device: a module gone by then is a missing device.
    c.eventMs = between(150, 600);
    if (c.action == EarlyStop)
        c.runMs = between(0, 300);
    else if (c.device == Steady || c.device == Missing)
        c.runMs = between(50, 1000);
    else
        c.runMs = c.eventMs + between(100, 500);
    return c;
}

// The application's other thread: reads all the time and, while asked to, sends commands, always
// on whichever facade the Java bridge holds at that moment.
class CallerThread {
public:
    explicit CallerThread(unsigned seed) : m_rng(seed) {}
    ~CallerThread() { Join(); }
    std::atomic<bool> commands{false};
    std::atomic<long> sent{0};
    void Join()
    {
        m_stop = true;
        if (m_thread.joinable()) m_thread.join();
    }

private:
    void OneCall(GpsDRInterface& dr)
    {
        _mMMPosition pos{};
        _mGpsInfo info{};
        _mSatelInfo sats{};
        _mGPSDREngineerInfoEx eng{};
        _mZelkoLowDataInfo low{};
        _mGPSDRDiagnosis diag{};
        unsigned char command = 0;
        unsigned long ms = 0;
        switch (m_rng() % (commands ? 8 : 5)) {
            case 0: dr.GetCarPos(&pos); break;
            case 1: dr.GetGPSInfo(&info, static_cast<char>(m_rng() % 2)); break;
            case 2: dr.GetSatelInfo(&sats); break;
            case 3: dr.GetGPSDREngineerInfoEx(&eng); dr.GetZelkoLowInfo(&low); dr.GetGPSDRDiagnosisData(&diag); break;
            case 4: dr.GetZelkoResetTime(command, ms); dr.GetParam(16); break;
            case 5:
            case 6: {  // type 4 is refused, the others reach the port
                const unsigned char type = static_cast<unsigned char>(m_rng() % 5);
                const short pitch = static_cast<short>(static_cast<int>(m_rng() % 21) - 10);
                const short roll = static_cast<short>(static_cast<int>(m_rng() % 21) - 10);
                sent += dr.SetZelkoMountAngle(type, pitch, roll);
                break;
            }
            default:  // resets 0 to 3; 4 cannot be built
                sent += dr.SendZelkoCommand(static_cast<unsigned char>(m_rng() % 5));
        }
    }

    std::mt19937 m_rng;
    std::atomic<bool> m_stop{false};
    std::thread m_thread{[this] {
        while (!m_stop) {
            std::this_thread::sleep_for(milliseconds(1 + m_rng() % 8));
            if (GpsDRInterface* dr = g_pGpsDr.load()) OneCall(*dr);
        }
    }};
};

// A cycle that does not end is a deadlock in the library. The run cannot go on from there, so
// the watchdog says which cycle hung and which library threads were left, and aborts.
class Watchdog {
public:
    ~Watchdog()
    {
        m_quit = true;
        m_thread.join();
    }
    void Arm(const std::string& what, Clock::duration limit)
    {
        std::lock_guard<std::mutex> hold(m_lock);
        m_what = what;
        m_deadline = Clock::now() + limit;
    }
    void Disarm() { Arm("", std::chrono::hours(24)); }

private:
    std::mutex m_lock;
    std::string m_what;
    Clock::time_point m_deadline = Clock::now() + std::chrono::hours(24);
    std::atomic<bool> m_quit{false};
    std::thread m_thread{[this] {
        for (; !m_quit; std::this_thread::sleep_for(milliseconds(100))) {
            std::lock_guard<std::mutex> hold(m_lock);
            if (Clock::now() < m_deadline) continue;
            std::fprintf(stderr, "HANG: %s did not end in time; library threads left:%s\n", m_what.c_str(),
                         procself::LibraryThreadList().c_str());
            std::abort();
        }
    }};
};

int Start()
{
    return Java_com_corvane_velmorith_NativeCall_StartGPSDRmodule(nullptr, nullptr);
}

int End()
{
    return Java_com_corvane_velmorith_NativeCall_EndGPSDRmodule(nullptr, nullptr);
}


class Stress : public ::testing::Test {
protected:
    void SetUp() override
    {
        const std::string why = m_link.Claim();
        if (!why.empty()) GTEST_SKIP() << why;
        // Tens of lines a second; only the outcome matters here.
        mHostLogSetSink([](int, const char*, const char*, void*) {}, nullptr);
        m_baseTasks = procself::TaskCount();
    }

    void TearDown() override { mHostLogSetSink(nullptr, nullptr); }

    // Points the device at the cycle's module (or at nothing) and makes sure that module runs. A
    // short cold start keeps positions coming although the other thread resets the module.
    void PrepareDevice(const Cycle& c)
    {
        std::vector<std::string> args = {"--rate", "10", "--noise", "0.2", "--corrupt", "0.05", "--cold-start", "0.5",
                                         "--duration", "3600", "--seed"};
        if (c.device == Vanish || c.device == Silent) {
            args.insert(args.end(), {std::to_string(m_rng()), c.device == Vanish ? "--vanish" : "--silent",
                                     std::to_string(c.eventMs / 1000.0)});
            ASSERT_TRUE(m_special.Start(m_sim, args));
            ASSERT_TRUE(m_link.PointAt(m_special.Pty()));
        } else if (c.device == Missing) {
            ASSERT_TRUE(m_link.PointAt(kMissingDevice));
        } else {
            args.push_back("7");
            ASSERT_TRUE(m_steady.Running() || m_steady.Start(m_sim, args));
            ASSERT_TRUE(m_link.PointAt(m_steady.Pty()));
        }
    }

    void RunCycle(const Cycle& c)
    {
        m_caller.commands = c.commands;
        const Clock::time_point t0 = Clock::now();
        std::vector<GpsDRInterface*> facades;

        const int started = Start();
        facades.push_back(g_pGpsDr.load());
        EXPECT_EQ(c.device == Missing ? 0 : 1, started);
        if (started && c.action != EarlyStop) {
            EXPECT_TRUE(testsupport::WaitUntil([] { return procself::LibraryThreadCount() == 3; }, 2000))
                << "running:" << procself::LibraryThreadList();
        }
        if (c.action == DoubleStart) {
            // The new facade takes the manager but cannot open the port a second time.
            EXPECT_EQ(0, Start());
            facades.push_back(g_pGpsDr.load());
        }
        if (c.device == Killed && c.eventMs < c.runMs) {
            std::this_thread::sleep_until(t0 + milliseconds(c.eventMs));
            m_steady.Kill();
        }
        std::this_thread::sleep_until(t0 + milliseconds(c.runMs));
        if (c.ExpectsPosition()) {
            _mMMPosition pos{};
            facades.back()->GetCarPos(&pos);
            EXPECT_NE(0, pos.lLat) << "no position published";
            ++m_positionChecks;
        }

        EXPECT_EQ(1, End());
        EXPECT_EQ(0, g_nNowRun.load());
        m_caller.commands = false;

        // An orphaned facade's update thread ends at its next cycle, well inside this limit.
        EXPECT_TRUE(testsupport::WaitUntil([] { return procself::LibraryThreadCount() == 0; }, 3000))
            << "left after the stop:" << procself::LibraryThreadList();
        for (GpsDRInterface* f : facades) {
            EXPECT_EQ(-1, f->GetParam(16)) << "a facade still reaches the freed manager";
            KeptFacades().push_back(f);
        }
        m_special.Stop();
    }

    DeviceLink m_link{tooltest::BuildPath("stress-ttyGPS1.target")};
    const std::string m_sim = tooltest::BuildPath("zelko-sim");
    SimProcess m_steady, m_special;
    std::mt19937 m_rng{kSeed};
    size_t m_baseTasks = 0;
    int m_positionChecks = 0;
    CallerThread m_caller{kSeed + 1};
    Watchdog m_watchdog;
};

TEST_F(Stress, RandomStartStopCyclesLeaveNoThreadAndNoDanglingManager)
{
    const char* cycles = std::getenv("GPSDR_STRESS_CYCLES");
    const int wanted = cycles && std::atoi(cycles) > 0 ? std::atoi(cycles) : 100;
    int ran = 0;
    std::map<std::string, int> seen;
    for (; ran < wanted && !HasFailure(); ++ran) {
        const Cycle c = PlanCycle(m_rng);
        const std::string what = "cycle " + std::to_string(ran) + " (" + c.Describe() + ")";
        SCOPED_TRACE(what);
        ASSERT_NO_FATAL_FAILURE(PrepareDevice(c));
        // A stop takes about three seconds; ten times that is a hang, also under the sanitizers.
        m_watchdog.Arm(what, milliseconds(c.runMs) + seconds(30));
        RunCycle(c);
        m_watchdog.Disarm();
        ++seen[kDeviceNames[c.device]];
        ++seen[kActionNames[c.action]];
        if (c.commands) ++seen["commands from the other thread"];
    }
    m_steady.Stop();

    // The caller's and the watchdog's threads were there from the start.
    EXPECT_TRUE(testsupport::WaitUntil([&] { return procself::TaskCount() == m_baseTasks; }))
        << procself::TaskCount() << " threads, began with " << m_baseTasks;
    m_caller.Join();

    std::printf("%d cycles, %d checked for a published position, %ld commands sent\n", ran, m_positionChecks,
                m_caller.sent.load());
    for (const auto& kind : seen) std::printf("  %3d  %s\n", kind.second, kind.first.c_str());
    std::fflush(stdout);
    if (ran >= 20) {
        EXPECT_GT(m_positionChecks, 0);
        EXPECT_GT(m_caller.sent.load(), 0);
    }
}

}  // namespace
