// What one update cycle hands to Java for a published position and GPS summary.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "jni/GpsDRInterface.h"
#include "platform/mThread.h"

void MakeGISTimeText(const _mGpsInfo& info, char (&text)[GIS_TIME_TEXT_LEN + 1])
{
    struct tm t {};  // day of week, day of year, DST flag, zone offset and name all 0
    t.tm_year = info.lYear - 1900;
    t.tm_mon = info.lMonth - 1;
    t.tm_mday = info.lDay;
    t.tm_hour = info.lHour;
    t.tm_min = info.lMinute;
    t.tm_sec = info.lSecond;
    // mktime reads the UTC fields as local time and localtime undoes that, so the text stays
    // the module's UTC time, only normalised (and an hour off across a DST change). Kept on
    // purpose: the service expects exactly this text. The normalised structure is what the
    // round trip gives, in 64 bits on every target (the window reaches 2079).
    const bool ok = mMakeLocalTime(&t) != 0;

    const int year = t.tm_year + 1900;
    const int month = t.tm_mon + 1;
    if (ok && year >= 2011 && year <= 2079 && month >= 1 && month <= 12 && t.tm_mday >= 1 && t.tm_mday <= 31) {
        std::snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02d", year, month, t.tm_mday, t.tm_hour, t.tm_min,
                      t.tm_sec);
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
