#include "tools/common/SimProcess.h"

#include <signal.h>

bool SimProcess::Start(const std::string& program, const std::vector<std::string>& args, const std::string& logPath)
{
    Stop();
    childproc::Io io{"", false, logPath};
    io.tiedToParent = true;
    m_child = childproc::Spawn(program, args, io);
    if (m_child.pid <= 0) {
        m_error = "cannot run " + program;
        return false;
    }
    const auto deadline = childproc::Clock::now() + std::chrono::seconds(5);
    const bool gotLine = childproc::Read(m_child.out, m_pty, deadline);
    if (gotLine && m_pty.compare(0, 1, "/") == 0) return true;
    m_error = gotLine ? "the simulator printed no device path but \"" + m_pty + "\""
                      : "the simulator printed no device path in time (see " + logPath + ")";
    m_pty.clear();
    Stop();
    return false;
}

int SimProcess::Wait(childproc::Clock::time_point deadline)
{
    return childproc::Reap(m_child, deadline);
}

void SimProcess::Kill()
{
    End(SIGKILL);
}

void SimProcess::Stop()
{
    End(SIGTERM);
}

void SimProcess::End(int signal)
{
    if (m_child.pid <= 0) return;
    kill(m_child.pid, signal);
    childproc::Reap(m_child, childproc::Clock::now() + std::chrono::seconds(5));
}
