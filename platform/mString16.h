// Zero-terminated strings of unsigned 16-bit units, independent of the platform's wchar_t, and
// their formatter. Lengths and counts are in units.
#ifndef GPSDR_PLATFORM_MSTRING16_H
#define GPSDR_PLATFORM_MSTRING16_H

#include <cstdarg>
#include <cstddef>

// ---------------------------------------------------------------- literals
// u"..." literals are char16_t; reading them through unsigned short* would break strict
// aliasing, so they are copied into unsigned short arrays at compile time.
template <std::size_t N>
struct mString16Literal {
    unsigned short s[N];
};

template <std::size_t N>
constexpr mString16Literal<N> mMakeString16(const char16_t (&lit)[N])
{
    mString16Literal<N> out{};
    for (std::size_t i = 0; i < N; ++i) out.s[i] = static_cast<unsigned short>(lit[i]);
    return out;
}

// W16("text") is a `const unsigned short*` to a static, zero-terminated 16-bit copy of "text".
#define W16(lit)                                                            \
    ([]() -> const unsigned short* {                                        \
        static constexpr auto w16_literal_ = mMakeString16(u##lit);         \
        return w16_literal_.s;                                              \
    }())

// ---------------------------------------------------------------- string family
unsigned int wcslen16(const unsigned short* s);
unsigned int wcsnlen16(const unsigned short* s, unsigned int n);
unsigned short* wcscpy16(unsigned short* d, const unsigned short* s);
unsigned short* wcscat16(unsigned short* d, const unsigned short* s);
// Terminates d only when it stopped after n units; when s ends first, d must be cleared.
unsigned short* wcsncat16(unsigned short* d, const unsigned short* s, unsigned int n);
// Copies wcsnlen16(s, n) units and a terminator (d needs up to n + 1 units); no zero filling.
unsigned short* wcsncpy16(unsigned short* d, const unsigned short* s, unsigned int n);
unsigned short* wcsdup16(const unsigned short* s);  // release with free()
unsigned short* wcsupr16(unsigned short* s);
unsigned short* wcslwr16(unsigned short* s);
// Comparisons return -1, 0 or 1 (the case-insensitive ones the difference of the folded units);
// wcscmp16 looks at no more than 1000000 units.
int wcsncmp16(const unsigned short* a, const unsigned short* b, unsigned int n);
int wcscmp16(const unsigned short* a, const unsigned short* b);
int wcsicmp16(const unsigned short* a, const unsigned short* b);
int wcsnicmp16(const unsigned short* a, const unsigned short* b, unsigned int n);
// wcschr16 and wcsstr16 search positions 0 to 65535 only; wcsrchr16 never returns s itself.
unsigned short* wcschr16(const unsigned short* s, unsigned short c);
unsigned short* wcsrchr16(const unsigned short* s, unsigned short c);
unsigned int wcsspn16(const unsigned short* s, const unsigned short* set);
unsigned short* wcspbrk16(const unsigned short* s, const unsigned short* set);
unsigned short* wcstok16_r(unsigned short* s, const unsigned short* delims, unsigned short** save);
unsigned short* wcstok16(unsigned short* s, const unsigned short* delims);
unsigned short* wcsstr16(const unsigned short* h, const unsigned short* n);
unsigned int wcstoi16(const unsigned short* s);
double wcstod16(const unsigned short* s);

// Despite the names: Ucs2ToUcs4 narrows (low 8 bits of each unit), Ucs4ToUcs2 widens bytes.
void Ucs2ToUcs4(char* d, const unsigned short* s);
void Ucs4ToUcs2(unsigned short* d, const char* s);

// ---------------------------------------------------------------- formatter
// buf receives at most n units including the terminator; the result is the number of units the
// whole output needs. Arguments: %d %i %u %o %x %X %c take a 32-bit int, also with 'l' (pass
// int or unsigned int, never long); 'h' reads the low 16 bits; 'll'/'L' take a 64-bit long long;
// %s takes const unsigned short* (null prints nothing); %f takes double; %p and %b take a
// 64-bit integer (pass (unsigned long long)(uintptr_t)ptr); %n takes none.
int vswprintf16(unsigned short* buf, unsigned int n, const unsigned short* fmt, va_list ap);
int swprintf16(unsigned short* buf, unsigned int n, const unsigned short* fmt, ...);

// sscanf over 16-bit text: %d %i %u %o %x %X store through int* (also with 'l'), short* with
// 'h', long long* with 'll'/'L'; %s and %c fill unsigned short* (%c without a terminator);
// %n stores the units consumed; '*' skips the assignment. Returns the number of assignments,
// or -1 when the input ends before the first conversion.
int swscanf16(const unsigned short* s, const unsigned short* fmt, ...);

#endif
