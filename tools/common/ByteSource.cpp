#include "tools/common/ByteSource.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/common/StopSignal.h"

namespace {

bool MakeRaw(int fd)
{
    termios tio;
    if (tcgetattr(fd, &tio) != 0) return false;
    cfmakeraw(&tio);
    cfsetspeed(&tio, B115200);
    tio.c_cflag |= CLOCAL | CREAD;
    tio.c_cc[VMIN] = 1;
    tio.c_cc[VTIME] = 0;
    return tcsetattr(fd, TCSANOW, &tio) == 0;
}

}  // namespace

ByteSource::~ByteSource()
{
    if (m_owned && m_fd >= 0) close(m_fd);
}

bool ByteSource::Open(const std::string& path, std::string& error)
{
    if (path == "-") {
        m_fd = STDIN_FILENO;
        return true;
    }
    struct stat st;
    if (stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode)) return ReadCapture(path, m_capture, error);
    m_fd = open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC);
    if (m_fd < 0) {
        error = "cannot open " + path + ": " + std::strerror(errno);
        return false;
    }
    m_owned = true;
    if (isatty(m_fd) && !MakeRaw(m_fd)) {
        error = "cannot configure " + path + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

long ByteSource::Read(unsigned char* buf, size_t cap)
{
    if (m_fd < 0) {
        if (m_next >= m_capture.chunks.size() || StopRequested()) return 0;
        const CaptureChunk& c = m_capture.chunks[m_next];
        const size_t n = std::min(cap, c.len - m_inChunk);
        std::memcpy(buf, &m_capture.bytes[c.offset + m_inChunk], n);
        m_inChunk += n;
        if (m_inChunk == c.len) ++m_next, m_inChunk = 0;
        return static_cast<long>(n);
    }
    while (WaitReadable(m_fd)) {
        const ssize_t n = read(m_fd, buf, cap);
        if (n >= 0) return static_cast<long>(n);
        // A pseudo-terminal whose other side has closed reports EIO: that is its end of stream.
        if (errno == EIO) return 0;
        if (errno != EINTR && errno != EAGAIN) return -1;
    }
    return 0;
}
