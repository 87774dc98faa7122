// Message decoders: checksum, escape removal and the two repacked kinds.
#include "module/position/ZELKOParser.h"
#include "module/position/ZelkoCatalogue.h"
#include "module/position/ZelkoFrameScan.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "platform/mString16.h"
#include "platform/mTrace.h"

namespace {

// memcpy for the few dozen bytes of a frame, in whole words (the last one overlapping): a
// variable-length copy of this size otherwise costs more to start than to do.
[[gnu::always_inline]] inline void CopyFrameBytes(unsigned char* dst, const unsigned char* src, unsigned n)
{
    if (n < 8) {
        for (unsigned i = 0; i < n; ++i) dst[i] = src[i];
        return;
    }
    for (unsigned i = 0; i + 8 < n; i += 8) std::memcpy(dst + i, src + i, 8);
    std::memcpy(dst + n - 8, src + n - 8, 8);
}

// Copies frame[from .. from+n-1] into dst, leaving dst zero where the frame (0..last) ends
// earlier: the frame length is never compared with its kind's length, so a short frame must
// not be read past its end marker.
void CopyWithin(unsigned char* dst, const unsigned char* frame, int last, int from, int n)
{
    const int avail = std::min(n, last + 1 - from);
    if (avail > 0) CopyFrameBytes(dst, frame + from, static_cast<unsigned>(avail));
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

int CZELKOParser::CheckFrame(const unsigned char* frame, unsigned char endIndex, uint8_t sum)
{
    if (sum == 0 || CheckSum(frame, endIndex, sum)) return 1;
    m_ucLastOutcome = ZELKO_OUTCOME_BAD_CHECKSUM;
    return 0;
}

int CZELKOParser::ParseFrameImage(unsigned char* frame, unsigned char* out, unsigned L, unsigned char endIndex)
{
    const ZelkoFrameScan scan = ZelkoScanFrame(frame, endIndex);
    if (scan.sum != 0 || scan.escapes != 0) return ParseEscapedImage(frame, out, L, endIndex, scan);
    // The image is the frame itself, zero where the frame ends early.
    const unsigned n = std::min(L, endIndex + 1u);
    CopyFrameBytes(out, frame, n);
    if (n < L) std::memset(out + n, 0, L - n);
    return 1;
}

// The rarer frames, kept out of the common path: a bad checksum, or escapes to remove.
int CZELKOParser::ParseEscapedImage(unsigned char* frame, unsigned char* out, unsigned L, unsigned char endIndex,
                                    ZelkoFrameScan scan)
{
    if (!CheckFrame(frame, endIndex, scan.sum)) return 0;
    const unsigned stuffedLen = endIndex + 1u;
    // The module's rule reads L + escapes bytes; bounded to the frame as received. Un-stuffing
    // writes only the bytes it counts, so a refusal (0 bytes) leaves the record as it was.
    const int srcLen = static_cast<int>(std::min(L + scan.escapes, stuffedLen));
    const int produced = GenStuffedMsg(out, frame, srcLen, static_cast<int>(L), 0);
    if (produced == 0) {
        mTraceW(W16("[MM-Dbg][CZELKOParser::Parse] GenStuffedMsg FAIL!! [0x%X-0x%X] : nGenCnt(%d), Org(%d)\n"),
                static_cast<unsigned>(frame[1]), static_cast<unsigned>(frame[2]), produced, static_cast<int>(L));
        m_ucLastOutcome = ZELKO_OUTCOME_BAD_ESCAPE;
        return 0;
    }
    // A short result is not an error: the image keeps zeros at its end.
    std::memset(out + produced, 0, L - static_cast<unsigned>(produced));
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
    const ZelkoFrameScan scan = ZelkoScanFrame(frame, endIndex);
    if (!CheckFrame(frame, endIndex, scan.sum)) return 0;

    unsigned char* rec = out->ucData;
    auto putFlags = [rec](unsigned char flags) {
        rec[kFlags.offset] =
            static_cast<unsigned char>((rec[kFlags.offset] & 0xF8) | (flags & 0x01) | (((flags >> 6) & 0x03) << 1));
    };
    const int last = endIndex;
    if (scan.escapes == 0 && last >= kHeadLen - 1) {
        // The usual frame, whole and without escapes: straight into the record.
        putFlags(frame[FRAME_FLAGS_AT]);
        std::memcpy(rec + kSensorTime.offset, frame + FRAME_SENSOR_AT, SENSOR_LEN);
        int kept = 0;
        if (frame[FRAME_VERSION_AT] >= TAIL_VERSION) {
            const int tailAt = FRAME_ENTRIES_AT + 4 * frame[FRAME_COUNT_AT];
            kept = std::max(0, std::min<int>(TAIL_LEN, last + 1 - tailAt));
            if (kept > 0) CopyFrameBytes(rec + RECORD_TAIL_AT, frame + tailAt, static_cast<unsigned>(kept));
        }
        std::memset(rec + RECORD_TAIL_AT + kept, 0, TAIL_LEN - static_cast<unsigned>(kept));
        return 1;
    }

    unsigned char head[kHeadLen] = {};
    unsigned char tail[kTailLen] = {};
    // The tail block (plus checksum and end marker) follows N four-byte entries.
    auto tailStart = [&head]() { return FRAME_ENTRIES_AT + 4 * head[FRAME_COUNT_AT]; };

    if (scan.escapes == 0) {
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

    putFlags(head[FRAME_FLAGS_AT]);
    std::memcpy(rec + kSensorTime.offset, head + FRAME_SENSOR_AT, SENSOR_LEN);
    std::memcpy(rec + RECORD_TAIL_AT, tail, TAIL_LEN);
    return 1;
}
