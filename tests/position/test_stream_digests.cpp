// Every seeded random stream still gives the digest recorded for it: the stream path keeps its
// results, traces and resets exactly (digests written by zelko-digest, see the README).
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "tools/common/ZelkoStreamDigest.h"

TEST(StreamDigests, EveryRecordedStreamGivesItsDigest)
{
    const char* source = std::getenv("GPSDR_SOURCE_DIR");
    ASSERT_TRUE(source) << "run through ctest";
    std::ifstream recorded(std::string(source) + "/tests/position/stream_digests.txt");
    uint32_t seed;
    uint64_t digest;
    int streams = 0;
    for (; recorded >> std::dec >> seed >> std::hex >> digest; ++streams) {
        EXPECT_EQ(DigestZelkoStream(RandomZelkoStream(seed)), digest) << "seed " << seed;
    }
    EXPECT_EQ(streams, 2000);
}
