#include "tools/zelko-mon/MonSession.h"

#include <cstdio>
#include <ctime>
#include <utility>

#include "module/position/ZELKOParser.h"
#include "platform/mAndroidLog.h"
#include "platform/mCharset.h"
#include "platform/mThread.h"

namespace {

const size_t kMessagesKept = 64;

bool IsAck(int id) { return id == ZELKO_ID_ACK_NO_IDX || id == ZELKO_ID_ACK_IDX || id == ZELKO_ID_SYS_CMD_ACK; }

// The screen belongs to the monitor; what the library traces is not shown.
void DropLog(int, const char*, const char*, void*) {}

}  // namespace

bool MonSession::Start(const std::string& device, unsigned long baud, std::string& error)
{
    mHostLogSetSink(DropLog, nullptr);
    m_mm = CMM::GetInstance();
    if (!m_mm || !m_mm->Initialize(MM_DATAKIND_ZELKO, 1)) {
        error = "the manager could not be initialised";
        return false;
    }
    m_mm->SetParam(MM_PARAM_DATATYPE, MM_DATAKIND_ZELKO);
    std::vector<unsigned short> name(device.size() + 1, 0);
    Utf8ToUtf16(name.data(), reinterpret_cast<const unsigned char*>(device.c_str()),
                static_cast<unsigned>(device.size() + 1));
    // Pitch 360: no mount angle is requested.
    if (!m_mm->CreateDataThread(name.data(), baud, 8, 0, 0, 360, 0)) {
        error = "cannot open " + device + " at " + std::to_string(baud) + " baud";
        return false;
    }
    return true;
}

void MonSession::Fetch(int id, MonRecord& record)
{
    record.size = m_mm->GetZelkoRecord(id, record.bytes, sizeof record.bytes);
}

void MonSession::AddMessage(const std::string& what, uint32_t count)
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char line[96];
    std::snprintf(line, sizeof line, "%02d:%02d:%02d %s%s", local.tm_hour, local.tm_min, local.tm_sec, what.c_str(),
                  count > 1 ? (" x" + std::to_string(count)).c_str() : "");
    m_messages.push_back(line);
    if (m_messages.size() > kMessagesKept) m_messages.pop_front();
}

void MonSession::NoteArrivals(const ZelkoParseStats& now)
{
    for (unsigned i = 0; i < ZELKO_KIND_COUNT; ++i) {
        const uint32_t n = now.ulAccepted[i] - m_seen.ulAccepted[i];
        if (n == 0) continue;
        const ZelkoKind& kind = kZelkoKinds[i];
        AddMessage(std::to_string(kind.id) + " " + kind.name, n);
        if (IsAck(kind.id)) m_ackId = kind.id;
    }
    const std::pair<uint32_t ZelkoParseStats::*, const char*> faults[] = {
        {&ZelkoParseStats::ulChecksumFailures, "checksum failure"},
        {&ZelkoParseStats::ulEscapeFailures, "escape failure"},
        {&ZelkoParseStats::ulRefusedLengths, "refused length"},
        {&ZelkoParseStats::ulUnknownKinds, "unknown kind"},
        {&ZelkoParseStats::ulResetOverflow, "buffer reset: overflow"},
        {&ZelkoParseStats::ulResetNoStart, "buffer reset: no start"},
        {&ZelkoParseStats::ulResetTooMany, "buffer reset: too many frames"},
        {&ZelkoParseStats::ulResetTrailing, "buffer reset: trailing bytes"},
    };
    for (const auto& f : faults)
        if (now.*f.first != m_seen.*f.first) AddMessage(std::string("---- ") + f.second, now.*f.first - m_seen.*f.first);
    m_seen = now;
}

MonSnapshot MonSession::Snapshot()
{
    MonSnapshot s;
    s.portState = m_mm->CheckSerialPortError();
    m_mm->GetGPSData(&s.pos);
    s.timeValid = m_mm->GetGPSTime(&s.utc, 0) == 1;
    m_mm->GetSatelData(s.sats, s.satCount);
    m_mm->GetGPSDREngineerInfo(&s.eng);
    m_mm->GetGPSDREngineerInfoEx(&s.engEx);
    m_mm->GetGPSDRDiagnosisData(&s.diag);
    s.resetTimed = m_mm->GetZelkoResetTime(s.resetCommand, s.resetMs) == 1;
    s.measuring = m_resetSentTick != 0 && !s.resetTimed;
    s.measuringMs = mGetMilisec() - m_resetSentTick;
    m_mm->GetParseStats(&s.stats);
    NoteArrivals(s.stats);
    Fetch(ZELKO_ID_DR_SENSOR, s.sensor);
    Fetch(ZELKO_ID_HARDWARE, s.hardware);
    s.ackId = m_ackId;
    if (m_ackId) Fetch(m_ackId, s.ack);
    s.messages.assign(m_messages.begin(), m_messages.end());
    return s;
}

bool MonSession::StartQueries()
{
    return m_mm->DoZelkoStartQuery(0) == 1;
}

bool MonSession::Reset(unsigned char command)
{
    if (m_mm->SendZelkoCommand(command) != 1) return false;
    m_resetSentTick = mGetMilisec();
    return true;
}

bool MonSession::MountAngle(short pitch, short roll)
{
    return m_mm->SetZelkoMountAngle(0, pitch, roll) == 1;
}

void MonSession::Stop()
{
    if (m_mm) {
        m_mm->Destroy();
        CMM::FreeInstance();
        m_mm = nullptr;
    }
    mHostLogSetSink(nullptr, nullptr);
}
