// Reassembly of the chunked module stream before it has anything to work on; splits, garbage,
// resets and the per-call frame limit are pinned by the stream digests.
#include "tests/position/PositionTestSupport.h"

namespace {

using Bytes = ZelkoBytes;

TEST(Stream, InertBeforeInitializeAndForEmptyChunks)
{
    testsupport::LogCapture log;
    const Bytes fix = ZelkoStuff(ZelkoSampleFixWithRawDR(127, 37, 0, 0, 1));
    CPositionMgr fresh, mgr;
    mgr.Initialize(1, 1, 2);
    EXPECT_EQ(pt::Feed(fresh, fix), 0);
    EXPECT_EQ(pt::Get(fresh, &CPositionMgr::GetPosData).lLon, 0);
    std::vector<char> c(fix.begin(), fix.end());
    EXPECT_EQ(mgr.ParsingZelko(c.data(), 0), 0);
    EXPECT_EQ(mgr.ParsingZelko(nullptr, 10), 0);
    // Nothing was stored: the frame's tail alone finds no start byte. The trace is an INFO line.
    EXPECT_EQ(pt::Feed(mgr, Bytes(fix.begin() + 1, fix.end())), 0);
    EXPECT_EQ(log.All(), (std::vector<testsupport::LogLine>{
                             {ANDROID_LOG_INFO, "Varnex",
                              "[MM-Dbg][CPositionMgr::ParsingZelko] Buffer Reset because buffer have no start bit\n"}}));
}

}  // namespace
