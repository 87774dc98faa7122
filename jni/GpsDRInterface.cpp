#include "jni/GpsDRInterface.h"

#include <cstring>
#include <mutex>
#include <shared_mutex>

#include "module/MM/MM.h"
#include "platform/mString16.h"
#include "platform/mTrace.h"

namespace {

constexpr std::memory_order kRelaxed = std::memory_order_relaxed;

// Shared while a facade calls its manager, exclusive while a facade takes or frees one, so a
// manager is never freed under a running call. The singleton can be held by several facades;
// the generation, bumped on every free, tells the others that theirs is gone.
std::shared_mutex g_managerGuard;
uint32_t g_managerGeneration = 0;

}  // namespace

GpsDRInterface::GpsDRInterface()
    : m_pMM(nullptr), m_hUpdateThread(0), m_ucUpdateRun(0), m_ulMMGeneration(0)
{
}

GpsDRInterface::~GpsDRInterface() = default;

CMM* GpsDRInterface::LiveManager() const
{
    return m_ulMMGeneration == g_managerGeneration ? m_pMM : nullptr;
}

bool GpsDRInterface::LeaveLostManager()
{
    std::unique_lock<std::shared_mutex> hold(g_managerGuard);
    if (!m_pMM || LiveManager()) return false;
    mTHREAD self = mThreadSelf();
    m_hUpdateThread.compare_exchange_strong(self, 0, kRelaxed);
    return true;
}

template <typename R, typename Op>
R GpsDRInterface::WithManager(R without, Op op)
{
    std::shared_lock<std::shared_mutex> hold(g_managerGuard);
    CMM* mm = LiveManager();
    return mm ? static_cast<R>(op(*mm)) : without;
}

// ---------------------------------------------------------------- lifecycle

int GpsDRInterface::Initialize(unsigned short mode)
{
    std::unique_lock<std::shared_mutex> hold(g_managerGuard);
    if (m_pMM) return 1;
    CMM* mm = CMM::GetInstance();
    if (!mm) return 0;
    m_pMM = mm;
    m_ulMMGeneration = g_managerGeneration;
    return m_pMM->Initialize(1, mode) ? 1 : 0;
}

int GpsDRInterface::StartOnlyGpsDRModule()
{
    {
        std::shared_lock<std::shared_mutex> hold(g_managerGuard);
        if (m_pMM) return 0;
    }
    if (!Initialize(1)) return 0;
    SetParam(MM_PARAM_DATATYPE, MM_DATAKIND_ZELKO);
    unsigned short name[16] = {};
    swprintf16(name, 16, W16("/dev/ttyGPS1"));
    if (!CreateDataThread(name, 115200, 8, 0, 0, 360, 0)) return 0;
    StartUpdateThread();
    return 1;
}

int GpsDRInterface::EndOnlyGpsDRModule()
{
    StopUpdateThread();
    // Lets the update thread finish its cycle and detach from the VM before the manager goes.
    mSleepMs(1000);
    Destroy();
    return 1;
}

int GpsDRInterface::Destroy()
{
    std::unique_lock<std::shared_mutex> hold(g_managerGuard);
    if (CMM* mm = LiveManager()) {
        mm->Destroy();
        CMM::FreeInstance();
        ++g_managerGeneration;
    }
    m_pMM = nullptr;  // one another facade has freed is only let go of
    return 1;
}

// ---------------------------------------------------------------- update thread

int GpsDRInterface::CreateUpdateOnlyThread()
{
    if (!m_hUpdateThread.load(kRelaxed)) {
        m_ucUpdateRun.store(1, kRelaxed);
        mTHREAD created;
        {
            // The handle is in place before the new thread could give it up (under this guard).
            std::unique_lock<std::shared_mutex> hold(g_managerGuard);
            created = mThreadCreate(reinterpret_cast<void*>(&UpdateThread), this);
            m_hUpdateThread.store(created, kRelaxed);
        }
        if (!created) {
            m_ucUpdateRun.store(0, kRelaxed);
            // The manager's prefixes, as the service's log filters expect.
            mTraceW(W16("[MM-Err][CMM::Initialize] UpdateThread Create Fail\n"));
            return 0;
        }
    }
    mTraceW(W16("[MM-Dbg][CMM::StartDataThread] Start UpdateThread Success!!\n"));
    return 1;
}

int GpsDRInterface::CreateUpdateThread()
{
    return CreateUpdateOnlyThread() ? 1 : 0;
}

int GpsDRInterface::StartUpdateThread()
{
    CreateUpdateThread();
    return 1;
}

int GpsDRInterface::DestroyUpdateThread()
{
    m_ucUpdateRun.store(0, kRelaxed);
    if (const mTHREAD thread = m_hUpdateThread.exchange(0, kRelaxed)) {
        mThreadJoin(thread);
        mThreadClose(thread);
    }
    return 1;
}

int GpsDRInterface::StopUpdateThread()
{
    return DestroyUpdateThread();
}

// ---------------------------------------------------------------- readers

int GpsDRInterface::GetGPSInfo(_mGpsInfo* info, char local)
{
    if (!info) return 0;
    std::memset(info, 0, sizeof *info);
    return WithManager(0, [&](CMM& mm) {
        _mGpsDataEx ex{};
        if (!mm.GetGPSData(&ex)) return 0;
        info->lLon = ex.lLon;
        info->lLat = ex.lLat;
        info->wHeading = ex.wHeading;
        info->sSpeed = ex.sSpeed;
        info->ucSatUsed = ex.ucSatUsed;
        info->ucSatView = ex.ucSatView;
        info->ucFixValid = ex.ucFixValid;
        info->lAltitude = ex.sAltitude;
        info->fSpeed = static_cast<float>(ex.sSpeed);
        info->fDop1 = static_cast<float>(ex.sDop1);
        info->fDop2 = static_cast<float>(ex.sDop2);
        info->fDop3 = static_cast<float>(ex.sDop3);

        _SYSTEMTIME st{};
        if (local ? mm.GetGPSLocalTime(&st) : mm.GetGPSTime(&st, 0)) {
            info->lYear = st.wYear;
            info->lMonth = st.wMonth;
            info->lDay = st.wDay;
            info->lHour = st.wHour;
            info->lMinute = st.wMinute;
            info->lSecond = st.wSecond;
            info->ucDayOfWeek = static_cast<uint8_t>(st.wDayOfWeek);
        } else {
            info->ucDayOfWeek = 255;
        }
        info->ulPortState = static_cast<uint32_t>(mm.CheckSerialPortError());
        return 1;
    });
}

int GpsDRInterface::GetCarPos(_mMMPosition* pos)
{
    if (!pos) return 0;
    return WithManager(0, [&](CMM& mm) {
        // The manager never reports status 2, so the flag stays 0; kept as the service reads it.
        pos->ucStatusFlag = mm.GetMMPos(pos, 1) == 2 ? 1 : 0;
        return 1;
    });
}

int GpsDRInterface::GetSatelInfo(_mSatelInfo* info)
{
    if (!info) return 0;
    return WithManager(0, [&](CMM& mm) {
        if (mm.GetSatelData(info->stSatel, info->lSatelNum)) return 1;
        info->lSatelNum = 0;
        return 0;
    });
}

// ---------------------------------------------------------------- forwarded to the manager

long GpsDRInterface::GetParam(unsigned short id)
{
    return WithManager(-1L, [&](CMM& mm) { return mm.GetParam(id); });
}

void GpsDRInterface::SetParam(unsigned short id, long value)
{
    WithManager(0, [&](CMM& mm) { return mm.SetParam(id, value); });
}

int GpsDRInterface::SetDataType(unsigned char kind)
{
    return WithManager(0, [&](CMM& mm) { return mm.SetDataType(kind); });
}

int GpsDRInterface::SetPosData(char* buf, unsigned short len)
{
    return WithManager(0, [&](CMM& mm) { return mm.DoMapMatching(buf, len); });
}

int GpsDRInterface::CreateDataThread(unsigned short* deviceName, unsigned long baud,
                                     unsigned char byteSize, unsigned char parity,
                                     unsigned char stopBits, short pitch, short roll)
{
    return WithManager(0, [&](CMM& mm) {
        return mm.CreateDataThread(deviceName, baud, byteSize, parity, stopBits, pitch, roll);
    });
}

int GpsDRInterface::PauseDataThread(char pause)
{
    return WithManager(0, [&](CMM& mm) { return mm.PauseDataThread(pause); });
}

int GpsDRInterface::StopDataThread()
{
    return WithManager(0, [](CMM& mm) { return mm.StopDataThread(); });
}

int GpsDRInterface::DestroyAllThread()
{
    return WithManager(0, [](CMM& mm) { return mm.DestroyAllThread(); });
}

int GpsDRInterface::SendZelkoCommand(unsigned char command)
{
    return WithManager(0, [&](CMM& mm) { return mm.SendZelkoCommand(command); });
}

int GpsDRInterface::SetZelkoMountAngle(unsigned char type, short pitch, short roll)
{
    return WithManager(0, [&](CMM& mm) { return mm.SetZelkoMountAngle(type, pitch, roll); });
}

int GpsDRInterface::GetZelkoResetTime(unsigned char& command, unsigned long& ms)
{
    return WithManager(0, [&](CMM& mm) { return mm.GetZelkoResetTime(command, ms); });
}

int GpsDRInterface::SetZelkoEngFactoryMode(char mode)
{
    return WithManager(0, [&](CMM& mm) { return mm.SetZelkoEngFactoryMode(mode); });
}

int GpsDRInterface::GetGPSDRDiagnosisData(_mGPSDRDiagnosis* diag)
{
    return WithManager(0, [&](CMM& mm) { return mm.GetGPSDRDiagnosisData(diag); });
}

int GpsDRInterface::GetGPSDREngineerInfo(_mGPSDREngineerInfo* info)
{
    return WithManager(0, [&](CMM& mm) { return mm.GetGPSDREngineerInfo(info); });
}

int GpsDRInterface::GetGPSDREngineerInfoEx(_mGPSDREngineerInfoEx* info)
{
    return WithManager(0, [&](CMM& mm) { return mm.GetGPSDREngineerInfoEx(info); });
}

int GpsDRInterface::GetZelkoLowInfo(_mZelkoLowDataInfo* info)
{
    return WithManager(0, [&](CMM& mm) { return mm.GetZelkoLowInfo(info); });
}
