// Position manager state: defaults, set-up, copies out and the session checks.
#include "module/position/PositionMgr.h"

#include <cstring>
#include <new>

#include "platform/mString16.h"
#include "platform/mThread.h"
#include "platform/mTrace.h"

namespace {

const int16_t kAngleUnknown = 360;

template <class T>
int CopyOut(T* out, const T& from)
{
    if (out == nullptr) return 0;
    *out = from;
    return 1;
}

}  // namespace

CPositionMgr::CPositionMgr()
    : m_pParser(nullptr), m_ucKind(0), m_ucUnitKind(0), m_wDRKind(0), m_stPos(), m_stSatel(), m_stStatus(),
      m_stSub(), m_stTime(), m_stLowOut(), m_stEng(), m_stEngEx(), m_ucMeasuring(0), m_ucResetKind(255),
      m_ulStartTick(0), m_ulStopTick(0), m_stDiagnosis(), m_ucStore(), m_wStoreLen(0), m_wStoreHead(0), m_stParseStats(), m_ucDRHeadValid(0),
      m_ucMountPending(0), m_ucMountAcked(0), m_sGyroHead(0), m_ucFactoryMode(0)
{
    // Every id reads 65535: the table starts empty.
    std::memset(m_stSatel, 0xFF, sizeof m_stSatel);
    std::memset(m_ucSatelAt, SATEL_TABLE_SIZE, sizeof m_ucSatelAt);
    m_ucSatelFree = 0;
    m_stStatus.ucFixMode = 0xFF;
    m_stStatus.ucFixKind = 0xFF;
    m_stEng.sPitch = kAngleUnknown;
    m_stEng.sRoll = kAngleUnknown;
}

CPositionMgr::~CPositionMgr()
{
    delete m_pParser;
    m_pParser = nullptr;
}

int CPositionMgr::Initialize(unsigned char kind, unsigned char unitKind, unsigned short drKind)
{
    m_ucKind = kind;
    m_ucUnitKind = unitKind;
    m_wDRKind = drKind;
    // Without a parser the stream input stays inert rather than failing the manager.
    if (m_pParser == nullptr) m_pParser = new (std::nothrow) CZELKOParser();
    return 1;
}

int CPositionMgr::SetPosData(_mGpsDataEx* pos)
{
    if (pos == nullptr) return 0;
    m_stPos = *pos;
    return 1;
}

int CPositionMgr::GetPosData(_mGpsDataEx* out) const
{
    return CopyOut(out, m_stPos);
}

int CPositionMgr::GetSatelData(_mSatelView* out) const
{
    if (out == nullptr) return 0;
    std::memcpy(out, m_stSatel, sizeof m_stSatel);
    return 1;
}

int CPositionMgr::GetZelkoStatusData(_sZelkoStatusData* out) const
{
    return CopyOut(out, m_stStatus);
}

int CPositionMgr::GetZelkoSubData(_sZelkoSubData* out) const
{
    return CopyOut(out, m_stSub);
}

int CPositionMgr::GetZelkoTimeData(_sZelkoTimeData* out) const
{
    return CopyOut(out, m_stTime);
}

int CPositionMgr::GetZelkoLowOutData(_mZelkoLowDataInfo* out) const
{
    return CopyOut(out, m_stLowOut);
}

int CPositionMgr::GetEngineeringModeData(_mGPSDREngineerInfo* out) const
{
    return CopyOut(out, m_stEng);
}

int CPositionMgr::GetEngineeringModeDataEx(_mGPSDREngineerInfoEx* out) const
{
    return CopyOut(out, m_stEngEx);
}

int CPositionMgr::GetGPSDRDiagnosisData(_mGPSDRDiagnosis* out) const
{
    return CopyOut(out, m_stDiagnosis);
}

int CPositionMgr::GetParseStats(ZelkoParseStats* out) const
{
    return CopyOut(out, m_stParseStats);
}

int CPositionMgr::GetLastRecord(int id, unsigned char* out, unsigned cap) const
{
    const ZelkoKind* kind = ZelkoKindById(id);
    if (!kind || !m_pParser || !out || cap < kind->slot.recordSize) return 0;
    std::memcpy(out, kind->slot.record(*m_pParser), kind->slot.recordSize);
    return kind->slot.recordSize;
}

int CPositionMgr::SetCurMMPosForInfo(_mPosition pos)
{
    m_stEng.lMMLon = pos.lLon;
    m_stEng.lMMLat = pos.lLat;
    m_stEng.wMMHeading = pos.wHeading;
    m_stEng.sMMSpeed = pos.sSpeed;
    return 1;
}

short CPositionMgr::GetGyroCalHead() const
{
    return static_cast<short>(m_sGyroHead.load(std::memory_order_relaxed) * 10);
}

void CPositionMgr::SetFactoryMode(char mode)
{
    m_ucFactoryMode.store(static_cast<uint8_t>(mode), std::memory_order_relaxed);
    mTraceW(W16("[MM-Dbg][CPositionMgr::SetFactoryMode] Factory Mode Request!!!! (%d)\n"), static_cast<int>(mode));
}

char CPositionMgr::GetFactoryMode() const
{
    return static_cast<char>(m_ucFactoryMode.load(std::memory_order_relaxed));
}

void CPositionMgr::StartMeasureFixTime(unsigned char resetKind)
{
    m_ucResetKind.store(resetKind, std::memory_order_relaxed);
    m_ulStartTick.store(mGetMilisec(), std::memory_order_relaxed);
    m_ulStopTick.store(0, std::memory_order_relaxed);
    m_ucMeasuring.store(1, std::memory_order_relaxed);
}

int CPositionMgr::StopMeasureFixTime()
{
    m_ucMeasuring.store(0, std::memory_order_relaxed);
    m_ulStopTick.store(mGetMilisec(), std::memory_order_relaxed);
    return 1;
}

int CPositionMgr::GetZelkoResetTime(unsigned char& resetKind, unsigned long& elapsedMs) const
{
    const uint8_t kind = m_ucResetKind.load(std::memory_order_relaxed);
    const uint32_t start = m_ulStartTick.load(std::memory_order_relaxed);
    const uint32_t stop = m_ulStopTick.load(std::memory_order_relaxed);
    if (kind >= 255 || start == 0 || stop == 0 || m_ucMeasuring.load(std::memory_order_relaxed) == 1) return 0;
    resetKind = kind;
    elapsedMs = static_cast<uint32_t>(stop - start);
    return 1;
}

int CPositionMgr::CheckGetZelkoVer(unsigned char which) const
{
    // Every accepted id tests the same application version; 2 is refused on purpose.
    if (which != 0 && which != 1 && which != 3) return 0;
    return (m_stEng.ucAppVerMajor | m_stEng.ucAppVerMinor | m_stEng.ucAppVerPatch) != 0 ? 1 : 0;
}

int CPositionMgr::CheckGetMountAngle()
{
    const uint8_t major = m_stEng.ucAppVerMajor;
    // Firmware before 2.2 has no mount-angle calibration to wait for.
    if (major < 2 || (major == 2 && m_stEng.ucAppVerMinor < 2)) return 1;
    if (m_ucMountAcked) {
        // A calibration was just accepted: ask for the result once more.
        m_ucMountAcked = 0;
        return 0;
    }
    if (m_ucMountPending.load(std::memory_order_relaxed) == 0) {
        return (m_stEng.sPitch != kAngleUnknown && m_stEng.sRoll != kAngleUnknown) ? 1 : 0;
    }
    if (m_stEng.ucMountAngleProgress == 100) {
        m_ucMountPending.store(0, std::memory_order_relaxed);
        return 1;
    }
    return 0;
}
