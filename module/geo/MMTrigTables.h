// Tables private to the geodesy sources (the public ones are declared in MMUtility.h).
#ifndef GPSDR_MODULE_GEO_MMTRIGTABLES_H
#define GPSDR_MODULE_GEO_MMTRIGTABLES_H

#include <cstdint>

// Tangent of 0..90 degrees times 100000, searched by the free mAtan.
extern const int32_t nMMAtanTable[91];

#endif  // GPSDR_MODULE_GEO_MMTRIGTABLES_H
