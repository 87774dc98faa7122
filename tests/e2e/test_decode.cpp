// zelko-decode against the simulator's truth on a longer corrupted capture, and a live read from a
// pseudo-terminal (its exact output is pinned by the recorded captures of the position suite).
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "tests/e2e/ToolProcess.h"

namespace {

using tooltest::Lines;
using tooltest::Number;

std::string TempFile(const std::string& name)
{
    return testing::TempDir() + "zelko_decode_" + std::to_string(getpid()) + "_" + name;
}

std::vector<std::string> OfType(const std::vector<std::string>& lines, const std::string& type)
{
    std::vector<std::string> out;
    for (const std::string& l : lines) {
        if (l.find("{\"type\":\"" + type + "\"") == 0) out.push_back(l);
    }
    return out;
}

// The simulator records which frames it spoiled; the decoder must count exactly those and report
// a position, at the played coordinates, for every fix message that arrived intact, whatever
// noise lies between the frames.
TEST(ZelkoDecode, CorruptedSimulatorCaptureMatchesItsTruth)
{
    const std::string cap = TempFile("sim.bin"), truth = TempFile("sim.jsonl"), gpx = TempFile("sim.gpx");
    ASSERT_EQ(tooltest::Run("zelko-sim", {"--output", cap, "--truth", truth, "--duration", "30", "--rate", "2",
                                          "--seed", "5", "--corrupt", "0.05", "--noise", "0.9"})
                  .status,
              0);
    size_t corrupt = 0;
    std::vector<std::string> intactFixes;
    for (const std::string& line : Lines(tooltest::ReadText(truth))) {
        const size_t list = line.find("\"corrupt\":[");
        ASSERT_NE(list, std::string::npos) << line;
        const std::string ids = line.substr(list + 11, line.find(']', list) - list - 11);
        corrupt += ids.empty() ? 0 : tooltest::CountOf(ids, ",") + 1;
        if (ids.find("3002") == std::string::npos) intactFixes.push_back(line);
    }
    ASSERT_GT(corrupt, 0u) << "the capture should hold spoiled frames";

    const tooltest::RunResult r = tooltest::Run("zelko-decode", {"--gpx", gpx}, {cap});  // from standard input
    ASSERT_EQ(r.status, 0);
    const std::vector<std::string> lines = Lines(r.out), positions = OfType(lines, "pos");
    ASSERT_FALSE(lines.empty());
    ASSERT_EQ(OfType(lines, "summary"), std::vector<std::string>{lines.back()});
    EXPECT_EQ(Number(lines.back(), "checksum_failures"), corrupt);
    EXPECT_EQ(Number(lines.back(), "refused"), corrupt);
    ASSERT_EQ(positions.size(), intactFixes.size());
    EXPECT_EQ(tooltest::CountOf(tooltest::ReadText(gpx), "<trkpt "), positions.size());
    const double unit = 180.0 / 2147483648.0;  // the module's angle unit in degrees
    for (size_t i = 0; i < positions.size(); ++i) {
        EXPECT_NEAR(Number(positions[i], "lat"), Number(intactFixes[i], "lat_raw") * unit, 1e-5) << positions[i];
        EXPECT_NEAR(Number(positions[i], "lon"), Number(intactFixes[i], "lon_raw") * unit, 1e-5) << positions[i];
    }
    std::remove(cap.c_str());
    std::remove(truth.c_str());
    std::remove(gpx.c_str());
}

TEST(ZelkoDecode, ReadsALiveDeviceUntilItHangsUp)
{
    const auto deadline = tooltest::Clock::now() + std::chrono::seconds(20);
    tooltest::Child sim = tooltest::Spawn("zelko-sim", {"--duration", "3", "--rate", "2"});
    const std::string pty = tooltest::ReadUntil(sim.out, deadline, true);
    ASSERT_EQ(pty.rfind("/dev/", 0), 0u) << pty;
    const tooltest::RunResult r = tooltest::Run("zelko-decode", {pty}, {}, std::chrono::seconds(20));
    EXPECT_EQ(tooltest::Reap(sim, deadline), 0);
    ASSERT_EQ(r.status, 0);
    const std::vector<std::string> lines = Lines(r.out);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(OfType(lines, "summary"), std::vector<std::string>{lines.back()});
    EXPECT_GE(OfType(lines, "pos").size(), 3u) << r.out;
}

}  // namespace
