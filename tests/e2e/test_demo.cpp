// gpsdr-demo end to end: simulator on a pty, the library through its native interface, one
// sendGISInfo line a second, and the GPX and SVG files drawn from them.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>

#include "tests/e2e/ToolProcess.h"

namespace {

TEST(GpsdrDemo, PrintsWhatJavaReceivesAndWritesBothTracks)
{
    const int seconds = 4;
    const std::string out = testing::TempDir() + "gpsdr_demo_" + std::to_string(getpid());
    const tooltest::RunResult r =
        tooltest::Run("gpsdr-demo", {"--seconds", std::to_string(seconds), "--seed", "3", "--out", out});
    ASSERT_EQ(r.status, 0) << r.out;

    // The played truth of the demo's drive (seed 3) starts near 37.576 N, 126.977 E.
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
        EXPECT_NEAR(lat, 37.576, 0.05) << line;
        EXPECT_NEAR(lon, 126.977, 0.05) << line;
        EXPECT_EQ(m.str(8).rfind("20240315", 0), 0u) << line;
    }
    EXPECT_EQ(lines, seconds) << r.out;
    EXPECT_GE(positions, seconds - 1) << r.out;

    const std::string gpx = tooltest::ReadText(out + "/demo.gpx");
    ASSERT_EQ(tooltest::CountOf(gpx, "<trk>"), 2u) << gpx;
    const size_t truthTrack = gpx.find("<name>ground truth");
    ASSERT_NE(truthTrack, std::string::npos);
    EXPECT_EQ(tooltest::CountOf(gpx.substr(0, truthTrack), "<trkpt "), static_cast<size_t>(positions));
    EXPECT_GE(tooltest::CountOf(gpx.substr(truthTrack), "<trkpt "), static_cast<size_t>(seconds));
    const std::string svg = tooltest::ReadText(out + "/demo.svg");
    EXPECT_EQ(svg.rfind("<svg ", 0), 0u);
    EXPECT_EQ(tooltest::CountOf(svg, "<polyline "), 2u);
    EXPECT_EQ(tooltest::CountOf(svg, "<circle "), static_cast<size_t>(positions));
    EXPECT_NE(r.out.find("track (GPX): " + out + "/demo.gpx"), std::string::npos) << r.out;
    std::filesystem::remove_all(out);
}

}  // namespace
