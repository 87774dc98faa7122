#include "tests/e2e/stress/CallerThread.h"

#include <chrono>

#include "jni/GpsDRInterface.h"
#include "jni/NativeCall.h"

CallerThread::CallerThread(unsigned seed) : m_rng(seed), m_thread([this] { Run(); }) {}

void CallerThread::Join()
{
    {
        std::lock_guard<std::mutex> hold(m_lock);
        m_stop = true;
    }
    m_wake.notify_all();
    if (m_thread.joinable()) m_thread.join();
}

void CallerThread::Run()
{
    std::unique_lock<std::mutex> hold(m_lock);
    while (!m_wake.wait_for(hold, std::chrono::milliseconds(1 + m_rng() % 8), [this] { return m_stop; })) {
        if (GpsDRInterface* dr = g_pGpsDr.load()) OneCall(*dr);
    }
}

void CallerThread::OneCall(GpsDRInterface& dr)
{
    switch (m_rng() % (m_commands.load() ? 8 : 5)) {
        case 0: {
            _mMMPosition pos{};
            dr.GetCarPos(&pos);
            break;
        }
        case 1: {
            _mGpsInfo info{};
            dr.GetGPSInfo(&info, static_cast<char>(m_rng() % 2));
            break;
        }
        case 2: {
            _mSatelInfo sats{};
            dr.GetSatelInfo(&sats);
            break;
        }
        case 3: {
            _mGPSDREngineerInfoEx eng{};
            _mZelkoLowDataInfo low{};
            _mGPSDRDiagnosis diag{};
            dr.GetGPSDREngineerInfoEx(&eng);
            dr.GetZelkoLowInfo(&low);
            dr.GetGPSDRDiagnosisData(&diag);
            break;
        }
        case 4: {
            unsigned char command = 0;
            unsigned long ms = 0;
            dr.GetZelkoResetTime(command, ms);
            dr.GetParam(16);
            break;
        }
        case 5:
        case 6: {  // type 4 is refused, the others reach the port
            const unsigned char type = static_cast<unsigned char>(m_rng() % 5);
            const short pitch = static_cast<short>(static_cast<int>(m_rng() % 21) - 10);
            const short roll = static_cast<short>(static_cast<int>(m_rng() % 21) - 10);
            m_sent += dr.SetZelkoMountAngle(type, pitch, roll);
            break;
        }
        default:  // resets 0 to 3; 4 cannot be built
            m_sent += dr.SendZelkoCommand(static_cast<unsigned char>(m_rng() % 5));
            break;
    }
}
