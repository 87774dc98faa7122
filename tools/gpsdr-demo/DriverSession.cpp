#include "tools/gpsdr-demo/DriverSession.h"

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <vector>

#include "module/MM/MM.h"
#include "platform/mCharset.h"

namespace {

const char kNoTime[] = "00000000000000";

// The facade formats the module's UTC time after a mktime/localtime round trip (which only
// normalises it) and sends zeros outside the years 2011 to 2079.
std::string GisTimeText(const _SYSTEMTIME& st)
{
    struct tm in {};
    in.tm_year = st.wYear - 1900;
    in.tm_mon = st.wMonth - 1;
    in.tm_mday = st.wDay;
    in.tm_hour = st.wHour;
    in.tm_min = st.wMinute;
    in.tm_sec = st.wSecond;
    const time_t t = mktime(&in);
    struct tm out {};
    if (localtime_r(&t, &out) == nullptr) return kNoTime;
    const int year = out.tm_year + 1900, month = out.tm_mon + 1;
    if (year < 2011 || year > 2079 || month < 1 || month > 12 || out.tm_mday < 1 || out.tm_mday > 31)
        return kNoTime;
    char text[32];
    std::snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02d", year, month, out.tm_mday, out.tm_hour,
                  out.tm_min, out.tm_sec);
    return text;
}

}  // namespace

const char* PortStateName(int state)
{
    switch (state) {
        case MM_PORT_OK: return "ok";
        case MM_PORT_CLOSED: return "closed";
        case MM_PORT_PAUSED: return "paused";
        case MM_PORT_OPENING: return "opening";
        case MM_PORT_NO_DATA: return "no data";
        case MM_PORT_DATA_STOPPED: return "data stopped";
    }
    return "unknown";
}

std::string GisSampleText(const GisSample& s)
{
    char text[160];
    std::snprintf(text, sizeof text, "sendGISInfo(%.7f, %.7f, %.1f, %d, %d, %d, %d, \"%s\")  port %d (%s)", s.lat,
                  s.lon, s.alt, s.dop2, s.dop1, s.heading, s.reserved, s.time.c_str(), s.portState,
                  PortStateName(s.portState));
    return text;
}

bool DriverSession::Start(const std::string& device, std::string& error)
{
    m_pMM = CMM::GetInstance();
    if (m_pMM == nullptr || !m_pMM->Initialize(MM_DATAKIND_ZELKO, 1)) {
        error = "the manager could not be initialised";
        return false;
    }
    m_pMM->SetParam(MM_PARAM_DATATYPE, MM_DATAKIND_ZELKO);
    std::vector<unsigned short> name(device.size() + 1, 0);
    Utf8ToUtf16(name.data(), reinterpret_cast<const unsigned char*>(device.c_str()),
                static_cast<unsigned>(device.size() + 1));
    // Pitch 360: no mount angle is requested.
    if (!m_pMM->CreateDataThread(name.data(), 115200, 8, 0, 0, 360, 0)) {
        error = "the manager could not open " + device;
        return false;
    }
    return true;
}

GisSample DriverSession::Sample()
{
    GisSample s;
    s.time = kNoTime;
    if (m_pMM == nullptr) return s;
    _mMMPosition pos{};
    m_pMM->GetMMPos(&pos, 1);  // the published copy
    s.lat = pos.dLat / 360000.0;
    s.lon = pos.dLon / 360000.0;
    s.heading = static_cast<int16_t>(pos.wHeading) / 10;

    _mGpsDataEx ex{};
    if (m_pMM->GetGPSData(&ex)) {
        s.alt = ex.sAltitude;
        s.dop2 = static_cast<int>(static_cast<float>(ex.sDop2));
        s.dop1 = static_cast<int>(static_cast<float>(ex.sDop1));
        _SYSTEMTIME st{};
        if (m_pMM->GetGPSTime(&st, 0)) s.time = GisTimeText(st);
    }
    s.portState = m_pMM->CheckSerialPortError();
    return s;
}

void DriverSession::Stop()
{
    if (m_pMM == nullptr) return;
    m_pMM->Destroy();
    CMM::FreeInstance();
    m_pMM = nullptr;
}
