// zelko-sim as the library sees it: reproducible captures, and a stream that the library's own
// parser turns into exactly the truth the simulator wrote.
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "module/geo/MMUtility.h"
#include "module/position/PositionMgr.h"
#include "tests/e2e/ToolProcess.h"

namespace {

using tooltest::Number;
using tooltest::Text;

// Runs the simulator into name.bin and name.json; the stream and the truth's lines.
std::pair<std::string, std::vector<std::string>> Capture(const std::string& name, std::vector<std::string> args)
{
    const std::string path = testing::TempDir() + "zelko_sim_" + std::to_string(getpid()) + "_" + name;
    args.insert(args.end(), {"--output", path + ".bin", "--truth", path + ".json"});
    EXPECT_EQ(tooltest::Run("zelko-sim", args).status, 0) << name;
    return {tooltest::ReadText(path + ".bin"), tooltest::Lines(tooltest::ReadText(path + ".json"))};
}

long Int(const std::string& truth, const char* key, int index = 0)
{
    return std::lround(Number(truth, key, index));
}

TEST(ZelkoSim, SameSeedAndOptionsGiveTheSameBytes)
{
    const std::vector<std::string> common = {"--duration", "40", "--rate", "2", "--noise", "0.5",
                                             "--corrupt", "0.05", "--tunnel", "5:5", "--seed"};
    auto capture = [&](const std::string& name, std::vector<std::string> extra) {
        extra.insert(extra.begin(), common.begin(), common.end());
        return Capture(name, extra);
    };
    const auto a = capture("a", {"7"});
    ASSERT_FALSE(a.first.empty());
    EXPECT_EQ(capture("b", {"7"}), a);
    // Chunking shapes only the writes, never the content.
    EXPECT_EQ(capture("chunked", {"7", "--chunk", "1:9"}).first, a.first);
    EXPECT_NE(capture("other", {"8"}).first, a.first);

    ASSERT_EQ(a.second.size(), 80u);
    size_t total = 0;
    for (const std::string& t : a.second) total += static_cast<size_t>(Int(t, "bytes"));
    EXPECT_EQ(total, a.first.size());
}

void ExpectMatches(const CPositionMgr& mgr, const std::string& t)
{
    _mGpsDataEx pos;
    ASSERT_EQ(mgr.GetPosData(&pos), 1);
    // Tolerances: the simulator rounds to module units, the library truncates to 1/100
    // arc-second, 0.1 degree and 0.1 km/h.
    EXPECT_NEAR(pos.lLon, Number(t, "lon") * 360000, 1.02);
    EXPECT_NEAR(pos.lLat, Number(t, "lat") * 360000, 1.02);
    const double turn = std::fabs(pos.wHeading - Number(t, "heading") * 10);
    EXPECT_LE(std::min(turn, 3600 - turn), 1.0);
    EXPECT_NEAR(pos.sSpeed, Number(t, "speed_kmh") * 10, 1.2);
    EXPECT_EQ(pos.sAltitude, Int(t, "alt"));

    const bool fix = Text(t, "fix") == "3d";
    EXPECT_EQ(pos.ucFixValid, fix ? 1 : 0);
    EXPECT_EQ(pos.ucPosMode, fix ? 8 : 6);
    EXPECT_EQ(pos.ucSatUsed, Int(t, "sats"));
    const int16_t dops[] = {pos.sDop1, pos.sDop2, pos.sDop3};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(dops[i], CMMUtility::ChangeDOPUnits(static_cast<unsigned short>(Int(t, "dop_raw", i)))) << i;

    int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
    ASSERT_EQ(std::sscanf(Text(t, "utc").c_str(), "%d-%d-%dT%d:%d:%d", &y, &mo, &d, &h, &mi, &s), 6);
    EXPECT_EQ(pos.lDate, d * 10000 + mo * 100 + (y - 2000));
    EXPECT_EQ(pos.lTime, (h * 10000 + mi * 100 + s) * 1000);

    _sZelkoStatusData status;
    ASSERT_EQ(mgr.GetZelkoStatusData(&status), 1);
    for (int bit = 0; bit < 8; ++bit)
        EXPECT_EQ(status.ucStatusFlag[bit], (Int(t, "status") >> bit) & 1) << "status bit " << bit;

    _mSatelView sats[CPositionMgr::SATEL_TABLE_SIZE];
    ASSERT_EQ(mgr.GetSatelData(sats), 1);
    const long used = std::count_if(std::begin(sats), std::end(sats),
                                    [](const _mSatelView& v) { return v.wSatID != 65535 && v.ucUsed; });
    EXPECT_EQ(used, Int(t, "sats"));
}

TEST(ZelkoSim, LibraryDecodesTheTruthCycleByCycle)
{
    // Starts just before midnight of a leap day, so the date rolls over during the drive.
    auto drive = Capture("drive", {"--duration", "100", "--rate", "2", "--seed", "3", "--start", "20240229235930",
                                   "--tunnel", "20:10", "--stop", "40:8"});
    std::string& stream = drive.first;
    ASSERT_EQ(drive.second.size(), 200u);

    CPositionMgr mgr;
    ASSERT_EQ(mgr.Initialize(1, 1, 2), 1);
    std::mt19937 chunks(11);
    size_t offset = 0;
    int deadReckoned = 0, standing = 0, moving = 0;
    for (const std::string& t : drive.second) {
        SCOPED_TRACE(t);
        // Arbitrary chunks that never cross into the next cycle, so each cycle can be compared.
        const size_t end = offset + static_cast<size_t>(Int(t, "bytes"));
        ASSERT_LE(end, stream.size());
        int positions = 0;
        for (size_t n; offset < end; offset += n) {
            n = std::min<size_t>(end - offset, 1 + chunks() % 64);
            positions += mgr.ParsingZelko(&stream[offset], static_cast<unsigned short>(n));
        }
        EXPECT_EQ(positions, 1);
        ExpectMatches(mgr, t);
        if (HasFatalFailure()) return;
        const double at = Number(t, "t");
        deadReckoned += Text(t, "fix") == "dr" ? 1 : 0;
        standing += at >= 40 && at < 48 && Int(t, "speed_raw") == 0 ? 1 : 0;
        moving += Int(t, "speed_raw") > 1000 ? 1 : 0;
    }
    EXPECT_EQ(offset, stream.size());
    EXPECT_EQ(deadReckoned, 20);
    EXPECT_EQ(standing, 16);
    EXPECT_GT(moving, 50);
    EXPECT_EQ(Text(drive.second.back(), "utc"), "2024-03-01T00:01:09.500Z");
}

}  // namespace
