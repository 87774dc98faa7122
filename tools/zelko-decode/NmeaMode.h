// zelko-decode --nmea: the capture as NMEA 0183 on standard output.
#ifndef GPSDR_TOOLS_ZELKO_DECODE_NMEAMODE_H
#define GPSDR_TOOLS_ZELKO_DECODE_NMEAMODE_H

#include "tools/common/ByteSource.h"

// Prints an epoch at every position message until the end of source; returns how many were
// printed, or -1 on a read error (errno tells).
long PrintNmea(ByteSource& source, bool trace);

#endif
