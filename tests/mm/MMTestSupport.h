// Test support for the manager: the module's frames the position suite lacks, the host's
// queries as they go out, a module played on the master side of a pseudo-terminal, and the
// fixture for tests that drive one manager from the caller's thread.
#ifndef GPSDR_TESTS_MM_MMTESTSUPPORT_H
#define GPSDR_TESTS_MM_MMTESTSUPPORT_H

#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "module/MM/MM.h"
#include "module/geo/MMUtility.h"
#include "tests/support/LogCapture.h"
#include "tests/support/WaitUntil.h"
#include "tools/common/ProcSelf.h"
#include "tools/common/Pty.h"
#include "tools/common/ZelkoFrameSplitter.h"
#include "tools/common/ZelkoSampleFrames.h"

namespace mmt {

using Bytes = ZelkoBytes;
using testsupport::LogCapture;
using testsupport::WaitUntil;

inline std::vector<unsigned short> W(const std::string& ascii)  // terminated 16-bit copy
{
    std::vector<unsigned short> out(ascii.begin(), ascii.end());
    out.push_back(0);
    return out;
}

// ---- module -> host, on the wire. Status bit 0: ready (published), bit 2: DR heading valid.
inline Bytes Fix(uint8_t status, double lon, double lat, uint16_t heading = 0x2000, uint32_t drTime = 1000)
{
    Bytes f = ZelkoSampleFixWithRawDR(lon, lat, heading, 0, drTime);
    ZelkoSetField(f, {&ZelkoFixWithRawDR::kStatus, status});
    return ZelkoStuff(ZelkoSeal(f));
}

inline Bytes Version(uint8_t major, uint8_t minor)
{
    return ZelkoWireFrame(ZELKO_ID_APP_VERSION, {{&ZelkoVersion::kMajor, major}, {&ZelkoVersion::kMinor, minor}});
}

// The unit gravity direction for the angles, from the tables the decoder inverts.
inline Bytes MountAngle(int pitchDeg, int rollDeg)
{
    using namespace ZelkoMountAngle;
    const double cosPitch = CMMUtility::mCos(pitchDeg) / 100000.0;
    return ZelkoWireFrame(ZELKO_ID_MOUNT_ANGLE,
                          {{&kPitch, ZelkoFloatBits(static_cast<float>(-CMMUtility::mSin(pitchDeg) / 100000.0))},
                           {&kRoll, ZelkoFloatBits(static_cast<float>(cosPitch * CMMUtility::mSin(rollDeg) / 100000.0))},
                           {&kProgress, 100}});  // calibration complete
}

// ---- host -> module frames (each goes out behind eight zero bytes).
const Bytes kQueryVersion = {0x81, 0x02, 0x11, 0x01, 0xE9, 0x82};
const Bytes kQueryProduct = {0x81, 0x02, 0x12, 0x03, 0xE6, 0x82};
const Bytes kQueryHardware = {0x81, 0x02, 0x12, 0x04, 0xE5, 0x82};
const Bytes kQueryMountAngle = {0x81, 0x02, 0x70, 0x60, 0x2B, 0x82};

inline bool IsMountAngleCommand(const Bytes& f)
{
    return f.size() >= 44 && f[1] == 0x01 && f[2] == 0x70 && f[3] == 0x60 && f[4] == 0x02;
}

// The module on the master side of a pty. Its reader thread cuts the host's bytes into sends
// (eight zero bytes, then one frame) and hands each frame to the responder; a send without that
// preamble is kept whole, so that it matches no expected frame.
class FakeModule {
public:
    using Responder = std::function<void(FakeModule& self, const Bytes& frame)>;
    explicit FakeModule(Responder responder = nullptr) : m_responder(std::move(responder))
    {
        // Non-blocking like a UART: bytes sent while nobody has the port open are dropped once
        // the line's buffer is full, instead of stalling the writer.
        std::string error;
        if ((m_master = OpenRawPty(m_path, error)) < 0) return;
        m_path16 = W(m_path);
        m_reader = std::thread([this] { ReadLoop(); });
    }
    ~FakeModule() { Vanish(); }

    const std::string& Path() const { return m_path; }
    unsigned short* Path16() { return m_path16.data(); }
    void Chatter(bool on) { m_chatter = on; }  // a health report every 10 ms: changes nothing
    void Send(const Bytes& bytes)  // what does not fit the line's buffer is lost, as on a real line
    {
        std::lock_guard<std::mutex> hold(m_writeLock);
        if (m_master >= 0) (void)!write(m_master, bytes.data(), bytes.size());
    }
    std::vector<Bytes> Frames() const  // every frame received since the last Clear, in order
    {
        std::lock_guard<std::mutex> hold(m_lock);
        return m_frames;
    }
    void Clear()
    {
        std::lock_guard<std::mutex> hold(m_lock);
        m_frames.clear();
    }
    void Vanish()  // the device disappears: the reader ends and the master is closed
    {
        m_stop = true;
        if (m_reader.joinable()) m_reader.join();
        std::lock_guard<std::mutex> hold(m_writeLock);
        if (m_master >= 0) close(m_master);
        m_master = -1;
    }

private:
    void ReadLoop()
    {
        const Bytes idle = ZelkoWireFrame(ZELKO_ID_HEALTH);
        unsigned char buf[512];
        while (!m_stop) {
            if (m_chatter) Send(idle);
            pollfd pfd = {m_master, POLLIN, 0};
            const ssize_t n = poll(&pfd, 1, 10) > 0 && (pfd.revents & POLLIN) ? read(m_master, buf, sizeof buf) : 0;
            if (n <= 0) {  // nothing, or no one has the port open (before the open, after a close)
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
                continue;
            }
            m_splitter.Push(buf, static_cast<size_t>(n));  // this thread's alone
            for (Bytes lead, wire; m_splitter.Next(lead, wire);) {
                if (lead != Bytes(8, 0) || wire.empty()) wire.insert(wire.begin(), lead.begin(), lead.end());
                std::unique_lock<std::mutex> hold(m_lock);
                m_frames.push_back(wire);
                hold.unlock();
                if (m_responder) m_responder(*this, wire);
            }
        }
    }

    int m_master = -1;
    std::string m_path;
    std::vector<unsigned short> m_path16;
    std::atomic<bool> m_stop{false}, m_chatter{false};
    std::thread m_reader;
    std::mutex m_writeLock;
    mutable std::mutex m_lock;
    ZelkoFrameSplitter m_splitter;
    std::vector<Bytes> m_frames;
    const Responder m_responder;
};

}  // namespace mmt

// One initialised manager shared by the tests that drive it from the caller's thread (inputs
// pushed in, outputs read back, the port used without a data thread): every manager's stop
// costs a fixed second, so these tests make only one.
class MMCaller : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        setenv("TZ", "UTC", 1);  // calendar normalisation without daylight-saving shifts
        tzset();
        s_mm = new CMM;
        ASSERT_EQ(s_mm->Initialize(MM_DATAKIND_ZELKO, 1), 1);
    }
    static void TearDownTestSuite() { delete s_mm; }
    void SetUp() override { Kind(MM_DATAKIND_ZELKO); }

    // Input pushed in as a caller does: parsed and matched at once.
    static int Push(mmt::Bytes bytes)
    {
        return s_mm->DoMapMatching(reinterpret_cast<char*>(bytes.data()), static_cast<unsigned short>(bytes.size()));
    }
    static int Push(_mGpsDataEx rec, unsigned short len = sizeof(_mGpsDataEx))
    {
        return s_mm->DoMapMatching(reinterpret_cast<char*>(&rec), len);
    }
    static void Kind(int kind) { ASSERT_EQ(s_mm->SetParam(MM_PARAM_DATATYPE, kind), 1); }
    static _mMMPosition Published(int* status = nullptr, char published = 1)
    {
        _mMMPosition pos;
        const int s = s_mm->GetMMPos(&pos, published);
        if (status) *status = s;
        return pos;
    }

    inline static CMM* s_mm = nullptr;
};

#endif
