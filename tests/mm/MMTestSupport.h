// Test support for the manager: log capture, deadlines, module frames built with the library's
// own checksum and stuffing, and a module played on the master side of a pseudo-terminal.
#ifndef GPSDR_TESTS_MM_MMTESTSUPPORT_H
#define GPSDR_TESTS_MM_MMTESTSUPPORT_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace mmt {

using Bytes = std::vector<unsigned char>;

// Polls pred until it holds or timeoutMs pass; returns its last value.
bool WaitUntil(const std::function<bool()>& pred, int timeoutMs);

// Collects the "Varnex" log lines while alive; safe against logging threads.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    std::vector<std::string> Lines() const;
    int Count(const std::string& text) const;
    void Clear();

private:
    static void Sink(int prio, const char* tag, const char* text, void* ctx);
    mutable std::mutex m_lock;
    std::vector<std::string> m_lines;
};

std::vector<unsigned short> W(const std::string& ascii);  // terminated 16-bit copy

// ---- module -> host frames; body is the L-5 bytes between subcode and checksum.
Bytes ModuleFrame(uint8_t code, uint8_t sub, const Bytes& body);
struct Fix {
    double lonDeg = 127.0, latDeg = 37.5;
    uint8_t status = 0x05;   // bit 0: module ready (published), bit 2: DR heading valid
    uint32_t drTime = 1000;  // non-zero once the module has a time
    uint16_t heading = 0x2000;  // 180/32768 degree units
};
Bytes Fix3002(const Fix& fix);
Bytes Version1101(uint8_t major, uint8_t minor);
Bytes MountAngle7060(int pitchDeg, int rollDeg);
Bytes Utc3201(uint16_t year, uint8_t month, uint8_t day, uint8_t hour, uint8_t minute, uint8_t second,
              uint8_t satUsed);
Bytes ChannelMeas3301(uint8_t satId, uint8_t flags);

// ---- host -> module frames (each goes out behind eight zero bytes).
extern const Bytes kQueryVersion, kQueryProduct, kQueryHardware, kQueryMountAngle;
bool IsMountAngleCommand(const Bytes& frame);

int ThreadsNamed(const std::string& name);  // threads of this process with that name

// The module on the master side of a pty. A reader thread cuts the host's bytes into sends
// (eight zero bytes, then one frame) and hands each frame to the responder.
class FakeModule {
public:
    FakeModule();
    ~FakeModule() { Vanish(); }

    const std::string& Path() const { return m_path; }
    unsigned short* Path16() { return m_path16.data(); }

    void Send(const Bytes& bytes);
    void StartChatter();  // the module's idle report every 10 ms, from a background thread
    void StopChatter();
    void SetResponder(std::function<void(const Bytes& frame)> responder);
    std::vector<Bytes> Frames() const;  // every frame received so far, in order
    bool Malformed() const;             // a send that was not preamble + frame
    void Clear();
    void Vanish();  // the device disappears: reader and chatter end, the master is closed

private:
    void ReadLoop();

    int m_master = -1;
    std::string m_path;
    std::vector<unsigned short> m_path16;
    std::atomic<bool> m_stopReader{false}, m_stopChatter{false};
    std::thread m_reader, m_chatter;
    std::mutex m_writeLock;
    mutable std::mutex m_lock;
    Bytes m_pending;
    bool m_malformed = false;
    std::vector<Bytes> m_frames;
    std::function<void(const Bytes&)> m_responder;
};

}  // namespace mmt

#endif
