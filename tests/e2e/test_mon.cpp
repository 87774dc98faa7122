// zelko-mon in tmux against zelko-sim: the panes show what the simulator played, the keys reach
// it as the module's command frames, and the terminal comes back as it was.
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <thread>

#include "tests/e2e/ToolProcess.h"
#include "tools/common/SimProcess.h"

namespace {

using tooltest::Clock;

std::string Shell(const std::string& command)
{
    std::string out;
    if (FILE* p = popen(command.c_str(), "r")) {
        char buf[4096];
        for (size_t n; (n = fread(buf, 1, sizeof buf, p)) > 0;) out.append(buf, n);
        pclose(p);
    }
    return out;
}

// One tmux server of this test's own, one 80x24 window.
struct Tmux {
    const std::string server = "tmux -L gpsdr-mon-" + std::to_string(getpid()) + " -f /dev/null ";
    std::string pane;  // the last capture
    std::string Run(const std::string& args) { return Shell(server + args + " 2>&1"); }
    ~Tmux() { Run("kill-server"); }
    // Whether the pane comes to satisfy `ready` within 10 s.
    template <typename Ready>
    bool Until(Ready ready)
    {
        for (auto end = Clock::now() + std::chrono::seconds(10); Clock::now() < end;
             std::this_thread::sleep_for(std::chrono::milliseconds(200)))
            if (ready(pane = Run("capture-pane -p -t mon"))) return true;
        return false;
    }
    bool Shows(const std::vector<std::string>& texts)
    {
        return Until([&](const std::string& p) {
            return std::all_of(texts.begin(), texts.end(), [&](const std::string& t) { return p.find(t) != p.npos; });
        });
    }
};

// The shown position, time and satellites against the simulator's cycle of the shown second.
bool ShowsTruth(const std::string& pane, const std::string& truthPath)
{
    int y, mo, d, h, mi, s, alt, listed, usedRows, used;
    double lat, lon, heading, speed;
    auto at = [&](const char* label) { return pane.c_str() + std::min(pane.find(label), pane.size()); };
    if (std::sscanf(at("GPS Lat"), "GPS Lat %lf Lon %lf", &lat, &lon) != 2 ||
        std::sscanf(at("Alt"), "Alt %d m Hdg %lf deg Spd %lf", &alt, &heading, &speed) != 3 ||
        std::sscanf(at("UTC"), "UTC %d-%d-%d %d:%d:%d", &y, &mo, &d, &h, &mi, &s) != 6 ||
        std::sscanf(at("sats used"), "sats used %d", &used) != 1 ||
        std::sscanf(at("Satellites:"), "Satellites: %d listed, %d", &listed, &usedRows) != 2)
        return false;
    char utc[32];
    std::snprintf(utc, sizeof utc, "\"utc\":\"%04d-%02d-%02dT%02d:%02d:%02d", y, mo, d, h, mi, s);
    for (const std::string& t : tooltest::Lines(tooltest::ReadText(truthPath)))
        if (t.find(utc) != std::string::npos)
            return std::fabs(lat - JsonNumber(t, "lat")) < 1.5e-6 &&
                   std::fabs(lon - JsonNumber(t, "lon")) < 1.5e-6 && alt == JsonNumber(t, "alt") &&
                   std::fabs(heading - JsonNumber(t, "heading")) < 0.15 &&
                   std::fabs(speed - JsonNumber(t, "speed_kmh")) < 0.15 && used == JsonNumber(t, "sats") &&
                   listed == used && JsonText(t, "fix") == "3d" && tooltest::CountOf(pane, "  yes\n") == size_t(usedRows);
    return false;
}

TEST(ZelkoMon, ShowsTheModuleSendsItsCommandsAndSurvivesItsLoss)
{
    if (Shell("command -v tmux").empty()) GTEST_SKIP() << "tmux is not installed";
    const std::string base = testing::TempDir() + "zelko_mon_" + std::to_string(getpid());
    const std::string truth = base + ".json";
    SimProcess sim;
    ASSERT_TRUE(sim.Start(tooltest::BuildPath("zelko-sim"), {"--rate", "1", "--seed", "5", "--cold-start", "1", "--truth", truth}))
        << sim.Error();
    const std::string pty = sim.Pty();
    Tmux tmux;
    tmux.Run("new-session -d -s mon -x 80 -y 24 'stty -g >" + base + ".before; " + tooltest::BuildPath("zelko-mon") +
             " " + pty + "; echo EXIT=$?; stty -g >" + base + ".after; sleep 60'");
    auto commands = [&](const std::string& text) {
        return tooltest::CountOf(tooltest::ReadText(truth), text);
    };

    // The identity answers the library's own start-up queries; the mount angle needs the key.
    ASSERT_TRUE(tmux.Shows({"App 2.2.0  ZELKO-DR7 GNSS 2.4.1"})) << tmux.pane;
    tmux.Run("send-keys -t mon s");
    EXPECT_TRUE(tmux.Shows({"HW ZK7-MB REV.C", "Mount pitch 0 roll 0 deg"})) << tmux.pane;
    EXPECT_EQ(commands("\"frame\":\"81 02 11 01 E9 82\""), 2u);
    EXPECT_TRUE(tmux.Until([&](const std::string& p) { return ShowsTruth(p, truth); })) << tmux.pane;
    // 80x24 holds every panel in place: a line too long would wrap and push the rest down.
    const std::vector<std::string> rows = tooltest::Lines(tmux.pane);
    ASSERT_EQ(rows.size(), 24u) << tmux.pane;
    EXPECT_EQ(rows[1].substr(40, 14), "-- Satellites:") << tmux.pane;
    EXPECT_EQ(rows[23].substr(0, 9), "s queries") << tmux.pane;

    tmux.Run("send-keys -t mon 1");
    EXPECT_TRUE(tmux.Shows({"Ack: SysCmdAck  command 0x05  state 0", " 1003 SysCmdAck\n"})) << tmux.pane;
    EXPECT_EQ(commands("\"frame\":\"81 03 05 F5 82\""), 1u);
    tmux.Run("send-keys -t mon m '3 -2' Enter");
    EXPECT_TRUE(tmux.Shows({"Ack: SAndQAckNoIdx  code 0x70  subcode 0x60  state 0", "Reset 1: first fix after "}))
        << tmux.pane;
    EXPECT_EQ(commands("\"frame\":\"81 01 70 60 02 00 00"), 1u);
    EXPECT_EQ(commands("\"outcome\":\"set 70/60 type 0 pitch 3 roll -2 -> 1001\""), 1u);

    sim.Stop();
    EXPECT_TRUE(tmux.Shows({"Port data stopped (5)"})) << tmux.pane;
    tmux.Run("send-keys -t mon q");
    EXPECT_TRUE(tmux.Shows({"EXIT=0"})) << tmux.pane;
    EXPECT_EQ(tmux.pane.find("zelko-mon"), std::string::npos) << tmux.pane;
    EXPECT_EQ(tooltest::ReadText(base + ".after"), tooltest::ReadText(base + ".before"));
}

}  // namespace
