// Message decoders: checksum, escape removal and the two repacked kinds.
#include "module/position/ZELKOParser.h"
#include "module/position/ZelkoCatalogue.h"

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
      m_stProduct(), m_stHardware(), m_stSoftEventLog(), m_stHealthStatus(),
      m_ucLastOutcome(ZELKO_OUTCOME_NO_FRAME), m_ucLastKind(0)
{
}

CZELKOParser::~CZELKOParser() = default;

int CZELKOParser::CheckFrame(unsigned char* frame, unsigned char endIndex)
{
    if (IsValidChecksum(frame, endIndex)) return 1;
    m_ucLastOutcome = ZELKO_OUTCOME_BAD_CHECKSUM;
    return 0;
}

int CZELKOParser::ParseFrameImage(unsigned char* frame, unsigned char* out, unsigned L, unsigned char endIndex)
{
    if (!CheckFrame(frame, endIndex)) return 0;
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
            m_ucLastOutcome = ZELKO_OUTCOME_BAD_ESCAPE;
            return 0;
        }
        // A short result is not an error: the image keeps zeros at its end.
    }
    std::memcpy(out, image, L);
    return 1;
}

int CZELKOParser::Parse(unsigned char* frame, AltFilterOutputData* out, unsigned char endIndex)
{
    using namespace ZelkoAltFilter;
    // The format byte is read before any check; an unknown format is refused silently.
    const unsigned char format = endIndex >= kFormat.offset ? frame[kFormat.offset] : 0;
    if (format == 2) return ParseImage(frame, out, endIndex);
    if (format != 1) {
        m_ucLastOutcome = ZELKO_OUTCOME_REFUSED_LENGTH;
        return 0;
    }

    unsigned char narrow[FORMAT1_LEN];
    if (!ParseFrameImage(frame, narrow, FORMAT1_LEN, endIndex)) return 0;
    unsigned char* rec = out->ucData;
    std::memcpy(rec, narrow, FORMAT2_ONLY);
    std::memset(rec + FORMAT2_ONLY, 0, AltFilterOutputData::kSize - 2 - FORMAT2_ONLY);
    rec[AltFilterOutputData::kSize - 2] = narrow[FORMAT1_LEN - 2];
    rec[AltFilterOutputData::kSize - 1] = narrow[FORMAT1_LEN - 1];
    return 1;
}

int CZELKOParser::Parse(unsigned char* frame, DRSensorData* out, unsigned char endIndex)
{
    using namespace ZelkoDRSensor;
    enum { kHeadLen = FRAME_ENTRIES_AT, kTailLen = TAIL_LEN + 2 };
    if (!CheckFrame(frame, endIndex)) return 0;

    unsigned char head[kHeadLen] = {};
    unsigned char tail[kTailLen] = {};
    const int last = endIndex;
    // The tail block (plus checksum and end marker) follows N four-byte entries.
    auto tailStart = [&head]() { return FRAME_ENTRIES_AT + 4 * head[FRAME_COUNT_AT]; };

    if (GetCountOf0x80(frame, endIndex) == 0) {
        CopyWithin(head, frame, last, 0, kHeadLen);
        if (head[FRAME_VERSION_AT] >= TAIL_VERSION) CopyWithin(tail, frame, last, tailStart(), kTailLen);
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
                if (head[FRAME_VERSION_AT] < TAIL_VERSION) break;
                const int t = k - tailStart();
                if (t >= 0 && t < kTailLen) tail[t] = b;
            }
            ++k;
        }
    }

    unsigned char* rec = out->ucData;
    const unsigned char flags = head[FRAME_FLAGS_AT];
    rec[kFlags.offset] =
        static_cast<unsigned char>((rec[kFlags.offset] & 0xF8) | (flags & 0x01) | (((flags >> 6) & 0x03) << 1));
    std::memcpy(rec + kSensorTime.offset, head + FRAME_SENSOR_AT, SENSOR_LEN);
    std::memcpy(rec + RECORD_TAIL_AT, tail, TAIL_LEN);
    return 1;
}
