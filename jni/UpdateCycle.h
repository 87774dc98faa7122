// The pure half of one update-thread cycle: what the Java callback receives for a given
// published position and GPS summary. Kept apart from the thread so it can be checked directly.
#ifndef GPSDR_JNI_UPDATECYCLE_H
#define GPSDR_JNI_UPDATECYCLE_H

#include "module/MM/MMTypes.h"

enum { GIS_TIME_TEXT_LEN = 14 };

// The arguments of one sendGISInfo call, in call order.
struct SendGISArgs {
    double lat;       // degrees
    double lon;       // degrees
    double alt;       // metres
    int a;            // fDop2, truncated
    int b;            // fDop1, truncated
    int heading;      // whole degrees, truncated toward zero
    int reserved;     // always 0
    char time[GIS_TIME_TEXT_LEN + 1];  // "YYYYMMDDhhmmss" or fourteen zeros
};

// The summary's six time fields as "%04d%02d%02d%02d%02d%02d" after a mktime/localtime round
// trip, or "00000000000000" outside 2011..2079.
void MakeGISTimeText(const _mGpsInfo& info, char (&text)[GIS_TIME_TEXT_LEN + 1]);

SendGISArgs MakeSendGISArgs(const _mMMPosition& pos, const _mGpsInfo& info);

#endif  // GPSDR_JNI_UPDATECYCLE_H
