#include "tests/mm/MMTestSupport.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>

#include "module/geo/MMUtility.h"
#include "module/position/PositionMgr.h"
#include "platform/mAndroidLog.h"

namespace mmt {

bool WaitUntil(const std::function<bool()>& pred, int timeoutMs)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!pred()) {
        if (std::chrono::steady_clock::now() >= deadline) return pred();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

LogCapture::LogCapture() { mHostLogSetSink(&LogCapture::Sink, this); }
LogCapture::~LogCapture() { mHostLogSetSink(nullptr, nullptr); }

void LogCapture::Sink(int prio, const char* tag, const char* text, void* ctx)
{
    if (prio != ANDROID_LOG_INFO || std::strcmp(tag, "Varnex") != 0) return;
    LogCapture* self = static_cast<LogCapture*>(ctx);
    std::lock_guard<std::mutex> hold(self->m_lock);
    self->m_lines.push_back(text);
}

std::vector<std::string> LogCapture::Lines() const
{
    std::lock_guard<std::mutex> hold(m_lock);
    return m_lines;
}

int LogCapture::Count(const std::string& text) const
{
    const std::vector<std::string> lines = Lines();
    return static_cast<int>(std::count(lines.begin(), lines.end(), text));
}

void LogCapture::Clear()
{
    std::lock_guard<std::mutex> hold(m_lock);
    m_lines.clear();
}

std::vector<unsigned short> W(const std::string& ascii)
{
    std::vector<unsigned short> out(ascii.begin(), ascii.end());
    out.push_back(0);
    return out;
}

// ---------------------------------------------------------------- frames
namespace {

void PutLE(Bytes& b, size_t at, uint32_t v, int size)
{
    for (int i = 0; i < size; ++i) b[at + i] = static_cast<unsigned char>(v >> (8 * i));
}

void PutF32(Bytes& b, size_t at, double v)
{
    const float f = static_cast<float>(v);
    uint32_t bits;
    std::memcpy(&bits, &f, sizeof bits);
    PutLE(b, at, bits, 4);
}

// Degrees in the module's angular unit, 2^31 for 180 degrees.
uint32_t ModuleAngle(double deg)
{
    return static_cast<uint32_t>(static_cast<int32_t>(std::lround(deg / 180.0 * 2147483648.0)));
}

}  // namespace

Bytes ModuleFrame(uint8_t code, uint8_t sub, const Bytes& body)
{
    const size_t len = body.size() + 5;
    Bytes buf(2 * len + 8, 0);  // zero past the frame, as the stuffing scan requires
    buf[0] = 0x81;
    buf[1] = code;
    buf[2] = sub;
    std::copy(body.begin(), body.end(), buf.begin() + 3);
    buf[len - 1] = 0x82;
    buf[len - 2] = CPositionMgr::MakeZelkoCS(buf.data(), len);
    buf.resize(len + CPositionMgr::MakeStuffPacket(buf.data(), len, buf.size()));
    return buf;
}

Bytes Fix3002(const Fix& fix)
{
    Bytes body(46, 0);  // frame bytes 3..48
    body[0] = fix.status;
    PutLE(body, 3, fix.drTime, 4);
    PutLE(body, 7, ModuleAngle(fix.latDeg), 4);
    PutLE(body, 11, ModuleAngle(fix.lonDeg), 4);
    PutLE(body, 17, fix.heading, 2);
    return ModuleFrame(0x30, 0x02, body);
}

Bytes Version1101(uint8_t major, uint8_t minor)
{
    return ModuleFrame(0x11, 0x01, Bytes{major, minor, 0, 0, 0, 0, 0});
}

Bytes MountAngle7060(int pitchDeg, int rollDeg)
{
    // The unit gravity direction for the angles, from the tables the decoder inverts.
    Bytes body(70, 0);  // frame bytes 3..72
    PutF32(body, 26, -CMMUtility::mSin(pitchDeg) / 100000.0);
    PutF32(body, 30, CMMUtility::mCos(pitchDeg) / 100000.0 * CMMUtility::mSin(rollDeg) / 100000.0);
    body[69] = 100;  // calibration complete
    return ModuleFrame(0x70, 0x60, body);
}

Bytes Utc3201(uint16_t year, uint8_t month, uint8_t day, uint8_t hour, uint8_t minute, uint8_t second,
              uint8_t satUsed)
{
    Bytes body(18, 0);
    PutLE(body, 0, year, 2);
    const uint8_t rest[] = {month, day, hour, minute, second};
    std::copy(rest, rest + 5, body.begin() + 2);
    body[17] = satUsed;
    return ModuleFrame(0x32, 0x01, body);
}

Bytes ChannelMeas3301(uint8_t satId, uint8_t flags)
{
    return ModuleFrame(0x33, 0x01, Bytes{0, satId, flags, 40, 40, 40, 0});
}

const Bytes kQueryVersion = {0x81, 0x02, 0x11, 0x01, 0xE9, 0x82};
const Bytes kQueryProduct = {0x81, 0x02, 0x12, 0x03, 0xE6, 0x82};
const Bytes kQueryHardware = {0x81, 0x02, 0x12, 0x04, 0xE5, 0x82};
const Bytes kQueryMountAngle = {0x81, 0x02, 0x70, 0x60, 0x2B, 0x82};

bool IsMountAngleCommand(const Bytes& f)
{
    return f.size() >= 44 && f[1] == 0x01 && f[2] == 0x70 && f[3] == 0x60 && f[4] == 0x02;
}

int ThreadsNamed(const std::string& name)
{
    int n = 0;
    DIR* dir = opendir("/proc/self/task");
    while (dirent* entry = dir ? readdir(dir) : nullptr) {
        std::string comm;
        std::getline(std::ifstream(std::string("/proc/self/task/") + entry->d_name + "/comm"), comm);
        n += comm == name ? 1 : 0;
    }
    if (dir) closedir(dir);
    return n;
}

// ---------------------------------------------------------------- fake module
FakeModule::FakeModule()
{
    // Non-blocking like a UART: bytes sent while nobody has the port open are dropped once the
    // line's buffer is full, instead of stalling the writer.
    m_master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    char name[128];
    if (m_master < 0 || grantpt(m_master) != 0 || unlockpt(m_master) != 0 ||
        ptsname_r(m_master, name, sizeof name) != 0)
        return;
    m_path = name;
    m_path16 = W(m_path);
    m_reader = std::thread([this] { ReadLoop(); });
}

void FakeModule::Send(const Bytes& bytes)
{
    std::lock_guard<std::mutex> hold(m_writeLock);
    for (size_t done = 0; m_master >= 0 && done < bytes.size();) {
        const ssize_t n = write(m_master, bytes.data() + done, bytes.size() - done);
        if (n <= 0) break;  // full or gone: the rest is lost, as on a real line
        done += static_cast<size_t>(n);
    }
}

void FakeModule::StartChatter()
{
    m_stopChatter = false;
    m_chatter = std::thread([this] {
        const Bytes idle = ModuleFrame(0x16, 0x01, Bytes(3, 0));  // health report: changes nothing
        while (!m_stopChatter) {
            Send(idle);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    });
}

void FakeModule::StopChatter()
{
    m_stopChatter = true;
    if (m_chatter.joinable()) m_chatter.join();
}

void FakeModule::SetResponder(std::function<void(const Bytes& frame)> responder)
{
    std::lock_guard<std::mutex> hold(m_lock);
    m_responder = std::move(responder);
}

std::vector<Bytes> FakeModule::Frames() const
{
    std::lock_guard<std::mutex> hold(m_lock);
    return m_frames;
}

bool FakeModule::Malformed() const
{
    std::lock_guard<std::mutex> hold(m_lock);
    return m_malformed;
}

void FakeModule::Clear()
{
    std::lock_guard<std::mutex> hold(m_lock);
    m_frames.clear();
}

void FakeModule::Vanish()
{
    StopChatter();
    m_stopReader = true;
    if (m_reader.joinable()) m_reader.join();
    std::lock_guard<std::mutex> hold(m_writeLock);
    if (m_master >= 0) close(m_master);
    m_master = -1;
}

void FakeModule::ReadLoop()
{
    unsigned char buf[512];
    while (!m_stopReader) {
        pollfd pfd = {m_master, POLLIN, 0};
        const ssize_t n = poll(&pfd, 1, 10) > 0 && (pfd.revents & POLLIN) ? read(m_master, buf, sizeof buf) : 0;
        if (n <= 0) {
            // Nothing, or no one has the port open (before the open, after a close).
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            continue;
        }
        std::vector<Bytes> frames;
        std::function<void(const Bytes&)> responder;
        {
            std::lock_guard<std::mutex> hold(m_lock);
            m_pending.insert(m_pending.end(), buf, buf + n);
            for (;;) {
                const auto end = std::find(m_pending.begin(), m_pending.end(), 0x82);
                if (end == m_pending.end()) break;
                const Bytes send(m_pending.begin(), end + 1);
                m_pending.erase(m_pending.begin(), end + 1);
                m_malformed |= send.size() < 11 || std::any_of(send.begin(), send.begin() + 8, [](unsigned char b) {
                                   return b != 0;
                               }) || send[8] != 0x81;
                frames.emplace_back(send.begin() + std::min<size_t>(8, send.size()), send.end());
            }
            m_frames.insert(m_frames.end(), frames.begin(), frames.end());
            responder = m_responder;
        }
        for (const Bytes& f : frames)
            if (responder) responder(f);
    }
}

}  // namespace mmt
