#include "tools/common/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/common/DeviceView.h"

extern char** environ;

namespace childproc {

namespace {

// Between fork and exec only system calls: the parent may have other threads.
[[noreturn]] void ExecChild(const std::vector<char*>& argv, const std::vector<char*>& envp, const Io& io,
                            const int out[2], const int in[2], pid_t parent)
{
    if (io.tiedToParent && (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != parent)) _exit(127);
    if (io.ownGroup) setpgid(0, 0);
    if (dup2(out[1], STDOUT_FILENO) < 0) _exit(127);
    if (io.pipeIn && dup2(in[0], STDIN_FILENO) < 0) _exit(127);
    if (!io.in.empty()) {
        const int fd = open(io.in.c_str(), O_RDONLY);
        if (fd < 0 || dup2(fd, STDIN_FILENO) < 0) _exit(127);
    }
    const int err = open(io.err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (err < 0 || dup2(err, STDERR_FILENO) < 0) _exit(127);
    if (io.device && !EnterDeviceView(*io.device)) _exit(126);
    execve(argv[0], argv.data(), envp.data());
    _exit(127);
}

}  // namespace

std::string ProgramDir()
{
    char path[4096];
    const ssize_t n = readlink("/proc/self/exe", path, sizeof path - 1);
    const std::string self = n > 0 ? std::string(path, static_cast<size_t>(n)) : "./";
    return self.substr(0, self.rfind('/'));
}

Child Spawn(const std::string& program, const std::vector<std::string>& args, const Io& io)
{
    std::vector<std::string> all = args;
    all.insert(all.begin(), program);
    std::vector<char*> argv, envp;
    for (std::string& a : all) argv.push_back(&a[0]);
    argv.push_back(nullptr);
    for (const std::string& e : io.env) envp.push_back(const_cast<char*>(e.c_str()));
    for (char** e = environ; *e; ++e) {
        const std::string name(*e, std::strcspn(*e, "=") + 1);
        if (std::none_of(io.env.begin(), io.env.end(), [&](const std::string& v) { return v.compare(0, name.size(), name) == 0; }))
            envp.push_back(*e);
    }
    envp.push_back(nullptr);

    int out[2], in[2] = {-1, -1};
    Child child;
    if (pipe2(out, O_CLOEXEC) != 0) return child;
    if (io.pipeIn && pipe2(in, O_CLOEXEC) != 0) {
        close(out[0]);
        close(out[1]);
        return child;
    }
    const pid_t parent = getpid();
    child.pid = fork();
    if (child.pid == 0) ExecChild(argv, envp, io, out, in, parent);
    close(out[1]);
    if (io.pipeIn) close(in[0]);
    if (child.pid < 0) {
        close(out[0]);
        if (io.pipeIn) close(in[1]);
        return Child{};
    }
    child.out = out[0];
    if (io.pipeIn) child.in = in[1];
    return child;
}

bool Read(int fd, std::string& text, Clock::time_point deadline, bool oneLine)
{
    text.clear();
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd pfd{fd, POLLIN, 0};
        if (left <= 0) return false;
        const int ready = poll(&pfd, 1, static_cast<int>(left));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return false;
        char c[4096];
        const ssize_t n = read(fd, c, oneLine ? 1 : sizeof c);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return !oneLine;
        if (oneLine && c[0] == '\n') return true;
        text.append(c, static_cast<size_t>(n));
    }
}

std::string ReadUntil(int fd, Clock::time_point deadline, bool oneLine)
{
    std::string text;
    Read(fd, text, deadline, oneLine);
    return text;
}

int Reap(Child& child, Clock::time_point deadline)
{
    int status = 0;
    pid_t r = child.pid > 0 ? 0 : -1;
    while (r == 0) {
        r = waitpid(child.pid, &status, WNOHANG);
        if (r == 0 && Clock::now() >= deadline) {
            kill(child.pid, SIGKILL);
            r = waitpid(child.pid, &status, 0);
        }
        if (r == 0) poll(nullptr, 0, 10);
    }
    for (int* fd : {&child.out, &child.in}) {
        if (*fd >= 0) close(*fd);
        *fd = -1;
    }
    child.pid = -1;
    return r > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

RunResult Run(const std::string& program, const std::vector<std::string>& args, const Io& io,
              std::chrono::seconds limit)
{
    Child child = Spawn(program, args, io);
    RunResult r;
    if (child.pid < 0) return r;
    const Clock::time_point deadline = Clock::now() + limit;
    r.out = ReadUntil(child.out, deadline);
    r.status = Reap(child, deadline);
    return r;
}

}  // namespace childproc
