// The demo as a new user meets it: scripts/setup.sh on a fresh machine without root, then
// gpsdr-demo as a user without root: simulator, namespace, the real JVM, the printed calls, the
// distance to the transformed truth, and a track picture that renders.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>

#include "tests/e2e/ToolProcess.h"

namespace {

// Runs program as a user without root (nobody, when the test itself is root).
tooltest::RunResult RunUnprivileged(const std::string& program, std::vector<std::string> args, tooltest::Io io)
{
    if (geteuid() != 0) return tooltest::Run(program, args, io, std::chrono::seconds(90));
    args.insert(args.begin(), {"--reuid=65534", "--regid=65534", "--clear-groups", program});
    return tooltest::Run("/usr/bin/setpriv", args, io, std::chrono::seconds(90));
}

std::string TempDirForAll(const std::string& name)
{
    const std::string dir = testing::TempDir() + name + std::to_string(getpid());
    std::filesystem::create_directories(dir);
    chmod(dir.c_str(), 0777);
    return dir;
}

TEST(DemoScript, NamesExactlyTheDemosMissingPackagesWithoutRoot)
{
    const std::string bin = TempDirForAll("fresh_machine_"), err = bin + "/err";
    std::ofstream(bin + "/dpkg") << "#!/bin/sh\nexit 1\n";  // knows no package
    chmod((bin + "/dpkg").c_str(), 0755);
    const std::string setup = std::string(std::getenv("GPSDR_SOURCE_DIR")) + "/scripts/setup.sh";
    const auto r = RunUnprivileged("/bin/bash", {setup, "demo"}, {"", false, err, {"PATH=" + bin + ":/usr/bin:/bin"}});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(tooltest::ReadText(err).find("\n  sudo apt-get update && sudo apt-get install -y cmake ninja-build g++ "
                                           "openjdk-17-jdk-headless\n"),
              std::string::npos)
        << tooltest::ReadText(err);
    std::filesystem::remove_all(bin);
}

TEST(GpsdrDemo, PrintsEachCallJavaReceivedWithItsDistanceToTheTransformedTruth)
{
    const char* jvm = std::getenv("GPSDR_JVM");
    if (jvm && std::string(jvm) == "none") GTEST_SKIP() << "no JVM in this variant";
    const int seconds = 5;
    const std::string out = TempDirForAll("gpsdr_demo_");
    const tooltest::Io io{"", false, out + "/stderr"};
    const auto r = RunUnprivileged(tooltest::BuildPath("gpsdr-demo"),
                                   {"--seconds", std::to_string(seconds), "--seed", "3", "--out", out}, io);
    ASSERT_EQ(r.status, 0) << r.out << tooltest::ReadText(out + "/stderr");
    for (const char* said : {"in a user and mount namespace of the JVM's own", "StartGPSDRmodule() returned 1",
                             "degrees in the offset coordinate frame", "DOP value in tenths", "UTC time",
                             "EndGPSDRmodule() returned 1"})
        EXPECT_NE(r.out.find(said), std::string::npos) << said << "\n" << r.out;
    const std::string bridge = tooltest::ReadText(out + "/java.log");
    EXPECT_NE(bridge.find("6/JNI: Attaching this Thread VM"), std::string::npos) << bridge;

    // One line per call, all from the library's update thread (e2e_jvm times them).
    const std::regex row(R"(^ *\d+\.\d\d  (\S+ \S+|-) +[-\d.]+ +[-\d.]+ +[-\d.]+ +\d+ +\d+ +-?\d+ +0 +([\d.]+|-)  (3d|dr|-) *$)");
    const std::vector<std::string> lines = tooltest::Lines(r.out);
    const long rows = std::count_if(lines.begin(), lines.end(), [&](const std::string& l) { return std::regex_match(l, row); });
    std::smatch s;
    ASSERT_TRUE(std::regex_search(r.out, s, std::regex(R"(Java received (\d+) calls of sendGISInfo in [\d.]+ s, (\d+) from the update thread)")));
    EXPECT_EQ(std::stol(s.str(1)), rows);
    EXPECT_EQ(s.str(2), s.str(1));
    EXPECT_GE(rows, seconds);
    ASSERT_TRUE(std::regex_search(r.out, s, std::regex(R"(mean ([\d.]+) m, max ([\d.]+) m \((\d+) positions)")));
    EXPECT_LT(std::stod(s.str(2)), 5.0);
    EXPECT_GE(std::stoi(s.str(3)), seconds - 2);
    ASSERT_TRUE(std::regex_search(r.out, s, std::regex(R"(transform itself moves the truth by (\d+) m)")));
    EXPECT_GT(std::stoi(s.str(1)), 100);
    EXPECT_EQ(tooltest::CountOf(tooltest::ReadText(out + "/demo.gpx"), "<trk>"), 3u);

    // The picture renders, its legend shows every kind of mark drawn, and no two texts overlap.
    const std::string svg = tooltest::ReadText(out + "/demo.svg");
    EXPECT_EQ(tooltest::Run("/usr/bin/rsvg-convert", {"-o", out + "/demo.png", out + "/demo.svg"}).status, 0);
    EXPECT_GT(tooltest::ReadText(out + "/demo.png").size(), 1000u);
    std::set<std::string> drawn, legend;
    const std::regex cls("class=\"(legend-)?(\\w+)\"");
    for (std::sregex_iterator i(svg.begin(), svg.end(), cls), end; i != end; ++i)
        ((*i)[1].matched ? legend : drawn).insert((*i)[2]);
    EXPECT_TRUE(std::includes(legend.begin(), legend.end(), drawn.begin(), drawn.end())) << svg;
    EXPECT_TRUE(drawn.count("gps") && drawn.count("time") && drawn.count("truth")) << svg;
    std::vector<std::array<double, 4>> boxes;
    const std::regex text(R"re(<text (?:class="\w+" )?x="([\d.]+)" y="([\d.]+)" font-size="(\d+)"[^>]*>([^<]*)<)re");
    for (std::sregex_iterator i(svg.begin(), svg.end(), text), end; i != end; ++i) {
        const double x = std::stod((*i)[1]), y = std::stod((*i)[2]), size = std::stod((*i)[3]);
        const double w = 0.55 * size * (*i)[4].length();
        const std::string anchor = (*i).str(0);
        const double x0 = anchor.find("\"end\"") != std::string::npos ? x - w : anchor.find("middle") != std::string::npos ? x - w / 2 : x;
        for (const auto& b : boxes)
            EXPECT_FALSE(x0 < b[2] && b[0] < x0 + w && y - size < b[3] && b[1] < y) << (*i)[4] << " overlaps a text";
        boxes.push_back({x0, y - size, x0 + w, y});
    }
    std::filesystem::remove_all(out);
}

}  // namespace
