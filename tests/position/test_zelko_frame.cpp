// Frame primitives: marker search with its 8-bit results, checksum, escape removal.
#include "module/position/ZELKOParser.h"
#include "tests/position/PositionTestSupport.h"

namespace {

using zf::Bytes;

TEST(ZelkoFrame, MarkerSearchesAnswerModulo256)
{
    Bytes b(300, 0x55);
    EXPECT_EQ(CZELKOParser::FindStartMsg(b.data(), 300), 44);  // no start marker: 300 mod 256
    EXPECT_EQ(CZELKOParser::FindStartMsg(b.data(), 200), 200);
    EXPECT_EQ(CZELKOParser::FindStartMsg(b.data(), 0), 0);
    b[290] = 0x81;
    EXPECT_EQ(CZELKOParser::FindStartMsg(b.data(), 300), 290 - 256);
    b[7] = 0x81;
    EXPECT_EQ(CZELKOParser::FindStartMsg(b.data(), 300), 7);

    // The end search starts behind the start marker; 0 means no complete frame yet.
    b[7] = 0x82;
    EXPECT_EQ(CZELKOParser::FindEndMsg(b.data(), 300), 7);
    EXPECT_EQ(CZELKOParser::FindEndMsg(b.data(), 7), 0);
    EXPECT_EQ(CZELKOParser::FindEndMsg(b.data() + 7, 10), 0);  // begins on an end marker
    EXPECT_EQ(CZELKOParser::FindEndMsg(b.data(), 0), 0);
    b[7] = 0x55;
    b[260] = 0x82;
    EXPECT_EQ(CZELKOParser::FindEndMsg(b.data(), 300), 4);  // 260 mod 256
    b[256] = 0x82;
    EXPECT_EQ(CZELKOParser::FindEndMsg(b.data(), 300), 0);
}

TEST(ZelkoFrame, ChecksumIsZeroSumOverStuffedBytesAndTracesFailures)
{
    pt::Traces traces;
    Bytes health = zf::Seal({0x81, 0x16, 0x01, 0x05, 0x81, 0x07, 0x00, 0x82});
    Bytes wire = zf::Stuff(health);
    ASSERT_EQ(wire.size(), 9u);
    EXPECT_EQ(CZELKOParser::IsValidChecksum(health.data(), 7), 1);
    EXPECT_EQ(CZELKOParser::IsValidChecksum(wire.data(), 8), 1);  // escaping keeps the sum
    EXPECT_TRUE(traces.Take().empty());

    wire[3] += 1;
    EXPECT_EQ(CZELKOParser::IsValidChecksum(wire.data(), 8), 0);
    EXPECT_EQ(traces.Take(), pt::Lines({"[ZELKOParser::CalChecksum]Invalid - Len(8), S(81), E(82), ID(16-01), Sum(01)\n"}));
}

TEST(ZelkoFrame, EscapeCountIsEightBits)
{
    Bytes b(256, 0x80);
    EXPECT_EQ(CZELKOParser::GetCountOf0x80(b.data(), 255), 0);
    EXPECT_EQ(CZELKOParser::GetCountOf0x80(b.data(), 254), 255);
    b[3] = 0x00;
    EXPECT_EQ(CZELKOParser::GetCountOf0x80(b.data(), 9), 9);
}

TEST(ZelkoFrame, UnstuffingRestoresEscapedBytes)
{
    pt::Traces traces;
    struct Case {
        Bytes src;
        int dstMax;
        Bytes expect;
    };
    const Case cases[] = {
        {{0x81, 0x80, 0x01, 0x80, 0x7F, 0x82}, 8, {0x81, 0x81, 0xFF, 0x82}},  // follower OR 0x80
        {{0x81, 0x80, 0x80, 0x05, 0x82}, 8, {0x81, 0x80, 0x85, 0x82}},        // 80 80 is no pair
        {{0x81, 0x10, 0x80, 0x02, 0x20, 0x82}, 3, {0x81, 0x10, 0x82}},         // writes capped
        {{0x81, 0x10, 0x20, 0x82}, 8, {0x81, 0x10, 0x20, 0x82}},
    };
    for (const Case& c : cases) {
        Bytes src = c.src;
        Bytes dst(8, 0xEE);
        const int n = CZELKOParser::GenStuffedMsg(dst.data(), src.data(), static_cast<int>(src.size()), c.dstMax, 0);
        EXPECT_EQ(Bytes(dst.begin(), dst.begin() + n), c.expect);
        EXPECT_EQ(dst[n], 0xEE);
    }
    EXPECT_TRUE(traces.Take().empty());

    // A lone escape at the end stops with what was produced so far.
    Bytes cut = {0x81, 0x16, 0x01, 0x80};
    Bytes dst(8, 0);
    EXPECT_EQ(CZELKOParser::GenStuffedMsg(dst.data(), cut.data(), 4, 8, 1), 3);
    EXPECT_TRUE(traces.Take().empty());
    EXPECT_EQ(CZELKOParser::GenStuffedMsg(dst.data(), cut.data(), 4, 8, 0), 3);
    EXPECT_EQ(traces.Take(),
              pt::Lines({"[MM-Dbg][CZELKOParser::GenStuffedMsg] cSrcMsg[ii] == 0x80 but ii is end msg : "
                         "[0x16-0x1]Size(4),Org(8),ii(3)\n"}));

    EXPECT_EQ(CZELKOParser::GenStuffedMsg(dst.data(), cut.data(), 0, 8, 0), 0);
    // An impossible destination size is the one way to overflow the output count.
    EXPECT_EQ(CZELKOParser::GenStuffedMsg(dst.data(), cut.data(), 3, -1, 1), 0);
    EXPECT_TRUE(traces.Take().empty());
    EXPECT_EQ(CZELKOParser::GenStuffedMsg(dst.data(), cut.data(), 3, -1, 0), 0);
    EXPECT_EQ(traces.Take(), pt::Lines({"[MM-Dbg][CZELKOParser::GenStuffedMsg] Generation over Original buffer size : "
                                        "[0x16-0x1]Size(3),Org(-1)\n"}));
}

}  // namespace
