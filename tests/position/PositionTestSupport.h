// Trace capture and byte helpers for the position suite.
#ifndef GPSDR_TESTS_POSITION_POSITIONTESTSUPPORT_H
#define GPSDR_TESTS_POSITION_POSITIONTESTSUPPORT_H

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "module/MM/MMTypes.h"
#include "platform/mAndroidLog.h"
#include "tests/position/ZelkoFrames.h"

namespace pt {

// Collects the texts of the trace lines written while alive; every one must be an INFO line
// tagged "Varnex".
class Traces {
public:
    Traces() { mHostLogSetSink(&Traces::Sink, this); }
    ~Traces() { mHostLogSetSink(nullptr, nullptr); }
    Traces(const Traces&) = delete;
    Traces& operator=(const Traces&) = delete;

    // The lines so far, forgotten afterwards.
    std::vector<std::string> Take()
    {
        std::vector<std::string> out;
        out.swap(lines_);
        return out;
    }

private:
    static void Sink(int prio, const char* tag, const char* text, void* ctx)
    {
        EXPECT_EQ(prio, ANDROID_LOG_INFO);
        EXPECT_STREQ(tag, "Varnex");
        static_cast<Traces*>(ctx)->lines_.push_back(text);
    }

    std::vector<std::string> lines_;
};

inline std::vector<std::string> Lines(std::initializer_list<const char*> texts)
{
    return std::vector<std::string>(texts.begin(), texts.end());
}

// Mutable copy for the library's char* / unsigned char* inputs.
inline std::vector<char> Chars(const zf::Bytes& b)
{
    return std::vector<char>(b.begin(), b.end());
}

// One-line summaries of the records, so that a test states a whole record at once.
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

inline std::string Describe(const _mZelkoLowDataInfo& l)
{
    return Text("pos %d,%d quality %u dop %d,%d raw %u head %u alt %d %u-%u-%u %u:%u:%u", l.lLon, l.lLat,
                l.wFixQuality, l.sDop2, l.sDop3, l.wRawSpeed, l.wHeading, l.lAltitude, l.wYear, l.ucMonth, l.ucDay,
                l.ucHour, l.ucMinute, l.ucSecond);
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
