// The driver facade: starts and stops the whole driver with fixed settings ("/dev/ttyGPS1",
// 115200 baud, 8 data bits, module protocol), runs the once-a-second update thread that hands
// the position to Java, and forwards everything else to the manager CMM.
//
// Several facades may hold the one CMM singleton (the Java bridge makes a new facade on every
// start). When one of them frees the manager the others lose it: they never touch it again and
// answer as facades without a manager, yet still hold it (a start returns 0, Initialize 1) until
// their Destroy lets go of it; their update threads end at their next cycle. This only works
// when the manager is freed through a facade, never by calling CMM::FreeInstance directly.
#ifndef GPSDR_JNI_GPSDRINTERFACE_H
#define GPSDR_JNI_GPSDRINTERFACE_H

#include <atomic>
#include <cstdint>

#include "module/MM/MMTypes.h"
#include "platform/mThread.h"

class CMM;

void* UpdateThread(void* arg);  // "Update_Thread", argument: the facade

// ---- the pure half of one update cycle: what Java receives for a published position and
// GPS summary, kept apart from the thread so that it can be checked without one.
enum { GIS_TIME_TEXT_LEN = 14 };

// The arguments of one sendGISInfo call, in call order.
struct SendGISArgs {
    double lat;       // degrees
    double lon;       // degrees
    double alt;       // metres
    int a;            // fDop2, truncated
    int b;            // fDop1, truncated
    int heading;      // whole degrees, truncated toward zero
    int reserved;     // always 0
    char time[GIS_TIME_TEXT_LEN + 1];  // "YYYYMMDDhhmmss" or fourteen zeros
};

// The summary's six time fields as "%04d%02d%02d%02d%02d%02d" after a mktime/localtime round
// trip, or "00000000000000" outside 2011..2079.
void MakeGISTimeText(const _mGpsInfo& info, char (&text)[GIS_TIME_TEXT_LEN + 1]);

SendGISArgs MakeSendGISArgs(const _mMMPosition& pos, const _mGpsInfo& info);

class GpsDRInterface {
public:
    GpsDRInterface();
    ~GpsDRInterface();
    GpsDRInterface(const GpsDRInterface&) = delete;
    GpsDRInterface& operator=(const GpsDRInterface&) = delete;

    // ---- own operations
    // 1 if a manager is held or one was made and initialised (data kind 1), else 0.
    int Initialize(unsigned short mode);
    int StartOnlyGpsDRModule();  // 1 started, 0 otherwise
    int EndOnlyGpsDRModule();    // 1, after about three seconds
    int Destroy();               // destroys and frees the manager if held; 1
    int CreateUpdateOnlyThread();  // 1, or 0 when the thread cannot be made
    int CreateUpdateThread();
    int StartUpdateThread();       // 1
    int DestroyUpdateThread();     // 1
    int StopUpdateThread();        // 1
    // 1 with the summary (local time when `local` is non-zero), else 0.
    int GetGPSInfo(_mGpsInfo* info, char local);
    int GetCarPos(_mMMPosition* pos);     // 1 with a manager, else 0
    int GetSatelInfo(_mSatelInfo* info);  // 1, or 0 with the count cleared

    // ---- forwarded to the manager; the value in brackets when no manager is held
    long GetParam(unsigned short id);             // (-1)
    void SetParam(unsigned short id, long value);  // (nothing)
    int SetDataType(unsigned char kind);          // (0), and 0 for all below
    int SetPosData(char* buf, unsigned short len);
    int CreateDataThread(unsigned short* deviceName, unsigned long baud, unsigned char byteSize,
                         unsigned char parity, unsigned char stopBits, short pitch, short roll);
    int PauseDataThread(char pause);
    int StopDataThread();
    int DestroyAllThread();
    int SendZelkoCommand(unsigned char command);
    int SetZelkoMountAngle(unsigned char type, short pitch, short roll);
    int GetZelkoResetTime(unsigned char& command, unsigned long& ms);
    int SetZelkoEngFactoryMode(char mode);
    int GetGPSDRDiagnosisData(_mGPSDRDiagnosis* diag);
    int GetGPSDREngineerInfo(_mGPSDREngineerInfo* info);
    int GetGPSDREngineerInfoEx(_mGPSDREngineerInfoEx* info);
    int GetZelkoLowInfo(_mZelkoLowDataInfo* info);

private:
    friend void* UpdateThread(void* arg);

    // Runs op on the manager while it is guaranteed alive, or returns `without`.
    template <typename R, typename Op>
    R WithManager(R without, Op op);
    CMM* LiveManager() const;  // the held manager if still alive; caller holds the guard
    // For the update thread: true when another facade has freed the manager; the calling thread
    // then gives up its handle, so that a later start makes a new one.
    bool LeaveLostManager();

    CMM* m_pMM;
    std::atomic<mTHREAD> m_hUpdateThread;  // also cleared by an update thread that leaves
    std::atomic<uint8_t> m_ucUpdateRun;  // read by the update thread every cycle
    uint32_t m_ulMMGeneration;           // which manager lifetime m_pMM belongs to
};

#endif  // GPSDR_JNI_GPSDRINTERFACE_H
