// The module simulator as a child process: started on a new pseudo-terminal, stopped at the end.
#ifndef GPSDR_TOOLS_GPSDR_DEMO_SIMPROCESS_H
#define GPSDR_TOOLS_GPSDR_DEMO_SIMPROCESS_H

#include <sys/types.h>

#include <string>
#include <vector>

class SimProcess {
public:
    SimProcess() = default;
    ~SimProcess() { Stop(); }
    SimProcess(const SimProcess&) = delete;
    SimProcess& operator=(const SimProcess&) = delete;

    // Runs program with args, its diagnostics into logPath, and waits (a few seconds at most)
    // for the pty path it prints first. False with a message in error otherwise.
    bool Start(const std::string& program, const std::vector<std::string>& args, const std::string& logPath,
               std::string& error);
    const std::string& PtyPath() const { return m_ptyPath; }
    // Terminates the simulator and reaps it; harmless when it has already ended.
    void Stop();

private:
    bool ReadFirstLine(std::string& line, std::string& error);

    pid_t m_pid = -1;
    int m_stdout = -1;
    std::string m_ptyPath;
};

#endif
