// Runs the Java end-to-end program against simulated modules: two zelko-sim instances (one
// driving, one silent) on their own ptys, /dev/ttyGPS1 pointed at whichever the Java side asks
// for, the positions it reports checked against the driving module's truth.
// Exit 0 passed, 1 failed, 77 skipped (not root, or /dev/ttyGPS1 is somebody else's).
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "tests/e2e/jvm/TruthCheck.h"

namespace {

const char kDevice[] = "/dev/ttyGPS1";
const int kSkip = 77;

struct Options {
    std::string java, classes, libdir, sim, work, preload;
};

struct Child {
    pid_t pid = -1;
    int out = -1;  // its standard output
    int in = -1;   // its standard input, when asked for
};

// Starts argv[0] with stdout (and optionally stdin) on pipes and stderr into `log`. The child
// dies with the driver, so a killed run leaves no simulator behind.
Child Spawn(const std::vector<std::string>& argv, const std::string& log, bool withInput,
            const std::vector<std::string>& env)
{
    int out[2], in[2] = {-1, -1};
    if (pipe(out) != 0 || (withInput && pipe(in) != 0)) return {};
    Child c;
    c.pid = fork();
    if (c.pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(out[1], 1);
        if (withInput) dup2(in[0], 0);
        int err = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (err >= 0) dup2(err, 2);
        for (const std::string& e : env) putenv(const_cast<char*>(e.c_str()));
        std::vector<char*> args;
        for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        execv(args[0], args.data());
        _exit(127);
    }
    close(out[1]);
    c.out = out[0];
    if (withInput) {
        close(in[0]);
        c.in = in[1];
    }
    return c;
}

// One line from fd, waiting at most until `deadline`; false at the deadline or end of file.
bool ReadLine(int fd, std::string& line, std::chrono::steady_clock::time_point deadline)
{
    line.clear();
    for (;;) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd p{fd, POLLIN, 0};
        if (left.count() <= 0 || poll(&p, 1, static_cast<int>(left.count())) <= 0) return false;
        char ch;
        if (read(fd, &ch, 1) != 1) return false;
        if (ch == '\n') return true;
        line += ch;
    }
}

std::string LinkTarget(const char* path)
{
    char buf[256];
    ssize_t n = readlink(path, buf, sizeof buf - 1);
    return n > 0 ? std::string(buf, static_cast<size_t>(n)) : std::string();
}

// /dev/ttyGPS1 while the test holds it. The target it set is kept in a file, so a run that was
// killed can be told from somebody else's device by the next run.
class DeviceLink {
public:
    explicit DeviceLink(const std::string& work) : m_record(work + "/ttyGPS1.target") {}
    ~DeviceLink() { Remove(); }

    // False when the path is taken by something this test did not make.
    bool Claim()
    {
        struct stat st;
        if (lstat(kDevice, &st) != 0) return true;
        std::ifstream in(m_record);
        std::string mine;
        std::getline(in, mine);
        if (!S_ISLNK(st.st_mode) || mine.empty() || LinkTarget(kDevice) != mine) return false;
        Remove();  // left over from a killed run
        return true;
    }

    bool PointAt(const std::string& target)
    {
        Remove();
        std::ofstream(m_record) << target << "\n";
        return symlink(target.c_str(), kDevice) == 0;
    }

    void Remove()
    {
        std::ifstream in(m_record);
        std::string mine;
        if (std::getline(in, mine) && LinkTarget(kDevice) == mine) unlink(kDevice);
        std::remove(m_record.c_str());
    }

private:
    std::string m_record;
};

void Stop(Child& c)
{
    if (c.pid <= 0) return;
    kill(c.pid, SIGTERM);
    waitpid(c.pid, nullptr, 0);
    c.pid = -1;
}

bool ParseOptions(int argc, char** argv, Options& o)
{
    std::map<std::string, std::string*> known = {{"--java", &o.java}, {"--classes", &o.classes},
                                                 {"--libdir", &o.libdir}, {"--sim", &o.sim},
                                                 {"--work", &o.work}, {"--preload", &o.preload}};
    for (int i = 1; i + 1 < argc; i += 2) {
        auto it = known.find(argv[i]);
        if (it == known.end()) return false;
        *it->second = argv[i + 1];
    }
    return !o.java.empty() && !o.classes.empty() && !o.libdir.empty() && !o.sim.empty() && !o.work.empty();
}

}  // namespace

int main(int argc, char** argv)
{
    Options o;
    if (!ParseOptions(argc, argv, o)) {
        std::fprintf(stderr, "usage: %s --java J --classes DIR --libdir DIR --sim SIM --work DIR [--preload LIB]\n",
                     argv[0]);
        return 2;
    }
    if (geteuid() != 0) {
        std::printf("SKIP: making %s needs root\n", kDevice);
        return kSkip;
    }
    mkdir(o.work.c_str(), 0755);
    DeviceLink device(o.work);
    if (!device.Claim()) {
        std::printf("SKIP: %s exists and was not made by this test; left alone\n", kDevice);
        return kSkip;
    }

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(150);
    const std::string truth = o.work + "/drive.jsonl";
    std::map<std::string, Child> sims = {
        {"drive", Spawn({o.sim, "--truth", truth, "--seed", "3"}, o.work + "/sim-drive.log", false, {})},
        {"silent", Spawn({o.sim, "--silent", "0"}, o.work + "/sim-silent.log", false, {})}};
    std::map<std::string, std::string> ptys;
    int failures = 0;
    for (auto& s : sims) {
        if (!ReadLine(s.second.out, ptys[s.first], deadline)) {
            std::printf("FAIL: zelko-sim (%s) did not start\n", s.first.c_str());
            ++failures;
        }
    }

    std::vector<std::string> env = {"TZ=UTC"};  // the time text is UTC only without DST
    if (!o.preload.empty()) {
        env.push_back("LD_PRELOAD=" + o.preload);
        env.push_back("ASAN_OPTIONS=detect_leaks=0:handle_segv=0:allow_user_segv_handler=1");
    }
    Child java = failures ? Child{}
                          : Spawn({o.java, "-Xcheck:jni", "-Djava.library.path=" + o.libdir, "-cp", o.classes,
                                   "NativeCallE2E"},
                                  o.work + "/java.log", true, env);
    std::vector<ReportedCall> calls;
    bool done = false;
    for (std::string line; java.pid > 0 && ReadLine(java.out, line, deadline);) {
        ReportedCall call;
        if (line.rfind("LINK ", 0) == 0) {
            const std::string& pty = ptys[line.substr(5)];
            bool ok = !pty.empty() && device.PointAt(pty);
            if (!ok) {
                std::printf("FAIL: cannot point %s at %s\n", kDevice, pty.c_str());
                ++failures;
            }
            if (write(java.in, ok ? "OK\n" : "NO\n", 3) != 3) ++failures;
        } else if (ParseReportedCall(line, call)) {
            calls.push_back(call);
        } else if (line == "DONE") {
            done = true;
        } else {
            // FAIL lines from the Java side, and -Xcheck:jni's warnings about the library.
            std::printf("java: %s\n", line.c_str());
            failures += line.rfind("FAIL", 0) == 0 || line.find("WARNING") != std::string::npos;
        }
    }
    int status = -1;
    while (java.pid > 0 && waitpid(java.pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            kill(java.pid, SIGKILL);
            waitpid(java.pid, &status, 0);
            break;
        }
        usleep(50000);
    }
    for (auto& s : sims) Stop(s.second);
    device.Remove();

    if (!done || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::printf("FAIL: the Java side did not finish cleanly (status %d, see %s/java.log)\n", status,
                    o.work.c_str());
        ++failures;
    }
    // Each of the three update threads attaches on its first position and detaches at its end.
    std::map<std::string, int> bridgeLines;
    std::ifstream log(o.work + "/java.log");
    for (std::string line; std::getline(log, line);)
        if (line.rfind("6/JNI: ", 0) == 0 || line.rfind("3/JNI: ", 0) == 0) ++bridgeLines[line];
    const std::map<std::string, int> wanted = {{"3/JNI: StartOnlyGpsDRModule", 4},
                                               {"3/JNI: EndOnlyGpsDRModule", 4},
                                               {"6/JNI: Attaching this Thread VM", 3},
                                               {"6/JNI: detaching complted VM. (this thread)", 3}};
    if (bridgeLines != wanted) {
        std::printf("FAIL: the bridge's log lines differ from four starts, four stops and three threads\n");
        ++failures;
    }
    for (const std::string& f : CheckAgainstTruth(calls, truth, 3)) {
        std::printf("FAIL: %s\n", f.c_str());
        ++failures;
    }
    std::printf("%zu positions checked, %d failures\n", calls.size(), failures);
    return failures ? 1 : 0;
}
