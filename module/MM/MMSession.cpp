// The module session: start-up queries, the vehicle profile's mounting angle, reset commands,
// mount-angle calibration and the fix time after a reset.
#include "module/MM/MM.h"
#include "module/MM/MMSync.h"
#include "module/position/PositionMgr.h"
#include "platform/mString16.h"
#include "platform/mTrace.h"

namespace {

// Query numbers of CPositionMgr::MakeZelkoSysQuery.
enum : unsigned char { QUERY_VERSION = 0, QUERY_PRODUCT = 4, QUERY_HARDWARE = 5, QUERY_MOUNTANGLE = 6 };

const unsigned long kQueryBufferSize = 10;
const unsigned long kMountAngleBufferSize = 200;

struct StartQuery {
    unsigned char query;
    const unsigned short* makeFail;
    const unsigned short* sendFail;
};

// The module's identity, asked for in this order until the version report arrives.
const StartQuery kStartQueries[] = {
    {QUERY_VERSION, W16("[LIB_DBG][CMM::SetDataUpdate] Make Get Version Query Packet FAIL\n"),
     W16("[LIB_DBG][CMM::SetDataUpdate] Send Zelko App Version Query FAIL\n")},
    {QUERY_PRODUCT, W16("[LIB_DBG][CMM::SetDataUpdate] Make Get Product Query Packet FAIL\n"),
     W16("[LIB_DBG][CMM::SetDataUpdate] Send Zelko Product Query FAIL\n")},
    {QUERY_HARDWARE, W16("[LIB_DBG][CMM::SetDataUpdate] Make Get Hardware Query Packet FAIL\n"),
     W16("[LIB_DBG][CMM::SetDataUpdate] Send Zelko Hardware Query FAIL\n")},
};

// Modules before 2.2 have no mount-angle calibration.
bool HasMountAngleCalibration(const _mGPSDREngineerInfo& eng)
{
    return eng.ucAppVerMajor > 2 || (eng.ucAppVerMajor == 2 && eng.ucAppVerMinor >= 2);
}

}  // namespace

// Builds and sends one query; a null message means the failure is not traced.
int CMM::SendQuery(unsigned char query, const unsigned short* makeFail, const unsigned short* sendFail)
{
    unsigned char buf[kQueryBufferSize] = {};
    unsigned long len = 0;
    if (!CPositionMgr::MakeZelkoSysQuery(query, buf, sizeof buf, len)) {
        if (makeFail) mTraceW(makeFail);
        return 0;
    }
    if (!DataSend(buf, len)) {
        if (sendFail) mTraceW(sendFail);
        return 0;
    }
    return 1;
}

int CMM::SendStartQueries()
{
    for (const StartQuery& q : kStartQueries) {
        if (!SendQuery(q.query, q.makeFail, q.sendFail)) return 0;
    }
    return 1;
}

int CMM::VersionKnown()
{
    MMScopedLock lock(m_pDataSync);
    return m_pPositionMgr->CheckGetZelkoVer(0);
}

void CMM::ReadEngineering(_mGPSDREngineerInfo& eng)
{
    MMScopedLock lock(m_pDataSync);
    m_pPositionMgr->GetEngineeringModeData(&eng);
}

// Runs on every tenth data-thread cycle; repeating it is the only retry.
int CMM::SetDataUpdate()
{
    if (!m_hDataThread || m_bPause) return 0;
    if (!m_pPositionMgr || m_ucDataKind != MM_DATAKIND_ZELKO) return 1;

    if (!VersionKnown() && !SendStartQueries()) return 0;

    int settled;
    {
        MMScopedLock lock(m_pDataSync);
        settled = m_pPositionMgr->CheckGetMountAngle();
    }
    if (!settled) {
        return SendQuery(QUERY_MOUNTANGLE, W16("[LIB_DBG][CMM::SetDataUpdate] Make Get MountAngle Query Packet FAIL\n"),
                         W16("[LIB_DBG][CMM::SetDataUpdate] Send Zelko MountAngle Query FAIL\n"));
    }
    return ApplyProfileMountAngle();
}

// Pushes the vehicle profile's mounting angle until the module reports it.
int CMM::ApplyProfileMountAngle()
{
    if (!m_ucMountAngleProfile || !VersionKnown()) return 1;

    _mGPSDREngineerInfo eng;
    ReadEngineering(eng);
    const short pitch = m_sPitch;
    const short roll = m_sRoll;
    if (!HasMountAngleCalibration(eng) || (eng.sPitch == pitch && eng.sRoll == roll)) {
        m_ucMountAngleProfile = MM_MOUNTANGLEPROFILEUSE_DISABLE;
        return 1;
    }

    if (!SendQuery(QUERY_MOUNTANGLE, W16("[LIB_DBG][CMM::SetDataUpdate] Make Get MountAngle Query Packet FAIL2\n"),
                   W16("[LIB_DBG][CMM::SetDataUpdate] Send Zelko MountAngle Query FAIL2\n"))) {
        return 0;
    }
    // The reply to that query has not been decoded yet: this sees a newer report only if one
    // arrived meanwhile; otherwise the angle is pushed and the next run compares again.
    ReadEngineering(eng);
    if (eng.sPitch == pitch && eng.sRoll == roll) {
        m_ucMountAngleProfile = MM_MOUNTANGLEPROFILEUSE_DISABLE;
        return 1;
    }
    if (pitch != 360) {
        SetZelkoMountAngle(0, pitch, roll);
        return 1;
    }
    mTraceW(W16("[LIB_DBG][CMM::SetDataUpdate] Set MountAngle by Init Profile Fail : ReqPitch(%d), ReqRoll(%d)\n"),
            static_cast<int>(pitch), static_cast<int>(roll));
    m_ucMountAngleProfile = MM_MOUNTANGLEPROFILEUSE_DISABLE;
    return 1;
}

int CMM::DoZelkoStartQuery(char reset)
{
    if (reset) {
        SendZelkoCommand(0);
        return 1;
    }
    if (!m_pPositionMgr) return 1;
    for (const StartQuery& q : kStartQueries) SendQuery(q.query, nullptr, nullptr);
    _mGPSDREngineerInfo eng;
    ReadEngineering(eng);
    if (HasMountAngleCalibration(eng)) SendQuery(QUERY_MOUNTANGLE, nullptr, nullptr);
    return 1;
}

int CMM::SendZelkoCommand(unsigned char command)
{
    if (!m_pPositionMgr) return 0;
    if (m_ucDataKind != MM_DATAKIND_ZELKO) {
        mTraceW(W16("[LIB_DBG][SendZelkoCommand] Current Data Type is NOT Zelko (%d)\n"),
                static_cast<int>(m_ucDataKind));
        return 0;
    }
    const mTHREAD handle = m_hDataThread;
    const uint8_t paused = m_bPause;
    if (!handle && paused) {
        mTraceW(W16("[LIB_DBG][SendZelkoCommand] Check Data Thread State : Handle(%p), PauseState(%d)\n"),
                static_cast<unsigned long long>(handle), static_cast<int>(paused));
        return 0;
    }

    unsigned char buf[kQueryBufferSize] = {};
    unsigned long len = 0;
    if (!CPositionMgr::MakeZelkoSysSet(command, buf, sizeof buf, len)) {
        mTraceW(W16("[LIB_DBG][CMM::SendZelkoCommand] Make Zelko Command Packet FAIL (%d)\n"), static_cast<int>(command));
        return 0;
    }
    if (!DataSend(buf, len)) {
        mTraceW(W16("[LIB_DBG][CMM::SendZelkoCommand] Send Zelko Command FAIL\n"));
        return 0;
    }
    mTraceW(W16("[LIB_DBG][CMM::SendZelkoCommand] Send Zelko Command Reset (%d)\n"), static_cast<int>(command));
    MMScopedLock lock(m_pDataSync);
    m_pPositionMgr->StartMeasureFixTime(command);
    return 1;
}

int CMM::SetZelkoMountAngle(unsigned char type, short pitch, short roll)
{
    if (!m_pPositionMgr || m_ucDataKind != MM_DATAKIND_ZELKO) return 0;
    if (type >= 4) {
        mTraceW(W16("[MM-Err][CMM::SetZelkoMountAngle] Request Type is Invalid(%d)\n"), static_cast<int>(type));
        return 0;
    }

    unsigned char buf[kMountAngleBufferSize] = {};
    unsigned long len = 0;
    int built;
    {
        MMScopedLock lock(m_pDataSync);
        built = m_pPositionMgr->MakeMountAngleCal(type, pitch, roll, buf, sizeof buf, len);
    }
    if (!built) {
        mTraceW(W16("[LIB_DBG][CMM::SetZelkoMountAngle] Make Mount Angle Calibration FAIL\n"));
        return 0;
    }
    if (!DataSend(buf, len)) {
        mTraceW(W16("[LIB_DBG][CMM::SetZelkoMountAngle] Send Mount Angle Calibration FAIL\n"));
        return 0;
    }
    if (type == 0) {
        mTraceW(W16("[LIB_DBG][CMM::SetZelkoMountAngle] Send Mount Angle Calibration Set : Type(%d), Pitch(%d), Roll(%d)\n"),
                static_cast<int>(type), static_cast<int>(pitch), static_cast<int>(roll));
    } else {
        mTraceW(W16("[LIB_DBG][CMM::SetZelkoMountAngle] Send Mount Angle Calibration Set : Type(%d)\n"),
                static_cast<int>(type));
    }
    return 1;
}

int CMM::GetZelkoResetTime(unsigned char& command, unsigned long& ms)
{
    if (!m_pPositionMgr) return 0;
    if (m_ucDataKind != MM_DATAKIND_ZELKO) {
        mTraceW(W16("[LIB_DBG][GetZelkoResetTime] Current Data Type is NOT Zelko (%d)\n"),
                static_cast<int>(m_ucDataKind));
        return 0;
    }
    MMScopedLock lock(m_pDataSync);
    return m_pPositionMgr->GetZelkoResetTime(command, ms);
}

int CMM::SetZelkoEngFactoryMode(char mode)
{
    if (!m_pPositionMgr) return 0;
    MMScopedLock lock(m_pDataSync);
    m_pPositionMgr->SetFactoryMode(mode);
    return 1;
}
