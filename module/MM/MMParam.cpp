// Parameters, input data kinds, DR type and the small setters.
#include <iterator>

#include "module/MM/MM.h"
#include "module/MM/MMSync.h"
#include "platform/mString16.h"
#include "platform/mTrace.h"

// The on/off parameters: value 0 or 1 is stored with its message, anything else is refused.
struct CMM::SwitchParam {
    unsigned short id;
    MMRelaxed<uint8_t> CMM::*field;
    const unsigned short* changed[2];
    const unsigned short* noMatch;
};

const CMM::SwitchParam CMM::s_aSwitchParams[] = {
    {MM_PARAM_ALTITUDEMM, &CMM::m_ucAltitude,
     {W16("[LIB_DBG][CMM::SetParam] MM_PARAM_ALTITUDEMM Changed MM_ALTITUDEMM_INVALID\n"),
      W16("[LIB_DBG][CMM::SetParam] MM_PARAM_ALTITUDEMM Changed MM_ALTITUDEMM_VALID\n")},
     W16("[LIB_DBG][CMM::SetParam] MM_PARAM_ALTITUDEMM No Match lValue(%d)\n")},
    {MM_PARAM_MMFEEDBACK, &CMM::m_ucFeedback,
     {W16("[LIB_DBG][CMM::SetParam] MM_PARAM_MMFEEDBACK Changed MM_MMFEEDBACK_NOUSE\n"),
      W16("[LIB_DBG][CMM::SetParam] MM_PARAM_MMFEEDBACK Changed MM_MMFEEDBACK_USE\n")},
     W16("[LIB_DBG][CMM::SetParam] MM_PARAM_MMFEEDBACK No Match lValue(%d)\n")},
    {MM_PARAM_MOUNTANGLEPROFILEUSE, &CMM::m_ucMountAngleProfile,
     {W16("[LIB_DBG][CMM::SetParam] MM_PARAM_MOUNTANGLEPROFILEUSE Changed MM_MOUNTANGLEPROFILEUSE_DISABLE\n"),
      W16("[LIB_DBG][CMM::SetParam] MM_PARAM_MOUNTANGLEPROFILEUSE Changed MM_MOUNTANGLEPROFILEUSE_ENABLE\n")},
     W16("[LIB_DBG][CMM::SetParam] MM_PARAM_MOUNTANGLEPROFILEUSE No Match lValue(%d)\n")},
};

namespace {

struct DataKindSetting {
    uint8_t drType;
    uint32_t readErrStandard;  // ms of silence before the port counts as stopped
    const unsigned short* message;
};

const uint32_t kDataSleepTimeMs = 100;

// Indexed by data kind. The module's own protocol streams several frames a second, so its
// silence limit is the shortest.
const DataKindSetting kDataKinds[] = {
    {0, 5000, W16("[LIB_DBG][CMM::SetDataType] Set Data Kind NMEA\n")},
    {2, 1000, W16("[LIB_DBG][CMM::SetDataType] Set Data Kind ZELKO (%d)\n")},
    {1, 5000, W16("[LIB_DBG][CMM::SetDataType] Set Data Kind NMEA with DR\n")},
    {0, 5000, W16("[LIB_DBG][CMM::SetDataType] Set Data Kind mGpsDataEx Structure\n")},
    {2, 5000, W16("[LIB_DBG][CMM::SetDataType] Set Data Kind FS Structure\n")},
};

}  // namespace

int CMM::SetParam(unsigned short id, long value)
{
    // Cut to 32 bits first so that a 64-bit long gives the same answers as a 32-bit one.
    const int32_t v = static_cast<int32_t>(value);

    for (const SwitchParam& p : s_aSwitchParams) {
        if (p.id != id) continue;
        if (v != 0 && v != 1) {
            mTraceW(p.noMatch, static_cast<int>(v));
            return 0;
        }
        this->*p.field = static_cast<uint8_t>(v);
        mTraceW(p.changed[v]);
        return 1;
    }

    switch (id) {
    case MM_PARAM_DATATYPE:
        return SetDataType(static_cast<unsigned char>(v)) ? 1 : 0;
    case MM_PARAM_DRTYPE:
        return SetDRType(static_cast<unsigned char>(v)) ? 1 : 0;
    case MM_PARAM_PORTREADERRSTANDARD: {
        const int32_t sleepMs = static_cast<int32_t>(m_dwDataSleepTime);
        if (v > sleepMs) {
            m_dwReadErrStandard = static_cast<uint32_t>(v);
            return 1;
        }
        mTraceW(W16("[LIB_DBG][CMM::SetParam] MM_PARAM_PORTREADERRSTANDARD Request Standard(%d) is low(or same) then DataSleepTime(%d)\n"),
                static_cast<int>(v), static_cast<int>(sleepMs));
        return 0;
    }
    default:  // the frame-drive byte (48) included: it cannot be set
        mTraceW(W16("[LIB_DBG][CMM::SetParam] No Match wPid(%d)\n"), static_cast<int>(id));
        return 0;
    }
}

long CMM::GetParam(unsigned short id)
{
    switch (id) {
    case MM_PARAM_DATATYPE: return m_ucDataKind;
    case MM_PARAM_ALTITUDEMM: return m_ucAltitude;
    case MM_PARAM_FRAMEDRIVE: return m_ucFrameDrive;
    case MM_PARAM_DRTYPE: return m_ucDRType;
    case MM_PARAM_MMFEEDBACK: return m_ucFeedback;
    case MM_PARAM_PORTREADERRSTANDARD: return m_dwReadErrStandard;  // always within 31 bits
    case MM_PARAM_MOUNTANGLEPROFILEUSE: return m_ucMountAngleProfile;
    default: return -1;
    }
}

int CMM::SetDataType(unsigned char kind)
{
    MMScopedLock lock(m_pPortSync);
    // Stored before the check on purpose: an undefined kind stays selected, and the router
    // then refuses every input.
    m_ucDataKind = kind;
    if (kind >= std::size(kDataKinds)) {
        mTraceW(W16("[MM-Err][CMM::SetDataType] Data Kind is NOT Defined : %d\n"), static_cast<int>(kind));
        return 0;
    }
    const DataKindSetting& setting = kDataKinds[kind];
    m_dwDataSleepTime = kDataSleepTimeMs;
    m_dwReadErrStandard = setting.readErrStandard;
    SetDRType(setting.drType);
    mTraceW(setting.message, static_cast<int>(kDataSleepTimeMs));
    return 1;
}

int CMM::SetDRType(unsigned char type)
{
    if (type >= 3) {
        mTraceW(W16("[MM-Err][CMM::SetDRType] DR Type is NOT Defined : %d\n"), static_cast<int>(type));
        return 0;
    }
    MMScopedLock lock(m_pDataSync);
    m_ucDRType = type;
    mTraceW(W16("[LIB_DBG][CMM::SetDRType] Set DR Type (%d)\n"), static_cast<int>(m_ucDRType));
    return 1;
}

int CMM::SetMMSubParam()
{
    static const int32_t kDefaults[MM_SUBPARAM_NUM] = {100, 30, 20, 1000, 50};
    for (int i = 0; i < MM_SUBPARAM_NUM; ++i) m_lMMSubParam[i] = kDefaults[i];
    return 1;
}

int CMM::SetSimulState(char state)
{
    m_ucSimulState = static_cast<uint8_t>(state);
    return 1;
}

int CMM::SetShowMMDebugMsg(char show)
{
    g_bShowMMDbgMsg = static_cast<unsigned char>(show);
    return 1;
}

int CMM::SetReciveSavePosInfo(char save)
{
    m_ucSavePosInfo = static_cast<uint8_t>(save);
    return 1;
}

int CMM::SetUserDataPath(unsigned short* path)
{
    if (!path) return 0;
    // Bounded to the field; paths that fit are copied whole as before.
    unsigned n = wcsnlen16(path, USER_PATH_LEN - 1);
    for (unsigned i = 0; i < n; ++i) m_szUserDataPath[i] = path[i];
    m_szUserDataPath[n] = 0;
    return 1;
}

int CMM::Reset()
{
    MMScopedLock lock(m_pDataSync);
    return 1;
}
