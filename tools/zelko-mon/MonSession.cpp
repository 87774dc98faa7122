#include "tools/zelko-mon/MonSession.h"

#include <cstring>
#include <vector>

#include "platform/mAndroidLog.h"
#include "platform/mCharset.h"
#include "platform/mThread.h"

namespace {

// The trace lines the monitor shows, by the text that precedes what is kept.
const char kHardwarePrefix[] = "[MM-Dbg][HardwareReport] ";
const char kAckOrigin[] = "[MM-Dbg][CPositionMgr::ParsingZelko] ";
const char kAckMark[] = "Ack : ";

std::string Line(const char* from)
{
    std::string s(from);
    while (!s.empty() && (s.back() == '\n' || s.back() == '\r')) s.pop_back();
    return s;
}

}  // namespace

void MonSession::OnLog(int, const char*, const char* text, void* ctx)
{
    MonSession& self = *static_cast<MonSession*>(ctx);
    std::lock_guard<std::mutex> hold(self.m_lock);
    if (std::strncmp(text, kHardwarePrefix, sizeof kHardwarePrefix - 1) == 0)
        self.m_hardware = Line(text + sizeof kHardwarePrefix - 1);
    else if (std::strncmp(text, kAckOrigin, sizeof kAckOrigin - 1) == 0 && std::strstr(text, kAckMark))
        self.m_ack = Line(text + sizeof kAckOrigin - 1);
}

bool MonSession::Start(const std::string& device, unsigned long baud, std::string& error)
{
    // Before anything can trace: the screen belongs to the monitor, not to standard error.
    mHostLogSetSink(&MonSession::OnLog, this);
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
    std::lock_guard<std::mutex> hold(m_lock);
    s.hardware = m_hardware;
    s.ack = m_ack;
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
