// The library as the monitor drives it: the manager's start sequence on a device, one copy of
// everything it knows per refresh, and the module commands, all through CMM.
#ifndef GPSDR_TOOLS_ZELKO_MON_MONSESSION_H
#define GPSDR_TOOLS_ZELKO_MON_MONSESSION_H

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "module/MM/MM.h"
#include "module/MM/MMTypes.h"
#include "module/position/PositionMgr.h"

enum { MON_RECORD_MAX = 80 };  // room for the largest record of the catalogue

// The last record of one message kind as the manager's parser holds it.
struct MonRecord {
    int size = 0;  // 0: none received yet
    unsigned char bytes[MON_RECORD_MAX] = {};
};

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
    ZelkoParseStats stats{};
    MonRecord sensor, hardware;
    int ackId = 0;  // the kind of the last acknowledgement, 0 before any
    MonRecord ack;
    std::vector<std::string> messages;  // oldest first
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
    // What arrived since the last snapshot, from the differences of the parser's counters.
    void NoteArrivals(const ZelkoParseStats& now);
    void AddMessage(const std::string& what, uint32_t count);
    void Fetch(int id, MonRecord& record);

    CMM* m_mm = nullptr;
    uint32_t m_resetSentTick = 0;
    ZelkoParseStats m_seen{};
    int m_ackId = 0;
    std::deque<std::string> m_messages;
};

#endif
