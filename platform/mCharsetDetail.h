// Shared pieces of the character-set converters that are not part of their public interface.
#ifndef GPSDR_PLATFORM_MCHARSETDETAIL_H
#define GPSDR_PLATFORM_MCHARSETDETAIL_H

#include <climits>

// Output of a converter. Stores stop at `cap` (0 when there is no buffer, just counting) while
// the count goes on, so a capped conversion returns exactly what an uncapped one would.
template <typename T>
struct mCharsetSink {
    T* dst;
    unsigned cap;
    unsigned count;

    void Put(T v)
    {
        if (count < cap) dst[count] = v;
        ++count;
    }
    // Terminates without counting the terminator.
    void Terminate()
    {
        if (count < cap) dst[count] = 0;
    }
};

template <typename T>
mCharsetSink<T> mCharsetSinkFor(T* dst, unsigned cap = UINT_MAX)
{
    return mCharsetSink<T>{dst, dst ? cap : 0u, 0u};
}

// The decoders behind Utf8ToUtf16 and EucKrToWide, writing into a sink.
int mUtf8ToUtf16Sink(mCharsetSink<unsigned short>& out, const unsigned char* src, unsigned n);
int mEucKrToWideSink(mCharsetSink<unsigned short>& out, const unsigned char* src, int n);

// Windows-1252 per character: toUnit gives 0xFFFD for an unassigned byte, toByte gives -1 for a
// unit without a byte.
struct mCp1252Converter {
    unsigned short (*toUnit)(unsigned char b);
    int (*toByte)(unsigned short u);
};
mCp1252Converter mCp1252MakeConverter();

#endif
