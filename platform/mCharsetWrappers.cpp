// The Util* fronts of the converters: code page choice, string lengths and their limits.
#include "platform/mCharset.h"
#include "platform/mCharsetDetail.h"
#include "platform/mString16.h"

#include <cstring>

namespace {

// n + 1 bytes so that the source's terminator goes through the converter as well.
int MbcsToWide(int cp, const unsigned char* src, int n, mCharsetSink<unsigned short>& out)
{
    const unsigned withTerminator = static_cast<unsigned>(n) + 1u;
    if (GetIndexbyCP(cp) == 1) return mUtf8ToUtf16Sink(out, src, withTerminator);
    return mEucKrToWideSink(out, src, static_cast<int>(withTerminator));
}

// As MbcsToWide, but for EUC-KR n = -1 stands for the whole terminated string.
int MbcsStringToWide(int cp, const unsigned char* src, int n, mCharsetSink<unsigned short>& out)
{
    if (GetIndexbyCP(cp) != 1 && n == -1) {
        n = static_cast<int>(std::strlen(reinterpret_cast<const char*>(src)));
    }
    return MbcsToWide(cp, src, n, out);
}

// Length in bytes of a 16-bit string with its terminator.
int WideBytesWithTerminator(const unsigned short* s)
{
    return static_cast<int>((wcslen16(s) + 1) * 2);
}

}  // namespace

int UtilMbcsToWideEx(int cp, const unsigned char* src, int n, unsigned short* dst)
{
    mCharsetSink<unsigned short> out = mCharsetSinkFor(dst);
    return MbcsStringToWide(cp, src, n, out);
}

int UtilMbcsToWideEx2(int cp, const unsigned char* src, int n, unsigned short* dst)
{
    mCharsetSink<unsigned short> out = mCharsetSinkFor(dst);
    return MbcsToWide(cp, src, n, out);
}

int UtilMbcsToWide(const unsigned char* src, unsigned short* dst)
{
    return UtilMbcsToWideEx(0, src, -1, dst);
}

int UtilMbcsToWide2(const unsigned char* src, int n, unsigned short* dst)
{
    if (!src || !dst) return 1;
    // Kept on purpose: 255 bytes or more are refused without converting anything.
    if (n >= 255) return 0;
    return UtilMbcsToWideEx(0, src, n, dst);
}

// The n + 1 rule can produce more units than dst holds; stores stop at dstSize units while the
// returned count stays that of the whole conversion.
int UtilMbcsToWide3(const unsigned char* src, int n, unsigned short* dst, int dstSize)
{
    const unsigned cap = dstSize > 0 ? static_cast<unsigned>(dstSize) : 0u;
    mCharsetSink<unsigned short> out = mCharsetSinkFor(dst, cap);
    return MbcsStringToWide(0, src, n < dstSize ? n : dstSize, out);
}

int UtilWideToMbcs(const unsigned short* src, unsigned char* dst)
{
    return WideToEucKr(dst, src, WideBytesWithTerminator(src));
}

int UtilWideToMbcsEx(int, const unsigned short* src, unsigned char* dst)
{
    return UtilWideToMbcs(src, dst);
}

// WideToEucKr already leaves dst terminated at the returned count.
int UtilWideToMbcs2(const unsigned short* src, int nBytes, unsigned char* dst)
{
    return WideToEucKr(dst, src, nBytes);
}

int UtilWideToMbcs3(const unsigned short* src, int nBytes, unsigned char* dst)
{
    return UtilWideToMbcs2(src, nBytes, dst);
}

int UtilWideToMbcsEx2(int, const unsigned short* src, int nBytes, unsigned char* dst)
{
    return UtilWideToMbcs2(src, nBytes, dst);
}

int UtilWideToUtf8(const unsigned short* src, unsigned char* dst)
{
    return Utf16ToUtf8(dst, src, wcslen16(src) + 1);
}
