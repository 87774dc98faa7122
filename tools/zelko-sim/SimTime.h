// The simulated UTC clock: calendar conversion and GPS time of week.
#ifndef GPSDR_TOOLS_ZELKO_SIM_SIMTIME_H
#define GPSDR_TOOLS_ZELKO_SIM_SIMTIME_H

#include <cstdint>
#include <string>

struct UtcTime {
    int year, month, day, hour, minute, second, millisecond;
};

// "YYYYMMDDhhmmss" (years 1980 to 2099) into milliseconds since 1970.
bool ParseUtcText(const char* text, int64_t& ms);
UtcTime UtcFromMs(int64_t ms);
// "2024-03-15T09:30:00.000Z"
std::string FormatUtc(const UtcTime& t);
uint32_t GpsTimeOfWeekMs(int64_t utcMs);

#endif
