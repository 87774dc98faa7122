// The year window reaches 2079, past the end of a 32-bit time_t (2038). 32-bit targets use
// their 64-bit calendar functions so that every target sends the same text.
#if !defined(__ANDROID__)
#define _FILE_OFFSET_BITS 64
#define _TIME_BITS 64
#endif

#include "jni/UpdateCycle.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

#if defined(__ANDROID__) && !defined(__LP64__)
#include <time64.h>
#define GIS_MKTIME mktime64
#define GIS_LOCALTIME_R localtime64_r
typedef time64_t gis_time_t;
#else
#define GIS_MKTIME mktime
#define GIS_LOCALTIME_R localtime_r
typedef time_t gis_time_t;
#endif

void MakeGISTimeText(const _mGpsInfo& info, char (&text)[GIS_TIME_TEXT_LEN + 1])
{
    struct tm in {};  // day of week, day of year, DST flag, zone offset and name all 0
    in.tm_year = info.lYear - 1900;
    in.tm_mon = info.lMonth - 1;
    in.tm_mday = info.lDay;
    in.tm_hour = info.lHour;
    in.tm_min = info.lMinute;
    in.tm_sec = info.lSecond;
    // mktime reads the UTC fields as local time and localtime undoes that, so the text stays
    // the module's UTC time, only normalised (and an hour off across a DST change). Kept on
    // purpose: the service expects exactly this text.
    gis_time_t t = GIS_MKTIME(&in);
    struct tm out {};
    bool ok = GIS_LOCALTIME_R(&t, &out) != nullptr;

    int year = out.tm_year + 1900;
    int month = out.tm_mon + 1;
    if (ok && year >= 2011 && year <= 2079 && month >= 1 && month <= 12 && out.tm_mday >= 1 &&
        out.tm_mday <= 31) {
        std::snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02d", year, month, out.tm_mday,
                      out.tm_hour, out.tm_min, out.tm_sec);
    } else {
        std::memcpy(text, "00000000000000", sizeof text);
    }
}

SendGISArgs MakeSendGISArgs(const _mMMPosition& pos, const _mGpsInfo& info)
{
    SendGISArgs args{};
    args.lat = pos.dLat / 360000.0;
    args.lon = pos.dLon / 360000.0;
    args.alt = static_cast<double>(info.lAltitude);
    args.a = static_cast<int>(info.fDop2);
    args.b = static_cast<int>(info.fDop1);
    args.heading = static_cast<int16_t>(pos.wHeading) / 10;
    args.reserved = 0;
    MakeGISTimeText(info, args.time);
    return args;
}
