// NMEA 0183 sentences from the library's decoded state, for GPS tools that speak it (gpsd and
// its clients, navigation software). Nothing here parses the module's frames again: every
// value comes from the position manager's getters.
//
// Positions are the module's own WGS 84 coordinates, taken before the offset transform the
// driver applies to what it hands to Java. The module's dilution values are read in its order:
// position, horizontal, vertical. A position kept up by dead reckoning while the module has no
// GPS fix is marked estimated (mode indicator E, GGA quality 6).
#ifndef GPSDR_TOOLS_COMMON_NMEA_H
#define GPSDR_TOOLS_COMMON_NMEA_H

#include <string>

#include "module/position/PositionMgr.h"

// "$" body "*" checksum "\r\n"; the checksum is the XOR of the body's bytes.
std::string NmeaSentence(const std::string& body);

// One epoch: RMC, VTG, GGA, GSA and as many GSV as the satellite table needs.
std::string NmeaEpoch(const CPositionMgr& mgr);

#endif
