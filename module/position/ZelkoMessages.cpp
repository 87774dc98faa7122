// Message decoders: checksum, escape removal and the two repacked kinds.
#include "module/position/ZELKOParser.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "platform/mString16.h"
#include "platform/mTrace.h"

namespace {

const unsigned kMaxImage = MountAngCalGet::kSize;

// Copies frame[from .. from+n-1] into dst, leaving dst zero where the frame (0..last) ends
// earlier: the frame length is never compared with its kind's length, so a short frame must
// not be read past its end marker.
void CopyWithin(unsigned char* dst, const unsigned char* frame, int last, int from, int n)
{
    const int avail = std::min(n, last + 1 - from);
    if (avail > 0) std::memcpy(dst, frame + from, static_cast<size_t>(avail));
}

}  // namespace

CZELKOParser::CZELKOParser()
    : m_stAppVersion(), m_stVersion03(), m_stVersion06(), m_stFFixWithRawDR(), m_stGpsFix(),
      m_stGpsFixEx(), m_stUtcConstelSum(), m_stGpsChMeasShStat(), m_stDppCal(), m_stAckNoIdx(),
      m_stAckIdx(), m_stSysCmdAck(), m_stDRSensor(), m_stAltFilterOutput(), m_stMountAngCal(),
      m_stProduct(), m_stHardware(), m_stSoftEventLog(), m_stHealthStatus()
{
}

CZELKOParser::~CZELKOParser() = default;

int CZELKOParser::ParseFrameImage(unsigned char* frame, unsigned char* out, unsigned L, unsigned char endIndex)
{
    if (!IsValidChecksum(frame, endIndex)) return 0;
    const int stuffedLen = endIndex + 1;
    unsigned char image[kMaxImage] = {};
    const unsigned char escapes = GetCountOf0x80(frame, endIndex);
    if (escapes == 0) {
        CopyWithin(image, frame, endIndex, 0, static_cast<int>(L));
    } else {
        // The module's rule reads L + escapes bytes; bounded to the frame as received.
        const int srcLen = std::min(static_cast<int>(L) + escapes, stuffedLen);
        const int produced = GenStuffedMsg(image, frame, srcLen, static_cast<int>(L), 0);
        if (produced == 0) {
            mTraceW(W16("[MM-Dbg][CZELKOParser::Parse] GenStuffedMsg FAIL!! [0x%X-0x%X] : nGenCnt(%d), Org(%d)\n"),
                    static_cast<unsigned>(frame[1]), static_cast<unsigned>(frame[2]), produced, static_cast<int>(L));
            return 0;
        }
        // A short result is not an error: the image keeps zeros at its end.
    }
    std::memcpy(out, image, L);
    return 1;
}

int CZELKOParser::Parse(unsigned char* frame, AltFilterOutputData* out, unsigned char endIndex)
{
    enum { kFormat1Len = 58, kFormat1Body = 56 };
    // The format byte is read before any check; an unknown format is refused silently.
    const unsigned char format = endIndex >= 3 ? frame[3] : 0;
    if (format == 2) return ParseImage(frame, out, endIndex);
    if (format != 1) return 0;

    unsigned char narrow[kFormat1Len];
    if (!ParseFrameImage(frame, narrow, kFormat1Len, endIndex)) return 0;
    unsigned char* rec = out->ucData;
    std::memcpy(rec, narrow, kFormat1Body);
    std::memset(rec + kFormat1Body, 0, AltFilterOutputData::kSize - 2 - kFormat1Body);
    rec[AltFilterOutputData::kSize - 2] = narrow[kFormat1Len - 2];
    rec[AltFilterOutputData::kSize - 1] = narrow[kFormat1Len - 1];
    return 1;
}

int CZELKOParser::Parse(unsigned char* frame, DRSensorData* out, unsigned char endIndex)
{
    enum { kHeadLen = 28, kTailLen = 31, kKeptTail = 29, kSensorLen = 22, kCountAt = 27, kTailVersion = 8 };
    if (!IsValidChecksum(frame, endIndex)) return 0;

    unsigned char head[kHeadLen] = {};
    unsigned char tail[kTailLen] = {};
    const int last = endIndex;
    // The tail block (plus checksum and end marker) follows N four-byte entries.
    auto tailStart = [&head]() { return (head[kCountAt] + 7) * 4; };

    if (GetCountOf0x80(frame, endIndex) == 0) {
        CopyWithin(head, frame, last, 0, kHeadLen);
        if (head[3] >= kTailVersion) CopyWithin(tail, frame, last, tailStart(), kTailLen);
    } else {
        // This kind carries a variable entry list, so it is de-stuffed here directly into head
        // and tail. XOR equals the usual OR for every follower a sender produces (0x00..0x03).
        uint8_t k = 0;
        bool escaped = false;
        for (int i = 0; i < last; ++i) {
            unsigned char b = frame[i];
            if (b == ZELKO_ESCAPE) {
                escaped = true;
                continue;
            }
            if (escaped) {
                b ^= ZELKO_ESCAPE;
                escaped = false;
            }
            if (k < kHeadLen) {
                head[k] = b;
            } else {
                if (head[3] < kTailVersion) break;
                const int t = k - tailStart();
                if (t >= 0 && t < kTailLen) tail[t] = b;
            }
            ++k;
        }
    }

    unsigned char* rec = out->ucData;
    const unsigned char flags = head[4];
    rec[0] = static_cast<unsigned char>((rec[0] & 0xF8) | (flags & 0x01) | (((flags >> 6) & 0x03) << 1));
    std::memcpy(rec + 1, head + 5, kSensorLen);
    std::memcpy(rec + 1 + kSensorLen, tail, kKeptTail);
    return 1;
}
