// Programs run as child processes by the tools and the end-to-end tests: standard output on a
// pipe, read with deadlines, reaped with a time limit.
#ifndef GPSDR_TOOLS_COMMON_CHILDPROCESS_H
#define GPSDR_TOOLS_COMMON_CHILDPROCESS_H

#include <sys/types.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

struct DeviceView;

namespace childproc {

using Clock = std::chrono::steady_clock;

struct Child {
    pid_t pid = -1;
    int out = -1;  // the child's standard output
    int in = -1;   // its standard input, when Io::pipeIn
};

// The child's other streams and surroundings.
struct Io {
    Io(std::string in = "", bool pipeIn = false, std::string err = "/dev/null", std::vector<std::string> env = {})
        : in(std::move(in)), pipeIn(pipeIn), err(std::move(err)), env(std::move(env)) {}
    std::string in;                // standard input from this file, when not empty
    bool pipeIn;                   // or from a pipe (Child::in)
    std::string err;               // standard error into this file
    std::vector<std::string> env;  // NAME=value, taking precedence over the inherited environment
    bool tiedToParent = false;     // killed when the thread that started it ends
    bool ownGroup = false;         // a process group of its own: a terminal's Ctrl-C reaches only us
    const DeviceView* device = nullptr;  // /dev/ttyGPS1 shown to this child alone (DeviceView.h)
};

// The directory of the running program; the build puts the tools side by side.
std::string ProgramDir();

// Starts program (a path) with args; pid -1 when it could not be started.
Child Spawn(const std::string& program, const std::vector<std::string>& args, const Io& io = {});

// Reads fd up to the next newline (not kept), or until end of file when !oneLine; stops at the
// deadline. True when it reached what it read for.
bool Read(int fd, std::string& text, Clock::time_point deadline, bool oneLine = true);
std::string ReadUntil(int fd, Clock::time_point deadline, bool oneLine = false);

// Waits for the child's exit (killing it at the deadline) and forgets it; its exit status, or -1
// when it did not exit by itself.
int Reap(Child& child, Clock::time_point deadline);

struct RunResult {
    int status = -1;
    std::string out;
};

// Spawn, read all of standard output, reap; the child is killed after limit.
RunResult Run(const std::string& program, const std::vector<std::string>& args, const Io& io = {},
              std::chrono::seconds limit = std::chrono::seconds(60));

}  // namespace childproc

#endif
