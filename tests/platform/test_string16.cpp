#include "platform/mString16.h"

#include <gtest/gtest.h>

#include <cstdlib>
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

TEST(String16, CopiesTerminateOnlyWhereTheyShould)
{
    EXPECT_EQ(wcsnlen16(W16("abc"), 2), 2u);
    EXPECT_EQ(wcsnlen16(W16("abc"), 9), 3u);
    Units d(7, E);
    EXPECT_EQ(wcsncpy16(d.data(), W16("abc"), 2), d.data());
    EXPECT_EQ(d, (Units{'a', 'b', 0, E, E, E, E}));  // terminated, never zero-filled
    EXPECT_EQ(wcscat16(wcscpy16(d.data(), W16("a")), W16("b")), d.data());
    wcsncat16(d.data(), W16("cdef"), 2);
    EXPECT_EQ(d, (Units{'a', 'b', 'c', 'd', 0, E, E}));
    wcsncat16(d.data(), W16("g"), 5);  // the source ended first: no terminator
    EXPECT_EQ(d, (Units{'a', 'b', 'c', 'd', 'g', E, E}));

    unsigned short* dup = wcsdup16(W16("dup"));
    ASSERT_NE(dup, nullptr);
    EXPECT_EQ(A(dup), "dup");
    std::free(dup);
}

TEST(String16, ComparisonsUseUnsignedUnitsAndTheirOwnLimits)
{
    EXPECT_EQ(wcscmp16(W16("ab"), W16("abc")), -1);
    EXPECT_EQ(wcscmp16(Units{0xFFFF, 0}.data(), W16("A")), 1);
    EXPECT_EQ(wcsncmp16(W16("abX"), W16("abY"), 2), 0);
    EXPECT_EQ(wcsncmp16(W16("ab"), W16("abc"), 3), -1);
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
    EXPECT_EQ(wcsnicmp16(W16("ab"), W16("AC"), 5), -1);
}

TEST(String16, SearchesKeepTheirIndexRules)
{
    const unsigned short* s = W16("abcabc");
    const unsigned short* aba = W16("aba");
    EXPECT_EQ(wcschr16(s, 'b'), s + 1);
    EXPECT_EQ(wcschr16(s, 0), nullptr);
    EXPECT_EQ(wcsrchr16(s, 'c'), s + 5);
    EXPECT_EQ(wcsrchr16(aba, 'a'), aba + 2);
    EXPECT_EQ(wcsrchr16(W16("a"), 'a'), nullptr);
    EXPECT_EQ(wcsrchr16(W16("abc"), 'a'), nullptr);  // index 0 is never returned
    EXPECT_EQ(wcsstr16(s, W16("ca")), s + 2);
    EXPECT_EQ(wcsstr16(s, W16("")), s);
    EXPECT_EQ(wcsstr16(W16("ab"), W16("abc")), nullptr);
    EXPECT_EQ(wcspbrk16(s, W16("xc")), s + 2);
    EXPECT_EQ(wcsspn16(W16("aabx"), W16("ab")), 3u);

    Units big(70001, 'a');
    big.back() = 0;
    big[65535] = 'b';
    EXPECT_EQ(wcschr16(big.data(), 'b'), &big[65535]);
    big[65535] = 'a';
    big[66000] = 'b';
    EXPECT_EQ(wcschr16(big.data(), 'b'), nullptr);  // 16-bit index
    EXPECT_EQ(wcsstr16(big.data(), W16("b")), nullptr);
    EXPECT_EQ(wcsrchr16(big.data(), 'b'), &big[66000]);
}

TEST(String16, TokenizerSplitsInPlace)
{
    Units t = U(",,ab,,c,");
    unsigned short* save = nullptr;
    EXPECT_EQ(A(wcstok16_r(t.data(), W16(","), &save)), "ab");
    EXPECT_EQ(save, t.data() + 5);
    EXPECT_EQ(A(wcstok16_r(nullptr, W16(","), &save)), "c");
    EXPECT_EQ(save, t.data() + 8);
    EXPECT_EQ(wcstok16_r(nullptr, W16(","), &save), nullptr);
    EXPECT_EQ(save, nullptr);

    Units w = U("x y");
    EXPECT_EQ(A(wcstok16(w.data(), W16(" "))), "x");
    EXPECT_EQ(A(wcstok16(nullptr, W16(" "))), "y");
    EXPECT_EQ(wcstok16(nullptr, W16(" ")), nullptr);
}

TEST(String16, NumbersCaseAndNarrowing)
{
    EXPECT_EQ(wcstoi16(W16("  42x")), 42u);
    EXPECT_EQ(wcstoi16(W16(" 4 2")), 4u);
    EXPECT_EQ(wcstoi16(W16("-5")) + wcstoi16(W16("\t7")), 0u);
    EXPECT_EQ(wcstoi16(W16("4294967297")), 1u);
    EXPECT_EQ(wcstod16(W16(" \t3.5e2 9")), 350.0);
    EXPECT_EQ(wcstod16(Units{0x0120, '2', '.', '5', 0}.data()), 2.5);  // white space by low byte
    EXPECT_EQ(wcstod16(Units{'1', 0x0132, 0}.data()), 12.0);
    EXPECT_EQ(wcstod16(U(std::string(85, '1')).data()), std::strtod(std::string(80, '1').c_str(), nullptr));

    Units c{'a', 'Z', 0xE9, 0};
    EXPECT_EQ(wcsupr16(c.data()), c.data());
    EXPECT_EQ(c, (Units{'A', 'Z', 0xE9, 0}));
    EXPECT_EQ(wcslwr16(c.data()), c.data());
    EXPECT_EQ(c, (Units{'a', 'z', 0xE9, 0}));
    char narrow[4];
    Ucs2ToUcs4(narrow, Units{'A', 0xAC42, 0x00E9, 0}.data());
    EXPECT_EQ(std::string(narrow), "AB\xE9");
    Ucs4ToUcs2(c.data(), "A\xE9");
    EXPECT_EQ(c, (Units{'A', 0xE9, 0, 0}));
}

TEST(String16, ScannerReadsTheUsualConversions)
{
    int d = 0, i16 = 0, i8 = 0, used = 0;
    unsigned x = 0;
    long long big = 0;
    short h = 0;
    Units word(8, E), ch(2, E);
    EXPECT_EQ(swscanf16(W16(" -12 fF word 0x1F 017 12345678901 7 70000 zq"),
                        W16("%d %x %s %i %i %lld %*d%n %hd %c"), &d, &x, word.data(), &i16, &i8, &big, &used,
                        &h, ch.data()),
              8);
    EXPECT_EQ(std::to_string(d) + " " + std::to_string(x) + " " + A(word.data()) + " " + std::to_string(i16) +
                  " " + std::to_string(i8) + " " + std::to_string(big) + " " + std::to_string(used) + " " +
                  std::to_string(h),
              "-12 255 word 31 15 12345678901 35 4464");
    EXPECT_EQ(ch, (Units{'z', E}));  // no terminator after %c
    EXPECT_EQ(swscanf16(W16("12345"), W16("%2d%3x"), &d, &x), 2);
    EXPECT_EQ(d * 0x1000 + x, 12u * 0x1000 + 0x345);
    EXPECT_EQ(swscanf16(W16("7,x"), W16("%d,%d"), &d, &i8), 1);
    EXPECT_EQ(swscanf16(W16("abc"), W16("%d"), &d), 0);
    EXPECT_EQ(swscanf16(W16("  "), W16("%d"), &d), -1);
}

}  // namespace
