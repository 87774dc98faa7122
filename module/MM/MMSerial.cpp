// The serial link to the module: open and configure the device, read, write, report its
// health, close.
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstring>

#include "module/MM/MM.h"
#include "module/MM/MMSync.h"
#include "platform/mCharset.h"
#include "platform/mString16.h"
#include "platform/mTrace.h"

namespace {

const unsigned kDevicePathSize = 260;

struct BaudSpeed {
    unsigned long baud;
    speed_t speed;
};

// 19200 and 57600 are missing on purpose: the module is never wired at those rates.
const BaudSpeed kBaudSpeeds[] = {
    {2400, B2400}, {4800, B4800}, {9600, B9600}, {38400, B38400},
    {115200, B115200}, {230400, B230400}, {460800, B460800},
};

const tcflag_t kByteSizes[] = {CS5, CS6, CS7, CS8};  // byte sizes 5 to 8

bool LookUpSpeed(unsigned long baud, speed_t& speed)
{
    for (const BaudSpeed& entry : kBaudSpeeds) {
        if (entry.baud == baud) {
            speed = entry.speed;
            return true;
        }
    }
    return false;
}

// The device name in the log's byte encoding. A name that would not fit the path buffer is
// left empty, so that the open fails instead of overrunning it.
void DevicePath(const unsigned short* name, char (&path)[kDevicePathSize])
{
    const int units = static_cast<int>(wcslen16(name)) + 1;
    int needed = WideToEucKr(nullptr, name, units * 2);
    if (needed < 0) needed = -needed;
    if (needed < static_cast<int>(kDevicePathSize) - 1)
        UtilWideToMbcs(name, reinterpret_cast<unsigned char*>(path));
}

}  // namespace

// A set-up step failed after the open: the descriptor is closed and the port counts as closed.
int CMM::AbandonPort(int fd)
{
    close(fd);
    m_dwDataHandle = 0;
    m_nDataFd = -1;
    return 0;
}

int CMM::OpenSerialPort(unsigned short* deviceName, unsigned long baud, unsigned char byteSize,
                        unsigned char parity, unsigned char /*stopBits: always one*/)
{
    if (!deviceName || deviceName[0] == 0) {
        mTraceW(W16("[MM-Err][CMM::OpenSerialPort] szDeviceName is Invalid (%s)"),
                deviceName ? deviceName : W16(""));
        return 0;
    }
    char path[kDevicePathSize] = {};
    DevicePath(deviceName, path);

    // A stop signalled for an earlier port must not cut short the waits on this one.
    DrainPortWake();
    // A sender on another thread must never see the descriptor half-configured or closed.
    MMScopedLock portLock(m_pPortSync);

    const int fd = open(path, O_RDWR | O_NOCTTY | O_NONBLOCK);
    m_nDataFd = fd;
    if (fd < 0) {
        mTraceW(W16("[MM-Err][CMM::OpenSerialPort] mSerial: %s open failed, Error(%d)\n"), deviceName, errno);
        return 0;
    }
    m_dwDataHandle = static_cast<uint32_t>(fd);
    fcntl(fd, F_SETFL, 0);

    termios tty;
    if (tcgetattr(fd, &tty) < 0) {
        mTraceW(W16("[MM-Err][CMM::OpenSerialPort] mSerial: if (tcgetattr(m_nDataHandle, &tty) < 0) fail, Error(%d)\n"),
                errno);
        return AbandonPort(fd);
    }

    // The two refusals below leave the descriptor open and the handle set, as callers expect:
    // the port then counts as open until CloseSerialPort.
    speed_t speed;
    if (!LookUpSpeed(baud, speed)) {
        mTraceW(W16("[MM-Err][CMM::OpenSerialPort] unsupported baudrate (%d)\n"), static_cast<int>(baud));
        return 0;
    }
    if (byteSize < 5 || byteSize > 8) {
        mTraceW(W16("[MM-Err][CMM::OpenSerialPort] unsupported bytesize (%d)\n"), static_cast<int>(byteSize));
        return 0;
    }

    tty.c_iflag = IGNBRK;
    tty.c_oflag = OPOST;
    tty.c_cflag = speed | CREAD | CLOCAL | kByteSizes[byteSize - 5];
    if (parity) tty.c_cflag |= PARENB;  // any parity request means even parity
    tty.c_lflag = 0;
    tty.c_cc[VTIME] = 10;
    tty.c_cc[VMIN] = 1;

    tcflush(fd, TCIFLUSH);
    if (tcsetattr(fd, TCSANOW, &tty) < 0) {
        mTraceW(W16("[MM-Err][CMM::OpenSerialPort] mSerial: if (tcsetattr(m_nDataHandle, TCSANOW, &tty) < 0) fail, Error(%d)\n"),
                errno);
        return AbandonPort(fd);
    }

    int lines = 0;
    ioctl(fd, TIOCMGET, &lines);
    lines |= TIOCM_RTS;
    ioctl(fd, TIOCMSET, &lines);

    tcgetattr(fd, &tty);
    tty.c_cflag &= ~static_cast<tcflag_t>(CRTSCTS);
    tcsetattr(fd, TCSANOW, &tty);

    std::memset(m_ucReadBuf, 0, sizeof m_ucReadBuf);
    m_dwReadFill = 0;
    m_dwRateFigure = static_cast<uint32_t>(baud) / 80;

    mTraceW(W16("[LIB_DBG][CMM::OpenSerialPort] Com Port Open Success!! (%s, %d, %d)\n"), deviceName,
            static_cast<int>(baud), static_cast<int>(byteSize));
    return 1;
}

int CMM::CloseSerialPort()
{
    if (m_dwDataHandle != 0) {
        // A data thread waiting on a silent (or vanished) module holds the port lock: wake it
        // first, then close only once no thread is inside a wait or a read on the descriptor.
        WakePortWaiters();
        MMScopedLock lock(m_pPortSync);
        close(m_nDataFd);
        m_nDataFd = -1;
        m_dwDataHandle = 0;
    }
    m_ucPortState = PORTSTATE_CLOSED;
    return 1;
}

int CMM::GetDataUpdate()
{
    if (m_dwDataHandle == 0) return 0;
    // The wait for bytes happens before the port lock is taken: a silent module must not keep
    // a sender (or a stop waiting for that sender) blocked behind the lock.
    const int waited = m_nDataFd;
    if (waited < 0 || !WaitPortReadable(waited)) return 1;
    MMScopedLock lock(m_pPortSync);

    const int fd = m_nDataFd;  // -1 when the port was closed while this thread waited for the lock
    const uint32_t room = READ_BUFFER_SIZE - m_dwReadFill;
    if (fd >= 0 && fd == waited && room > 0) {
        const ssize_t n = read(fd, m_ucReadBuf + m_dwReadFill, room);
        if (n > 0) {
            m_ucPortState = PORTSTATE_RECEIVING;
            m_dwStateTick = mGetMilisec();
            if (!m_bPause) {
                SetPosData(reinterpret_cast<char*>(m_ucReadBuf), static_cast<unsigned short>(n));
                std::memset(m_ucReadBuf, 0, sizeof m_ucReadBuf);
            }
        }
    }
    return 1;
}

int CMM::DataSend(unsigned char* buf, unsigned long len)
{
    if (m_dwDataHandle == 0 || m_bPause || len == 0 || !buf) return 0;

    // The module wakes on the zero run before a frame; whether it was written is not checked.
    static const unsigned char kPreamble[8] = {};
    ssize_t written = -1;
    {
        MMScopedLock lock(m_pPortSync);
        const int fd = m_nDataFd;
        if (fd >= 0) {
            const ssize_t ignored = write(fd, kPreamble, sizeof kPreamble);
            (void)ignored;
            written = write(fd, buf, len);
        }
    }
    return written >= 0 && static_cast<unsigned long>(written) == len ? 1 : 0;
}

int CMM::CheckSerialPortError()
{
    const uint8_t state = m_ucPortState;
    const uint32_t tick = m_dwStateTick;
    const uint32_t elapsed = mGetMilisec() - tick;
    const uint32_t standard = m_dwReadErrStandard;

    if (state == PORTSTATE_OPENING) return MM_PORT_OPENING;
    if (state == PORTSTATE_OPENED) return elapsed > standard ? MM_PORT_NO_DATA : MM_PORT_OK;
    if (state == PORTSTATE_RECEIVING) {
        if (m_bPause) return MM_PORT_PAUSED;
        return tick != 0 && elapsed > standard ? MM_PORT_DATA_STOPPED : MM_PORT_OK;
    }
    return MM_PORT_CLOSED;  // never opened, or closed
}

uint32_t CMM::GetDataHandle()
{
    return m_dwDataHandle;
}

// Waits, without a time-out, until the port has bytes (or has failed) or a stop wakes it.
// Returns 1 when the port should be read.
int CMM::WaitPortReadable(int fd)
{
    pollfd fds[2] = {{fd, POLLIN, 0}, {m_nWakeFd, POLLIN, 0}};
    const nfds_t count = m_nWakeFd >= 0 ? 2 : 1;
    for (;;) {
        const int r = poll(fds, count, -1);
        if (r > 0) break;
        if (r < 0 && errno != EINTR) return 0;
    }
    if (count == 2 && (fds[1].revents & POLLIN)) return 0;
    return fds[0].revents != 0;
}

// The wake-up stays readable until the next open drains it, so every waiter on the closing
// port sees it, including one that only reaches its wait afterwards.
void CMM::WakePortWaiters()
{
    if (m_nWakeFd < 0) return;
    const uint64_t one = 1;
    const ssize_t ignored = write(m_nWakeFd, &one, sizeof one);
    (void)ignored;
}

void CMM::DrainPortWake()
{
    if (m_nWakeFd < 0) return;
    uint64_t count;
    const ssize_t ignored = read(m_nWakeFd, &count, sizeof count);
    (void)ignored;
}
