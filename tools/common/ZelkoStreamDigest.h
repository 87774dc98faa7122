// Seeded random module streams and one digest of everything the library makes of such a stream:
// what ParsingZelko returns for every chunk, every record, module-state copy and parse counter
// after it, the satellite table, the session checks, every trace line, and what a stand-alone
// parser finds in each chunk. Digests recorded once stand for whole streams, so changes to the stream path can
// be checked against the behaviour they must keep without storing any capture
// (zelko-digest writes them, the position suite compares).
#ifndef GPSDR_TOOLS_COMMON_ZELKOSTREAMDIGEST_H
#define GPSDR_TOOLS_COMMON_ZELKOSTREAMDIGEST_H

#include <cstdint>
#include <vector>

struct ZelkoTestStream {
    std::vector<unsigned char> bytes;
    std::vector<unsigned short> chunks;  // read sizes in order, at most 4096, summing to bytes.size()
    unsigned char unitKind;
    unsigned short drKind;
    int resetKind;  // -1: no fix-time measurement started
};

// Valid frames of every kind (escapes, long variable frames, odd field values), corrupt and
// truncated frames, noise, long runs without a start byte, open frames that overflow the store
// buffer and bursts beyond the per-call frame limit, cut into reads of a seed-chosen shape.
ZelkoTestStream RandomZelkoStream(uint32_t seed);

// Feeds the stream to a fresh position manager (and each chunk to a fresh parser's Parsing).
uint64_t DigestZelkoStream(const ZelkoTestStream& stream);

#endif
