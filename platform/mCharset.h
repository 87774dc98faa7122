// Conversion between 16-bit strings and UTF-8 (code page 65001), EUC-KR (KS X 1001) and
// Windows-1252. Errors are return values only: -1 from Utf8ToUtf16, negated counts from the
// EUC-KR converters, short counts from mConv.
#ifndef GPSDR_PLATFORM_MCHARSET_H
#define GPSDR_PLATFORM_MCHARSET_H

int GetIndexbyCP(int cp);
int mConv(int cp, const unsigned char* src, int n, unsigned short* dst, unsigned dstSize);
int UtilConvUnicode(int cp, const unsigned char* src, int n, unsigned short* dst, int dstSize);

int Utf8ToUtf16(unsigned short* dst, const unsigned char* src, unsigned n);
int Utf16ToUtf8(unsigned char* dst, const unsigned short* src, unsigned n);
int EucKrToWide(unsigned short* dst, const unsigned char* src, int n);
int WideToEucKr(unsigned char* dst, const unsigned short* src, int nBytes);

int UtilMbcsToWideEx(int cp, const unsigned char* src, int n, unsigned short* dst);
int UtilMbcsToWideEx2(int cp, const unsigned char* src, int n, unsigned short* dst);
int UtilMbcsToWide(const unsigned char* src, unsigned short* dst);
int UtilMbcsToWide2(const unsigned char* src, int n, unsigned short* dst);
int UtilMbcsToWide3(const unsigned char* src, int n, unsigned short* dst, int dstSize);

int UtilWideToMbcs(const unsigned short* src, unsigned char* dst);
int UtilWideToMbcsEx(int cp, const unsigned short* src, unsigned char* dst);
int UtilWideToMbcs2(const unsigned short* src, int nBytes, unsigned char* dst);
int UtilWideToMbcs3(const unsigned short* src, int nBytes, unsigned char* dst);
int UtilWideToMbcsEx2(int cp, const unsigned short* src, int nBytes, unsigned char* dst);
int UtilWideToUtf8(const unsigned short* src, unsigned char* dst);

#endif
