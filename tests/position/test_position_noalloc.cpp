// The data path (read, reassemble, decode, update) must not touch the heap, and must cut frames
// correctly from any chunking. This file replaces the global allocation functions of the test
// program and counts calls while a flag is set.
// ThreadSanitizer's runtime defines the allocation functions itself, so that build leaves this
// check to the other variants.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define GPSDR_KEEP_RUNTIME_NEW 1
#endif
#endif
#ifndef GPSDR_KEEP_RUNTIME_NEW
#include <atomic>
#include <cstdlib>
#include <new>
#include <random>

#include "module/position/PositionMgr.h"
#include "tests/position/PositionTestSupport.h"

namespace {

std::atomic<bool> g_counting{false};
std::atomic<int> g_allocations{0};

void* CountedAlloc(std::size_t n)
{
    if (g_counting.load(std::memory_order_relaxed)) g_allocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(n ? n : 1);
}

// Kept out of line so the compiler does not pair a new-expression with free() directly.
[[gnu::noinline]] void CountedFree(void* p)
{
    std::free(p);
}

}  // namespace

void* operator new(std::size_t n)
{
    if (void* p = CountedAlloc(n)) return p;
    throw std::bad_alloc();
}

void* operator new(std::size_t n, const std::nothrow_t&) noexcept
{
    return CountedAlloc(n);
}

void operator delete(void* p) noexcept
{
    CountedFree(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    CountedFree(p);
}

namespace {

void Discard(int, const char*, const char*, void*) {}

TEST(NoAllocation, LongStreamIsParsedWithoutTheHeap)
{
    // Everything the test itself needs is made before counting starts.
    ZelkoBytes stream;
    for (unsigned s = 0; s < 600; ++s) ZelkoAppend(stream, ZelkoSampleSecond(s));
    std::vector<std::vector<char>> chunks;
    std::mt19937 rng(7);
    for (size_t at = 0; at < stream.size();) {
        // Byte by byte at first, then uneven chunks: every frame is still handled once, in order.
        const size_t n = std::min<size_t>(at < 3000 ? 1 : 32 + rng() % 225, stream.size() - at);
        chunks.emplace_back(stream.begin() + at, stream.begin() + at + n);
        at += n;
    }
    CPositionMgr mgr;
    mgr.Initialize(1, 2, 2);
    mHostLogSetSink(&Discard, nullptr);

    g_counting = true;
    int* probe = new int(1);  // the counter works
    delete probe;
    const int probeCount = g_allocations.exchange(0);
    int fixes = 0;
    for (std::vector<char>& c : chunks) fixes += mgr.ParsingZelko(c.data(), static_cast<unsigned short>(c.size()));
    g_counting = false;
    mHostLogSetSink(nullptr, nullptr);

    EXPECT_EQ(probeCount, 1);
    EXPECT_EQ(g_allocations.load(), 0);
    EXPECT_EQ(fixes, 600);
    _sZelkoTimeData t;
    mgr.GetZelkoTimeData(&t);
    EXPECT_EQ(t.ulSensorTime, 599000u);
    EXPECT_EQ(t.ucSecond, 599 % 60);
    _mSatelView sats[CPositionMgr::SATEL_TABLE_SIZE];
    mgr.GetSatelData(sats);
    EXPECT_EQ(sats[11].wSatID, 34);
    EXPECT_EQ(sats[12].wSatID, 65535);
}

}  // namespace

#endif
