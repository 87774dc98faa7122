// Frame primitives of both directions: the escape count's 8-bit result, escaping and its
// removal, and the command frames as exact wire bytes.
#include <random>

#include "tests/position/PositionTestSupport.h"

namespace {

using Bytes = ZelkoBytes;

TEST(ZelkoFrame, EscapeCountIsEightBitsAndUnstuffingCanBeQuiet)
{
    // The marker searches answer modulo 256 as well; the stream digests pin those.
    Bytes esc(256, 0x80);
    EXPECT_EQ(CZELKOParser::GetCountOf0x80(esc.data(), 255), 0);
    esc[3] = 0x00;
    EXPECT_EQ(CZELKOParser::GetCountOf0x80(esc.data(), 254), 254);

    // A lone escape at the end stops with what was produced so far, and says so unless quiet.
    testsupport::LogCapture log;
    Bytes cut = {0x81, 0x16, 0x01, 0x80};
    for (char quiet : {1, 0}) {
        Bytes dst(8, 0xEE);
        EXPECT_EQ(CZELKOParser::GenStuffedMsg(dst.data(), cut.data(), 4, 8, quiet), 3);
        EXPECT_EQ(dst, (Bytes{0x81, 0x16, 0x01, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));
        EXPECT_EQ(log.Take(), quiet ? pt::Lines() : pt::Lines({"[MM-Dbg][CZELKOParser::GenStuffedMsg] cSrcMsg[ii] == "
                                                               "0x80 but ii is end msg : [0x16-0x1]Size(4),Org(8),ii(3)\n"}));
    }
}

TEST(ZelkoCommands, SystemCommandsAndQueriesAreFixedFrames)
{
    const struct { bool query; unsigned char id; Bytes frame; } rows[] = {
        {false, 0, {0x81, 0x03, 0x01, 0xF9, 0x82}},      {false, 1, {0x81, 0x03, 0x05, 0xF5, 0x82}},
        {false, 2, {0x81, 0x03, 0x02, 0xF8, 0x82}},      {false, 3, {0x81, 0x03, 0x07, 0xF3, 0x82}},
        {true, 0, {0x81, 0x02, 0x11, 0x01, 0xE9, 0x82}}, {true, 1, {0x81, 0x02, 0x11, 0x03, 0xE7, 0x82}},
        {true, 2, {0x81, 0x02, 0x11, 0x04, 0xE6, 0x82}}, {true, 3, {0x81, 0x02, 0x11, 0x06, 0xE4, 0x82}},
        {true, 4, {0x81, 0x02, 0x12, 0x03, 0xE6, 0x82}}, {true, 5, {0x81, 0x02, 0x12, 0x04, 0xE5, 0x82}},
        {true, 6, {0x81, 0x02, 0x70, 0x60, 0x2B, 0x82}}, {true, 7, {0x81, 0x02, 0x16, 0x02, 0xE3, 0x82}},
        {true, 8, {0x81, 0x02, 0x16, 0x01, 0xE4, 0x82}},
    };
    for (const auto& r : rows) {
        unsigned char buf[10] = {};
        unsigned long len = 0;
        auto make = r.query ? CPositionMgr::MakeZelkoSysQuery : CPositionMgr::MakeZelkoSysSet;
        ASSERT_EQ(make(r.id, buf, r.frame.size(), len), 1);  // a capacity of exactly the frame suffices
        EXPECT_EQ(Bytes(buf, buf + len), r.frame);
        EXPECT_EQ(buf[len], 0);
    }

    // Failures report the length first; an out-of-range id leaves marker and class written.
    for (bool query : {false, true}) {
        auto make = query ? CPositionMgr::MakeZelkoSysQuery : CPositionMgr::MakeZelkoSysSet;
        const unsigned long size = query ? 6 : 5;
        unsigned char buf[10] = {};
        unsigned long len = 0;
        EXPECT_EQ(make(query ? 9 : 4, buf, 10, len), 0);
        EXPECT_EQ(len, size);
        EXPECT_EQ(Bytes(buf, buf + 3), Bytes({0x81, static_cast<unsigned char>(query ? 0x02 : 0x03), 0x00}));
        len = 0;
        EXPECT_EQ(make(0, buf, size - 1, len), 0);
        EXPECT_EQ(len, size);
        EXPECT_EQ(make(0, nullptr, 10, len), 0);
    }
}

TEST(ZelkoCommands, MountAngleFrameIsStuffedAfterItsChecksum)
{
    CPositionMgr mgr;
    unsigned char buf[200] = {};
    unsigned long len = 0;
    ASSERT_EQ(mgr.MakeMountAngleCal(0, 0, 0, buf, sizeof buf, len), 1);
    Bytes expect = {0x81, 0x01, 0x70, 0x60, 0x02, 0x00};
    expect.resize(38, 0x00);
    ZelkoAppend(expect, {0x00, 0x00, 0x80, 0x00, 0x3F, 0x6B, 0x82});  // 1.0f needs an escape
    EXPECT_EQ(Bytes(buf, buf + len), expect);

    // Pitch 30, roll -45 from the integer tables: sin 30 = 49999, cos 30 = 86602,
    // sin -45 = -70710, cos -45 = 70710. Other types carry no angles.
    Bytes logical = {0x81, 0x01, 0x70, 0x60, 0x02, 0x00};
    logical.resize(44, 0);
    logical[43] = 0x82;
    ZelkoPutLE<float>(&logical[30], 49999.0f / -100000.0f);
    ZelkoPutLE<float>(&logical[34], 0.86602f * -0.7071f);
    ZelkoPutLE<float>(&logical[38], 0.86602f * 0.7071f);
    for (unsigned char type = 0; type < 4; ++type) {
        std::fill(std::begin(buf), std::end(buf), 0);
        ASSERT_EQ(mgr.MakeMountAngleCal(type, 30, -45, buf, sizeof buf, len), 1);
        logical[5] = type;
        if (type == 1) std::fill(logical.begin() + 30, logical.begin() + 42, 0);
        EXPECT_EQ(Bytes(buf, buf + len), ZelkoStuff(ZelkoSeal(logical))) << int(type);
    }

    // Capacity must allow every byte to be escaped.
    len = 0;
    EXPECT_EQ(mgr.MakeMountAngleCal(0, 0, 0, buf, 87, len), 0);
    EXPECT_EQ(len, 44u);
    EXPECT_EQ(mgr.MakeMountAngleCal(0, 0, 0, nullptr, 200, len), 0);
    EXPECT_EQ(mgr.MakeMountAngleCal(0, 0, 0, buf, 88, len), 1);
}

TEST(ZelkoCommands, StuffingAndUnstuffingAreInverse)
{
    std::mt19937 rng(20240315);
    for (int n = 0; n < 500; ++n) {
        const size_t len = 6 + rng() % 70;
        Bytes logical = ZelkoBlankFrame(static_cast<uint8_t>(rng()), static_cast<uint8_t>(rng()), len);
        for (size_t i = 1; i + 2 < len; ++i) {
            // Bias towards the reserved values so most frames need several escapes.
            logical[i] = static_cast<unsigned char>(rng() % 3 == 0 ? 0x80 + rng() % 4 : rng() % 256);
        }
        logical[len - 2] = CPositionMgr::MakeZelkoCS(logical.data(), len);

        Bytes wire(2 * len, 0);
        std::copy(logical.begin(), logical.end(), wire.begin());
        const unsigned char added = CPositionMgr::MakeStuffPacket(wire.data(), len, wire.size());
        ASSERT_TRUE(std::all_of(wire.begin() + len + added, wire.end(), [](unsigned char b) { return b == 0; }));
        wire.resize(len + added);
        for (size_t i = 1; i + 1 < wire.size(); ++i) {  // inside the markers only escape pairs
            ASSERT_FALSE(wire[i] > 0x80 && wire[i] <= 0x83) << i;
            ASSERT_TRUE(wire[i] != 0x80 || wire[++i] <= 0x03) << i;
        }
        EXPECT_EQ(CZELKOParser::IsValidChecksum(wire.data(), static_cast<unsigned char>(wire.size() - 1)), 1);

        Bytes back(len, 0);
        EXPECT_EQ(CZELKOParser::GenStuffedMsg(back.data(), wire.data(), static_cast<int>(wire.size()),
                                              static_cast<int>(len), 0),
                  static_cast<int>(len));
        EXPECT_EQ(back, logical);
    }
}

TEST(ZelkoCommands, StuffingScansTheWholeCapacity)
{
    // Nothing to do for frames too short or larger than the buffer.
    Bytes b = {0x81, 0x80, 0x82, 0x00};
    EXPECT_EQ(CPositionMgr::MakeStuffPacket(b.data(), 3, 4) + CPositionMgr::MakeStuffPacket(b.data(), 5, 4), 0);
    EXPECT_EQ(b, Bytes({0x81, 0x80, 0x82, 0x00}));

    // A reserved byte behind the frame is escaped too: callers must hand over zeroed buffers.
    Bytes dirty = {0x81, 0x10, 0xAA, 0x82, 0x00, 0x83, 0x00, 0x00};
    EXPECT_EQ(CPositionMgr::MakeStuffPacket(dirty.data(), 4, dirty.size()), 1);
    EXPECT_EQ(dirty, Bytes({0x81, 0x10, 0xAA, 0x82, 0x00, 0x80, 0x03, 0x00}));

    // Out of room: the frame is cut at the capacity (nothing is written past it), and the scan
    // stops once the end marker would lie beyond it.
    Bytes tight = {0x81, 0x80, 0x81, 0x82, 0x55, 0xEE};
    EXPECT_EQ(CPositionMgr::MakeStuffPacket(tight.data(), 4, 5), 2);
    EXPECT_EQ(tight, Bytes({0x81, 0x80, 0x00, 0x80, 0x01, 0xEE}));
    Bytes full = {0x81, 0x83, 0x83, 0x82};
    EXPECT_EQ(CPositionMgr::MakeStuffPacket(full.data(), 4, 4), 1);
    EXPECT_EQ(full, Bytes({0x81, 0x80, 0x03, 0x83}));
}

}  // namespace
