// Receive-side frame primitives: marker search, checksum and escape removal.
#include "module/position/ZELKOParser.h"
#include "module/position/ZelkoFrameScan.h"

#include <cstdint>
#include <cstring>

#include "platform/mString16.h"
#include "platform/mTrace.h"

namespace {

// Identifier bytes for a trace; a frame too short to hold them shows 0 rather than a byte
// beyond it.
unsigned TraceByte(const unsigned char* frame, int last, int k)
{
    return k <= last ? frame[k] : 0u;
}

}  // namespace

unsigned char CZELKOParser::FindStartMsg(unsigned char* buf, unsigned short len)
{
    if (buf == nullptr || len == 0) return 0;
    const void* hit = std::memchr(buf, ZELKO_START, len);
    const unsigned idx = hit ? static_cast<unsigned>(static_cast<const unsigned char*>(hit) - buf) : len;
    // Kept 8 bits wide on purpose: with no marker in a long buffer this is len mod 256, and the
    // stream loop then discards only that many bytes.
    return static_cast<unsigned char>(idx);
}

unsigned char CZELKOParser::FindEndMsg(unsigned char* buf, unsigned short len)
{
    if (buf == nullptr || len == 0 || buf[0] == ZELKO_END) return 0;
    const void* hit = std::memchr(buf + 1, ZELKO_END, len - 1u);
    if (hit == nullptr) return 0;
    return static_cast<unsigned char>(static_cast<const unsigned char*>(hit) - buf);
}

unsigned char CZELKOParser::GetParserCode(unsigned char* frame)
{
    return frame[1];
}

unsigned char CZELKOParser::GetParserSubcode(unsigned char* frame)
{
    return frame[2];
}

bool CZELKOParser::IsEOMByte(unsigned char* p)
{
    return *p == ZELKO_END;
}

unsigned char CZELKOParser::GetCountOf0x80(unsigned char* frame, unsigned char endIndex)
{
    return ZelkoScanFrame(frame, endIndex).escapes;
}

int CZELKOParser::IsValidChecksum(unsigned char* frame, unsigned char endIndex)
{
    return CheckSum(frame, endIndex, ZelkoScanFrame(frame, endIndex).sum);
}

int CZELKOParser::CheckSum(const unsigned char* frame, unsigned char endIndex, uint8_t sum)
{
    if (sum == 0) return 1;
    mTraceW(W16("[ZELKOParser::CalChecksum]Invalid - Len(%d), S(%02X), E(%02X), ID(%02X-%02X), Sum(%02X)\n"),
            static_cast<int>(endIndex), static_cast<unsigned>(frame[0]), static_cast<unsigned>(frame[endIndex]),
            TraceByte(frame, endIndex, 1), TraceByte(frame, endIndex, 2), static_cast<unsigned>(sum));
    return 0;
}

int CZELKOParser::GenStuffedMsg(unsigned char* dst, unsigned char* src, int srcLen, int dstMax, char quiet)
{
    if (srcLen < 1) return 0;
    const int last = srcLen - 1;
    uint8_t j = 0;
    for (int i = 0; i < srcLen; ++i) {
        const unsigned char b = src[i];
        if (b == ZELKO_ESCAPE && i + 1 >= srcLen) {
            if (!quiet) {
                mTraceW(W16("[MM-Dbg][CZELKOParser::GenStuffedMsg] cSrcMsg[ii] == 0x80 but ii is end msg : [0x%X-0x%X]Size(%d),Org(%d),ii(%d)\n"),
                        TraceByte(src, last, 1), TraceByte(src, last, 2), srcLen, dstMax, i);
            }
            return j;
        }
        if (b == ZELKO_ESCAPE) {
            if (j < dstMax) dst[j++] = static_cast<unsigned char>(src[i + 1] | ZELKO_ESCAPE);
        } else if (i > 0 && src[i - 1] == ZELKO_ESCAPE) {
            // Follower of the escape just handled. A raw 0x80 always opens a new escape, so
            // 0x80, 0x80 is not a pair: the second one escapes the byte after it.
        } else if (j < dstMax) {
            dst[j++] = b;
        }
        if (j > dstMax) {
            if (quiet) return j;
            mTraceW(W16("[MM-Dbg][CZELKOParser::GenStuffedMsg] Generation over Original buffer size : [0x%X-0x%X]Size(%d),Org(%d)\n"),
                    TraceByte(src, last, 1), TraceByte(src, last, 2), srcLen, dstMax);
            return 0;
        }
    }
    return j;
}
