// The ground truth of a run, one JSON object per line and cycle:
// {"cycle":0,"t":0.000,"utc":"2024-03-15T09:30:00.000Z","sent":true,"bytes":318,
//  "lon":126.976..,"lat":37.57..,"lon_raw":..,"lat_raw":..,"heading":181.234,"heading_raw":..,
//  "speed_kmh":0.000,"speed_raw":0,"alt":38,"fix":"3d","status":21,"sats":9,
//  "dop_raw":[..,..,..],"corrupt":[]}
// lon/lat/heading/speed_kmh are what the vehicle did; the _raw fields, alt, status, sats and
// dop_raw are what the module sent (raw coordinates are 0 while it has no position).
// Each frame the host wrote adds a line of its own, de-stuffed, with how the module took it:
// {"class":"command","t":1.234,"frame":"81 03 05 F5 82","checksum_ok":true,
//  "outcome":"system 05 -> 1003, cold start 5 s"}
#ifndef GPSDR_TOOLS_ZELKO_SIM_SIMTRUTH_H
#define GPSDR_TOOLS_ZELKO_SIM_SIMTRUTH_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tools/zelko-sim/SimTypes.h"

std::string TruthLine(const CycleState& c, size_t bytes, const std::vector<uint16_t>& corrupt);
std::string CommandTruthLine(double t, const Frame& logical, bool checksumOk, const std::string& outcome);

#endif
