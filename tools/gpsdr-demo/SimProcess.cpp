#include "tools/gpsdr-demo/SimProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

const auto kStartTimeout = std::chrono::seconds(5);
const auto kExitTimeout = std::chrono::seconds(2);

// Waits for pid until the deadline; true when it was reaped.
bool ReapBy(pid_t pid, Clock::time_point deadline)
{
    for (;;) {
        const pid_t r = waitpid(pid, nullptr, WNOHANG);
        if (r == pid || (r < 0 && errno == ECHILD)) return true;
        if (Clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

}  // namespace

bool SimProcess::Start(const std::string& program, const std::vector<std::string>& args,
                       const std::string& logPath, std::string& error)
{
    int out[2];
    if (pipe2(out, O_CLOEXEC) != 0) {
        error = std::string("pipe: ") + std::strerror(errno);
        return false;
    }
    std::vector<std::string> all{program};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& a : all) argv.push_back(&a[0]);
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int rc = posix_spawn(&m_pid, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    m_stdout = out[0];
    if (rc != 0) {
        m_pid = -1;
        error = "cannot run " + program + ": " + std::strerror(rc);
        return false;
    }
    return ReadFirstLine(m_ptyPath, error);
}

bool SimProcess::ReadFirstLine(std::string& line, std::string& error)
{
    const Clock::time_point deadline = Clock::now() + kStartTimeout;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd pfd{m_stdout, POLLIN, 0};
        if (left.count() <= 0 || poll(&pfd, 1, static_cast<int>(left.count())) == 0) {
            error = "the simulator printed no device path in time";
            return false;
        }
        char c;
        const ssize_t n = read(m_stdout, &c, 1);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            error = "the simulator ended before printing its device path";
            return false;
        }
        if (c == '\n') {
            if (line.empty()) error = "the simulator printed an empty device path";
            return !line.empty();
        }
        line += c;
    }
}

void SimProcess::Stop()
{
    if (m_pid > 0) {
        kill(m_pid, SIGTERM);
        if (!ReapBy(m_pid, Clock::now() + kExitTimeout)) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
        m_pid = -1;
    }
    if (m_stdout >= 0) {
        close(m_stdout);
        m_stdout = -1;
    }
}
