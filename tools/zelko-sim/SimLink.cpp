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

#include "tools/common/Pty.h"

namespace {

const double kMaxGap = 0.002;
// Poll interval while no host holds the line open (the master then reports hang-up at once).
const double kIdlePoll = 0.02;

std::string Fail(const char* what, const std::string& path) {
    return std::string(what) + " " + path + ": " + std::strerror(errno);
}

}  // namespace

bool OpenLink(const SimOptions& opt, Link& link, std::string& error) {
    if (!opt.output.empty()) {
        link.kind = LinkKind::File;
        link.path = opt.output;
        link.timed = opt.capture;
        if (opt.capture) return link.capture.Open(opt.output, error);
        link.fd = open(opt.output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (link.fd < 0) error = Fail("cannot create", opt.output);
        return link.fd >= 0;
    }
    if (opt.device.empty()) {
        link.kind = LinkKind::Pty;
        link.fd = OpenRawPty(link.path, error);
        return link.fd >= 0;
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
    link.capture.Close();
    if (link.fd >= 0) close(link.fd);
    link.fd = -1;
}

bool LinkWrite(Link& link, const Frame& bytes, const ChunkPlan& plan, SimRandom& random, double at) {
    if (link.timed)
        return bytes.empty() || link.capture.Write(static_cast<uint64_t>(std::llround(at * 1e6)), bytes.data(), bytes.size());
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
