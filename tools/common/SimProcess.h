// zelko-sim as a child process on a pseudo-terminal of its own: the one way the tools and the
// tests start the simulator and learn which device it plays on.
#ifndef GPSDR_TOOLS_COMMON_SIMPROCESS_H
#define GPSDR_TOOLS_COMMON_SIMPROCESS_H

#include <string>
#include <vector>

#include "tools/common/ChildProcess.h"

class SimProcess {
public:
    SimProcess() = default;
    ~SimProcess() { Stop(); }
    SimProcess(const SimProcess&) = delete;
    SimProcess& operator=(const SimProcess&) = delete;

    // Runs the simulator program with args, its diagnostics into logPath, and waits (5 s at
    // most) for the device path it prints first. The simulator dies with the thread that
    // started it, so a caller that crashes leaves no module playing on. False with the reason in
    // Error() otherwise.
    bool Start(const std::string& program, const std::vector<std::string>& args,
               const std::string& logPath = "/dev/null");
    const std::string& Pty() const { return m_pty; }
    const std::string& Error() const { return m_error; }
    bool Running() const { return m_child.pid > 0; }
    // Waits for the simulator to end by itself (killed at the deadline); its exit status.
    int Wait(childproc::Clock::time_point deadline);
    // SIGKILL: the module is gone at once, as when its cable is pulled.
    void Kill();
    // SIGTERM and reap; harmless when it has already ended.
    void Stop();

private:
    void End(int signal);

    childproc::Child m_child;
    std::string m_pty, m_error;
};

#endif
