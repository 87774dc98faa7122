// The library as the monitor drives it: the manager's start sequence on a device, one copy of
// everything it knows per refresh, and the module commands, all through CMM.
#ifndef GPSDR_TOOLS_ZELKO_MON_MONSESSION_H
#define GPSDR_TOOLS_ZELKO_MON_MONSESSION_H

#include <cstdint>
#include <mutex>
#include <string>

#include "module/MM/MM.h"
#include "module/MM/MMTypes.h"

struct MonSnapshot {
    int portState = MM_PORT_CLOSED;
    _mGpsDataEx pos{};
    bool timeValid = false;
    _SYSTEMTIME utc{};
    _mSatelView sats[MM_SATEL_MAX]{};
    int satCount = 0;
    _mGPSDREngineerInfo eng{};
    _mGPSDREngineerInfoEx engEx{};
    _mGPSDRDiagnosis diag{};
    // The last completed fix-time measurement, and whether one runs now.
    bool resetTimed = false;
    unsigned char resetCommand = 0;
    unsigned long resetMs = 0;
    bool measuring = false;
    uint32_t measuringMs = 0;
    // What only the library's trace carries: the hardware text (not stored by the manager)
    // and the module's last acknowledgement.
    std::string hardware;
    std::string ack;
};

class MonSession {
public:
    MonSession() = default;
    ~MonSession() { Stop(); }
    MonSession(const MonSession&) = delete;
    MonSession& operator=(const MonSession&) = delete;

    // Initialise, module protocol, open the device 8N1 without a mount angle, start the data
    // thread. False with a message in error.
    bool Start(const std::string& device, unsigned long baud, std::string& error);
    MonSnapshot Snapshot();

    // Each true when the library sent the command.
    bool StartQueries();
    bool Reset(unsigned char command);  // 0..3
    bool MountAngle(short pitch, short roll);

    // Destroys and frees the manager; takes the library's fixed waits (about two seconds).
    void Stop();

private:
    static void OnLog(int prio, const char* tag, const char* text, void* ctx);

    CMM* m_mm = nullptr;
    uint32_t m_resetSentTick = 0;
    std::mutex m_lock;  // the trace arrives on the library's threads
    std::string m_hardware;
    std::string m_ack;
};

#endif
