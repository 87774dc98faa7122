#include "tests/e2e/stress/SimChild.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <chrono>

namespace {

// Like tooltest::Spawn, but the simulator dies with the thread that started it, so a run that
// crashes leaves no module playing on behind it.
tooltest::Child SpawnTiedToParent(const std::vector<std::string>& args)
{
    std::vector<std::string> all = args;
    all.insert(all.begin(), tooltest::BuildPath("zelko-sim"));
    std::vector<char*> argv;
    for (std::string& a : all) argv.push_back(&a[0]);
    argv.push_back(nullptr);

    int out[2];
    tooltest::Child child;
    if (pipe2(out, O_CLOEXEC) != 0) return child;
    const pid_t parent = getpid();
    child.pid = fork();
    if (child.pid == 0) {
        // Only async-signal-safe calls from here on: the parent has other threads.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) _exit(127);
        dup2(out[1], STDOUT_FILENO);
        const int null = open("/dev/null", O_WRONLY);
        if (null >= 0) dup2(null, STDERR_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(out[1]);
    if (child.pid < 0) {
        close(out[0]);
        return tooltest::Child{};
    }
    child.out = out[0];
    return child;
}

}  // namespace

bool SimChild::Start(const std::vector<std::string>& args)
{
    Stop();
    m_child = SpawnTiedToParent(args);
    if (m_child.pid <= 0) return false;
    m_pty = tooltest::ReadUntil(m_child.out, tooltest::Clock::now() + std::chrono::seconds(5), true);
    if (m_pty.compare(0, 5, "/dev/") == 0) return true;
    Stop();
    return false;
}

void SimChild::Kill()
{
    End(SIGKILL);
}

void SimChild::Stop()
{
    End(SIGTERM);
}

void SimChild::End(int signal)
{
    if (m_child.pid <= 0) return;
    kill(m_child.pid, signal);
    tooltest::Reap(m_child, tooltest::Clock::now() + std::chrono::seconds(5));
    m_child = tooltest::Child{};
}
