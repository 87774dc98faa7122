#include "platform/mString16.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using Units = std::vector<unsigned short>;
constexpr unsigned short E = 0xEEEE;  // untouched buffer content

Units U(const std::string& s) { return Units(s.c_str(), s.c_str() + s.size() + 1); }

std::string A(const unsigned short* s)
{
    std::string out;
    for (; *s != 0; ++s) out += static_cast<char>(*s);
    return out;
}

// Return value and the n units handed over plus two guard units, narrowed: E shows as '\xEE',
// other units above 0xFF as '?'.
using Result = std::pair<int, std::string>;

template <typename... Args>
Result Format16(unsigned n, const char* fmt, Args... args)
{
    Units buf(n + 2, E);
    const int ret = swprintf16(buf.data(), n, U(fmt).data(), args...);
    std::string out;
    for (unsigned short u : buf) out += u == E ? '\xEE' : (u > 0xFF ? '?' : static_cast<char>(u));
    return {ret, out};
}

template <typename... Args>
Result FormatC(unsigned n, const char* fmt, Args... args)
{
    std::string buf(n + 2, '\xEE');
    return {std::snprintf(&buf[0], n, fmt, args...), buf};
}

// The output of a format that needs fewer than 64 units, as long as the returned length says.
template <typename... Args>
std::string S(const char* fmt, Args... args)
{
    const Result r = Format16(64, fmt, args...);
    return r.second.substr(0, static_cast<size_t>(r.first));
}

TEST(String16, CopiesAndComparisonsKeepTheirOwnLimits)
{
    Units d(7, E);
    EXPECT_EQ(wcsncpy16(d.data(), W16("abc"), 2), d.data());
    EXPECT_EQ(d, (Units{'a', 'b', 0, E, E, E, E}));  // terminated, never zero-filled
    wcsncat16(d.data(), W16("cdef"), 2);
    EXPECT_EQ(d, (Units{'a', 'b', 'c', 'd', 0, E, E}));
    wcsncat16(d.data(), W16("g"), 5);  // the source ended first: no terminator
    EXPECT_EQ(d, (Units{'a', 'b', 'c', 'd', 'g', E, E}));

    EXPECT_EQ(wcscmp16(W16("ab"), W16("abc")), -1);
    EXPECT_EQ(wcscmp16(Units{0xFFFF, 0}.data(), W16("A")), 1);
    Units a(1000002, 'a');
    a.back() = 0;
    Units b = a;
    b[1000000] = 'b';
    EXPECT_EQ(wcscmp16(a.data(), b.data()), 0);  // no further than a million units
    b[999999] = 'b';
    EXPECT_EQ(wcscmp16(a.data(), b.data()), -1);
    EXPECT_EQ(wcsicmp16(W16("ab"), W16("AD")), 'b' - 'd');
    EXPECT_EQ(wcsicmp16(W16("ab"), W16("A")), 'b');
    EXPECT_EQ(wcsicmp16(Units{0xC0, 0}.data(), Units{0xE0, 0}.data()), -0x20);  // ASCII folding only
    EXPECT_EQ(wcsnicmp16(W16("abcX"), W16("ABCY"), 3), 0);
}

TEST(String16, SearchesKeepTheirIndexRulesAndTokensSplitInPlace)
{
    const unsigned short* s = W16("abcabc");
    EXPECT_EQ(wcschr16(s, 0), nullptr);
    EXPECT_EQ(wcsrchr16(s, 'c'), s + 5);
    EXPECT_EQ(wcsrchr16(W16("a"), 'a'), nullptr);
    EXPECT_EQ(wcsrchr16(W16("abc"), 'a'), nullptr);  // index 0 is never returned
    EXPECT_EQ(wcsstr16(s, W16("ca")), s + 2);
    EXPECT_EQ(wcsstr16(s, W16("")), s);
    EXPECT_EQ(wcsstr16(W16("ab"), W16("abc")), nullptr);
    EXPECT_EQ(wcspbrk16(s, W16("xc")) - s + wcsspn16(W16("aabx"), W16("ab")), 2 + 3);
    Units big(70001, 'a');
    big.back() = 0;
    big[65535] = 'b';
    EXPECT_EQ(wcschr16(big.data(), 'b'), &big[65535]);
    big[65535] = 'a';
    big[66000] = 'b';
    EXPECT_EQ(wcschr16(big.data(), 'b'), nullptr);  // 16-bit index
    EXPECT_EQ(wcsstr16(big.data(), W16("b")), nullptr);
    EXPECT_EQ(wcsrchr16(big.data(), 'b'), &big[66000]);

    Units t = U(",,ab,,c,");
    unsigned short* save = nullptr;
    EXPECT_EQ(A(wcstok16_r(t.data(), W16(","), &save)), "ab");
    EXPECT_EQ(save, t.data() + 5);
    EXPECT_EQ(A(wcstok16_r(nullptr, W16(","), &save)), "c");
    EXPECT_EQ(wcstok16_r(nullptr, W16(","), &save), nullptr);
    EXPECT_EQ(save, nullptr);
    Units w = U("x y");
    EXPECT_EQ(A(wcstok16(w.data(), W16(" "))), "x");
    EXPECT_EQ(A(wcstok16(nullptr, W16(" "))), "y");
}

TEST(String16, NumbersCaseNarrowingAndScanning)
{
    EXPECT_EQ(wcstoi16(W16("  42x")), 42u);
    EXPECT_EQ(wcstoi16(W16(" 4 2")), 4u);
    EXPECT_EQ(wcstoi16(W16("-5")) + wcstoi16(W16("\t7")), 0u);
    EXPECT_EQ(wcstod16(W16(" \t3.5e2 9")), 350.0);
    EXPECT_EQ(wcstod16(Units{0x0120, '2', '.', '5', 0}.data()), 2.5);  // white space by low byte
    EXPECT_EQ(wcstod16(Units{'1', 0x0132, 0}.data()), 12.0);
    EXPECT_EQ(wcstod16(U(std::string(85, '1')).data()), std::strtod(std::string(80, '1').c_str(), nullptr));

    Units c{'a', 'Z', 0xE9, 0};
    EXPECT_EQ(wcsupr16(c.data()), c.data());
    EXPECT_EQ(c, (Units{'A', 'Z', 0xE9, 0}));
    wcslwr16(c.data());
    EXPECT_EQ(c, (Units{'a', 'z', 0xE9, 0}));
    char narrow[4];
    Ucs2ToUcs4(narrow, Units{'A', 0xAC42, 0x00E9, 0}.data());
    EXPECT_EQ(std::string(narrow), "AB\xE9");
    Ucs4ToUcs2(c.data(), "A\xE9");
    EXPECT_EQ(c, (Units{'A', 0xE9, 0, 0}));

    int d = 0, i = 0, octal = 0, used = 0;
    unsigned x = 0;
    Units word(8, E), ch(2, E);
    EXPECT_EQ(swscanf16(W16(" -12 fF word 0x1F 017 %7 zq"), W16("%d %lx %s %i %i %%%*d%n %c"), &d, &x, word.data(), &i,
                        &octal, &used, ch.data()),
              6);
    EXPECT_EQ(std::to_string(d) + " " + std::to_string(x) + " " + A(word.data()) + " " + std::to_string(i) + " " +
                  std::to_string(octal) + " " + std::to_string(used),
              "-12 255 word 31 15 24");
    EXPECT_EQ(ch, (Units{'z', E}));  // no terminator after %c
    EXPECT_EQ(swscanf16(W16("  "), W16("%d"), &d), -1);
}

TEST(Format16, AgreesWithSnprintfWhereBothDefineTheOutput)
{
    std::mt19937_64 rng(0x5eed16);
    auto pick = [&](long long lo, long long hi) { return std::uniform_int_distribution<long long>(lo, hi)(rng); };
    const long long edges[] = {0, 1, -1, 7, INT_MIN, INT_MAX, LLONG_MIN, LLONG_MAX, 0x7FFF, 0x8000, 0xFFFF};
    const char* quals[] = {"", "h", "l", "ll", "L"};
    for (int iter = 0; iter < 3000 && !HasFailure(); ++iter) {
        const char conv = "diuoxXcs"[pick(0, 7)];
        const bool integer = conv != 'c' && conv != 's';
        const std::string qual = integer ? quals[pick(0, 4)] : "";
        const bool wide = qual == "ll" || qual == "L";
        long long v = pick(0, 2) ? edges[pick(0, 10)] : static_cast<long long>(rng());
        if (!wide) v = static_cast<int>(v);
        const unsigned long long shown = qual == "h" ? v & 0xFFFF : (wide ? v : v & 0xFFFFFFFF);
        std::string flags;
        for (long long k = pick(0, 3); k > 0; --k) flags += "+-0# "[pick(0, 4)];
        const long long p = conv == 'c' ? -1 : pick(-1, 12);
        // Left out where the C library differs on purpose or leaves the output undefined.
        auto drop = [&](char f) { flags.erase(std::remove(flags.begin(), flags.end(), f), flags.end()); };
        if (!integer) drop('0'), drop('+'), drop(' ');
        if (std::strchr("diucs", conv) || shown == 0 || (conv == 'o' && p >= 0)) drop('#');
        if (integer && p >= 0) drop('0');
        if (integer && p == 0 && shown == 0) continue;

        const std::string head = "<%" + flags + (pick(0, 1) ? std::to_string(pick(1, 20)) : "") +
                                 (p >= 0 ? "." + std::to_string(p) : "");
        const std::string f16 = head + qual + conv + ">";
        const std::string fc = head + (qual == "l" ? "" : (wide ? "ll" : qual)) + conv + ">";
        const std::string text(static_cast<size_t>(pick(0, 12)), static_cast<char>(pick('a', 'z')));
        const int c = static_cast<int>(pick(' ', '~'));
        for (unsigned n : {64u, static_cast<unsigned>(pick(0, 24))}) {
            const auto same = [&](auto v16, auto vc) {
                EXPECT_EQ(Format16(n, f16.c_str(), v16), FormatC(n, fc.c_str(), vc)) << f16 << " n " << n;
            };
            if (conv == 's') same(U(text).data(), text.c_str());
            else if (conv == 'c') same(c, c);
            else if (wide) same(v, v);
            else same(static_cast<int>(v), static_cast<int>(v));
        }
    }
}

TEST(Format16, FloatTruncatesAndLosesTheSignAboveMinusOne)
{
    EXPECT_EQ(S("%f|%.2f|%.2f", 2.5, 3.14159, 0.29), "2.500000|3.14|0.28");
    EXPECT_EQ(S("%f|%f|%.0f", -0.5, -2.25, 2.5), "0.500000|-2.250000|2.0");
    EXPECT_EQ(S("%.9f|%.10f|%.12f", 1.0 / 3, 1.0 / 3, 1.0 / 3), "0.333333333|0.3333333333|0.3333333333");
    EXPECT_EQ(S("[%10.2f][%+010.2f]", 3.14159, 3.14159), "[      3.14][      3.14]");
    // Out of range saturates like the ARM conversion, identically on every target.
    EXPECT_EQ(S("%f", 1e300), "2147483647.9223372036854775807");
    EXPECT_EQ(S("%f|%f", -1e300, std::nan("")), "-2147483648.9223372036854775808|0.000000");
    // The '.' falls past the end of the buffer here and must not be stored.
    EXPECT_EQ(Format16(2, "%f", 12.5), Result(9, std::string("1\0\xEE\xEE", 4)));
}

TEST(Format16, DepartsFromSnprintfOnPurpose)
{
    // '*' takes an int; a negative precision means 0, not "absent"; 0 always shows a digit.
    EXPECT_EQ(S("[%*d][%*d][%.*d][%.*s][%.0d]", 4, 1, -4, 1, 3, 1, -1, W16("ab"), 0), "[   1][1   ][001][][0]");
    EXPECT_EQ(S("[%s]", static_cast<const unsigned short*>(nullptr)), "[]");
    EXPECT_EQ(Format16(12, "%0s%-04s|", W16("ab"), W16("c")),
              Result(9, std::string("ab\0c\0   |\0\xEE\xEE\xEE\xEE", 14)));
    EXPECT_EQ(Format16(6, "%-3c|", 0xAC00), Result(4, std::string("?  |\0\xEE\xEE\xEE", 8)));
    EXPECT_EQ(S("%p|%p|[%14p][%-8p]", 0ULL, 0x123456789abcdef0ULL, 0xffULL, 0xffULL),
              "0x00000000|0x9abcdef0|[          0xff][0xff    ]");
    EXPECT_EQ(S("%%|%5%|%k|%hhd|[%.s][%5.d]|ab%", W16("ab"), 3), "%|%|%k|%hd|[][    3]|ab%");

    // Raw values: the width counts bytes, the advance units; stored only when wholly before the end.
    Units b(20, E);
    EXPECT_EQ(swprintf16(b.data(), 20, W16("<%1b%2b%b%8b>"), 0x1234ULL, 0xABCDULL, 0x11223344ULL,
                         0x0102030405060708ULL),
              17);
    EXPECT_EQ(b, (Units{'<', 0xEE34, 0xABCD, E, 0x3344, 0x1122, E, E, 0x0708, 0x0506, 0x0304, 0x0102, E, E, E, E,
                        '>', 0, E, E}));
    for (unsigned n : {9u, 8u}) {
        b.assign(10, E);
        EXPECT_EQ(swprintf16(b.data(), n, W16("%8b"), ~0ULL), 8);
        EXPECT_EQ(b[3], n == 9 ? 0xFFFF : E);
    }
    // Only the last length slot counts; it holds the units after it, counted up to the end.
    const std::pair<unsigned, Units> slots[] = {
        {10, {E, 'a', 'b', 3, E, 'x', 'y', 'z', 0, E}},
        {6, {E, 'a', 'b', 0, E, 0, E, E, E, E}},
        {5, {E, 'a', 'b', E, 0, E, E, E, E, E}},
    };
    for (const auto& [n, want] : slots) {
        b.assign(10, E);
        EXPECT_EQ(swprintf16(b.data(), n, W16("%1nab%nxyz")), 8);
        EXPECT_EQ(b, want) << n;
    }
    b.assign(10, E);
    swprintf16(b.data(), 10, W16("%4n%s"), W16("hello"));
    EXPECT_EQ(b, (Units{5, 0, E, E, 'h', 'e', 'l', 'l', 'o', 0}));
}

}  // namespace
