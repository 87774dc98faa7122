// Input into the position manager and the matching step that publishes the result.
#include "module/MM/MM.h"
#include "module/MM/MMSync.h"
#include "module/position/PositionMgr.h"
#include "platform/mString16.h"
#include "platform/mTrace.h"

int CMM::SetPosData(char* buf, unsigned short len)
{
    if (m_ucInputBlock) return 0;
    const int result = ParsingPosData(buf, len);
    if (result && m_hMatchEvent) mEventRaise(m_hMatchEvent);
    return result;
}

int CMM::DoMapMatching(char* buf, unsigned short len)
{
    const int result = ParsingPosData(buf, len);
    if (result) DoMapMatching();
    return result;
}

int CMM::ParsingPosData(char* buf, unsigned short len)
{
    if (!m_pPositionMgr) {
        mTraceW(W16("[MM-Err][CMM::ParsingPosData] m_pPositionMgr is NULL\n"));
        return 0;
    }
    // The data lock keeps the parse apart from the readers of the position manager's records
    // (outputs, matching step, session upkeep) and from input pushed in by a caller. From the
    // data thread the port lock is already held, which keeps the port -> data order.
    MMScopedLock lock(m_pDataSync);
    const uint8_t kind = m_ucDataKind;
    switch (kind) {
    case MM_DATAKIND_ZELKO:
        return m_pPositionMgr->ParsingZelko(buf, len);
    case MM_DATAKIND_GPSDATAEX:
        return m_pPositionMgr->ParsingGpsStruct(buf, len);
    case MM_DATAKIND_FS:
        return m_pPositionMgr->ParsingFS(buf);
    default:
        // NMEA text (kinds 0 and 2) can be selected but is not parsed in this build.
        mTraceW(W16("[MM-Err][CMM::ParsingPosData] Not Define Type : %d\n"), static_cast<int>(kind));
        return 0;
    }
}

int CMM::DoMapMatching()
{
    if (!m_pPositionMgr) return 0;
    MMLock(m_pDataSync);
    m_dwLastMatchTick = mGetMilisec();

    if (m_ucDataKind == MM_DATAKIND_ZELKO) {
        _sZelkoStatusData status;
        m_pPositionMgr->GetZelkoStatusData(&status);
        // Nothing is published until the module reports itself ready.
        if (status.ucStatusFlag[0] == 0) {
            MMUnlock(m_pDataSync);
            return 0;
        }
    }

    _mGpsDataEx pos;
    m_pPositionMgr->GetPosData(&pos);
    _mGpsDataEx out = {};
    if (m_wConvert == 1) {
        // An unconverted position is published after releasing the lock early; the release
        // at the end then comes a second time, which the lock tolerates. Kept as it always ran.
        if (m_pPositionMgr->ConVConvert(&pos, &out, 0) == 0) MMUnlock(m_pDataSync);
    }
    SetOutputData(&out, 0, 0, mGetMilisec());
    MMUnlock(m_pDataSync);
    return 1;
}
