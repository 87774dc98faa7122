#include "platform/mString16.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace {

using Units = std::vector<unsigned short>;
constexpr unsigned short E = 0xEEEE;  // untouched buffer content

// Return value and the n units handed over plus two guard units, narrowed: E shows as '\xEE',
// other units above 0xFF as '?'.
using Result = std::pair<int, std::string>;

Result VFormat16(unsigned n, const char* fmt, va_list ap)
{
    const Units f(fmt, fmt + std::char_traits<char>::length(fmt) + 1);
    Units buf(n + 2, E);
    const int ret = vswprintf16(buf.data(), n, f.data(), ap);
    std::string out;
    for (unsigned short u : buf) out += u == E ? '\xEE' : (u > 0xFF ? '?' : static_cast<char>(u));
    return {ret, out};
}

Result Format16(unsigned n, const char* fmt, ...)
{
    va_list ap;
    va_start(ap, fmt);
    Result r = VFormat16(n, fmt, ap);
    va_end(ap);
    return r;
}

Result FormatC(unsigned n, const char* fmt, ...)
{
    std::string buf(n + 2, '\xEE');
    va_list ap;
    va_start(ap, fmt);
    const int ret = std::vsnprintf(&buf[0], n, fmt, ap);
    va_end(ap);
    return {ret, buf};
}

// The whole output of a format that needs fewer than 64 units.
std::string S(const char* fmt, ...)
{
    va_list ap;
    va_start(ap, fmt);
    const Result r = VFormat16(64, fmt, ap);
    va_end(ap);
    EXPECT_TRUE(r.first >= 0 && r.first < 64 && r.second[r.first] == 0) << fmt;
    return r.second.substr(0, r.second.find('\0'));
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

        std::vector<int> stars;
        std::string flags, width, prec;
        for (long long k = pick(0, 3); k > 0; --k) flags += "+-0# "[pick(0, 4)];
        if (pick(0, 2) == 1) width = std::to_string(pick(1, 20));
        else if (pick(0, 1)) width = "*", stars.push_back(static_cast<int>(pick(-20, 20)));
        long long p = conv == 'c' ? -1 : pick(-1, 12);
        if (p >= 0) prec = pick(0, 1) ? "." + std::to_string(p) : (stars.push_back(int(p)), ".*");
        // Left out where the C library differs on purpose or leaves the output undefined.
        auto drop = [&](char f) { flags.erase(std::remove(flags.begin(), flags.end(), f), flags.end()); };
        if (!integer) drop('0'), drop('+'), drop(' ');
        if (std::string("diucs").find(conv) != std::string::npos || shown == 0 || (conv == 'o' && p >= 0)) drop('#');
        if (integer && p >= 0) drop('0');
        if (integer && p == 0 && shown == 0) continue;

        const std::string spec = "<%" + flags + width + prec;
        const std::string f16 = spec + qual + conv + ">";
        const std::string fc = spec + (qual == "l" ? "" : (wide ? "ll" : qual)) + conv + ">";
        const std::string text(static_cast<size_t>(pick(0, 12)), static_cast<char>(pick('a', 'z')));
        const Units text16(text.c_str(), text.c_str() + text.size() + 1);
        const int c = static_cast<int>(pick(' ', '~'));
        for (unsigned n : {64u, static_cast<unsigned>(pick(0, 24))}) {
            auto same = [&](auto v16, auto vc) {
                auto check = [&](auto... st) {
                    EXPECT_EQ(Format16(n, f16.c_str(), st..., v16), FormatC(n, fc.c_str(), st..., vc))
                        << "format " << f16 << " n " << n;
                };
                stars.empty() ? check() : (stars.size() == 1 ? check(stars[0]) : check(stars[0], stars[1]));
            };
            if (conv == 's') same(text16.data(), text.c_str());
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

TEST(Format16, TextPointersAndUnknownConversions)
{
    EXPECT_EQ(S("[%5s][%-5s][%.1s][%.*s]", W16("ab"), W16("ab"), W16("ab"), -1, W16("ab")), "[   ab][ab   ][a][]");
    EXPECT_EQ(S("[%s]", static_cast<const unsigned short*>(nullptr)), "[]");
    EXPECT_EQ(Format16(12, "%0s%-04s|", W16("ab"), W16("c")), Result(9, std::string("ab\0c\0   |\0\xEE\xEE\xEE\xEE", 14)));
    EXPECT_EQ(Format16(6, "%-3c|", 0xAC00), Result(4, std::string("?  |\0\xEE\xEE\xEE", 8)));
    EXPECT_EQ(S("%p|%p", 0ULL, 0x123456789abcdef0ULL), "0x00000000|0x9abcdef0");
    EXPECT_EQ(S("[%14p][%-8p]", 0xffULL, 0xffULL), "[          0xff][0xff    ]");
    EXPECT_EQ(S("%ld %Lx %lu %hd", -5, 0x123456789aLL, -1, 70000), "-5 123456789a 4294967295 4464");
    EXPECT_EQ(S("%%|%5%|%k|%hhd|[%.s][%5.d]|ab%", W16("ab"), 3), "%|%|%k|%hd|[][    3]|ab%");
    EXPECT_EQ(Format16(0, "%s", W16("abc")), Result(3, "\xEE\xEE"));
}

TEST(Format16, RawValuesAndTheLengthSlot)
{
    Units b(20, E);
    EXPECT_EQ(swprintf16(b.data(), 20, W16("<%1b%2b%b%8b>"), 0x1234ULL, 0xABCDULL, 0x11223344ULL,
                         0x0102030405060708ULL),
              17);
    EXPECT_EQ(b, (Units{'<', 0xEE34, 0xABCD, E, 0x3344, 0x1122, E, E, 0x0708, 0x0506, 0x0304, 0x0102, E, E, E, E,
                        '>', 0, E, E}));
    // Stored only when the whole advance lies before the last unit.
    for (unsigned n : {9u, 8u}) {
        b.assign(10, E);
        EXPECT_EQ(swprintf16(b.data(), n, W16("%8b"), ~0ULL), 8);
        EXPECT_EQ(b[3], n == 9 ? 0xFFFF : E);
    }

    // Only the last slot counts; it holds the units after it, counted up to the end.
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
    EXPECT_EQ(swprintf16(b.data(), 10, W16("%4n%1n%s"), W16("hi")), 7);
    EXPECT_EQ(b, (Units{E, E, E, E, 0xEE02, 'h', 'i', 0, E, E}));
    b.assign(10, E);
    swprintf16(b.data(), 10, W16("%4n%s"), W16("hello"));
    EXPECT_EQ(b, (Units{5, 0, E, E, 'h', 'e', 'l', 'l', 'o', 0}));
}

}  // namespace
