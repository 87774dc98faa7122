// Code page dispatch for mConv: UTF-8 for 65001, Windows-1252 for every other number.
#include "platform/mCharset.h"
#include "platform/mCharsetDetail.h"

#include <cstdint>

namespace {

const uint16_t kUnassigned = 0xFFFD;

// Bytes 0x80 to 0x9F; every other byte is its own code point.
const uint16_t kCp1252High[32] = {
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD,
    0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178,
};

unsigned short Cp1252ToUnit(unsigned char b)
{
    return b >= 0x80 && b < 0xA0 ? kCp1252High[b - 0x80] : b;
}

// The units of bytes 0x80 to 0x9F (in 0x0150-0x0197, 0x02C0-0x02DF, 0x2010-0x203F, plus 0x20AC
// and 0x2122) are found by searching the same table; 0x0080-0x009F have no byte.
int Cp1252ToByte(unsigned short u)
{
    if (u < 0x80 || (u >= 0xA0 && u <= 0xFF)) return u;
    if (u == kUnassigned) return -1;
    for (unsigned i = 0; i < 32; ++i) {
        if (kCp1252High[i] == u) return static_cast<int>(0x80 + i);
    }
    return -1;
}

}  // namespace

mCp1252Converter mCp1252MakeConverter()
{
    return mCp1252Converter{Cp1252ToUnit, Cp1252ToByte};
}

int GetIndexbyCP(int cp)
{
    return cp == 65001 ? 1 : 0;
}

// dstSize bounds the stores only; the count is that of the whole conversion.
int mConv(int cp, const unsigned char* src, int n, unsigned short* dst, unsigned dstSize)
{
    mCharsetSink<unsigned short> out = mCharsetSinkFor(dst, dstSize);
    const unsigned count = n > 0 ? static_cast<unsigned>(n) : 0u;
    if (GetIndexbyCP(cp) == 1) return mUtf8ToUtf16Sink(out, src, count);

    const mCp1252Converter conv = mCp1252MakeConverter();
    for (unsigned i = 0; i < count; ++i) {
        const unsigned short u = conv.toUnit(src[i]);
        if (u == kUnassigned) break;
        out.Put(u);
    }
    return static_cast<int>(out.count);
}

int UtilConvUnicode(int cp, const unsigned char* src, int n, unsigned short* dst, int dstSize)
{
    const unsigned cap = dstSize > 0 ? static_cast<unsigned>(dstSize) : 0u;
    const int r = mConv(cp, src, n, dst, cap);
    if (r < 1) return 0;
    // A full buffer is left without a terminator.
    if (r >= dstSize) return dstSize;
    if (dst) dst[r] = 0;
    return r;
}
