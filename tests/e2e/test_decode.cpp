// zelko-decode: exact output for a capture made of frames built here with the library's own
// send-side primitives, agreement with the simulator's truth on a longer corrupted capture, and
// a live read from a pseudo-terminal.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "module/position/PositionMgr.h"
#include "tests/e2e/ToolProcess.h"

namespace {

using Bytes = std::vector<unsigned char>;
using tooltest::Lines;

std::string TempFile(const std::string& name)
{
    return testing::TempDir() + "zelko_decode_" + std::to_string(getpid()) + "_" + name;
}

void WriteFile(const std::string& path, const Bytes& bytes)
{
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

// A frame on the wire: markers around code, subcode and body, checksum, escapes.
Bytes Frame(unsigned char code, unsigned char subcode, const Bytes& body, bool breakChecksum = false)
{
    Bytes buf(200, 0);
    buf[0] = 0x81;
    buf[1] = code;
    buf[2] = subcode;
    std::copy(body.begin(), body.end(), buf.begin() + 3);
    const unsigned long len = body.size() + 5;
    buf[len - 1] = 0x82;
    buf[len - 2] = CPositionMgr::MakeZelkoCS(buf.data(), len);
    if (breakChecksum) buf[len - 2] ^= 0x01;
    const unsigned long escapes = CPositionMgr::MakeStuffPacket(buf.data(), len, buf.size());
    buf.resize(len + escapes);
    return buf;
}

void Append(Bytes& to, const Bytes& more)
{
    to.insert(to.end(), more.begin(), more.end());
}

// The JSON number after "key": in a flat line; NaN when absent.
double Number(const std::string& line, const std::string& key)
{
    const size_t at = line.find("\"" + key + "\":");
    return at == std::string::npos ? NAN : std::strtod(line.c_str() + at + key.size() + 3, nullptr);
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
    Bytes fix(46, 0);
    const Bytes fields = {0x15, 0x02, 0, 0xE8, 0x03, 0, 0,  // status, status2, -, DR time 1000
                          0, 0, 0, 0x10, 0, 0, 0, 0x30,     // latitude 2^28, longitude 3 * 2^28
                          38, 0, 0x00, 0x40, 0xE8, 0x03};   // altitude, heading 90 deg, 10 m/s
    std::copy(fields.begin(), fields.end(), fix.begin());
    Append(cap, Frame(0x30, 0x02, fix));
    Append(cap, {0x81, 0x31, 0x01, 0x00});  // cut off at the end
    const std::string path = TempFile("handmade.bin"), gpx = TempFile("handmade.gpx");
    WriteFile(path, cap);

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
// a position, at the played coordinates, for every fix message that arrived intact.
TEST(ZelkoDecode, CorruptedSimulatorCaptureMatchesItsTruth)
{
    const std::string cap = TempFile("sim.bin"), truth = TempFile("sim.jsonl");
    ASSERT_EQ(tooltest::Run("zelko-sim", {"--output", cap, "--truth", truth, "--duration", "30", "--rate", "2",
                                          "--seed", "5", "--corrupt", "0.05"})
                  .status,
              0);
    size_t corrupt = 0;
    std::vector<std::string> intactFixes;
    for (const std::string& line : Lines(tooltest::ReadText(truth))) {
        const size_t list = line.find("\"corrupt\":[");
        ASSERT_NE(list, std::string::npos) << line;
        const std::string ids = line.substr(list + 11, line.find(']', list) - list - 11);
        corrupt += ids.empty() ? 0 : tooltest::CountOf(ids, ",") + 1;
        if (ids.find("3002") == std::string::npos && !std::isnan(Number(line, "lat_raw"))) intactFixes.push_back(line);
    }
    ASSERT_GT(corrupt, 0u) << "the capture should hold spoiled frames";

    const tooltest::RunResult r = tooltest::Run("zelko-decode", {}, cap);  // through standard input
    ASSERT_EQ(r.status, 0);
    const std::vector<std::string> lines = Lines(r.out);
    const std::vector<std::string> summary = OfType(lines, "summary"), positions = OfType(lines, "pos");
    ASSERT_EQ(summary.size(), 1u);
    EXPECT_EQ(summary[0], lines.back());
    EXPECT_EQ(Number(summary[0], "checksum_failures"), corrupt);
    EXPECT_EQ(Number(summary[0], "refused"), corrupt);
    EXPECT_EQ(Number(summary[0], "store_resets"), 0);
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
    using Clock = tooltest::Clock;
    tooltest::Child sim = tooltest::Spawn("zelko-sim", {"--duration", "3", "--rate", "2"});
    ASSERT_GT(sim.pid, 0);
    const std::string pty = tooltest::ReadUntil(sim.out, Clock::now() + std::chrono::seconds(5), true);
    ASSERT_EQ(pty.rfind("/dev/", 0), 0u) << pty;

    const tooltest::RunResult r = tooltest::Run("zelko-decode", {pty}, "", std::chrono::seconds(20));
    EXPECT_EQ(tooltest::Reap(sim, Clock::now() + std::chrono::seconds(5)), 0);
    ASSERT_EQ(r.status, 0);
    const std::vector<std::string> lines = Lines(r.out);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(OfType(lines, "summary").size(), 1u);
    EXPECT_GE(OfType(lines, "pos").size(), 3u) << r.out;
}

}  // namespace
