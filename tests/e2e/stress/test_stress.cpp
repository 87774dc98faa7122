// Start/stop cycles through the Java bridge's native entry points, against zelko-sim at 10 Hz
// with noise and corrupt frames, in a seeded random mix of what the service meets in a car:
// double starts, commands and reads from another thread, the module vanishing or falling
// silent, stops in the middle of the start-up queries. After every stop each thread the library
// started must be gone and no facade may still reach the freed manager; at the end the process
// has exactly the threads it began with. The sanitizers watch every step.
//
// GPSDR_STRESS_CYCLES sets the number of cycles (100); each stop takes about three seconds.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "jni/GpsDRInterface.h"
#include "jni/NativeCall.h"
#include "platform/mAndroidLog.h"
#include "tests/e2e/stress/CallerThread.h"
#include "tests/e2e/stress/CyclePlan.h"
#include "tests/e2e/ToolProcess.h"
#include "tests/e2e/stress/Watchdog.h"
#include "tools/common/DeviceLink.h"
#include "tools/common/ProcSelf.h"
#include "tools/common/SimProcess.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr unsigned kSeed = 20240315;
constexpr unsigned short kParamDataType = 16;
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

template <typename Pred>
bool WaitFor(Pred done, Clock::duration limit)
{
    const Clock::time_point deadline = Clock::now() + limit;
    while (!done()) {
        if (Clock::now() >= deadline) return false;
        std::this_thread::sleep_for(milliseconds(10));
    }
    return true;
}

int Start()
{
    return Java_com_corvane_velmorith_NativeCall_StartGPSDRmodule(nullptr, nullptr);
}

int End()
{
    return Java_com_corvane_velmorith_NativeCall_EndGPSDRmodule(nullptr, nullptr);
}

// A short cold start keeps positions coming although the other thread resets the module.
std::vector<std::string> SimArgs(std::vector<std::string> extra)
{
    std::vector<std::string> args = {"--rate", "10", "--noise", "0.2", "--corrupt", "0.05",
                                     "--cold-start", "0.5", "--duration", "3600"};
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}

int CyclesWanted()
{
    const char* text = std::getenv("GPSDR_STRESS_CYCLES");
    const int n = text ? std::atoi(text) : 0;
    return n > 0 ? n : 100;
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

    // Points the device at the cycle's module (or at nothing) and makes sure that module runs.
    void PrepareDevice(const Cycle& c)
    {
        switch (c.device) {
            case Device::Vanish:
            case Device::Silent:
                ASSERT_TRUE(m_special.Start(m_sim, SimArgs({c.device == Device::Vanish ? "--vanish" : "--silent",
                                                     std::to_string(c.eventMs / 1000.0), "--seed",
                                                     std::to_string(m_rng())})));
                ASSERT_TRUE(m_link.PointAt(m_special.Pty()));
                break;
            case Device::Missing:
                ASSERT_TRUE(m_link.PointAt(kMissingDevice));
                break;
            case Device::Steady:
            case Device::Killed:
                if (!m_steady.Running()) {
                    ASSERT_TRUE(m_steady.Start(m_sim, SimArgs({"--seed", "7"})));
                }
                ASSERT_TRUE(m_link.PointAt(m_steady.Pty()));
                break;
        }
    }

    void RunCycle(const Cycle& c)
    {
        m_caller.SetCommands(c.commands);
        const Clock::time_point t0 = Clock::now();
        std::vector<GpsDRInterface*> facades;

        const int started = Start();
        facades.push_back(g_pGpsDr.load());
        EXPECT_EQ(c.device == Device::Missing ? 0 : 1, started);
        if (started && c.action != Action::EarlyStop) {
            EXPECT_TRUE(WaitFor([] { return procself::LibraryThreadCount() == 3; }, seconds(2)))
                << "running:" << procself::LibraryThreadList();
        }
        if (c.action == Action::DoubleStart) {
            // The new facade takes the manager but cannot open the port a second time.
            EXPECT_EQ(0, Start());
            facades.push_back(g_pGpsDr.load());
        }
        if (c.device == Device::Killed && c.eventMs < c.runMs) {
            std::this_thread::sleep_until(t0 + milliseconds(c.eventMs));
            m_steady.Kill();
        }
        std::this_thread::sleep_until(t0 + milliseconds(c.runMs));
        if (ExpectsPosition(c)) {
            _mMMPosition pos{};
            facades.back()->GetCarPos(&pos);
            EXPECT_NE(0, pos.lLat) << "no position published";
            ++m_positionChecks;
        }

        EXPECT_EQ(1, End());
        EXPECT_EQ(0, g_nNowRun.load());
        m_caller.SetCommands(false);

        // An orphaned facade's update thread ends at its next cycle, well inside this limit.
        EXPECT_TRUE(WaitFor([] { return procself::LibraryThreadCount() == 0; }, seconds(3)))
            << "left after the stop:" << procself::LibraryThreadList();
        for (GpsDRInterface* f : facades) {
            EXPECT_EQ(-1, f->GetParam(kParamDataType)) << "a facade still reaches the freed manager";
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
    const int wanted = CyclesWanted();
    int ran = 0;
    std::map<std::string, int> seen;
    for (; ran < wanted && !HasFailure(); ++ran) {
        const Cycle c = PlanCycle(m_rng);
        const std::string what = "cycle " + std::to_string(ran) + " (" + Describe(c) + ")";
        SCOPED_TRACE(what);
        ASSERT_NO_FATAL_FAILURE(PrepareDevice(c));
        // A stop takes about three seconds; ten times that is a hang, also under the sanitizers.
        m_watchdog.Arm(what, milliseconds(c.runMs) + seconds(30));
        RunCycle(c);
        m_watchdog.Disarm();
        ++seen[DeviceName(c.device)];
        ++seen[ActionName(c.action)];
        if (c.commands) ++seen["commands from the other thread"];
    }
    m_steady.Stop();

    // The caller's and the watchdog's threads were there from the start.
    EXPECT_TRUE(WaitFor([&] { return procself::TaskCount() == m_baseTasks; }, seconds(5)))
        << procself::TaskCount() << " threads, began with " << m_baseTasks;
    m_caller.Join();

    std::printf("%d cycles, %d checked for a published position, %ld commands sent\n", ran, m_positionChecks,
                m_caller.CommandsSent());
    for (const auto& kind : seen) std::printf("  %3d  %s\n", kind.second, kind.first.c_str());
    std::fflush(stdout);
    if (ran >= 20) {
        EXPECT_GT(m_positionChecks, 0);
        EXPECT_GT(m_caller.CommandsSent(), 0);
    }
}

}  // namespace
