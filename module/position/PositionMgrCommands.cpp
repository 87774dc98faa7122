// Command frames to the module: reset commands, report queries, mount-angle calibration.
#include <cstdint>
#include <cstring>

#include "module/geo/MMUtility.h"
#include "module/position/PositionMgr.h"
#include "module/position/ZelkoBytes.h"

namespace {

const unsigned char kClassSet = 0x01;
const unsigned char kClassQuery = 0x02;
const unsigned char kClassSystem = 0x03;

// The module's own numbering of its reset commands, by command id 0..3.
const unsigned char kSystemCommands[] = {0x01, 0x05, 0x02, 0x07};

// Code and subcode of the report each query id asks for.
const unsigned char kQueries[][2] = {
    {0x11, 0x01}, {0x11, 0x03}, {0x11, 0x04}, {0x11, 0x06}, {0x12, 0x03},
    {0x12, 0x04}, {0x70, 0x60}, {0x16, 0x02}, {0x16, 0x01},
};

const unsigned long kSystemLen = 5;
const unsigned long kQueryLen = 6;
const unsigned long kMountAngleLen = 44;
const unsigned long kMountAngleMinCap = 88;  // every byte escaped
const unsigned char kMountAngleProgressDone = 100;

bool IsReserved(unsigned char b)
{
    return b >= ZELKO_ESCAPE && b <= ZELKO_RESERVED_LAST;
}

// Writes the trailer of a logical frame of len bytes whose body is in place.
void SealFrame(unsigned char* buf, unsigned long len)
{
    buf[len - 1] = ZELKO_END;
    buf[len - 2] = 0;
    buf[len - 2] = CPositionMgr::MakeZelkoCS(buf, len);
}

}  // namespace

unsigned char CPositionMgr::MakeZelkoCS(unsigned char* buf, unsigned long len)
{
    uint8_t sum = 0;
    for (unsigned long i = 0; i < len; ++i) sum = static_cast<uint8_t>(sum + buf[i]);
    return static_cast<unsigned char>(0u - sum);
}

unsigned char CPositionMgr::MakeStuffPacket(unsigned char* buf, unsigned long len, unsigned long cap)
{
    if (buf == nullptr || len < 4 || len > cap) return 0;
    unsigned long last = len - 1;
    uint8_t count = 0;
    // The whole capacity is scanned, not just the frame: callers hand over zeroed buffers.
    for (unsigned long i = 1; i < cap; ++i) {
        if (i == last || !IsReserved(buf[i])) continue;
        ++last;
        if (last > cap || cap < i + 2) return count;
        // Shift the rest of the frame up by one. The module's rule also moves one byte past the
        // new end; that byte is zero, so moving it is skipped where it would leave the buffer.
        const unsigned long moveEnd = last < cap - 1 ? last : cap - 2;
        if (moveEnd >= i + 1) std::memmove(buf + i + 2, buf + i + 1, moveEnd - i);
        buf[i + 1] = static_cast<unsigned char>(buf[i] - ZELKO_ESCAPE);
        buf[i] = ZELKO_ESCAPE;
        ++count;
    }
    return count;
}

int CPositionMgr::MakeZelkoSysSet(unsigned char command, unsigned char* buf, unsigned long cap, unsigned long& len)
{
    len = kSystemLen;
    if (buf == nullptr || cap < kSystemLen) return 0;
    buf[0] = ZELKO_START;
    buf[1] = kClassSystem;
    if (command >= sizeof kSystemCommands) return 0;
    buf[2] = kSystemCommands[command];
    SealFrame(buf, kSystemLen);
    return 1;
}

int CPositionMgr::MakeZelkoSysQuery(unsigned char query, unsigned char* buf, unsigned long cap, unsigned long& len)
{
    len = kQueryLen;
    if (buf == nullptr || cap < kQueryLen) return 0;
    buf[0] = ZELKO_START;
    buf[1] = kClassQuery;
    if (query >= sizeof kQueries / sizeof kQueries[0]) return 0;
    buf[2] = kQueries[query][0];
    buf[3] = kQueries[query][1];
    SealFrame(buf, kQueryLen);
    return 1;
}

int CPositionMgr::MakeMountAngleCal(unsigned char type, short pitch, short roll, unsigned char* buf,
                                    unsigned long cap, unsigned long& len)
{
    len = kMountAngleLen;
    if (buf == nullptr || cap < kMountAngleMinCap) return 0;
    const unsigned char head[] = {ZELKO_START, kClassSet, 0x70, 0x60, 0x02, type};
    std::memcpy(buf, head, sizeof head);
    std::memset(buf + sizeof head, 0, 30 - sizeof head);

    // The gravity direction in the module's frame for the requested pitch and roll, from the
    // integer tables in single precision; the added 0.0f turns a zero pitch into +0.0.
    float gravity[3] = {0.0f, 0.0f, 0.0f};
    if (type == 0) {
        const float sinPitch = static_cast<float>(CMMUtility::mSin(pitch));
        const float cosPitch = static_cast<float>(CMMUtility::mCos(pitch)) / 100000.0f;
        gravity[0] = sinPitch / -100000.0f + 0.0f;
        gravity[1] = cosPitch * (static_cast<float>(CMMUtility::mSin(roll)) / 100000.0f);
        gravity[2] = cosPitch * (static_cast<float>(CMMUtility::mCos(roll)) / 100000.0f);
    }
    for (int i = 0; i < 3; ++i) ZelkoPutLE(buf + 30 + 4 * i, gravity[i]);
    SealFrame(buf, kMountAngleLen);
    len += MakeStuffPacket(buf, kMountAngleLen, cap);

    if (type == 1) {
        // A reset: the module reports progress until it is done.
        m_ucMountPending.store(1, std::memory_order_relaxed);
        m_stEng.ucMountAngleProgress = 0;
    } else {
        m_ucMountPending.store(0, std::memory_order_relaxed);
        m_stEng.ucMountAngleProgress = kMountAngleProgressDone;
    }
    return 1;
}

int CPositionMgr::DeleteSendPacketBuf(unsigned char* buf)
{
    if (buf == nullptr) return 0;
    delete[] buf;
    return 1;
}
