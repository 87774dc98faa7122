// The manager's life: the singleton, construction defaults, Initialize and the stop order.
#include "module/MM/MM.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstring>
#include <new>

#include "module/MM/MMSync.h"
#include "module/position/PositionMgr.h"
#include "platform/mString16.h"
#include "platform/mTrace.h"

CMM* CMM::m_pInstance = nullptr;
std::atomic<uint32_t> g_dwDataThreadLifeTick{0};
unsigned char g_bShowMMDbgMsg = 0;

namespace {

// After the fixed one-second wait of a stop, the threads get this long to leave their bodies
// before the objects they use are freed.
const uint32_t kThreadExitDeadlineMs = 30000;
const uint32_t kThreadExitPollMs = 5;

}  // namespace

CMM* CMM::GetInstance()
{
    if (!m_pInstance) m_pInstance = new (std::nothrow) CMM;
    return m_pInstance;
}

void CMM::FreeInstance()
{
    delete m_pInstance;
    m_pInstance = nullptr;
}

CMM::CMM()
    : m_hMatchEvent(nullptr),
      m_pDataSync(nullptr),
      m_pPortSync(nullptr),
      m_bDestroy(0),
      m_hDataThread(0),
      m_hMatchThread(0),
      m_nLiveDataThreads(0),
      m_nLiveMatchThreads(0),
      m_nWakeFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      m_lMMSubParam(),
      m_ucDataKind(MM_DATAKIND_ZELKO),
      m_ucUnitKind(2),
      m_ucDRType(2),
      m_wConvert(1),
      m_ucAltitude(MM_ALTITUDEMM_INVALID),
      m_ucFeedback(MM_MMFEEDBACK_USE),
      m_sPitch(360),
      m_sRoll(360),
      m_szUserDataPath(),
      m_pPositionMgr(nullptr),
      m_ucPortState(PORTSTATE_INITIAL),
      m_dwStateTick(0),
      m_dwReadErrStandard(5000),
      m_dwDataHandle(0),
      m_nDataFd(-1),
      m_ucReadBuf(),
      m_dwReadFill(0),
      m_dwRateFigure(0),
      m_bRunDataThread(0),
      m_dwDataSleepTime(100),
      m_bPause(0),
      m_stCurPos(),
      m_dwCurStatus(0),
      m_stPubPos(),
      m_dwPubStatus(0),
      m_bHeadFilterStarted(0),
      m_wLastHeading(0),
      m_dwLastMatchTick(0),
      m_ucSimulState(0),
      m_ucFrameDrive(0),
      m_ucInputBlock(0),
      m_ucMountAngleProfile(MM_MOUNTANGLEPROFILEUSE_DISABLE),
      m_ucSavePosInfo(0)
{
    g_dwDataThreadLifeTick.store(0, std::memory_order_relaxed);
}

CMM::~CMM()
{
    // Repeats the whole stop on purpose (one more stop message and one more second), as
    // callers that destroy and then free have always seen.
    Destroy();
    if (m_nWakeFd >= 0) close(m_nWakeFd);
}

int CMM::Initialize(unsigned char dataKind, unsigned short /*reserved*/)
{
    SetMMSubParam();
    g_bShowMMDbgMsg = 1;
    m_wConvert = 1;
    m_ucUnitKind = 2;
    mTraceW(W16("[LIB_DBG][MM Option] FrameDrive(%d), FeedBack(%d), Altitude(%d)\n"),
            static_cast<int>(m_ucFrameDrive), static_cast<int>(m_ucFeedback),
            static_cast<int>(m_ucAltitude));

    if (!m_pDataSync) m_pDataSync = new (std::nothrow) mCSyncObject;
    if (!m_pPortSync) m_pPortSync = new (std::nothrow) mCSyncObject;
    if (!m_pDataSync || !m_pPortSync) return 0;

    SetDataType(dataKind);

    if (!m_pPositionMgr) {
        m_pPositionMgr = new (std::nothrow) CPositionMgr;
        if (!m_pPositionMgr) return 0;
        m_pPositionMgr->Initialize(m_ucDataKind, m_ucUnitKind, m_wConvert);
        mTraceW(W16("[LIB_DBG][CMM::Initialize] PositionMgr Init Success\n"));
    }

    if (!m_hMatchEvent) m_hMatchEvent = mEventCreate(0);

    if (m_hMatchThread) return 1;
    mTraceA("{mThreadCreate} FileName %s, Fuction %s, line %d \n", "module/MM/MM", "Initialize", 265);
    m_nLiveMatchThreads.fetch_add(1, std::memory_order_relaxed);
    m_hMatchThread = mThreadCreate(reinterpret_cast<void*>(&MatchingThread), this);
    if (!m_hMatchThread) {
        m_nLiveMatchThreads.fetch_sub(1, std::memory_order_relaxed);
        mTraceW(W16("[MM-Err][CMM::Initialize] MatchingThread Create Fail\n"));
        return 0;
    }
    mTraceW(W16("[LIB_DBG][CMM::Initialize] MatchingThread Create Init Success\n"));
    return 1;
}

int CMM::DestroyAllThread()
{
    m_bDestroy = 1;
    StopDataThread();
    m_ucFrameDrive = 0;

    if (m_hMatchThread) {
        mEventRaise(m_hMatchEvent);
        mThreadJoin(m_hMatchThread);
        mThreadClose(m_hMatchThread);
        m_hMatchThread = 0;
    }

    // Threads are detached and the join above returns at once: this fixed wait is what lets
    // both loops see the flags and end.
    mSleepMs(1000);
    // A thread held up past that wait (a slow host, a sanitizer) must still be gone before
    // the event, the position manager and the locks are freed.
    AwaitThreadsLeft(m_nLiveDataThreads);
    AwaitThreadsLeft(m_nLiveMatchThreads);

    mEventDestroy(m_hMatchEvent);
    m_hMatchEvent = nullptr;
    return 1;
}

int CMM::Destroy()
{
    DestroyAllThread();
    delete m_pPositionMgr;
    m_pPositionMgr = nullptr;
    delete m_pDataSync;
    m_pDataSync = nullptr;
    delete m_pPortSync;
    m_pPortSync = nullptr;
    return 1;
}

void CMM::ThreadLeft(std::atomic<int32_t>& live)
{
    live.fetch_sub(1, std::memory_order_release);
}

void CMM::AwaitThreadsLeft(const std::atomic<int32_t>& live)
{
    for (uint32_t waited = 0; live.load(std::memory_order_acquire) > 0 && waited < kThreadExitDeadlineMs;
         waited += kThreadExitPollMs) {
        mSleepMs(kThreadExitPollMs);
    }
}
