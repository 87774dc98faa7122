// EUC-KR (KS X 1001, two bytes per character, no extensions) <-> 16-bit units.
#include "platform/mCharset.h"
#include "platform/mCharsetDetail.h"
#include "platform/mEucKrTables.h"

#include <cstdint>

namespace {

const uint16_t kUnassigned = 0xFFFD;

struct DecodeBlock {
    unsigned firstK;
    unsigned count;
    const uint16_t* units;
};

// Everything between the blocks (the rest of the symbol rows, row 0x49, row 0x7E) is invalid.
const DecodeBlock kDecodeBlocks[] = {
    {0, sizeof g_eucKrSymbols / sizeof g_eucKrSymbols[0], g_eucKrSymbols},
    {1410, sizeof g_eucKrHangul / sizeof g_eucKrHangul[0], g_eucKrHangul},
    {3854, sizeof g_eucKrHanja / sizeof g_eucKrHanja[0], g_eucKrHanja},
};

// Unit of a lead/trail pair, kUnassigned when the pair is invalid. Kept on purpose: only the
// low seven bits of the trail byte count, so B0 21 reads like B0 A1.
uint16_t DecodePair(uint8_t lead, uint8_t trail)
{
    const unsigned row = lead & 0x7Fu;
    const unsigned col = trail & 0x7Fu;
    if (row < 0x21 || row > 0x7E || col < 0x21 || col > 0x7E) return kUnassigned;
    const unsigned k = (row - 0x21) * 94 + (col - 0x21);
    for (const DecodeBlock& b : kDecodeBlocks) {
        if (k >= b.firstK && k - b.firstK < b.count) return b.units[k - b.firstK];
    }
    return kUnassigned;
}

// EUC-KR code (lead byte high) of a unit, or 0 when it has none.
uint16_t EncodeUnit(uint16_t u)
{
    for (const mEucKrEncodeRange& r : g_eucKrEncodeRanges) {
        if (u < r.first || u > r.last) continue;
        const mEucKrEncodeRecord& rec = g_eucKrEncodeRecords[r.record + (u - r.first) / 16];
        const unsigned bit = u & 15u;
        if (!((rec.mask >> bit) & 1u)) return 0;
        const unsigned below = rec.mask & ((1u << bit) - 1u);
        return g_eucKrCodes[rec.base + static_cast<unsigned>(__builtin_popcount(below))];
    }
    return 0;
}

// Both directions leave the output terminated where they stopped; an error negates the count.
template <typename T>
int Finish(mCharsetSink<T>& out, bool ok)
{
    out.Terminate();
    const int count = static_cast<int>(out.count);
    return ok ? count : -count;
}

}  // namespace

int mEucKrToWideSink(mCharsetSink<unsigned short>& out, const unsigned char* src, int n)
{
    int i = 0;
    for (; i < n && src[i] != 0; ++i) {
        const uint8_t lead = src[i];
        if (lead < 0x80) {
            out.Put(lead);
            continue;
        }
        const uint16_t u = i + 1 < n ? DecodePair(lead, src[i + 1]) : kUnassigned;
        if (u == kUnassigned) return Finish(out, false);
        out.Put(u);
        ++i;
    }
    return Finish(out, true);
}

int EucKrToWide(unsigned short* dst, const unsigned char* src, int n)
{
    mCharsetSink<unsigned short> out = mCharsetSinkFor(dst);
    return mEucKrToWideSink(out, src, n);
}

int WideToEucKr(unsigned char* dst, const unsigned short* src, int nBytes)
{
    mCharsetSink<unsigned char> out = mCharsetSinkFor(dst);
    const int units = nBytes / 2;
    for (int i = 0; i < units; ++i) {
        const uint16_t u = src[i];
        if (u < 0x80) {
            out.Put(static_cast<unsigned char>(u));
            continue;
        }
        const uint16_t code = EncodeUnit(u);
        if (code == 0) return Finish(out, false);
        out.Put(static_cast<unsigned char>(code >> 8));
        out.Put(static_cast<unsigned char>(code & 0xFF));
    }
    return Finish(out, true);
}
