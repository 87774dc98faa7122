// The programs that read captures or devices refuse what is not one: a clear message naming
// the input on standard error, exit 1, nothing written, and never a hang.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "tests/e2e/ToolProcess.h"

namespace {

TEST(CaptureTools, BadInputIsRefusedWithAMessage)
{
    const std::string dir = testing::TempDir() + "capture_bad_" + std::to_string(getpid()) + "_";
    const std::string missing = dir + "missing.cap", text = dir + "track.gpx", cut = dir + "cut.cap",
                      noise = dir + "noise.bin", out = dir + "out.cap";
    std::ofstream(text) << "<?xml version=\"1.0\"?>\n<gpx version=\"1.1\"></gpx>\n";
    ASSERT_EQ(tooltest::Run("zelko-sim", {"--capture", cut, "--duration", "3"}).status, 0);
    ASSERT_EQ(truncate(cut.c_str(), static_cast<off_t>(tooltest::ReadText(cut).size() - 5)), 0);
    std::mt19937 random(1);
    std::string bytes(4096, '\0');
    for (char& b : bytes) b = static_cast<char>(random());
    std::ofstream(noise, std::ios::binary) << bytes;

    const std::vector<std::pair<std::string, std::vector<std::string>>> programs = {
        {"zelko-sim", {"--replay"}}, {"zelko-nmea", {}}, {"zelko-decode", {"--nmea"}}, {"zelko-record", {}}};
    for (const auto& program : programs) {
        for (const std::string& input : {missing, text, cut, noise}) {
            std::vector<std::string> args = program.second;
            args.push_back(input);
            if (program.first == "zelko-record") args.push_back(out);
            const tooltest::RunResult r =
                tooltest::Run(program.first, args, {"", false, dir + "err"}, std::chrono::seconds(10));
            const std::string err = tooltest::ReadText(dir + "err");
            // 3: zelko-decode's status for input without anything to decode.
            EXPECT_TRUE(r.status == 1 || r.status == 3) << program.first << " " << input << " " << r.status << ": " << err;
            EXPECT_NE(err.find(program.first + ": "), std::string::npos) << err;
            EXPECT_NE(err.find(input), std::string::npos) << err;
            EXPECT_TRUE(r.out.empty()) << r.out;
            EXPECT_NE(access(out.c_str(), F_OK), 0) << program.first << " wrote " << out;
        }
    }
    for (const std::string& f : {text, cut, noise, dir + "err"}) std::remove(f.c_str());
}

}  // namespace
