#include "platform/mString16.h"

#include <cctype>
#include <cstdint>
#include <cstdlib>

namespace {

// Indexes of wcschr16 and wcsstr16 are 16 bits wide. Past the last one the search would wrap
// to the start and never end; it stops there instead.
constexpr uint32_t kLastIndex16 = 0xFFFF;

unsigned short FoldAscii(unsigned short u)
{
    return (u >= 'A' && u <= 'Z') ? static_cast<unsigned short>(u + ('a' - 'A')) : u;
}

unsigned short UpperAscii(unsigned short u)
{
    return (u >= 'a' && u <= 'z') ? static_cast<unsigned short>(u - ('a' - 'A')) : u;
}

int CompareLengths(uint32_t la, uint32_t lb)
{
    return la == lb ? 0 : (la < lb ? -1 : 1);
}

}  // namespace

unsigned int wcslen16(const unsigned short* s)
{
    uint32_t len = 0;
    while (s[len] != 0) ++len;
    return len;
}

unsigned int wcsnlen16(const unsigned short* s, unsigned int n)
{
    uint32_t len = 0;
    while (len < n && s[len] != 0) ++len;
    return len;
}

unsigned short* wcscpy16(unsigned short* d, const unsigned short* s)
{
    uint32_t i = 0;
    do d[i] = s[i]; while (s[i++] != 0);
    return d;
}

unsigned short* wcscat16(unsigned short* d, const unsigned short* s)
{
    wcscpy16(d + wcslen16(d), s);
    return d;
}

unsigned short* wcsncat16(unsigned short* d, const unsigned short* s, unsigned int n)
{
    unsigned short* p = d + wcslen16(d);
    uint32_t i = 0;
    for (; i < n && s[i] != 0; ++i) p[i] = s[i];
    // Kept as callers know it: when s ends first no terminator is written, so d must have
    // been cleared beforehand.
    if (i == n) p[i] = 0;
    return d;
}

unsigned short* wcsncpy16(unsigned short* d, const unsigned short* s, unsigned int n)
{
    const uint32_t len = wcsnlen16(s, n);
    for (uint32_t i = 0; i < len; ++i) d[i] = s[i];
    d[len] = 0;
    return d;
}

unsigned short* wcsdup16(const unsigned short* s)
{
    const std::size_t units = static_cast<std::size_t>(wcslen16(s)) + 1;
    auto* d = static_cast<unsigned short*>(std::malloc(units * sizeof(unsigned short)));
    return d ? wcscpy16(d, s) : nullptr;
}

unsigned short* wcsupr16(unsigned short* s)
{
    for (unsigned short* p = s; *p != 0; ++p) *p = UpperAscii(*p);
    return s;
}

unsigned short* wcslwr16(unsigned short* s)
{
    for (unsigned short* p = s; *p != 0; ++p) *p = FoldAscii(*p);
    return s;
}

int wcsncmp16(const unsigned short* a, const unsigned short* b, unsigned int n)
{
    uint32_t la = wcslen16(a);
    uint32_t lb = wcslen16(b);
    uint32_t m = la < lb ? la : lb;
    if (m >= n) m = la = lb = n;
    for (uint32_t i = 0; i < m; ++i)
        if (a[i] != b[i]) return a[i] > b[i] ? 1 : -1;
    return CompareLengths(la, lb);
}

int wcscmp16(const unsigned short* a, const unsigned short* b)
{
    return wcsncmp16(a, b, 1000000);
}

int wcsicmp16(const unsigned short* a, const unsigned short* b)
{
    return wcsnicmp16(a, b, UINT32_MAX);
}

int wcsnicmp16(const unsigned short* a, const unsigned short* b, unsigned int n)
{
    if (a == b) return 0;
    for (uint32_t i = 0; i < n; ++i) {
        const int ca = FoldAscii(a[i]);
        const int cb = FoldAscii(b[i]);
        if (ca != cb || ca == 0) return ca - cb;
    }
    return 0;
}

unsigned short* wcschr16(const unsigned short* s, unsigned short c)
{
    for (uint32_t i = 0; i <= kLastIndex16 && s[i] != 0; ++i)
        if (s[i] == c) return const_cast<unsigned short*>(s + i);
    return nullptr;
}

unsigned short* wcsrchr16(const unsigned short* s, unsigned short c)
{
    // Index 0 is never a result, so strings shorter than two units never match; kept as it
    // has always behaved.
    for (uint32_t i = wcslen16(s); i-- > 1;)
        if (s[i] == c) return const_cast<unsigned short*>(s + i);
    return nullptr;
}

unsigned int wcsspn16(const unsigned short* s, const unsigned short* set)
{
    uint32_t len = 0;
    while (s[len] != 0 && wcschr16(set, s[len]) != nullptr) ++len;
    return len;
}

unsigned short* wcspbrk16(const unsigned short* s, const unsigned short* set)
{
    for (; *s != 0; ++s)
        if (wcschr16(set, *s) != nullptr) return const_cast<unsigned short*>(s);
    return nullptr;
}

unsigned short* wcstok16_r(unsigned short* s, const unsigned short* delims, unsigned short** save)
{
    if (s == nullptr) s = *save;
    if (s == nullptr) return nullptr;
    s += wcsspn16(s, delims);
    if (*s == 0) {
        *save = nullptr;
        return nullptr;
    }
    unsigned short* stop = wcspbrk16(s, delims);
    if (stop != nullptr) *stop++ = 0;
    *save = stop;
    return s;
}

unsigned short* wcstok16(unsigned short* s, const unsigned short* delims)
{
    static unsigned short* save;
    return wcstok16_r(s, delims, &save);
}

unsigned short* wcsstr16(const unsigned short* h, const unsigned short* n)
{
    const uint32_t lh = wcslen16(h);
    const uint32_t ln = wcslen16(n);
    if (ln == 0) return const_cast<unsigned short*>(h);
    if (lh < ln) return nullptr;
    for (uint32_t i = 0; i <= lh - ln && i <= kLastIndex16; ++i) {
        uint32_t j = 0;
        while (j < ln && h[i + j] == n[j]) ++j;
        if (j == ln) return const_cast<unsigned short*>(h + i);
    }
    return nullptr;
}

unsigned int wcstoi16(const unsigned short* s)
{
    while (*s == ' ') ++s;
    uint32_t value = 0;
    for (; *s >= '0' && *s <= '9'; ++s) value = value * 10 + (*s - '0');
    return value;
}

double wcstod16(const unsigned short* s)
{
    // White space is judged on the low byte alone, as the narrowing below sees it.
    auto space = [](unsigned short u) { return std::isspace(static_cast<unsigned char>(u)) != 0; };
    while (space(*s)) ++s;
    char text[81];
    uint32_t len = 0;
    while (len < 80 && s[len] != 0) {
        text[len] = static_cast<char>(s[len]);
        if (space(s[len++])) break;
    }
    text[len] = 0;
    return std::strtod(text, nullptr);
}

void Ucs2ToUcs4(char* d, const unsigned short* s)
{
    for (; *s != 0; ++s) *d++ = static_cast<char>(*s);
    *d = 0;
}

void Ucs4ToUcs2(unsigned short* d, const char* s)
{
    for (; *s != 0; ++s) *d++ = static_cast<unsigned char>(*s);
    *d = 0;
}
