// Feeding and read-back helpers for the position suite, and one-line record summaries so that a
// test states a whole record at once.
#ifndef GPSDR_TESTS_POSITION_POSITIONTESTSUPPORT_H
#define GPSDR_TESTS_POSITION_POSITIONTESTSUPPORT_H

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "module/position/PositionMgr.h"
#include "tests/support/LogCapture.h"
#include "tools/common/ZelkoSampleFrames.h"

namespace pt {

using Lines = std::vector<std::string>;

// One chunk of wire bytes, through a mutable copy for the library's char* input.
inline int Feed(CPositionMgr& m, const ZelkoBytes& wire)
{
    std::vector<char> c(wire.begin(), wire.end());
    return m.ParsingZelko(c.data(), static_cast<unsigned short>(c.size()));
}

// A logical frame, sealed and escaped as the module would send it.
inline int FeedFrame(CPositionMgr& m, const ZelkoBytes& logical)
{
    return Feed(m, ZelkoStuff(ZelkoSeal(logical)));
}

// A copy-out accessor's record; the fill pattern shows any byte the accessor left unwritten.
template <class T>
T Get(const CPositionMgr& m, int (CPositionMgr::*getter)(T*) const)
{
    T v;
    std::memset(&v, 0xA5, sizeof v);
    EXPECT_EQ((m.*getter)(&v), 1);
    return v;
}

template <class... Args>
std::string Text(const char* format, Args... args)
{
    char buf[512];
    std::snprintf(buf, sizeof buf, format, args...);
    return buf;
}

inline std::string Describe(const _mGpsDataEx& p)
{
    return Text("pos %d,%d head %u speed %d date %d time %d sats %u/%u dop %d,%d,%d fix %u alt %d mode %u", p.lLon,
                p.lLat, p.wHeading, p.sSpeed, p.lDate, p.lTime, p.ucSatUsed, p.ucSatView, p.sDop1, p.sDop2, p.sDop3,
                p.ucFixValid, p.sAltitude, p.ucPosMode);
}

// The engineering record without its DR values and identity, which tests check where they change.
inline std::string Describe(const _mGPSDREngineerInfo& e)
{
    return Text("gps %d,%d dr %d,%d head %u/%u speed %d/%d fix %u bits %02X/%02X angle %d,%d/%u dop %d,%d,%d "
                "%u-%u-%u %u:%u:%u",
                e.lGpsLon, e.lGpsLat, e.lDRLon, e.lDRLat, e.wGpsHeading, e.wDRHeading, e.sGpsSpeed, e.sDRSpeed,
                e.ucFixState, e.ucStatusBits1, e.ucStatusBits2, e.sPitch, e.sRoll, e.ucMountAngleProgress, e.sDop[0],
                e.sDop[1], e.sDop[2], e.wYear, e.ucMonth, e.ucDay, e.ucHour, e.ucMinute, e.ucSecond);
}

}  // namespace pt

#endif
