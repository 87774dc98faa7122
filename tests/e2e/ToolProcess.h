// Running the project's programs from end-to-end tests: spawn with stdout on a pipe, read with
// deadlines, reap.
#ifndef GPSDR_TESTS_E2E_TOOLPROCESS_H
#define GPSDR_TESTS_E2E_TOOLPROCESS_H

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace tooltest {

using Clock = std::chrono::steady_clock;

inline std::string BuildPath(const std::string& program)
{
    const char* dir = std::getenv("GPSDR_BUILD_DIR");
    return std::string(dir ? dir : ".") + "/" + program;
}

struct Child {
    pid_t pid = -1;
    int out = -1;  // the child's standard output
};

// Starts a program of the build directory; stdin from stdinPath when given, stderr discarded.
inline Child Spawn(const std::string& program, std::vector<std::string> args, const std::string& stdinPath = "")
{
    args.insert(args.begin(), BuildPath(program));
    std::vector<char*> argv;
    for (std::string& a : args) argv.push_back(&a[0]);
    argv.push_back(nullptr);
    int pipes[2];
    Child child;
    if (pipe(pipes) != 0) return child;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipes[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipes[0]);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    if (!stdinPath.empty()) posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, stdinPath.c_str(), O_RDONLY, 0);
    if (posix_spawn(&child.pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) child.pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    close(pipes[1]);
    child.out = pipes[0];
    return child;
}

// Reads fd until end of file, or up to the first newline when oneLine; stops at the deadline.
inline std::string ReadUntil(int fd, Clock::time_point deadline, bool oneLine = false)
{
    std::string text;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd pfd{fd, POLLIN, 0};
        if (left <= 0 || poll(&pfd, 1, static_cast<int>(left)) <= 0) return text;
        char c[4096];
        const ssize_t n = read(fd, c, oneLine ? 1 : sizeof c);
        if (n <= 0) return text;
        text.append(c, static_cast<size_t>(n));
        if (oneLine && c[0] == '\n') return text.substr(0, text.size() - 1);
    }
}

// Waits for the child's exit (killing it at the deadline); its exit status, or -1.
inline int Reap(Child& child, Clock::time_point deadline)
{
    int status = 0;
    for (;;) {
        const pid_t r = waitpid(child.pid, &status, WNOHANG);
        if (r == child.pid) break;
        if (r < 0) return -1;
        if (Clock::now() >= deadline) {
            kill(child.pid, SIGKILL);
            waitpid(child.pid, &status, 0);
            break;
        }
        poll(nullptr, 0, 10);
    }
    if (child.out >= 0) close(child.out);
    child.out = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

struct RunResult {
    int status = -1;
    std::string out;
};

inline RunResult Run(const std::string& program, const std::vector<std::string>& args,
                     const std::string& stdinPath = "", std::chrono::seconds limit = std::chrono::seconds(60))
{
    Child child = Spawn(program, args, stdinPath);
    RunResult r;
    if (child.pid < 0) return r;
    const Clock::time_point deadline = Clock::now() + limit;
    r.out = ReadUntil(child.out, deadline);
    r.status = Reap(child, deadline);
    return r;
}

inline std::string ReadText(const std::string& path)
{
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

inline size_t CountOf(const std::string& text, const std::string& what)
{
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + what.size())) ++n;
    return n;
}

}  // namespace tooltest

#endif
