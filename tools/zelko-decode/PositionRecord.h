// A position record as the decoder prints it and as a GPX track point.
#ifndef GPSDR_TOOLS_ZELKO_DECODE_POSITIONRECORD_H
#define GPSDR_TOOLS_ZELKO_DECODE_POSITIONRECORD_H

#include <string>

#include "module/MM/MMTypes.h"
#include "tools/common/GpxTrack.h"

// "YYYY-MM-DDThh:mm:ss.mmmZ" from lDate/lTime, or empty when the record has no date yet.
std::string PositionUtc(const _mGpsDataEx& pos);

// {"type":"pos",...}: degrees, heading in degrees, speed in km/h, DOPs as decimals.
std::string PositionJson(const _mGpsDataEx& pos);

// False while the module has given no coordinates (both zero).
bool PositionHasFix(const _mGpsDataEx& pos);
GpxPoint PositionGpxPoint(const _mGpsDataEx& pos);

#endif
