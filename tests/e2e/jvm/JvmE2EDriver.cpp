// Runs the Java end-to-end program against simulated modules: zelko-sim instances (one
// driving, one silent, and one with the same drive that zelko-record records from its pty until
// the Java side asks for its replay) on their own ptys, /dev/ttyGPS1 pointed at whichever the
// Java side asks for, the positions it reports checked against the driving module's truth.
// Exit 0 passed, 1 failed, 77 skipped (not root, or /dev/ttyGPS1 is somebody else's).
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "tests/e2e/ToolProcess.h"
#include "tests/e2e/jvm/TruthCheck.h"

namespace {

const char kDevice[] = "/dev/ttyGPS1";
const int kSkip = 77;

std::string LinkTarget()
{
    char buf[256];
    const ssize_t n = readlink(kDevice, buf, sizeof buf - 1);
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
        const std::string mine = Recorded();
        if (!S_ISLNK(st.st_mode) || mine.empty() || LinkTarget() != mine) return false;
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
        const std::string mine = Recorded();
        if (!mine.empty() && LinkTarget() == mine) unlink(kDevice);
        std::remove(m_record.c_str());
    }

private:
    std::string Recorded() const { return tooltest::Lines(tooltest::ReadText(m_record) + "\n")[0]; }

    std::string m_record;
};

}  // namespace

int main(int argc, char** argv)
{
    std::map<std::string, std::string> o = {{"--java", ""}, {"--classes", ""}, {"--libdir", ""},
                                            {"--sim", ""},  {"--work", ""},    {"--preload", ""}, {"--record", ""}};
    for (int i = 1; i + 1 < argc && o.count(argv[i]); i += 2) o[argv[i]] = argv[i + 1];
    if (o["--java"].empty() || o["--classes"].empty() || o["--libdir"].empty() || o["--sim"].empty() ||
        o["--work"].empty() || o["--record"].empty()) {
        std::fprintf(stderr, "usage: %s --java J --classes DIR --libdir DIR --sim SIM --record REC --work DIR [--preload LIB]\n",
                     argv[0]);
        return 2;
    }
    if (geteuid() != 0) {
        std::printf("SKIP: making %s needs root\n", kDevice);
        return kSkip;
    }
    const std::string work = o["--work"];
    mkdir(work.c_str(), 0755);
    DeviceLink device(work);
    if (!device.Claim()) {
        std::printf("SKIP: %s exists and was not made by this test; left alone\n", kDevice);
        return kSkip;
    }

    const auto deadline = tooltest::Clock::now() + std::chrono::seconds(150);
    const std::string truth = work + "/drive.jsonl";
    // Their --duration bounds how long a killed run leaves them behind.
    std::map<std::string, tooltest::Child> sims = {
        {"drive", tooltest::Spawn(o["--sim"], {"--truth", truth, "--seed", "3", "--duration", "200"},
                                  {"", false, work + "/sim-drive.log"})},
        {"silent", tooltest::Spawn(o["--sim"], {"--silent", "0", "--duration", "200"},
                                   {"", false, work + "/sim-silent.log"})},
        {"recorded", tooltest::Spawn(o["--sim"], {"--seed", "3", "--duration", "200"}, {"", false, work + "/sim-recorded.log"})}};
    std::map<std::string, std::string> ptys;
    int failures = 0;
    for (auto& s : sims) {
        if (!tooltest::Read(s.second.out, ptys[s.first], deadline)) {
            std::printf("FAIL: zelko-sim (%s) did not start\n", s.first.c_str());
            ++failures;
        }
    }

    const std::string capture = work + "/drive.cap";
    tooltest::Child recorder = tooltest::Spawn(o["--record"], {ptys["recorded"], capture}, {"", false, work + "/record.log"});
    tooltest::Io javaIo{"", true, work + "/java.log", {"TZ=UTC"}};  // the time text is UTC only without DST
    if (!o["--preload"].empty()) {
        javaIo.env.push_back("LD_PRELOAD=" + o["--preload"]);
        javaIo.env.push_back("ASAN_OPTIONS=detect_leaks=0:handle_segv=0:allow_user_segv_handler=1");
    }
    tooltest::Child java;
    if (!failures)
        java = tooltest::Spawn(o["--java"], {"-Xcheck:jni", "-Djava.library.path=" + o["--libdir"], "-cp",
                                             o["--classes"], "NativeCallE2E"}, javaIo);
    std::vector<ReportedCall> calls;
    bool done = false;
    for (std::string line; java.pid > 0 && tooltest::Read(java.out, line, deadline);) {
        ReportedCall call;
        if (line == "LINK replay") {  // Ctrl-C ends the recording
            kill(recorder.pid, SIGINT);
            if (tooltest::Reap(recorder, deadline) != 0 && ++failures) std::printf("FAIL: zelko-record failed on SIGINT\n");
            sims["replay"] = tooltest::Spawn(o["--sim"], {"--replay", capture}, {"", false, work + "/sim-replay.log"});
            tooltest::Read(sims["replay"].out, ptys["replay"], deadline);
        }
        if (line.rfind("LINK ", 0) == 0) {
            const std::string& pty = ptys[line.substr(5)];
            const bool ok = !pty.empty() && device.PointAt(pty);
            if (!ok) std::printf("FAIL: cannot point %s at %s\n", kDevice, pty.c_str());
            failures += !ok + (write(java.in, ok ? "OK\n" : "NO\n", 3) != 3);
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
    const int status = tooltest::Reap(java, deadline);
    tooltest::Reap(recorder, tooltest::Clock::now());
    for (auto& s : sims) {
        if (s.second.pid > 0) kill(s.second.pid, SIGTERM);
        tooltest::Reap(s.second, deadline + std::chrono::seconds(5));
    }
    device.Remove();

    if (!done || status != 0) {
        std::printf("FAIL: the Java side did not finish cleanly (status %d, see %s/java.log)\n", status, work.c_str());
        ++failures;
    }
    // Each of the three update threads attaches on its first position and detaches at its end.
    std::map<std::string, int> bridgeLines;
    for (const std::string& line : tooltest::Lines(tooltest::ReadText(work + "/java.log")))
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
