#include "tools/zelko-sim/SimTime.h"

#include <cstdio>
#include <cstring>

namespace {

const int64_t kMsPerDay = 86400000;

// Days since 1970-01-01 of a proleptic Gregorian date.
int64_t DaysFromCivil(int y, int m, int d) {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yoe = y - era * 400;
    const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

void CivilFromDays(int64_t z, int& y, int& m, int& d) {
    z += 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const int64_t doe = z - era * 146097;
    const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const int64_t mp = (5 * doy + 2) / 153;
    d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    y = static_cast<int>(yoe + era * 400 + (m <= 2));
}

int DaysInMonth(int y, int m) {
    static const int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    return m == 2 && leap ? 29 : kDays[m - 1];
}

}  // namespace

bool ParseUtcText(const char* text, int64_t& ms) {
    if (std::strlen(text) != 14) return false;
    int v[6];
    static const int kWidth[6] = {4, 2, 2, 2, 2, 2};
    const char* p = text;
    for (int i = 0; i < 6; ++i) {
        v[i] = 0;
        for (int k = 0; k < kWidth[i]; ++k, ++p) {
            if (*p < '0' || *p > '9') return false;
            v[i] = v[i] * 10 + (*p - '0');
        }
    }
    if (v[0] < 1980 || v[0] > 2099 || v[1] < 1 || v[1] > 12 || v[2] < 1 ||
        v[2] > DaysInMonth(v[0], v[1]) || v[3] > 23 || v[4] > 59 || v[5] > 59)
        return false;
    ms = DaysFromCivil(v[0], v[1], v[2]) * kMsPerDay +
         ((v[3] * 60 + v[4]) * 60 + v[5]) * int64_t{1000};
    return true;
}

UtcTime UtcFromMs(int64_t ms) {
    UtcTime t{};
    int64_t days = ms / kMsPerDay;
    int64_t rest = ms % kMsPerDay;
    if (rest < 0) {
        rest += kMsPerDay;
        --days;
    }
    CivilFromDays(days, t.year, t.month, t.day);
    t.millisecond = static_cast<int>(rest % 1000);
    rest /= 1000;
    t.second = static_cast<int>(rest % 60);
    t.minute = static_cast<int>(rest / 60 % 60);
    t.hour = static_cast<int>(rest / 3600);
    return t;
}

std::string FormatUtc(const UtcTime& t) {
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", t.year, t.month,
                  t.day, t.hour, t.minute, t.second, t.millisecond);
    return text;
}

uint32_t GpsTimeOfWeekMs(int64_t utcMs) {
    // GPS time runs ahead of UTC by the leap seconds since 1980, 18 since 2017.
    const int64_t kLeapMs = 18000;
    const int64_t kWeekMs = 7 * kMsPerDay;
    const int64_t gpsEpochMs = DaysFromCivil(1980, 1, 6) * kMsPerDay;
    int64_t tow = (utcMs + kLeapMs - gpsEpochMs) % kWeekMs;
    if (tow < 0) tow += kWeekMs;
    return static_cast<uint32_t>(tow);
}
