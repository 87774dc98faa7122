// UTF-8 <-> 16-bit units. Only the 16-bit range exists here: longer sequences are rejected.
#include "platform/mCharset.h"
#include "platform/mCharsetDetail.h"

#include <cstdint>

namespace {

// Sequence length announced by a lead byte; 0 for a byte that cannot start a sequence
// (continuation bytes, the overlong leads 0xC0/0xC1, 0xFE, 0xFF).
unsigned SequenceLength(uint8_t lead)
{
    if (lead < 0xC2) return 0;
    if (lead < 0xE0) return 2;
    if (lead < 0xF0) return 3;
    if (lead < 0xF8) return 4;
    if (lead < 0xFC) return 5;
    if (lead < 0xFE) return 6;
    return 0;
}

}  // namespace

int mUtf8ToUtf16Sink(mCharsetSink<unsigned short>& out, const unsigned char* src, unsigned n)
{
    unsigned i = 0;
    while (i < n) {
        const uint8_t lead = src[i];
        if (lead < 0x80) {
            out.Put(lead);
            ++i;
            continue;
        }
        const unsigned len = SequenceLength(lead);
        if (len == 0) return -1;
        if (n - i < len) {
            // A lead byte alone at the very end is dropped quietly; a longer cut-off fails.
            if (n - i == 1) break;
            return -1;
        }
        uint16_t value = lead & (0x7Fu >> len);
        for (unsigned j = 1; j < len; ++j) {
            const uint8_t c = src[i + j];
            if ((c & 0xC0) != 0x80) return -1;
            value = static_cast<uint16_t>((value << 6) | (c & 0x3F));
        }
        // Overlong test on the 16-bit value: a 4- to 6-byte sequence always fails it, which is
        // how characters beyond the 16-bit range are refused.
        if (len >= 3 && (static_cast<uint32_t>(value) >> (5 * len - 4)) == 0) return -1;
        out.Put(value);
        i += len;
    }
    return static_cast<int>(out.count);
}

int Utf8ToUtf16(unsigned short* dst, const unsigned char* src, unsigned n)
{
    mCharsetSink<unsigned short> out = mCharsetSinkFor(dst);
    return mUtf8ToUtf16Sink(out, src, n);
}

int Utf16ToUtf8(unsigned char* dst, const unsigned short* src, unsigned n)
{
    mCharsetSink<unsigned char> out = mCharsetSinkFor(dst);
    for (unsigned i = 0; i < n; ++i) {
        const uint16_t u = src[i];
        if (u < 0x80) {
            out.Put(static_cast<unsigned char>(u));
        } else if (u & 0xF800) {
            // Surrogates are not paired: each becomes its own three-byte sequence.
            out.Put(static_cast<unsigned char>(0xE0 | (u >> 12)));
            out.Put(static_cast<unsigned char>(0x80 | ((u >> 6) & 0x3F)));
            out.Put(static_cast<unsigned char>(0x80 | (u & 0x3F)));
        } else {
            out.Put(static_cast<unsigned char>(0xC0 | (u >> 6)));
            out.Put(static_cast<unsigned char>(0x80 | (u & 0x3F)));
        }
    }
    return static_cast<int>(out.count);
}
