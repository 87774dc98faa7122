// The manager's read operations (time, position, satellites, matched position, diagnostics)
// and the publication of a matched position.
//
// Every read of the position manager copies under the data lock, also where the copy once ran
// unguarded: the data thread writes those records while it parses.
#include <cstring>
#include <ctime>

#include "module/MM/MM.h"
#include "module/MM/MMSync.h"
#include "module/geo/MMUtility.h"
#include "module/position/PositionMgr.h"
#include "platform/mString16.h"

namespace {

const uint16_t kEmptySatelId = 65535;

// Fills st from a broken-down local time after mktime has normalised it (a second 60 is the
// next minute, a day 32 the next month), in 64 bits so that dates past 2038 are the same on
// every target. isdst is what mktime is told of daylight saving.
void FillNormalised(_SYSTEMTIME* st, int isdst, int year, int month, int day, int hour, int minute, int second)
{
    tm t{};
    t.tm_year = year - 1900;
    t.tm_mon = month - 1;
    t.tm_mday = day;
    t.tm_hour = hour;
    t.tm_min = minute;
    t.tm_sec = second;
    t.tm_isdst = isdst;
    mMakeLocalTime(&t);
    st->wYear = static_cast<uint16_t>(t.tm_year + 1900);
    st->wMonth = static_cast<uint16_t>(t.tm_mon + 1);
    st->wDayOfWeek = static_cast<uint16_t>(t.tm_wday);
    st->wDay = static_cast<uint16_t>(t.tm_mday);
    st->wHour = static_cast<uint16_t>(t.tm_hour);
    st->wMinute = static_cast<uint16_t>(t.tm_min);
    st->wSecond = static_cast<uint16_t>(t.tm_sec);
    st->wMilliseconds = 0;
}

// Walks the satellite table from its first entry, taking the valid ones, and stops after the
// entry at which the count reaches satView (or after all 32). Returns the count; the valid
// entries are copied into out when it is given.
int WalkValidSatellites(const _mSatelView* table, uint8_t satView, _mSatelView* out)
{
    int count = 0;
    for (int i = 0; i < MM_SATEL_MAX; ++i) {
        if (table[i].wSatID < kEmptySatelId) {
            if (out) std::memcpy(&out[count], &table[i], sizeof table[i]);
            ++count;
        }
        if (count == satView) break;
    }
    return count;
}

}  // namespace

int CMM::GetGPSTime(_SYSTEMTIME* st, char local)
{
    if (!st || !m_pPositionMgr) return 0;
    st->wYear = 0;
    st->wMonth = 0;
    MMScopedLock lock(m_pDataSync);

    if (local) {
        const uint32_t date = static_cast<uint32_t>(mGetCurrentDate());  // YYYYMMDD
        const uint32_t time = static_cast<uint32_t>(mGetCurrentTime());  // HHMMSS00
        // Daylight saving as the device's zone has it: the device's own local time comes back.
        FillNormalised(st, -1, static_cast<int>(date / 10000), static_cast<int>(date / 100 % 100),
                       static_cast<int>(date % 100), static_cast<int>(time / 1000000),
                       static_cast<int>(time / 10000 % 100), static_cast<int>(time / 100 % 100));
        return 1;
    }

    if (m_ucDataKind == MM_DATAKIND_ZELKO) {
        _sZelkoTimeData t;
        m_pPositionMgr->GetZelkoTimeData(&t);
        if (t.ulDRTime == 0) return 0;
        st->wYear = t.wYear;
        st->wMonth = t.ucMonth;
        // The module sends no weekday; the day of the month goes in its place, as callers expect.
        st->wDayOfWeek = t.ucDay;
        st->wDay = t.ucDay;
        st->wHour = t.ucHour;
        st->wMinute = t.ucMinute;
        st->wSecond = t.ucSecond;
        st->wMilliseconds = 0;
        return 1;
    }

    _mGpsDataEx pos;
    m_pPositionMgr->GetPosData(&pos);
    if (pos.lDate <= 0) return 0;
    const int32_t hhmmss = pos.lTime / 1000;
    // Daylight flag 0 on purpose: where daylight saving is in effect the UTC fields, read as
    // standard time, come back an hour later, as callers of this path have always had them.
    FillNormalised(st, 0, pos.lDate % 100 + 2000, pos.lDate / 100 % 100, pos.lDate / 10000, hhmmss / 10000,
                   hhmmss / 100 % 100, hhmmss % 100);
    return 1;
}

int CMM::GetGPSLocalTime(_SYSTEMTIME* st)
{
    return GetGPSTime(st, 1);
}

int CMM::GetCurTimeString(unsigned short* text, int /*reserved*/)
{
    if (!text) return 0;
    _SYSTEMTIME st = {};
    if (!GetGPSTime(&st, 0)) {
        tm t = {};
        if (!mGetLocalTime(&t)) return 0;
        st.wYear = static_cast<uint16_t>(t.tm_year + 1900);
        st.wMonth = static_cast<uint16_t>(t.tm_mon + 1);
        st.wDay = static_cast<uint16_t>(t.tm_mday);
        st.wHour = static_cast<uint16_t>(t.tm_hour);
        st.wMinute = static_cast<uint16_t>(t.tm_min);
        st.wSecond = static_cast<uint16_t>(t.tm_sec);
    }
    swprintf16(text, 1024, W16("%04d%02d%02d_%02d%02d%02d"), static_cast<int>(st.wYear), static_cast<int>(st.wMonth),
               static_cast<int>(st.wDay), static_cast<int>(st.wHour), static_cast<int>(st.wMinute),
               static_cast<int>(st.wSecond));
    return text[0] != 0 ? 1 : 0;
}

int CMM::GetGPSData(_mGpsDataEx* ex)
{
    if (!ex || !m_pPositionMgr) return 0;
    std::memset(ex, 0, sizeof *ex);
    _mGpsDataEx copy;
    {
        MMScopedLock lock(m_pDataSync);
        m_pPositionMgr->GetPosData(&copy);
    }
    *ex = copy;
    return 1;
}

int CMM::GetSatelData(_mSatelView* views, int& count)
{
    if (!views || !m_pPositionMgr) return 0;
    MMScopedLock lock(m_pDataSync);
    _mGpsDataEx pos;
    m_pPositionMgr->GetPosData(&pos);
    _mSatelView table[MM_SATEL_MAX];
    m_pPositionMgr->GetSatelData(table);
    count = WalkValidSatellites(table, pos.ucSatView, views);
    return 1;
}

int CMM::GetSatelCount(_mGpsDataEx* ex)
{
    if (!ex || !m_pPositionMgr) return 0;
    _mSatelView table[MM_SATEL_MAX];
    for (_mSatelView& entry : table) entry.wSatID = kEmptySatelId;
    {
        MMScopedLock lock(m_pDataSync);
        m_pPositionMgr->GetSatelData(table);
    }
    const int n = WalkValidSatellites(table, ex->ucSatView, nullptr);
    if (n < 1) return 0;
    // By position, valid or not: the first n entries are judged, as the count always was.
    int usable = 0;
    for (int i = 0; i < n; ++i) {
        if (table[i].sAzimuth >= 0 && table[i].ucUsed != 0) ++usable;
    }
    return usable;
}

int CMM::SetOutputData(_mGpsDataEx* ex, short /*unused*/, char /*unused*/, unsigned long /*unused*/)
{
    if (!ex) return 0;
    _mMMPosition& cur = m_stCurPos;
    std::memset(&cur, 0, sizeof cur);
    cur.lLon = ex->lLon;
    cur.lLat = ex->lLat;
    cur.wHeading = ex->wHeading;
    cur.sSpeed = ex->sSpeed;
    cur.dLon = static_cast<double>(ex->lLon);
    cur.dLat = static_cast<double>(ex->lLat);
    cur.lMatchIndex[0] = -1;
    cur.lMatchIndex[1] = -1;
    cur.ucValid = 1;
    cur.ucMatchState = 3;
    cur.ucStatusFlag = 0;
    m_dwCurStatus = 3;
    std::memcpy(&m_stPubPos, &m_stCurPos, sizeof m_stPubPos);
    m_dwPubStatus = m_dwCurStatus;
    return 1;
}

int CMM::GetMMPos(_mMMPosition* pos, char published)
{
    if (!pos) return 0;
    std::memset(pos, 0, sizeof *pos);
    MMScopedLock lock(m_pDataSync);
    uint32_t status;
    if (published) {
        *pos = m_stPubPos;
        status = m_dwPubStatus;
        if (m_pPositionMgr && m_pPositionMgr->GetFactoryMode()) {
            status = 3;
            pos->wHeading = static_cast<uint16_t>(m_pPositionMgr->GetGyroCalHead());
            pos->ucValid = 1;
        }
    } else {
        *pos = m_stCurPos;
        status = m_dwCurStatus;
    }
    return static_cast<int>(status);
}

void CMM::DispHeadingFilter(char hold)
{
    if (m_ucDataKind != MM_DATAKIND_ZELKO) return;
    MMScopedLock lock(m_pDataSync);
    if (!m_bHeadFilterStarted) {
        m_bHeadFilterStarted = 1;
        m_wLastHeading = m_stPubPos.wHeading;
        return;
    }
    const short diff = CMMUtility::CalAngleDiffByAbs1800(static_cast<short>(m_stPubPos.wHeading),
                                                         static_cast<short>(m_wLastHeading));
    // Turns within the threshold are held back so the displayed heading does not jitter.
    if (diff <= m_lMMSubParam[1] && hold)
        m_stPubPos.wHeading = m_wLastHeading;
    else
        m_wLastHeading = m_stPubPos.wHeading;
}

int CMM::GetGPSDRDiagnosisData(_mGPSDRDiagnosis* diag)
{
    if (!diag || !m_pPositionMgr) return 0;
    MMScopedLock lock(m_pDataSync);
    return m_pPositionMgr->GetGPSDRDiagnosisData(diag);
}

int CMM::GetGPSDREngineerInfo(_mGPSDREngineerInfo* info)
{
    if (!info || !m_pPositionMgr) return 0;
    MMScopedLock lock(m_pDataSync);
    return m_pPositionMgr->GetEngineeringModeData(info);
}

int CMM::GetGPSDREngineerInfoEx(_mGPSDREngineerInfoEx* info)
{
    if (!info || !m_pPositionMgr) return 0;
    MMScopedLock lock(m_pDataSync);
    return m_pPositionMgr->GetEngineeringModeDataEx(info);
}

int CMM::GetParseStats(ZelkoParseStats* stats)
{
    if (!stats || !m_pPositionMgr) return 0;
    MMScopedLock lock(m_pDataSync);
    return m_pPositionMgr->GetParseStats(stats);
}

int CMM::GetZelkoRecord(int id, unsigned char* out, unsigned cap)
{
    if (!m_pPositionMgr) return 0;
    MMScopedLock lock(m_pDataSync);
    return m_pPositionMgr->GetLastRecord(id, out, cap);
}

int CMM::GetZelkoLowInfo(_mZelkoLowDataInfo* info)
{
    if (!info || !m_pPositionMgr || m_ucDataKind != MM_DATAKIND_ZELKO) return 0;
    MMScopedLock lock(m_pDataSync);
    const int result = m_pPositionMgr->GetZelkoLowOutData(info);
    info->wUnitKind = m_ucUnitKind;
    return result;
}
