#include "tools/zelko-decode/NmeaMode.h"

#include <cstdio>

#include "tools/common/Nmea.h"
#include "tools/common/ZelkoFeed.h"

long PrintNmea(ByteSource& source, bool trace)
{
    ZelkoFeed feed(trace);
    const auto print = [](const CPositionMgr& mgr) { std::fputs(NmeaEpoch(mgr).c_str(), stdout); };
    unsigned char buf[4096];
    long n;
    while ((n = source.Read(buf, sizeof buf)) > 0) feed.Feed(buf, static_cast<size_t>(n), print);
    std::fflush(stdout);
    return n < 0 ? -1 : static_cast<long>(feed.Positions());
}
