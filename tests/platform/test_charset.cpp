#include "platform/mCharset.h"
#include "platform/mString16.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;
using Units = std::vector<uint16_t>;
using WideOut = std::pair<int, Units>;
using NarrowOut = std::pair<int, Bytes>;

// The C library's conversion of `in` to 16-bit units, the reference the tables come from: -1
// when it has no converter from `from`, 0 unless the whole input converts, else 1.
int Iconv(const char* from, const Bytes& in, Units& out)
{
    const iconv_t cd = iconv_open("UCS-2LE", from);
    if (cd == reinterpret_cast<iconv_t>(-1)) return -1;
    Bytes le(in.size() * 2 + 2);
    char* ip = const_cast<char*>(reinterpret_cast<const char*>(in.data()));
    char* op = reinterpret_cast<char*>(le.data());
    size_t il = in.size(), ol = le.size();
    const bool whole = iconv(cd, &ip, &il, &op, &ol) != static_cast<size_t>(-1) && il == 0;
    iconv_close(cd);
    out.clear();
    for (size_t i = 0; i + 1 < le.size() - ol; i += 2)
        out.push_back(static_cast<uint16_t>(le[i] | le[i + 1] << 8));
    return whole ? 1 : 0;
}

// Runs a converter twice into `room` elements (and one beyond), differently filled; what it
// wrote is where the two runs agree. Gives the result and the written prefix.
template <typename T, typename F>
std::pair<int, std::vector<T>> Guarded(F convert, size_t room)
{
    std::vector<T> a(room + 1, static_cast<T>(0x5A5A)), b(room + 1, static_cast<T>(0xA5A5));
    const int r = convert(a.data());
    EXPECT_EQ(convert(b.data()), r);
    EXPECT_NE(a[room], b[room]) << "wrote past the room it was given";
    size_t used = 0;
    while (used < room && a[used] == b[used]) ++used;
    return {r, std::vector<T>(a.begin(), a.begin() + static_cast<long>(used))};
}
template <typename F> WideOut Wide(F convert, size_t room = 16) { return Guarded<uint16_t>(convert, room); }
template <typename F> NarrowOut Narrow(F convert, size_t room = 16) { return Guarded<uint8_t>(convert, room); }
const unsigned char* U8(const char* s) { return reinterpret_cast<const unsigned char*>(s); }

TEST(Charset, EucKrDecodesLikeIconvAndEncodesExactlyWhatItDecodes)
{
    Units want;
    const bool haveRef = Iconv("EUC-KR", {}, want) >= 0;
    Units codeOf(0x10000, 0);
    unsigned symbols = 0, hangul = 0, hanja = 0;
    std::string differ;
    for (unsigned lead = 0xA1; lead <= 0xFE; ++lead) {
        for (unsigned trail = 0xA1; trail <= 0xFE; ++trail) {
            const uint8_t src[] = {'A', static_cast<uint8_t>(lead), static_cast<uint8_t>(trail), 0};
            const WideOut got = Wide([&](uint16_t* d) { return EucKrToWide(d, src, 3); });
            if (got.first == 2) {
                ASSERT_EQ(codeOf[got.second.at(1)], 0) << "two positions decode to " << got.second[1];
                codeOf[got.second[1]] = static_cast<uint16_t>(lead << 8 | trail);
                ++(lead < 0xB0 ? symbols : lead < 0xCA ? hangul : hanja);
            }
            const bool valid = haveRef && Iconv("EUC-KR", {src + 1, src + 3}, want) == 1;
            if (haveRef && got != (valid ? WideOut{2, {'A', want.at(0), 0}} : WideOut{-1, {'A', 0}}))
                differ += " " + std::to_string(lead * 256 + trail);
        }
    }
    EXPECT_EQ(differ, "") << "positions (lead * 256 + trail) that differ from iconv";
    EXPECT_EQ(symbols, 989u);
    EXPECT_EQ(hangul, 2350u);
    EXPECT_EQ(hanja, 4888u);
    for (unsigned u = 1; u <= 0xFFFF; ++u) {
        const uint16_t s[] = {static_cast<uint16_t>(u)};
        const uint8_t hi = static_cast<uint8_t>(codeOf[u] >> 8), lo = static_cast<uint8_t>(codeOf[u]);
        const NarrowOut expect = u < 0x80      ? NarrowOut{1, {static_cast<uint8_t>(u), 0}}
                                 : codeOf[u] ? NarrowOut{2, {hi, lo, 0}}
                                             : NarrowOut{0, {0}};
        ASSERT_EQ(Narrow([&](uint8_t* d) { return WideToEucKr(d, s, 2); }, 3), expect) << u;
    }
    if (!haveRef) GTEST_SKIP() << "no EUC-KR converter to compare with (no gconv modules, as under qemu-arm)";
}

TEST(Charset, EucKrStopsWithNegatedCountAndTerminatedOutput)
{
    const std::tuple<Bytes, int, WideOut> decodes[] = {
        {{'A', 0xB0, 0xA1, 'B'}, 4, {3, {'A', 0xAC00, 'B', 0}}},
        {{'A', 'B', 0xC9, 0xA1}, 4, {-2, {'A', 'B', 0}}},  // row 0x49 (positions: see above)
        {{'A', 0xB0, 0xA1}, 2, {-1, {'A', 0}}},            // lead byte is the last one allowed
        {{'A', 0xB0, 0xFF}, 3, {-1, {'A', 0}}},
        {{0xB0, 0x21}, 2, {1, {0xAC00, 0}}},               // trail high bit not required
        {{'A', 0, 'B'}, 3, {1, {'A', 0}}},
        {{'A'}, -1, {0, {0}}},
    };
    const auto decode = [](const Bytes& s, int n) {
        return Wide([&](uint16_t* d) { return EucKrToWide(d, s.data(), n); });
    };
    for (const auto& [src, n, out] : decodes) {
        EXPECT_EQ(decode(src, n), out);
        EXPECT_EQ(EucKrToWide(nullptr, src.data(), n), out.first);
    }
    const std::tuple<Units, int, NarrowOut> encodes[] = {
        {{'A', 0xAC00, 'B', 0}, 8, {5, {'A', 0xB0, 0xA1, 'B', 0, 0}}},
        {{'A', 0xAC02, 'B'}, 6, {-1, {'A', 0}}},       // Hangul syllable outside KS X 1001
        {{0x3131, 0xD7A3}, 4, {-2, {0xA4, 0xA1, 0}}},  // past the Hangul range
        {{'A', 'B'}, 3, {1, {'A', 0}}},
    };
    const auto encode = [](const Units& s, int n) {
        return Narrow([&](uint8_t* d) { return WideToEucKr(d, s.data(), n); });
    };
    for (const auto& [src, nBytes, out] : encodes) {
        EXPECT_EQ(encode(src, nBytes), out);
        EXPECT_EQ(WideToEucKr(nullptr, src.data(), nBytes), out.first);
    }
}

TEST(Charset, Utf8CoversTheBmpAndRefusesWhatDoesNotFitSixteenBits)
{
    const std::pair<Bytes, WideOut> cases[] = {
        {{'a', 0, 'b'}, {3, {'a', 0, 'b'}}},
        {{0xED, 0xA0, 0xBD}, {1, {0xD83D}}},
        {{0xF0, 0x9F, 0x98, 0x80}, {-1, {}}},
        {{0xF8, 0x88, 0x80, 0x80, 0x80}, {-1, {}}},
        {{0xE0, 0x80, 0x80}, {-1, {}}},  // overlong
        {{0xC0, 0x80}, {-1, {}}},
        {{0xFE}, {-1, {}}},
        {{'a', 0x80}, {-1, {'a'}}},
        {{'a', 0xC2, 'A'}, {-1, {'a'}}},
        {{'a', 0xE2}, {1, {'a'}}},         // one byte left: dropped
        {{'a', 0xE2, 0x82}, {-1, {'a'}}},  // two bytes left: refused
    };
    for (const auto& c : cases) {
        const unsigned n = static_cast<unsigned>(c.first.size());
        EXPECT_EQ(Wide([&](uint16_t* d) { return Utf8ToUtf16(d, c.first.data(), n); }), c.second);
    }

    Units all, plain, theirs;
    for (unsigned u = 1; u <= 0xFFFF; ++u) all.push_back(static_cast<uint16_t>(u));
    Bytes utf8(all.size() * 3);
    const int bytes = Utf16ToUtf8(utf8.data(), all.data(), static_cast<unsigned>(all.size()));
    ASSERT_EQ(bytes, 0x7F + (0x800 - 0x80) * 2 + (0x10000 - 0x800) * 3);
    utf8.resize(static_cast<size_t>(bytes));
    Units back(all.size());
    ASSERT_EQ(Utf8ToUtf16(back.data(), utf8.data(), static_cast<unsigned>(bytes)), 0xFFFF);
    EXPECT_EQ(back, all);

    // The C library refuses non-shortest forms (and lone surrogates), so reading the units back
    // through it proves every sequence is the standard one. UTF-8 and UCS-2 are built into it.
    for (uint16_t u : all)
        if (u < 0xD800 || u > 0xDFFF) plain.push_back(u);
    Bytes mine(plain.size() * 3);
    mine.resize(static_cast<size_t>(Utf16ToUtf8(mine.data(), plain.data(), static_cast<unsigned>(plain.size()))));
    ASSERT_EQ(Iconv("UTF-8", mine, theirs), 1);
    EXPECT_EQ(theirs, plain);
}

TEST(Charset, WrappersApplyTheirLengthRules)
{
    const unsigned char* hangul = U8("A\xB0\xA1");
    const WideOut hangulOut{2, {'A', 0xAC00, 0}};
    // The terminator is converted too: counted by UTF-8, ending the text in EUC-KR.
    EXPECT_EQ(Wide([](uint16_t* d) { return UtilMbcsToWideEx(65001, U8("a\xC2\xA9"), 3, d); }),
              (WideOut{3, {'a', 0xA9, 0}}));
    EXPECT_EQ(Wide([](uint16_t* d) { return UtilMbcsToWideEx(65001, U8("ab"), -1, d); }), (WideOut{0, {}}));
    EXPECT_EQ(Wide([&](uint16_t* d) { return UtilMbcsToWide(hangul, d); }), hangulOut);
    EXPECT_EQ(Wide([&](uint16_t* d) { return UtilMbcsToWideEx2(0, hangul, -1, d); }), (WideOut{0, {0}}));

    EXPECT_EQ(UtilMbcsToWide2(nullptr, 1, nullptr), 1);
    const std::string x255(255, 'x');
    const unsigned char* xs = U8(x255.c_str());
    EXPECT_EQ(Wide([&](uint16_t* d) { return UtilMbcsToWide2(xs, 255, d); }, 300), (WideOut{0, {}}));
    EXPECT_EQ(Wide([&](uint16_t* d) { return UtilMbcsToWide2(xs, 254, d); }, 300).first, 255);
    // One byte past n is read and counted, but nothing is stored past dstSize.
    const auto limited = [&](int n, int dstSize) {
        return Wide([&](uint16_t* d) { return UtilMbcsToWide3(xs, n, d, dstSize); }, static_cast<size_t>(dstSize));
    };
    EXPECT_EQ(limited(16, 16), (WideOut{17, Units(16, 'x')}));
    EXPECT_EQ(limited(20, 4), (WideOut{5, Units(4, 'x')}));
    EXPECT_EQ(limited(2, 16), (WideOut{3, {'x', 'x', 'x', 0}}));

    EXPECT_EQ(Narrow([](uint8_t* d) { return UtilWideToMbcs(W16("\uAC00A"), d); }),
              (NarrowOut{4, {0xB0, 0xA1, 'A', 0, 0}}));
    EXPECT_EQ(Narrow([](uint8_t* d) { return UtilWideToUtf8(W16("a\u00A9"), d); }),
              (NarrowOut{4, {'a', 0xC2, 0xA9, 0}}));
    for (auto* cut : {UtilWideToMbcs2, UtilWideToMbcs3})
        EXPECT_EQ(Narrow([&](uint8_t* d) { return cut(W16("\uAC00\uB098\uB2E4"), 4, d); }),
                  (NarrowOut{4, {0xB0, 0xA1, 0xB3, 0xAA, 0}}));
    EXPECT_EQ(Narrow([](uint8_t* d) { return UtilWideToMbcsEx2(65001, W16("\uB2E4\uAC02"), 4, d); }),
              (NarrowOut{-2, {0xB4, 0xD9, 0}}));
}

TEST(Charset, CodePagesConvertUntilAnUnassignedByte)
{
    const auto conv = [](int cp, const char* s, int dstSize) {
        const int n = static_cast<int>(std::strlen(s));
        return Wide([&](uint16_t* d) { return UtilConvUnicode(cp, U8(s), n, d, dstSize); });
    };
    EXPECT_EQ(conv(1252, "\x80\x9F" "a", 8), (WideOut{3, {0x20AC, 0x0178, 'a', 0}}));
    EXPECT_EQ(conv(1252, "ab\x81" "c", 8), (WideOut{2, {'a', 'b', 0}}));
    EXPECT_EQ(conv(1252, "\x81", 8), (WideOut{0, {}}));
    EXPECT_EQ(conv(1252, "abc", 3), (WideOut{3, {'a', 'b', 'c'}}));
    EXPECT_EQ(conv(65001, "\xC2\xA9", 8), (WideOut{1, {0xA9, 0}}));
    EXPECT_EQ(conv(65001, "\xFF", 8), (WideOut{0, {}}));

    Units want;
    if (Iconv("CP1252", {}, want) < 0)
        GTEST_SKIP() << "no CP1252 converter to compare with (no gconv modules, as under qemu-arm)";
    for (unsigned b = 0; b <= 0xFF; ++b) {
        const uint8_t src = static_cast<uint8_t>(b);
        const WideOut expect = Iconv("CP1252", {src}, want) == 1 ? WideOut{1, want} : WideOut{0, {}};
        EXPECT_EQ(Wide([&](uint16_t* d) { return mConv(1252, &src, 1, d, 1); }, 1), expect) << b;
    }
}

}  // namespace
