// Reassembly of the chunked module stream: splits, garbage, resets and the per-call frame limit,
// with the exact traces each rule writes.
#include "tests/position/PositionTestSupport.h"

namespace {

using Bytes = ZelkoBytes;

const char kNoStart[] = "[MM-Dbg][CPositionMgr::ParsingZelko] Buffer Reset because buffer have no start bit\n";

std::string Overflow(int stored, int added)
{
    return pt::Text("[MM-Dbg][CPositionMgr::ParsingZelko] Buffer Reset because store buffer over Max : "
                    "CurSize(%d), AddSize(%d)\n", stored, added);
}

class Stream : public ::testing::Test {
protected:
    void SetUp() override { mgr.Initialize(1, 1, 2); }

    int Feed(const Bytes& chunk) { return pt::Feed(mgr, chunk); }

    int SatellitesSeen()
    {
        _mSatelView sats[CPositionMgr::SATEL_TABLE_SIZE];
        mgr.GetSatelData(sats);
        int n = 0;
        for (const _mSatelView& s : sats) n += s.wSatID != 65535;
        return n;
    }

    static Bytes Sat(uint8_t id) { return ZelkoStuff(ZelkoSampleChannelMeas(id, 100, 20, 30, 0x04)); }

    const Bytes fix = ZelkoStuff(ZelkoSampleFixWithRawDR(127, 37, 0, 0, 1));
    testsupport::LogCapture log;
    CPositionMgr mgr;
};

TEST_F(Stream, InertBeforeInitializeAndForEmptyChunks)
{
    CPositionMgr fresh;
    EXPECT_EQ(pt::Feed(fresh, fix), 0);
    EXPECT_EQ(pt::Get(fresh, &CPositionMgr::GetPosData).lLon, 0);
    std::vector<char> c(fix.begin(), fix.end());
    EXPECT_EQ(mgr.ParsingZelko(c.data(), 0), 0);
    EXPECT_EQ(mgr.ParsingZelko(nullptr, 10), 0);
    // Nothing was stored: the frame's tail alone finds no start byte. The trace is an INFO line.
    EXPECT_EQ(Feed(Bytes(fix.begin() + 1, fix.end())), 0);
    EXPECT_EQ(log.All(), (std::vector<testsupport::LogLine>{{ANDROID_LOG_INFO, "Varnex", kNoStart}}));
}

TEST_F(Stream, BufferLimitsAndTheEightBitStartSearch)
{
    // 300 garbage bytes: the 8-bit start search drops 44 of them and keeps 256, silently.
    EXPECT_EQ(Feed(Bytes(300, 0x55)), 0);
    EXPECT_TRUE(log.Take().empty());
    // 10 more: the search now answers 266 mod 256 = 10, the chunk's length: reset with a trace.
    EXPECT_EQ(Feed(Bytes(10, 0x55)), 0);
    EXPECT_EQ(log.Take(), pt::Lines({kNoStart}));
    // What stays after 300 bytes is visible in the overflow report.
    Feed(Bytes(300, 0x55));
    Bytes open(3841, 0x55);
    open[0] = 0x81;
    EXPECT_EQ(Feed(open), 0);
    EXPECT_EQ(log.Take(), pt::Lines({Overflow(256, 3841)}));

    // 4096 stored bytes are accepted; one more overflows, is then kept alone, and having no
    // start byte clears again.
    EXPECT_EQ(Feed(Bytes(4096 - 3841, 0x55)), 0);
    EXPECT_TRUE(log.Take().empty());
    EXPECT_EQ(Feed(Bytes(1, 0x55)), 0);
    EXPECT_EQ(log.Take(), pt::Lines({Overflow(4096, 1), kNoStart}));

    // After an overflow the new chunk is processed on its own.
    open.resize(4000, 0x55);
    EXPECT_EQ(Feed(open), 0);
    Bytes filler(200, 0x55);
    ZelkoAppend(filler, fix);
    EXPECT_EQ(Feed(filler), 1);
    EXPECT_EQ(log.Take(), pt::Lines({Overflow(4000, static_cast<int>(filler.size()))}));
}

TEST_F(Stream, AtMost22FramesPerCall)
{
    Bytes chunk;
    for (uint8_t id = 1; id <= 30; ++id) ZelkoAppend(chunk, Sat(id));
    ZelkoAppend(chunk, fix);
    EXPECT_EQ(Feed(chunk), 0);  // the fix came after the limit
    EXPECT_EQ(SatellitesSeen(), 22);
    EXPECT_EQ(pt::Get(mgr, &CPositionMgr::GetPosData).lLon, 0);
    EXPECT_EQ(log.Take(), pt::Lines({"[MM-Dbg][CPositionMgr::ParsingZelko] Buffer Clear(many data read by once)\n"}));

    // 20 frames and a fix: all handled, no trace, and a frame split at the end waits.
    chunk.clear();
    for (uint8_t id = 1; id <= 20; ++id) ZelkoAppend(chunk, Sat(id));
    ZelkoAppend(chunk, fix);
    ZelkoAppend(chunk, Bytes(fix.begin(), fix.begin() + 10));
    EXPECT_EQ(Feed(chunk), 1);
    EXPECT_EQ(Feed(Bytes(fix.begin() + 10, fix.end())), 1);
    EXPECT_TRUE(log.Take().empty());
}

}  // namespace
