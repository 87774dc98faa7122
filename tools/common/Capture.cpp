#include "tools/common/Capture.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

const char kCaptureMagic[] = "ZELKOCAP 1\n";

namespace {

const size_t kMagicLen = sizeof kCaptureMagic - 1;
const size_t kRecordHead = 12;
// A raw capture is replayed in pieces of this size, each at its time on the wire.
const size_t kRawChunk = 64;
// Larger files are not captures of a serial line worth loading at once.
const size_t kMaxFile = size_t{256} << 20;

uint64_t LittleEndian(const uint8_t* p, int bytes)
{
    uint64_t v = 0;
    for (int i = bytes - 1; i >= 0; --i) v = (v << 8) | p[i];
    return v;
}

void PutLittleEndian(uint8_t* p, uint64_t v, int bytes)
{
    for (int i = 0; i < bytes; ++i, v >>= 8) p[i] = static_cast<uint8_t>(v);
}

bool Fail(std::string& error, const std::string& path, const std::string& what)
{
    error = path + ": " + what;
    return false;
}

bool ReadRecords(const std::string& path, Capture& out, std::string& error)
{
    const std::vector<uint8_t>& b = out.bytes;
    uint64_t last = 0;
    for (size_t at = kMagicLen; at < b.size();) {
        const std::string where = "record " + std::to_string(out.chunks.size() + 1) + " at byte " + std::to_string(at);
        if (b.size() - at < kRecordHead) return Fail(error, path, "cut capture: " + where + " has no complete header");
        const uint64_t atUs = LittleEndian(&b[at], 8);
        const uint64_t len = LittleEndian(&b[at + 8], 4);
        if (len == 0 || len > kCaptureMaxChunk)
            return Fail(error, path, "not a capture: " + where + " has length " + std::to_string(len));
        if (atUs < last) return Fail(error, path, "not a capture: " + where + " goes back in time");
        if (b.size() - at - kRecordHead < len)
            return Fail(error, path, "cut capture: " + where + " ends " +
                                         std::to_string(len - (b.size() - at - kRecordHead)) + " bytes short");
        out.chunks.push_back({atUs, at + kRecordHead, static_cast<size_t>(len)});
        last = atUs;
        at += kRecordHead + len;
    }
    return true;
}

}  // namespace

bool ReadCapture(const std::string& path, Capture& out, std::string& error)
{
    out = Capture{};
    std::ifstream in(path, std::ios::binary);
    if (!in) return Fail(error, path, std::string("cannot open: ") + std::strerror(errno));
    out.bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    if (in.bad() || out.bytes.size() > kMaxFile) return Fail(error, path, "cannot read (a directory, or too large?)");
    out.timed = out.bytes.size() >= kMagicLen && std::equal(kCaptureMagic, kCaptureMagic + kMagicLen, out.bytes.begin());
    if (out.timed) {
        if (!ReadRecords(path, out, error)) return false;
    } else {
        for (size_t at = 0; at < out.bytes.size(); at += kRawChunk)
            out.chunks.push_back({static_cast<uint64_t>(at / kWireBytesPerSecond * 1e6), at,
                                  std::min(kRawChunk, out.bytes.size() - at)});
    }
    return true;
}

CaptureWriter::~CaptureWriter()
{
    Close();
}

bool CaptureWriter::Open(const std::string& path, std::string& error)
{
    Close();
    m_fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (m_fd < 0) return Fail(error, path, std::string("cannot create: ") + std::strerror(errno));
    if (write(m_fd, kCaptureMagic, kMagicLen) != static_cast<ssize_t>(kMagicLen))
        return Fail(error, path, std::string("cannot write: ") + std::strerror(errno));
    return true;
}

bool CaptureWriter::Write(uint64_t atUs, const uint8_t* data, size_t len)
{
    std::vector<uint8_t> record;
    for (size_t done = 0; done < len;) {
        const size_t n = std::min<size_t>(len - done, kCaptureMaxChunk);
        record.resize(kRecordHead + n);
        PutLittleEndian(&record[0], atUs, 8);
        PutLittleEndian(&record[8], n, 4);
        std::memcpy(&record[kRecordHead], data + done, n);
        for (size_t put = 0; put < record.size();) {
            const ssize_t w = write(m_fd, record.data() + put, record.size() - put);
            if (w < 0 && errno == EINTR) continue;
            if (w <= 0) return false;
            put += static_cast<size_t>(w);
        }
        done += n;
    }
    return true;
}

void CaptureWriter::Close()
{
    if (m_fd >= 0) close(m_fd);
    m_fd = -1;
}
