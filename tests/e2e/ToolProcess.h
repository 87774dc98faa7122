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
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
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
    int in = -1;   // its standard input, when Io::pipeIn
};

// The child's other streams: stdin from a file or a pipe, stderr into a file, and variables
// that take precedence over the inherited environment.
struct Io {
    Io(std::string in = "", bool pipeIn = false, std::string err = "/dev/null", std::vector<std::string> env = {})
        : in(std::move(in)), pipeIn(pipeIn), err(std::move(err)), env(std::move(env)) {}
    std::string in;
    bool pipeIn;
    std::string err;
    std::vector<std::string> env;
};

// Starts program (a path, or a program of the build directory) with stdout on a pipe.
inline Child Spawn(const std::string& program, std::vector<std::string> args, const Io& io = {})
{
    args.insert(args.begin(), program.find('/') == std::string::npos ? BuildPath(program) : program);
    std::vector<char*> argv, envp;
    for (std::string& a : args) argv.push_back(&a[0]);
    argv.push_back(nullptr);
    for (const std::string& e : io.env) envp.push_back(const_cast<char*>(e.c_str()));
    for (char** e = environ; *e; ++e) envp.push_back(*e);
    envp.push_back(nullptr);
    int out[2], in[2] = {-1, -1};
    Child child;
    if (pipe2(out, O_CLOEXEC) != 0 || (io.pipeIn && pipe2(in, O_CLOEXEC) != 0)) return child;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, io.err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (io.pipeIn) posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    if (!io.in.empty()) posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, io.in.c_str(), O_RDONLY, 0);
    if (posix_spawn(&child.pid, argv[0], &actions, nullptr, argv.data(), envp.data()) != 0) child.pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    child.out = out[0];
    if (io.pipeIn) {
        close(in[0]);
        child.in = in[1];
    }
    return child;
}

// Reads fd up to the next newline (not kept), or until end of file when !oneLine; stops at
// the deadline. True when it reached what it read for.
inline bool Read(int fd, std::string& text, Clock::time_point deadline, bool oneLine = true)
{
    text.clear();
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd pfd{fd, POLLIN, 0};
        if (left <= 0 || poll(&pfd, 1, static_cast<int>(left)) <= 0) return false;
        char c[4096];
        const ssize_t n = read(fd, c, oneLine ? 1 : sizeof c);
        if (n <= 0) return !oneLine;
        if (oneLine && c[0] == '\n') return true;
        text.append(c, static_cast<size_t>(n));
    }
}

inline std::string ReadUntil(int fd, Clock::time_point deadline, bool oneLine = false)
{
    std::string text;
    Read(fd, text, deadline, oneLine);
    return text;
}

// Waits for the child's exit (killing it at the deadline) and forgets it; its exit status, or -1.
inline int Reap(Child& child, Clock::time_point deadline)
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

struct RunResult {
    int status = -1;
    std::string out;
};

inline RunResult Run(const std::string& program, const std::vector<std::string>& args, const Io& io = {},
                     std::chrono::seconds limit = std::chrono::seconds(60))
{
    Child child = Spawn(program, args, io);
    RunResult r;
    if (child.pid < 0) return r;
    const Clock::time_point deadline = Clock::now() + limit;
    r.out = ReadUntil(child.out, deadline);
    r.status = Reap(child, deadline);
    return r;
}

inline std::string ReadText(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
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

// Fields of a flat JSON line as the tools write them: the number after "key": (the index-th
// of an array; NaN when absent), and the text of a string.
inline double Number(const std::string& line, const std::string& key, int index = 0)
{
    size_t at = line.find("\"" + key + "\":");
    if (at == std::string::npos) return NAN;
    at += key.size() + 3;
    for (int i = 0; i < index; ++i) {
        at = line.find(',', at);
        if (at++ == std::string::npos) return NAN;
    }
    return std::strtod(line.c_str() + at + (line[at] == '['), nullptr);
}

inline std::string Text(const std::string& line, const std::string& key)
{
    const std::string open = "\"" + key + "\":\"";
    const size_t at = line.find(open);
    if (at == std::string::npos) return "";
    const size_t from = at + open.size();
    return line.substr(from, line.find('"', from) - from);
}

}  // namespace tooltest

#endif
