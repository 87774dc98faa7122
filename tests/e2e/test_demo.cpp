// gpsdr-demo end to end: simulator on a pty, the library through its native interface, one
// sendGISInfo line a second agreeing with the played truth, and the GPX and SVG files.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "tests/e2e/ToolProcess.h"

namespace {

struct TruthCycle {
    double lat, lon, heading;
};

// The first played cycle of each UTC second, keyed like the time text Java receives.
std::map<std::string, TruthCycle> TruthBySecond(const std::string& path)
{
    const std::regex cycle(
        R"re("utc":"(\d{4})-(\d\d)-(\d\d)T(\d\d):(\d\d):(\d\d)\.\d+Z".*"lon":([-\d.]+),"lat":([-\d.]+),.*"heading":([-\d.]+),)re");
    std::map<std::string, TruthCycle> bySecond;
    for (const std::string& line : tooltest::Lines(tooltest::ReadText(path))) {
        std::smatch m;
        if (!std::regex_search(line, m, cycle)) continue;
        const std::string key = m.str(1) + m.str(2) + m.str(3) + m.str(4) + m.str(5) + m.str(6);
        bySecond.emplace(key, TruthCycle{std::stod(m.str(8)), std::stod(m.str(7)), std::stod(m.str(9))});
    }
    return bySecond;
}

double HeadingGap(double a, double b)
{
    const double d = std::fmod(std::fabs(a - b), 360.0);
    return std::min(d, 360.0 - d);
}

TEST(GpsdrDemo, PrintsWhatJavaReceivesAndWritesBothTracks)
{
    const int seconds = 4;
    const std::string out = testing::TempDir() + "gpsdr_demo_" + std::to_string(getpid());
    const tooltest::RunResult r =
        tooltest::Run("gpsdr-demo", {"--seconds", std::to_string(seconds), "--seed", "3", "--out", out});
    ASSERT_EQ(r.status, 0) << r.out;

    const std::map<std::string, TruthCycle> truth = TruthBySecond(out + "/truth.jsonl");
    ASSERT_GE(truth.size(), static_cast<size_t>(seconds));
    const std::regex sample(
        R"re(^\[ *(\d+)s\] sendGISInfo\(([-\d.]+), ([-\d.]+), ([-\d.]+), (\d+), (\d+), (-?\d+), 0, "(\d{14})"\)  port (\d+) \((.+)\)$)re");
    int lines = 0, positions = 0;
    for (const std::string& line : tooltest::Lines(r.out)) {
        std::smatch m;
        if (!std::regex_match(line, m, sample)) continue;
        EXPECT_EQ(std::stoi(m.str(1)), ++lines);
        const double lat = std::stod(m.str(2)), lon = std::stod(m.str(3));
        if (lat == 0 && lon == 0) continue;
        ++positions;
        EXPECT_EQ(m.str(9), "0") << line;
        const auto played = truth.find(m.str(8));
        ASSERT_NE(played, truth.end()) << "time text not played: " << line;
        // The published position went through the offset transform: near the truth, not on it.
        EXPECT_NEAR(lat, played->second.lat, 0.02) << line;
        EXPECT_NEAR(lon, played->second.lon, 0.02) << line;
        EXPECT_LE(HeadingGap(std::stoi(m.str(7)), played->second.heading), 3.0) << line;
    }
    EXPECT_EQ(lines, seconds) << r.out;
    EXPECT_GE(positions, seconds - 1) << r.out;

    const std::string gpx = tooltest::ReadText(out + "/demo.gpx");
    ASSERT_EQ(tooltest::CountOf(gpx, "<trk>"), 2u) << gpx;
    const size_t truthTrack = gpx.find("<name>ground truth");
    ASSERT_NE(truthTrack, std::string::npos);
    EXPECT_EQ(tooltest::CountOf(gpx.substr(0, truthTrack), "<trkpt "), static_cast<size_t>(positions));
    EXPECT_GE(tooltest::CountOf(gpx.substr(truthTrack), "<trkpt "), static_cast<size_t>(seconds));

    std::smatch pairs;
    ASSERT_TRUE(std::regex_search(r.out, pairs, std::regex(R"(\((\d+) pairs\))")));
    EXPECT_GE(std::stoi(pairs.str(1)), positions - 1);
    const std::string svg = tooltest::ReadText(out + "/demo.svg");
    EXPECT_EQ(svg.rfind("<svg ", 0), 0u);
    EXPECT_EQ(tooltest::CountOf(svg, "<polyline "), 2u);
    EXPECT_EQ(tooltest::CountOf(svg, "<circle "), static_cast<size_t>(positions));
    EXPECT_EQ(tooltest::CountOf(svg, "stroke-dasharray"), static_cast<size_t>(std::stoi(pairs.str(1))));
    EXPECT_TRUE(std::regex_search(svg, std::regex(R"(>[125]0* k?m</text>)"))) << "no scale bar";
    EXPECT_NE(r.out.find("track (GPX): " + out + "/demo.gpx"), std::string::npos) << r.out;
    std::filesystem::remove_all(out);
}

}  // namespace
