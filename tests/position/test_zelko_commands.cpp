// Command frames, checksum and in-place stuffing, checked against exact wire bytes and against
// the receive side as its inverse.
#include <random>

#include "module/position/PositionMgr.h"
#include "tests/position/PositionTestSupport.h"

namespace {

using zf::Bytes;

TEST(ZelkoCommands, SystemCommandsAndQueriesAreFixedFrames)
{
    const Bytes systemFrames[] = {
        {0x81, 0x03, 0x01, 0xF9, 0x82},
        {0x81, 0x03, 0x05, 0xF5, 0x82},
        {0x81, 0x03, 0x02, 0xF8, 0x82},
        {0x81, 0x03, 0x07, 0xF3, 0x82},
    };
    for (unsigned char cmd = 0; cmd < 4; ++cmd) {
        unsigned char buf[10] = {};
        unsigned long len = 0;
        ASSERT_EQ(CPositionMgr::MakeZelkoSysSet(cmd, buf, 5, len), 1);
        EXPECT_EQ(Bytes(buf, buf + len), systemFrames[cmd]);
        EXPECT_EQ(buf[5], 0);
    }
    const Bytes queryFrames[] = {
        {0x81, 0x02, 0x11, 0x01, 0xE9, 0x82}, {0x81, 0x02, 0x11, 0x03, 0xE7, 0x82},
        {0x81, 0x02, 0x11, 0x04, 0xE6, 0x82}, {0x81, 0x02, 0x11, 0x06, 0xE4, 0x82},
        {0x81, 0x02, 0x12, 0x03, 0xE6, 0x82}, {0x81, 0x02, 0x12, 0x04, 0xE5, 0x82},
        {0x81, 0x02, 0x70, 0x60, 0x2B, 0x82}, {0x81, 0x02, 0x16, 0x02, 0xE3, 0x82},
        {0x81, 0x02, 0x16, 0x01, 0xE4, 0x82},
    };
    for (unsigned char q = 0; q < 9; ++q) {
        unsigned char buf[10] = {};
        unsigned long len = 0;
        ASSERT_EQ(CPositionMgr::MakeZelkoSysQuery(q, buf, 6, len), 1);
        EXPECT_EQ(Bytes(buf, buf + len), queryFrames[q]);
    }

    // Failures report the length first; an out-of-range id leaves marker and class written.
    unsigned char buf[10] = {};
    unsigned long len = 0;
    EXPECT_EQ(CPositionMgr::MakeZelkoSysSet(4, buf, 10, len), 0);
    EXPECT_EQ(len, 5u);
    EXPECT_EQ(Bytes(buf, buf + 3), Bytes({0x81, 0x03, 0x00}));
    len = 0;
    EXPECT_EQ(CPositionMgr::MakeZelkoSysSet(0, buf, 4, len), 0);
    EXPECT_EQ(len, 5u);
    EXPECT_EQ(CPositionMgr::MakeZelkoSysSet(0, nullptr, 10, len), 0);
    EXPECT_EQ(CPositionMgr::MakeZelkoSysQuery(9, buf, 10, len), 0);
    EXPECT_EQ(len, 6u);
    EXPECT_EQ(Bytes(buf, buf + 3), Bytes({0x81, 0x02, 0x00}));
    EXPECT_EQ(CPositionMgr::MakeZelkoSysQuery(0, buf, 5, len), 0);
    EXPECT_EQ(CPositionMgr::MakeZelkoSysQuery(0, nullptr, 10, len), 0);
}

TEST(ZelkoCommands, MountAngleFrameIsStuffedAfterItsChecksum)
{
    CPositionMgr mgr;
    unsigned char buf[200] = {};
    unsigned long len = 0;
    ASSERT_EQ(mgr.MakeMountAngleCal(0, 0, 0, buf, sizeof buf, len), 1);
    Bytes expect = {0x81, 0x01, 0x70, 0x60, 0x02, 0x00};
    expect.resize(6 + 24 + 8, 0x00);
    zf::Append(expect, {0x00, 0x00, 0x80, 0x00, 0x3F, 0x6B, 0x82});
    ASSERT_EQ(len, 45u);
    EXPECT_EQ(Bytes(buf, buf + len), expect);
    unsigned sum = 0;
    for (unsigned long i = 0; i < len; ++i) sum += buf[i];
    EXPECT_EQ(sum % 256, 0u);

    // Pitch 30, roll -45 from the integer tables: sin 30 = 49999, cos 30 = 86602,
    // sin -45 = -70710, cos -45 = 70710.
    std::fill(std::begin(buf), std::end(buf), 0);
    ASSERT_EQ(mgr.MakeMountAngleCal(0, 30, -45, buf, sizeof buf, len), 1);
    Bytes logical = {0x81, 0x01, 0x70, 0x60, 0x02, 0x00};
    logical.resize(44, 0);
    logical[43] = 0x82;
    zf::PutF32(logical, 30, 49999.0f / -100000.0f);
    zf::PutF32(logical, 34, 0.86602f * -0.7071f);
    zf::PutF32(logical, 38, 0.86602f * 0.7071f);
    EXPECT_EQ(Bytes(buf, buf + len), zf::Stuff(zf::Seal(logical)));

    // Other types carry no angles and differ only in the type byte and the checksum.
    Bytes byType[4];
    for (unsigned char type = 1; type < 4; ++type) {
        unsigned char b[200] = {};
        ASSERT_EQ(mgr.MakeMountAngleCal(type, 30, -45, b, sizeof b, len), 1);
        EXPECT_EQ(len, 44u);
        byType[type] = Bytes(b, b + len);
    }
    for (int type : {1, 3}) {
        byType[type][5] = 2;
        byType[type][42] = static_cast<unsigned char>(byType[type][42] + type - 2);
        EXPECT_EQ(byType[type], byType[2]);
    }
    logical[5] = 2;
    std::fill(logical.begin() + 30, logical.begin() + 42, 0);
    EXPECT_EQ(byType[2], zf::Seal(logical));

    // Capacity must allow every byte to be escaped.
    len = 0;
    EXPECT_EQ(mgr.MakeMountAngleCal(0, 0, 0, buf, 87, len), 0);
    EXPECT_EQ(len, 44u);
    EXPECT_EQ(mgr.MakeMountAngleCal(0, 0, 0, nullptr, 200, len), 0);
    EXPECT_EQ(mgr.MakeMountAngleCal(0, 0, 0, buf, 88, len), 1);
}

TEST(ZelkoCommands, ChecksumMakesTheFrameSumToZero)
{
    unsigned char zeros[8] = {};
    EXPECT_EQ(CPositionMgr::MakeZelkoCS(zeros, 8), 0);
    unsigned char reset[] = {0x81, 0x03, 0x01, 0x00, 0x82};
    EXPECT_EQ(CPositionMgr::MakeZelkoCS(reset, 5), 0xF9);
    EXPECT_EQ(CPositionMgr::MakeZelkoCS(reset, 0), 0);
}

TEST(ZelkoCommands, StuffingAndUnstuffingAreInverse)
{
    std::mt19937 rng(20240315);
    for (int n = 0; n < 500; ++n) {
        const size_t len = 6 + rng() % 70;
        Bytes logical = zf::Blank(static_cast<uint8_t>(rng()), static_cast<uint8_t>(rng()), len);
        for (size_t i = 1; i + 2 < len; ++i) {
            // Bias towards the reserved values so most frames need several escapes.
            logical[i] = static_cast<unsigned char>(rng() % 3 == 0 ? 0x80 + rng() % 4 : rng() % 256);
        }
        logical[len - 2] = 0;
        logical[len - 2] = CPositionMgr::MakeZelkoCS(logical.data(), len);

        Bytes buf(2 * len, 0);
        std::copy(logical.begin(), logical.end(), buf.begin());
        const unsigned char added = CPositionMgr::MakeStuffPacket(buf.data(), len, buf.size());
        const Bytes wire(buf.begin(), buf.begin() + len + added);
        ASSERT_EQ(wire, zf::Stuff(logical));
        EXPECT_TRUE(std::all_of(buf.begin() + wire.size(), buf.end(), [](unsigned char b) { return b == 0; }));

        Bytes back(len, 0);
        Bytes w = wire;
        EXPECT_EQ(CZELKOParser::IsValidChecksum(w.data(), static_cast<unsigned char>(w.size() - 1)), 1);
        EXPECT_EQ(CZELKOParser::GenStuffedMsg(back.data(), w.data(), static_cast<int>(w.size()), static_cast<int>(len), 0),
                  static_cast<int>(len));
        EXPECT_EQ(back, logical);
    }
}

TEST(ZelkoCommands, StuffingScansTheWholeCapacity)
{
    // Nothing to do for frames too short or larger than the buffer.
    Bytes b = {0x81, 0x80, 0x82, 0x00};
    EXPECT_EQ(CPositionMgr::MakeStuffPacket(b.data(), 3, 4), 0);
    EXPECT_EQ(CPositionMgr::MakeStuffPacket(b.data(), 5, 4), 0);
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

    EXPECT_EQ(CPositionMgr::DeleteSendPacketBuf(nullptr), 0);
    EXPECT_EQ(CPositionMgr::DeleteSendPacketBuf(new unsigned char[16]), 1);
}

}  // namespace
