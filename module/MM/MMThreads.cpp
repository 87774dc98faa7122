// The data thread (serial reads, session upkeep) and the matching thread (publication), and
// the operations that start, pause and stop them.
#include "module/MM/MM.h"
#include "module/MM/MMSync.h"
#include "platform/mString16.h"
#include "platform/mTrace.h"

int CMM::CreateDataThread(unsigned short* deviceName, unsigned long baud, unsigned char byteSize,
                          unsigned char parity, unsigned char stopBits, short pitch, short roll)
{
    if (m_dwDataHandle != 0) {
        mTraceW(W16("[MM-Err][CMM::CreateDataThread] Data Thread Handle Already Exist\n"));
        return 0;
    }
    if (pitch != 360) m_sPitch = pitch;
    if (roll != 360) m_sRoll = roll;

    if (m_ucMountAngleProfile) {
        if (m_sPitch != 360 && m_sRoll != 360) {
            mTraceW(W16("[LIB_DBG][CMM::CreateDataThread] Set MountAngle by Profile Request : Pitch(%d), Roll(%d)\n"),
                    static_cast<int>(m_sPitch), static_cast<int>(m_sRoll));
        } else {
            m_ucMountAngleProfile = MM_MOUNTANGLEPROFILEUSE_DISABLE;
            mTraceW(W16("[LIB_DBG][CMM::CreateDataThread] Set MountAngle by Profile Request ERROR Value: Pitch(%d), Roll(%d)\n"),
                    static_cast<int>(m_sPitch), static_cast<int>(m_sRoll));
        }
    }

    AwaitStoppedDataThread();
    m_ucPortState = PORTSTATE_OPENING;
    if (!OpenSerialPort(deviceName, baud, byteSize, parity, stopBits)) return 0;
    if (!StartDataThread()) {
        CloseSerialPort();
        return 0;
    }
    m_ucPortState = PORTSTATE_OPENED;
    m_dwStateTick = mGetMilisec();
    return 1;
}

// A stopped data thread may still be in its last cycle: were the run flag set again before it
// looks, it would go on reading beside the new one. Stopping stays immediate; the wait falls on
// the restart (at most one cycle), and before the open so that it never reads the new port.
void CMM::AwaitStoppedDataThread()
{
    if (!m_hDataThread) AwaitThreadsLeft(m_nLiveDataThreads);
}

int CMM::StartDataThread()
{
    AwaitStoppedDataThread();
    m_bRunDataThread = 1;
    if (m_dwDataHandle != 0 && !m_hDataThread) {
        mTraceA("{mThreadCreate} FileName %s, Fuction %s, line %d \n", "module/MM/MM", "StartDataThread", 577);
        m_nLiveDataThreads.fetch_add(1, std::memory_order_relaxed);
        m_hDataThread = mThreadCreate(reinterpret_cast<void*>(&DataThread), this);
        if (!m_hDataThread) {
            m_nLiveDataThreads.fetch_sub(1, std::memory_order_relaxed);
            m_bRunDataThread = 0;
            // The message names Initialize; callers match on it as it stands.
            mTraceW(W16("[MM-Err][CMM::Initialize] DataThread Create Fail\n"));
            return 0;
        }
    }
    m_bPause = 0;
    mTraceW(W16("[LIB_DBG][CMM::StartDataThread] Start Data Thread Success!!\n"));
    return 1;
}

int CMM::StopDataThread()
{
    m_bRunDataThread = 0;
    m_bPause = 1;
    if (m_hDataThread) {
        mThreadJoin(m_hDataThread);
        mThreadClose(m_hDataThread);
        m_hDataThread = 0;
    }
    CloseSerialPort();
    mTraceW(W16("[LIB_DBG][CMM::StopDataThread] Data Thread Destroyed\n"));
    return 1;
}

int CMM::PauseDataThread(char pause)
{
    m_bPause = static_cast<uint8_t>(pause);
    if (m_ucPortState == PORTSTATE_RECEIVING) m_dwStateTick = mGetMilisec();
    mTraceW(W16("[LIB_DBG][CMM::PauseDataThread] Pause Data Thread!! (%d)\n"), static_cast<int>(pause));
    return 1;
}

void* DataThread(void* arg)
{
    mSetThreadName("GPSDR_THREAD");
    CMM* mm = static_cast<CMM*>(arg);
    if (!mm) return nullptr;
    if (mm->m_bDestroy != 1 && mm->m_bRunDataThread != 0) {
        do {
            mm->GetDataUpdate();
            if (g_dwDataThreadLifeTick.load(std::memory_order_relaxed) % 10 == 0) mm->SetDataUpdate();
            // Also the pacing when the device has vanished and every read fails at once.
            mSleepMs(mm->m_dwDataSleepTime);
            g_dwDataThreadLifeTick.fetch_add(1, std::memory_order_relaxed);
        } while (mm->m_bDestroy != 1 && mm->m_bRunDataThread != 0);
    }
    mm->ThreadLeft(mm->m_nLiveDataThreads);
    return nullptr;
}

void* MatchingThread(void* arg)
{
    mSetThreadName("MM_THREAD");
    CMM* mm = static_cast<CMM*>(arg);
    if (!mm) return nullptr;
    while (mm->m_hMatchEvent && mm->m_bDestroy != 1) {
        mEventWait(mm->m_hMatchEvent, M_INFINITE);
        if (mm->m_bDestroy == 1) break;
        mm->DoMapMatching();
    }
    mm->ThreadLeft(mm->m_nLiveMatchThreads);
    return nullptr;
}
