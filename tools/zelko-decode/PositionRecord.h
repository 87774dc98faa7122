// A position update as the decoder prints it (a TPV object, as GPS clients know it from gpsd) and
// as a GPX track point.
#ifndef GPSDR_TOOLS_ZELKO_DECODE_POSITIONRECORD_H
#define GPSDR_TOOLS_ZELKO_DECODE_POSITIONRECORD_H

#include <cstdint>
#include <string>

#include "module/MM/MMTypes.h"
#include "tools/common/GpxTrack.h"

// The library's position record and what its position manager keeps beside it.
struct DecodedFix {
    _mGpsDataEx pos{};
    // _sZelkoTimeData::ulDRTime: the fix's GPS time of week in milliseconds. Its last three
    // digits are the fraction of a second that the UTC summary (whole seconds) lacks.
    uint32_t drTimeMs = 0;
    // _mGPSDREngineerInfo::ucFixState: 2 no satellite fix, 3 a 3-D fix, 4 a 2-D fix.
    uint8_t gpsFixState = 0;
};

// The record's three DOP values in the order the constellation summary sends them; negative
// while unknown (the record holds 0).
struct RecordDops {
    double pdop, hdop, vdop;
};
RecordDops DopsOf(const _mGpsDataEx& pos);

// "YYYY-MM-DDThh:mm:ss.mmmZ" (".mmm" only when withFraction), or empty while the record has no date.
std::string PositionUtc(const _mGpsDataEx& pos, uint32_t milliseconds, bool withFraction);

// {"class":"TPV",...}: mode and status numbered as gpsd does, the fix's name, time with its
// fraction, degrees, metres, m/s.
std::string PositionJson(const DecodedFix& fix);

// False while the module has given no coordinates (both zero).
bool PositionHasFix(const _mGpsDataEx& pos);
GpxPoint PositionGpxPoint(const DecodedFix& fix);

#endif
