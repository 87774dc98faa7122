#include "tools/gpsdr-demo/DriverSession.h"

#include <cstdio>
#include <vector>

#include "module/MM/MM.h"
#include "platform/mCharset.h"
#include "tools/common/PortState.h"

std::string GisSampleText(const GisSample& s)
{
    char text[160];
    std::snprintf(text, sizeof text, "sendGISInfo(%.7f, %.7f, %.1f, %d, %d, %d, %d, \"%s\")  port %d (%s)",
                  s.args.lat, s.args.lon, s.args.alt, s.args.a, s.args.b, s.args.heading, s.args.reserved,
                  s.args.time, s.portState, PortStateName(s.portState));
    return text;
}

bool DriverSession::Start(const std::string& device, std::string& error)
{
    if (!m_facade.Initialize(1)) {
        error = "the manager could not be initialised";
        return false;
    }
    m_facade.SetParam(MM_PARAM_DATATYPE, MM_DATAKIND_ZELKO);
    std::vector<unsigned short> name(device.size() + 1, 0);
    Utf8ToUtf16(name.data(), reinterpret_cast<const unsigned char*>(device.c_str()),
                static_cast<unsigned>(device.size() + 1));
    // Pitch 360: no mount angle is requested.
    if (!m_facade.CreateDataThread(name.data(), 115200, 8, 0, 0, 360, 0)) {
        error = "the manager could not open " + device;
        return false;
    }
    return true;
}

GisSample DriverSession::Sample()
{
    // The same two reads and the same mapping as one cycle of the facade's update thread.
    _mMMPosition pos{};
    _mGpsInfo info{};
    m_facade.GetCarPos(&pos);
    m_facade.GetGPSInfo(&info, 0);
    return GisSample{MakeSendGISArgs(pos, info), static_cast<int>(info.ulPortState)};
}

void DriverSession::Stop()
{
    m_facade.Destroy();
}
