// The positioning manager: one process-wide CMM owns the serial link to the module, the data
// thread that reads it, the matching thread that publishes the converted position, the
// parameters and input kinds, the module session, and every read operation.
//
// Results: 1 success, 0 failure or refusal; getters return -1 for an unknown id. Locks: the port
// lock (descriptor, data kind, parsing) and the data lock (outputs, position-manager reads); when
// both are held the port lock is taken first.
#ifndef GPSDR_MM_MM_H
#define GPSDR_MM_MM_H

#include <atomic>
#include <cstdint>

#include "module/MM/MMTypes.h"
#include "platform/mThread.h"

class CPositionMgr;
struct ZelkoParseStats;

// ---------------------------------------------------------------- parameter ids and values
enum : unsigned short {
    MM_PARAM_DATATYPE = 16,
    MM_PARAM_ALTITUDEMM = 32,
    MM_PARAM_FRAMEDRIVE = 48,  // read only
    MM_PARAM_DRTYPE = 64,
    MM_PARAM_MMFEEDBACK = 272,
    MM_PARAM_PORTREADERRSTANDARD = 288,
    MM_PARAM_MOUNTANGLEPROFILEUSE = 8224,
};

enum { MM_ALTITUDEMM_INVALID = 0, MM_ALTITUDEMM_VALID = 1 };
enum { MM_MMFEEDBACK_NOUSE = 0, MM_MMFEEDBACK_USE = 1 };
enum { MM_MOUNTANGLEPROFILEUSE_DISABLE = 0, MM_MOUNTANGLEPROFILEUSE_ENABLE = 1 };

// Input data kinds (MM_PARAM_DATATYPE). Only ZELKO, GPSDATAEX and FS are parsed.
enum {
    MM_DATAKIND_NMEA = 0,
    MM_DATAKIND_ZELKO = 1,
    MM_DATAKIND_NMEA_DR = 2,
    MM_DATAKIND_GPSDATAEX = 3,
    MM_DATAKIND_FS = 4,
};

// Serial-port state codes of CMM::CheckSerialPortError.
enum {
    MM_PORT_OK = 0,
    MM_PORT_CLOSED = 1,
    MM_PORT_PAUSED = 2,
    MM_PORT_OPENING = 3,
    MM_PORT_NO_DATA = 4,
    MM_PORT_DATA_STOPPED = 5,
};

// A value shared between threads without a lock: every access is a relaxed atomic of the
// value's own width, so the plain-field reads and writes of the manager stay race-free.
template <typename T>
class MMRelaxed {
public:
    constexpr MMRelaxed(T v = T()) : m_v(v) {}
    MMRelaxed(const MMRelaxed&) = delete;
    MMRelaxed& operator=(const MMRelaxed&) = delete;
    operator T() const { return m_v.load(std::memory_order_relaxed); }
    MMRelaxed& operator=(T v)
    {
        m_v.store(v, std::memory_order_relaxed);
        return *this;
    }

private:
    std::atomic<T> m_v;
};

// Cycles of the data thread; the session upkeep runs on every tenth.
extern std::atomic<uint32_t> g_dwDataThreadLifeTick;
// Kept for callers; set to 1 by CMM::Initialize.
extern unsigned char g_bShowMMDbgMsg;

void* DataThread(void* arg);      // "GPSDR_THREAD", argument: the CMM
void* MatchingThread(void* arg);  // "MM_THREAD", argument: the CMM

class CMM {
public:
    enum { READ_BUFFER_SIZE = 4096, USER_PATH_LEN = 260, MM_SUBPARAM_NUM = 5 };

    static CMM* GetInstance();  // null when it cannot be made
    static void FreeInstance();
    static CMM* m_pInstance;

    CMM();
    virtual ~CMM();
    CMM(const CMM&) = delete;
    CMM& operator=(const CMM&) = delete;

    // ---- lifecycle and threads
    int Initialize(unsigned char dataKind, unsigned short reserved);
    int Destroy();
    int DestroyAllThread();
    int CreateDataThread(unsigned short* deviceName, unsigned long baud, unsigned char byteSize,
                         unsigned char parity, unsigned char stopBits, short pitch, short roll);
    int StartDataThread();
    int StopDataThread();
    int PauseDataThread(char pause);

    // ---- input
    int SetPosData(char* buf, unsigned short len);     // from the data thread
    int DoMapMatching(char* buf, unsigned short len);  // from a caller: parse and match at once
    int ParsingPosData(char* buf, unsigned short len);
    int DoMapMatching();  // one matching step; 1 when an output was published

    // ---- serial link
    int OpenSerialPort(unsigned short* deviceName, unsigned long baud, unsigned char byteSize,
                       unsigned char parity, unsigned char stopBits);
    int CloseSerialPort();
    int GetDataUpdate();
    int DataSend(unsigned char* buf, unsigned long len);
    int CheckSerialPortError();  // MM_PORT_*
    uint32_t GetDataHandle();

    // ---- parameters
    int SetParam(unsigned short id, long value);
    long GetParam(unsigned short id);
    int SetDataType(unsigned char kind);
    int SetDRType(unsigned char type);
    int SetMMSubParam();
    int SetSimulState(char state);
    int SetShowMMDebugMsg(char show);
    int SetReciveSavePosInfo(char save);
    int SetUserDataPath(unsigned short* path);
    int Reset();

    // ---- module session
    int SetDataUpdate();
    int DoZelkoStartQuery(char reset);
    int SendZelkoCommand(unsigned char command);
    int SetZelkoMountAngle(unsigned char type, short pitch, short roll);
    int GetZelkoResetTime(unsigned char& command, unsigned long& ms);
    int SetZelkoEngFactoryMode(char mode);

    // ---- outputs
    int GetGPSTime(_SYSTEMTIME* st, char local);
    int GetGPSLocalTime(_SYSTEMTIME* st);
    int GetCurTimeString(unsigned short* text, int reserved);
    int GetGPSData(_mGpsDataEx* ex);
    int GetSatelData(_mSatelView* views, int& count);  // views: room for 32 entries
    int GetSatelCount(_mGpsDataEx* ex);
    int SetOutputData(_mGpsDataEx* ex, short unused1, char unused2, unsigned long unused3);
    int GetMMPos(_mMMPosition* pos, char published);  // the copied record's status
    void DispHeadingFilter(char hold);
    int GetGPSDRDiagnosisData(_mGPSDRDiagnosis* diag);
    int GetGPSDREngineerInfo(_mGPSDREngineerInfo* info);
    int GetGPSDREngineerInfoEx(_mGPSDREngineerInfoEx* info);
    int GetZelkoLowInfo(_mZelkoLowDataInfo* info);
    // What the module stream's parser has counted (module/position/PositionMgr.h).
    int GetParseStats(ZelkoParseStats* stats);
    // The last accepted record of a message kind (CPositionMgr::GetLastRecord); its size or 0.
    int GetZelkoRecord(int id, unsigned char* out, unsigned cap);

private:
    friend void* DataThread(void* arg);
    friend void* MatchingThread(void* arg);
    struct SwitchParam;
    static const SwitchParam s_aSwitchParams[];

    int SendQuery(unsigned char query, const unsigned short* makeFail, const unsigned short* sendFail);
    int SendStartQueries();
    int ApplyProfileMountAngle();
    int VersionKnown();
    void ReadEngineering(_mGPSDREngineerInfo& eng);
    int AbandonPort(int fd);
    int WaitPortReadable(int fd);
    void WakePortWaiters();
    void DrainPortWake();
    void ThreadLeft(std::atomic<int32_t>& live);
    void AwaitThreadsLeft(const std::atomic<int32_t>& live);
    void AwaitStoppedDataThread();

    // ---- locks, event, threads
    mEVENT m_hMatchEvent;
    mCSyncObject* m_pDataSync;
    mCSyncObject* m_pPortSync;
    MMRelaxed<uint8_t> m_bDestroy;
    MMRelaxed<mTHREAD> m_hDataThread;
    mTHREAD m_hMatchThread;
    // Threads that may still touch this object; each thread's last act is to count itself out
    // (release). The destroy step waits (acquire) for both counts to reach zero before anything
    // is freed, and a data thread is started only once the stopped one has left.
    std::atomic<int32_t> m_nLiveDataThreads;
    std::atomic<int32_t> m_nLiveMatchThreads;
    // Wakes a data thread waiting for the port, so that a stop never waits on a silent module.
    int m_nWakeFd;

    // ---- settings
    int32_t m_lMMSubParam[MM_SUBPARAM_NUM];
    MMRelaxed<uint8_t> m_ucDataKind;
    uint8_t m_ucUnitKind;
    MMRelaxed<uint8_t> m_ucDRType;
    MMRelaxed<uint16_t> m_wConvert;
    MMRelaxed<uint8_t> m_ucAltitude;
    MMRelaxed<uint8_t> m_ucFeedback;
    MMRelaxed<int16_t> m_sPitch;  // requested by the vehicle profile; 360: none
    MMRelaxed<int16_t> m_sRoll;
    unsigned short m_szUserDataPath[USER_PATH_LEN];
    CPositionMgr* m_pPositionMgr;

    // ---- serial link
    // Where the port is in its life; CheckSerialPortError turns it into an MM_PORT_* code.
    enum : uint8_t {
        PORTSTATE_INITIAL = 0,
        PORTSTATE_OPENING = 1,
        PORTSTATE_OPENED = 2,     // waiting for the first bytes
        PORTSTATE_RECEIVING = 3,  // bytes have arrived
        PORTSTATE_CLOSED = 4,
    };
    MMRelaxed<uint8_t> m_ucPortState;
    MMRelaxed<uint32_t> m_dwStateTick;
    MMRelaxed<uint32_t> m_dwReadErrStandard;
    MMRelaxed<uint32_t> m_dwDataHandle;
    MMRelaxed<int32_t> m_nDataFd;
    unsigned char m_ucReadBuf[READ_BUFFER_SIZE];
    uint32_t m_dwReadFill;
    uint32_t m_dwRateFigure;

    // ---- data thread
    MMRelaxed<uint8_t> m_bRunDataThread;
    MMRelaxed<uint32_t> m_dwDataSleepTime;
    MMRelaxed<uint8_t> m_bPause;

    // ---- outputs
    _mMMPosition m_stCurPos;
    uint32_t m_dwCurStatus;
    _mMMPosition m_stPubPos;
    uint32_t m_dwPubStatus;
    uint8_t m_bHeadFilterStarted;
    uint16_t m_wLastHeading;
    uint32_t m_dwLastMatchTick;

    // ---- options
    uint8_t m_ucSimulState;
    uint8_t m_ucFrameDrive;  // reported by MM_PARAM_FRAMEDRIVE; nothing here sets it
    uint8_t m_ucInputBlock;  // while set, input is refused; nothing here sets it
    MMRelaxed<uint8_t> m_ucMountAngleProfile;  // also the pending flag of the session upkeep
    uint8_t m_ucSavePosInfo;
};

#endif
