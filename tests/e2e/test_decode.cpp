// zelko-decode: exact output for a capture made of frames built here, agreement with the
// simulator's truth on a longer corrupted capture, and a live read from a pseudo-terminal.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "tests/e2e/ToolProcess.h"
#include "tests/support/ZelkoFrames.h"

namespace {

using Bytes = std::vector<unsigned char>;
using tooltest::Lines;
using tooltest::Number;
using zf::Append;

std::string TempFile(const std::string& name)
{
    return testing::TempDir() + "zelko_decode_" + std::to_string(getpid()) + "_" + name;
}

// A frame on the wire: markers around code, subcode and body, checksum, escapes.
Bytes Frame(unsigned char code, unsigned char subcode, const Bytes& body, bool breakChecksum = false)
{
    Bytes f = zf::Blank(code, subcode, body.size() + 5);
    std::copy(body.begin(), body.end(), f.begin() + 3);
    f = zf::Seal(f);
    f[f.size() - 2] ^= breakChecksum ? 1 : 0;
    return zf::Stuff(f);
}

std::vector<std::string> OfType(const std::vector<std::string>& lines, const std::string& type)
{
    std::vector<std::string> out;
    for (const std::string& l : lines) {
        if (l.find("{\"type\":\"" + type + "\"") == 0) out.push_back(l);
    }
    return out;
}

TEST(ZelkoDecode, HandmadeCaptureDecodesToExactLines)
{
    Bytes cap = {0x01, 0x02, 0x03};  // line noise before the first frame
    Append(cap, Frame(0x11, 0x01, {2, 2, 7, 0, 0, 0, 0}));
    Append(cap, Frame(0x10, 0x01, {0x70, 0x60, 0x00}));
    // DOP 2 holds 0x80, so this frame travels with an escape pair.
    Append(cap, Frame(0x32, 0x01, {0xE8, 0x07, 3, 15, 9, 30, 5, 0, 0x00, 0x02, 0x80, 0x01, 0x00, 0x01, 0, 4, 0, 7}));
    Append(cap, Frame(0x31, 0x01, Bytes(28, 0x11), true));
    Append(cap, {0x55, 0x82});  // an end marker without a start: the store is reset
    Bytes fix = {0x15, 0x02, 0, 0xE8, 0x03, 0, 0,  // status, status2, -, DR time 1000
                 0, 0, 0, 0x10, 0, 0, 0, 0x30,     // latitude 2^28, longitude 3 * 2^28
                 38, 0, 0x00, 0x40, 0xE8, 0x03};   // altitude, heading 90 deg, 10 m/s
    fix.resize(46);
    Append(cap, Frame(0x30, 0x02, fix));
    Append(cap, {0x81, 0x31, 0x01, 0x00});  // cut off at the end
    const std::string path = TempFile("handmade.bin"), gpx = TempFile("handmade.gpx");
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(cap.data()), cap.size());

    const tooltest::RunResult r = tooltest::Run("zelko-decode", {"--gpx", gpx, path});
    ASSERT_EQ(r.status, 0) << r.out;
    const std::vector<std::string> expected = {
        R"({"type":"msg","id":1101,"len":12,"kind":"VersionReport","major":2,"minor":2,"patch":7})",
        R"({"type":"msg","id":1001,"len":8,"kind":"SAndQAckNoIdx","code":"0x70","subcode":"0x60","state":0})",
        R"({"type":"msg","id":3201,"len":24,"kind":"UtcConstelSum","year":2024,"month":3,"day":15,"hour":9,)"
        R"("minute":30,"second":5,"dop1_raw":512,"dop2_raw":384,"dop3_raw":256,"fix_kind":4,"sats_used":7})",
        R"({"type":"msg","id":0,"len":33,"code":"0x31","subcode":"0x01"})",
        R"({"type":"msg","id":3002,"len":51,"kind":"FFixWithRawDRMsg","status":"0x15","status2":"0x02",)"
        R"("dr_time":1000,"lat_raw":268435456,"lon_raw":805306368,"alt":38,"heading_raw":16384,"speed_raw":1000})",
        R"({"type":"pos","lon":67.5000000,"lat":22.5000000,"heading":90.0,"speed_kmh":36.0,"alt":38,)"
        R"("utc":"2024-03-15T09:30:05.000Z","sats_used":7,"sats_view":7,"dop":[2.0,1.5,1.0],"fix":0,"mode":8})",
        R"({"type":"summary","bytes":)" + std::to_string(cap.size()) +
            R"(,"frames":5,"messages":4,"refused":1,"checksum_failures":1,"store_resets":1,"positions":1})",
    };
    EXPECT_EQ(Lines(r.out), expected);

    const std::string track = tooltest::ReadText(gpx);
    EXPECT_EQ(tooltest::CountOf(track, "<trkpt "), 1u);
    EXPECT_NE(track.find(R"(<trkpt lat="22.5000000" lon="67.5000000"><ele>38.0</ele>)"
                         R"(<time>2024-03-15T09:30:05.000Z</time>)"),
              std::string::npos)
        << track;
    std::remove(path.c_str());
    std::remove(gpx.c_str());
}

// The simulator records which frames it spoiled; the decoder must count exactly those and report
// a position, at the played coordinates, for every fix message that arrived intact, whatever
// noise lies between the frames.
TEST(ZelkoDecode, CorruptedSimulatorCaptureMatchesItsTruth)
{
    const std::string cap = TempFile("sim.bin"), truth = TempFile("sim.jsonl");
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

    const tooltest::RunResult r = tooltest::Run("zelko-decode", {}, {cap});  // through standard input
    ASSERT_EQ(r.status, 0);
    const std::vector<std::string> lines = Lines(r.out), positions = OfType(lines, "pos");
    ASSERT_FALSE(lines.empty());
    ASSERT_EQ(OfType(lines, "summary"), std::vector<std::string>{lines.back()});
    EXPECT_EQ(Number(lines.back(), "checksum_failures"), corrupt);
    EXPECT_EQ(Number(lines.back(), "refused"), corrupt);
    ASSERT_EQ(positions.size(), intactFixes.size());
    const double unit = 180.0 / 2147483648.0;  // the module's angle unit in degrees
    for (size_t i = 0; i < positions.size(); ++i) {
        EXPECT_NEAR(Number(positions[i], "lat"), Number(intactFixes[i], "lat_raw") * unit, 1e-5) << positions[i];
        EXPECT_NEAR(Number(positions[i], "lon"), Number(intactFixes[i], "lon_raw") * unit, 1e-5) << positions[i];
    }
    std::remove(cap.c_str());
    std::remove(truth.c_str());
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
