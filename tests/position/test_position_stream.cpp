// Reassembly of the chunked module stream: splits, garbage, resets and the per-call frame limit,
// with the exact traces each rule writes.
#include "module/position/PositionMgr.h"
#include "tests/position/PositionTestSupport.h"

namespace {

using zf::Bytes;

class Stream : public ::testing::Test {
protected:
    void SetUp() override { mgr.Initialize(1, 1, 2); }

    int Feed(const Bytes& chunk)
    {
        std::vector<char> c = pt::Chars(chunk);
        return mgr.ParsingZelko(c.data(), static_cast<unsigned short>(c.size()));
    }

    int SatellitesSeen()
    {
        _mSatelView sats[CPositionMgr::SATEL_TABLE_SIZE];
        mgr.GetSatelData(sats);
        int n = 0;
        for (const _mSatelView& s : sats) n += s.wSatID != 65535;
        return n;
    }

    _mGpsDataEx Pos()
    {
        _mGpsDataEx p;
        mgr.GetPosData(&p);
        return p;
    }

    static Bytes Sat(uint8_t id) { return zf::Stuff(zf::ChannelMeas(id, 100, 20, 30, 0x04)); }

    pt::Traces traces;
    CPositionMgr mgr;
};

const char kNoStart[] = "[MM-Dbg][CPositionMgr::ParsingZelko] Buffer Reset because buffer have no start bit\n";

TEST_F(Stream, InertBeforeInitializeAndForEmptyChunks)
{
    CPositionMgr fresh;
    std::vector<char> fix = pt::Chars(zf::Stuff(zf::FixWithRawDR(127, 37, 0, 0, 1)));
    EXPECT_EQ(fresh.ParsingZelko(fix.data(), static_cast<unsigned short>(fix.size())), 0);
    _mGpsDataEx p;
    fresh.GetPosData(&p);
    EXPECT_EQ(p.lLon, 0);
    EXPECT_EQ(mgr.ParsingZelko(fix.data(), 0), 0);
    EXPECT_EQ(mgr.ParsingZelko(nullptr, 10), 0);
    // Nothing was stored: the frame's tail alone finds no start byte.
    EXPECT_EQ(Feed(Bytes(fix.begin() + 1, fix.end())), 0);
    EXPECT_EQ(traces.Take(), pt::Lines({kNoStart}));
}

TEST_F(Stream, FramesAreCutFromAnyChunking)
{
    Bytes stream;
    for (unsigned s = 0; s < 3; ++s) zf::Append(stream, zf::ModuleSecond(s));
    // Byte by byte, then in uneven chunks: every frame is handled once, in order.
    for (size_t step : {size_t(1), size_t(7), size_t(100)}) {
        CPositionMgr m;
        m.Initialize(1, 1, 2);
        int fixes = 0;
        for (size_t at = 0; at < stream.size(); at += step) {
            std::vector<char> c(stream.begin() + at, stream.begin() + std::min(stream.size(), at + step));
            fixes += m.ParsingZelko(c.data(), static_cast<unsigned short>(c.size()));
        }
        EXPECT_EQ(fixes, 3) << step;
        _mSatelView sats[CPositionMgr::SATEL_TABLE_SIZE];
        m.GetSatelData(sats);
        EXPECT_EQ(sats[11].wSatID, 34);
        EXPECT_EQ(sats[12].wSatID, 65535);
        _sZelkoTimeData t;
        m.GetZelkoTimeData(&t);
        EXPECT_EQ(t.ulSensorTime, 2000u);
        EXPECT_EQ(t.ucSecond, 2);
    }

    // Split frame: the first part waits, the second completes it.
    const Bytes fix = zf::Stuff(zf::FixWithRawDR(127, 37, 0, 0, 1));
    EXPECT_EQ(Feed(Bytes(fix.begin(), fix.begin() + 20)), 0);
    EXPECT_EQ(Feed(Bytes(fix.begin() + 20, fix.end())), 1);
    EXPECT_TRUE(traces.Take().empty());
}

TEST_F(Stream, GarbageAroundFramesIsDropped)
{
    // Garbage before the first start byte, between frames, and behind the last one.
    Bytes chunk = {0x00, 0x82, 0x7E};
    zf::Append(chunk, Sat(1));
    zf::Append(chunk, {0x82, 0x33});
    zf::Append(chunk, Sat(2));
    zf::Append(chunk, {0x11, 0x22, 0x33});
    EXPECT_EQ(Feed(chunk), 0);
    EXPECT_EQ(SatellitesSeen(), 2);
    // The trailing garbage did not stay: a lone frame tail now finds an empty buffer.
    EXPECT_EQ(Feed({0x10, 0x82}), 0);
    EXPECT_EQ(traces.Take(), pt::Lines({kNoStart}));

    // Frames of four bytes or fewer, and acknowledgements of unknown length, are consumed.
    chunk = {0x81, 0x11, 0x82, 0x81, 0x82, 0x81, 0x10, 0x01, 0x00, 0x82};
    zf::Append(chunk, zf::Seal(zf::Blank(0x10, 0x01, 10)));
    zf::Append(chunk, Sat(3));
    EXPECT_EQ(Feed(chunk), 0);
    EXPECT_EQ(SatellitesSeen(), 3);
    EXPECT_TRUE(traces.Take().empty());
}

TEST_F(Stream, StartSearchComparesWithTheChunkLength)
{
    // 300 garbage bytes: the 8-bit start search drops 44 of them and keeps 256, silently.
    EXPECT_EQ(Feed(Bytes(300, 0x55)), 0);
    EXPECT_TRUE(traces.Take().empty());
    // 10 more: the search now answers 266 mod 256 = 10, the chunk's length: reset with a trace.
    EXPECT_EQ(Feed(Bytes(10, 0x55)), 0);
    EXPECT_EQ(traces.Take(), pt::Lines({kNoStart}));

    // What stays after 300 bytes is visible in the overflow report.
    Feed(Bytes(300, 0x55));
    Bytes big(3841, 0x55);
    big[0] = 0x81;
    EXPECT_EQ(Feed(big), 0);
    EXPECT_EQ(traces.Take(), pt::Lines({"[MM-Dbg][CPositionMgr::ParsingZelko] Buffer Reset because store buffer over Max : "
                                        "CurSize(256), AddSize(3841)\n"}));
}

TEST_F(Stream, StoreBufferHoldsExactly4096Bytes)
{
    Bytes open(4000, 0x55);
    open[0] = 0x81;
    EXPECT_EQ(Feed(open), 0);
    EXPECT_EQ(Feed(Bytes(96, 0x55)), 0);  // 4096 stored: accepted
    EXPECT_TRUE(traces.Take().empty());
    // One more byte overflows; it is then kept alone, and having no start byte it clears again.
    EXPECT_EQ(Feed(Bytes(1, 0x55)), 0);
    EXPECT_EQ(traces.Take(), pt::Lines({"[MM-Dbg][CPositionMgr::ParsingZelko] Buffer Reset because store buffer over Max : "
                                        "CurSize(4096), AddSize(1)\n",
                                        kNoStart}));

    // After an overflow the new chunk is processed on its own.
    EXPECT_EQ(Feed(open), 0);
    Bytes fix = zf::Stuff(zf::FixWithRawDR(127, 37, 0, 0, 1));
    Bytes filler(200, 0x55);
    zf::Append(filler, fix);
    EXPECT_EQ(Feed(filler), 1);
    EXPECT_EQ(traces.Take().size(), 1u);
}

TEST_F(Stream, AtMost22FramesPerCall)
{
    Bytes chunk;
    for (uint8_t id = 1; id <= 30; ++id) zf::Append(chunk, Sat(id));
    zf::Append(chunk, zf::Stuff(zf::FixWithRawDR(127, 37, 0, 0, 1)));
    EXPECT_EQ(Feed(chunk), 0);  // the fix came after the limit
    EXPECT_EQ(SatellitesSeen(), 22);
    EXPECT_EQ(Pos().lLon, 0);
    EXPECT_EQ(traces.Take(), pt::Lines({"[MM-Dbg][CPositionMgr::ParsingZelko] Buffer Clear(many data read by once)\n"}));

    // 20 frames and a fix: all handled, no trace, and a frame split at the end waits.
    chunk.clear();
    for (uint8_t id = 1; id <= 20; ++id) zf::Append(chunk, Sat(id));
    const Bytes fix = zf::Stuff(zf::FixWithRawDR(127, 37, 0, 0, 1));
    zf::Append(chunk, fix);
    zf::Append(chunk, Bytes(fix.begin(), fix.begin() + 10));
    EXPECT_EQ(Feed(chunk), 1);
    EXPECT_EQ(Feed(Bytes(fix.begin() + 10, fix.end())), 1);
    EXPECT_TRUE(traces.Take().empty());
}

}  // namespace
