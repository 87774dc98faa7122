// One zelko-sim of the build directory as a child process, on its own pseudo-terminal.
#ifndef GPSDR_TESTS_E2E_STRESS_SIMCHILD_H
#define GPSDR_TESTS_E2E_STRESS_SIMCHILD_H

#include <string>
#include <vector>

#include "tests/e2e/ToolProcess.h"

class SimChild {
public:
    SimChild() = default;
    ~SimChild() { Stop(); }
    SimChild(const SimChild&) = delete;
    SimChild& operator=(const SimChild&) = delete;

    // Starts zelko-sim with args and waits (5 s at most) for the pty path it prints first.
    bool Start(const std::vector<std::string>& args);
    const std::string& Pty() const { return m_pty; }
    bool Running() const { return m_child.pid > 0; }
    // SIGKILL: the module is gone at once, as when its cable is pulled.
    void Kill();
    // Ends it (if still running) and reaps it; harmless when already stopped.
    void Stop();

private:
    void End(int signal);

    tooltest::Child m_child;
    std::string m_pty;
};

#endif
