// KS X 1001 code tables of the EUC-KR converter (generated into mEucKrTables.cpp).
#ifndef GPSDR_PLATFORM_MEUCKRTABLES_H
#define GPSDR_PLATFORM_MEUCKRTABLES_H

#include <cstdint>

// Decoding, indexed by k - first k of the block, k = (row - 0x21) * 94 + (column - 0x21);
// 0xFFFD marks an unassigned position.
extern const uint16_t g_eucKrSymbols[1115];  // k 0 to 1114, rows 0x21 to 0x2C
extern const uint16_t g_eucKrHangul[2350];   // k 1410 to 3759, rows 0x30 to 0x48
extern const uint16_t g_eucKrHanja[4888];    // k 3854 to 8741, rows 0x4A to 0x7D

// Encoding: each range of code points [first, last] owns the records from `record` on, one per
// 16 code points. A code point is encodable when bit (code & 15) of its record's mask is set;
// its EUC-KR code is g_eucKrCodes[base + set bits below its own].
struct mEucKrEncodeRange {
    uint16_t first;
    uint16_t last;
    uint16_t record;
};
struct mEucKrEncodeRecord {
    uint16_t base;
    uint16_t mask;
};
extern const mEucKrEncodeRange g_eucKrEncodeRanges[7];
extern const mEucKrEncodeRecord g_eucKrEncodeRecords[];
extern const uint16_t g_eucKrCodes[];

#endif
