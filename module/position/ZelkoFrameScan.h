// The 8-bit sum and the escape count of a received frame in one pass, sixteen bytes at a time
// with SSE2, eight bytes in a 64-bit word elsewhere (the same results). Inline, because the
// stream path takes it for every frame.
#ifndef GPSDR_POSITION_ZELKOFRAMESCAN_H
#define GPSDR_POSITION_ZELKOFRAMESCAN_H

#include <cstdint>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

struct ZelkoFrameScan {
    uint8_t sum;      // of frame[0..endIndex], 0 for a valid checksum
    uint8_t escapes;  // bytes 0x80 among them (8-bit count)
};

namespace zelko_scan {

const uint64_t kLowBytes = 0x00FF00FF00FF00FFull;
const uint64_t kSevenBits = 0x7F7F7F7F7F7F7F7Full;

// Eight frame bytes as one word, the first byte lowest, in one load.
inline uint64_t Word(const unsigned char* p)
{
    uint64_t w;
    std::memcpy(&w, p, sizeof w);
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    w = __builtin_bswap64(w);
#endif
    return w;
}

// 0x01 in the byte lane of every zero byte of w, 0 elsewhere (exact: no carries between lanes).
inline uint64_t ZeroBytes(uint64_t w)
{
    return ~(((w & kSevenBits) + kSevenBits) | w | kSevenBits) >> 7;
}

// Adds the eight bytes of w: byte pairs into four 16-bit lanes, and a 1 into the byte lane of
// every byte equal to 0x80 (found as the zero bytes of w ^ 0x80..80). A frame has at most 32
// words, so no lane overflows.
inline void Add(uint64_t w, uint64_t& sumLanes, uint64_t& escapeLanes)
{
    sumLanes += (w & kLowBytes) + ((w >> 8) & kLowBytes);
    escapeLanes += ZeroBytes(w ^ 0x8080808080808080ull);
}

}  // namespace zelko_scan

// Sum and escape count of frame[0..endIndex]; reads no byte outside it.
[[gnu::always_inline]] inline ZelkoFrameScan ZelkoScanFrame(const unsigned char* frame, unsigned char endIndex)
{
    using namespace zelko_scan;
    const unsigned n = endIndex + 1u;
#if defined(__SSE2__)
    if (n >= 16) {
        // Sixteen bytes at a time: psadbw sums them, a compare counts the escapes (-1 each).
        alignas(16) static const unsigned char kTailMask[32] = {0,    0,    0,    0,    0,    0,    0,    0,
                                                                 0,    0,    0,    0,    0,    0,    0,    0,
                                                                 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                                                 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
        const __m128i zero = _mm_setzero_si128(), escape = _mm_set1_epi8(static_cast<char>(0x80));
        __m128i sums = zero, escapes = zero;
        unsigned i = 0;
        auto add = [&](__m128i v) {
            sums = _mm_add_epi64(sums, _mm_sad_epu8(v, zero));
            escapes = _mm_sub_epi8(escapes, _mm_cmpeq_epi8(v, escape));
        };
        for (; i + 16 <= n; i += 16) add(_mm_loadu_si128(reinterpret_cast<const __m128i*>(frame + i)));
        // The last bytes as the end of the block that ends the frame, the ones already counted
        // masked to zero.
        if (i < n) {
            const __m128i last = _mm_loadu_si128(reinterpret_cast<const __m128i*>(frame + n - 16));
            add(_mm_and_si128(last, _mm_loadu_si128(reinterpret_cast<const __m128i*>(kTailMask + (n - i)))));
        }
        const __m128i escapeSum = _mm_sad_epu8(escapes, zero);
        const unsigned sum = static_cast<unsigned>(_mm_cvtsi128_si32(sums) + _mm_extract_epi16(sums, 4));
        const unsigned count =
            static_cast<unsigned>(_mm_cvtsi128_si32(escapeSum) + _mm_extract_epi16(escapeSum, 4));
        return ZelkoFrameScan{static_cast<uint8_t>(sum), static_cast<uint8_t>(count)};
    }
#endif
    uint64_t sumLanes = 0, escapeLanes = 0;
    if (n >= 8) {
        unsigned i = 0;
        for (; i + 8 <= n; i += 8) Add(Word(frame + i), sumLanes, escapeLanes);
        // The last bytes as the top of the word that ends the frame, the ones already counted
        // shifted out (zeros in their place count for nothing).
        if (i < n) Add(Word(frame + n - 8) >> (8 * (8 - (n - i))), sumLanes, escapeLanes);
    } else {
        for (unsigned i = 0; i < n; ++i) Add(frame[i], sumLanes, escapeLanes);
    }
    const uint64_t sum = (sumLanes * 0x0001000100010001ull) >> 48;  // the four lanes added
    const uint64_t escapes = (escapeLanes * 0x0101010101010101ull) >> 56;
    return ZelkoFrameScan{static_cast<uint8_t>(sum), static_cast<uint8_t>(escapes)};
}

#endif
