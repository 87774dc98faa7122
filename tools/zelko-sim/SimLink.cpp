#include "tools/zelko-sim/SimLink.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

const double kMaxGap = 0.002;
// Poll interval while no host holds the line open (the master then reports hang-up at once).
const double kIdlePoll = 0.02;

bool MakeRawNonBlocking(int fd, bool setSpeed) {
    termios tio;
    if (tcgetattr(fd, &tio) != 0) return false;
    cfmakeraw(&tio);
    if (setSpeed) cfsetspeed(&tio, B115200);
    if (tcsetattr(fd, TCSANOW, &tio) != 0) return false;
    const int flags = fcntl(fd, F_GETFL);
    return flags >= 0 && fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0;
}

std::string Fail(const char* what, const std::string& path) {
    return std::string(what) + " " + path + ": " + std::strerror(errno);
}

bool OpenPty(Link& link, std::string& error) {
    link.fd = posix_openpt(O_RDWR | O_NOCTTY);
    if (link.fd < 0) {
        error = Fail("posix_openpt", "");
        return false;
    }
    const char* slave = nullptr;
    // Raw on the master sets the line discipline of the slave, so the host finds it raw.
    if (grantpt(link.fd) != 0 || unlockpt(link.fd) != 0 || (slave = ptsname(link.fd)) == nullptr ||
        !MakeRawNonBlocking(link.fd, false)) {
        error = Fail("pseudo-terminal setup", "");
        return false;
    }
    link.path = slave;
    return true;
}

}  // namespace

bool OpenLink(const SimOptions& opt, Link& link, std::string& error) {
    if (!opt.output.empty()) {
        link.kind = LinkKind::File;
        link.path = opt.output;
        link.fd = open(opt.output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (link.fd < 0) error = Fail("cannot create", opt.output);
        return link.fd >= 0;
    }
    if (opt.device.empty()) {
        link.kind = LinkKind::Pty;
        return OpenPty(link, error);
    }
    link.kind = LinkKind::Device;
    link.path = opt.device;
    link.fd = open(opt.device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (link.fd < 0) {
        error = Fail("cannot open", opt.device);
        return false;
    }
    // Anything else would read a capture as the host's commands and append frames to it.
    if (!isatty(link.fd)) {
        error = "cannot play on " + opt.device + ": not a terminal (--output FILE writes a capture)";
        return false;
    }
    if (!MakeRawNonBlocking(link.fd, true)) {
        error = Fail("cannot configure", opt.device);
        return false;
    }
    return true;
}

void CloseLink(Link& link) {
    if (link.fd >= 0) close(link.fd);
    link.fd = -1;
}

bool LinkWrite(Link& link, const Frame& bytes, const ChunkPlan& plan, SimRandom& random) {
    if (link.kind == LinkKind::File) {
        size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t n = write(link.fd, bytes.data() + done, bytes.size() - done);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return false;
            done += static_cast<size_t>(n);
        }
        return true;
    }
    double budget = plan.gapBudget;
    size_t done = 0;
    while (done < bytes.size()) {
        size_t chunk = bytes.size() - done;
        if (plan.max > 0) {
            chunk = std::min(chunk, static_cast<size_t>(random.Between(plan.min, plan.max)));
            if (done > 0) {
                const double gap = std::min(budget, kMaxGap * random.Below(1001) / 1000.0);
                budget -= gap;
                SleepSeconds(gap);
            }
        }
        // Short or failed writes are lost bytes, not retried.
        const ssize_t n = write(link.fd, bytes.data() + done, chunk);
        (void)n;
        done += chunk;
    }
    return true;
}

size_t LinkRead(Link& link, uint8_t* buf, size_t cap, double waitSeconds) {
    pollfd p{link.fd, POLLIN, 0};
    const int ms = static_cast<int>(std::ceil(std::max(0.0, waitSeconds) * 1000));
    if (poll(&p, 1, ms) > 0 && (p.revents & POLLIN)) {
        const ssize_t n = read(link.fd, buf, cap);
        if (n > 0) return static_cast<size_t>(n);
    }
    // Nobody on the other end (EIO, hang-up): wait a little rather than spin.
    if (p.revents & (POLLHUP | POLLERR | POLLIN)) SleepSeconds(std::min(waitSeconds, kIdlePoll));
    return 0;
}

double MonotonicSeconds() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<double>(ts.tv_sec) + ts.tv_nsec / 1e9;
}

void SleepSeconds(double seconds) {
    if (seconds <= 0) return;
    timespec ts;
    ts.tv_sec = static_cast<time_t>(seconds);
    ts.tv_nsec = static_cast<long>((seconds - static_cast<double>(ts.tv_sec)) * 1e9);
    while (nanosleep(&ts, &ts) != 0 && errno == EINTR) {
    }
}
