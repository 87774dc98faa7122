// Runs the Java end-to-end program against simulated modules: zelko-sim instances (one
// driving, one silent, and one with the same drive that zelko-record records from its pty until
// the Java side asks for its replay) on their own ptys, /dev/ttyGPS1 pointed at whichever the
// Java side asks for (a symbolic link as root, else a namespace of the JVM's own), the positions
// it reports checked against the driving module's truth.
// Exit 0 passed, 1 failed, 77 skipped (the device cannot be shown to the JVM).
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/e2e/ToolProcess.h"
#include "tools/common/DeviceView.h"
#include "tools/common/GisCall.h"
#include "tools/common/SimProcess.h"
#include "tools/common/TruthCycles.h"

namespace {

// The failures of the calls (labelled with their phase) against the simulator's truth, the
// library's own conversion chain applied to it; each phase must have at least minTimed calls
// that carry the time.
std::vector<std::string> CheckAgainstTruth(const std::vector<GisCall>& calls, const std::string& truthPath, int minTimed)
{
    std::vector<TruthCycle> rows;
    size_t lines = 0;
    ReadTruthCycles(truthPath, rows, lines);
    std::vector<std::string> failures;
    std::map<std::string, int> timed;
    for (const GisCall& c : calls) {
        std::ostringstream what;
        what << c.label << " " << c.time << " (" << c.lat << ", " << c.lon << ") alt " << c.alt << " dop " << c.a
             << "/" << c.b << " heading " << c.heading << ": ";
        if (c.reserved != 0) failures.push_back(what.str() + "reserved argument is not 0");
        int& phaseTimed = timed[c.label];
        if (c.time == "00000000000000") continue;
        ++phaseTimed;
        const int k = NearestCycle(rows, c.time, c.lat, c.lon);
        if (k < 0) {
            failures.push_back(what.str() + "no cycle of the module has this time");
            continue;
        }
        const TruthCycle& e = rows[static_cast<size_t>(k)];
        if (c.heading != e.heading || MetresApart(c.lat, c.lon, e.offLat, e.offLon) >= 5.0)
            failures.push_back(what.str() + "position or heading is not the module's");
        // Altitude and DOP come with other messages than the position, maybe of the next cycle.
        bool alt = false, dop = false;
        for (size_t j = k ? k - 1 : 0; j <= static_cast<size_t>(k) + 1 && j < rows.size(); ++j) {
            alt |= c.alt == rows[j].alt;
            dop |= c.a == rows[j].a && c.b == rows[j].b;
        }
        if (!alt) failures.push_back(what.str() + "altitude is not the module's");
        if (!dop) failures.push_back(what.str() + "DOP values are not the module's");
    }
    for (const auto& phase : timed)
        if (phase.second < minTimed)
            failures.push_back(phase.first + ": fewer than " + std::to_string(minTimed) + " positions with a time");
    return failures;
}

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
    const std::string work = o["--work"];
    mkdir(work.c_str(), 0755);
    ChildDevice device(work);
    std::string why;
    if (!device.Prepare(why)) {
        std::printf("SKIP: %s\n", why.c_str());
        return 77;
    }

    const auto deadline = tooltest::Clock::now() + std::chrono::seconds(150);
    const std::string truth = work + "/drive.jsonl";
    // Their --duration bounds how long a killed run leaves them behind.
    std::map<std::string, std::vector<std::string>> simArgs = {
        {"drive", {"--truth", truth, "--seed", "3", "--duration", "200"}},
        {"silent", {"--silent", "0", "--duration", "200"}},
        {"recorded", {"--seed", "3", "--duration", "200"}}};
    std::map<std::string, SimProcess> sims;
    int failures = 0;
    for (auto& s : simArgs) {
        if (!sims[s.first].Start(o["--sim"], s.second, work + "/sim-" + s.first + ".log")) {
            std::printf("FAIL: zelko-sim (%s): %s\n", s.first.c_str(), sims[s.first].Error().c_str());
            ++failures;
        }
    }

    const std::string capture = work + "/drive.cap";
    tooltest::Child recorder = tooltest::Spawn(o["--record"], {sims["recorded"].Pty(), capture}, {"", false, work + "/record.log"});
    tooltest::Io javaIo{"", true, work + "/java.log", {"TZ=UTC"}};  // the time text is UTC only without DST
    javaIo.device = device.View();
    if (!o["--preload"].empty()) {
        javaIo.env.push_back("LD_PRELOAD=" + o["--preload"]);
        javaIo.env.push_back("ASAN_OPTIONS=detect_leaks=0:handle_segv=0:allow_user_segv_handler=1");
    }
    tooltest::Child java;
    if (!failures)
        java = tooltest::Spawn(o["--java"], {"-Xcheck:jni", "-Djava.library.path=" + o["--libdir"], "-cp",
                                             o["--classes"], "NativeCallE2E"}, javaIo);
    std::vector<GisCall> calls;
    bool done = false;
    for (std::string line; java.pid > 0 && tooltest::Read(java.out, line, deadline);) {
        GisCall call;
        if (line == "LINK replay") {  // Ctrl-C ends the recording
            kill(recorder.pid, SIGINT);
            if (tooltest::Reap(recorder, deadline) != 0 && ++failures) std::printf("FAIL: zelko-record failed on SIGINT\n");
            sims["replay"].Start(o["--sim"], {"--replay", capture}, work + "/sim-replay.log");
        }
        if (line.rfind("LINK ", 0) == 0) {
            const std::string& pty = sims[line.substr(5)].Pty();
            const bool ok = !pty.empty() && device.PointAt(pty);
            if (!ok) std::printf("FAIL: cannot point %s at %s\n", DeviceLink::kPath, pty.c_str());
            failures += !ok + (write(java.in, ok ? "OK\n" : "NO\n", 3) != 3);
        } else if (ParseGisCall(line, call)) {
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
    sims.clear();

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
