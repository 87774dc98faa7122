// zelko-sim: plays a Zelko GPS/DR module on a pseudo-terminal (or a device, or into a file)
// so that the library can be run and tested without the hardware.
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "module/position/PositionMgr.h"
#include "tools/common/StopSignal.h"
#include "tools/common/ToolCli.h"
#include "tools/common/ZelkoFrameSplitter.h"
#include "tools/zelko-sim/SimCommands.h"
#include "tools/zelko-sim/SimLink.h"
#include "tools/zelko-sim/SimMessages.h"
#include "tools/zelko-sim/SimOptions.h"
#include "tools/zelko-sim/SimReplay.h"
#include "tools/zelko-sim/SimScenario.h"
#include "tools/zelko-sim/SimStream.h"
#include "tools/zelko-sim/SimTruth.h"

namespace {

struct Session {
    const SimOptions& opt;
    Link link;
    ModuleState module;
    ZelkoFrameSplitter reader;
    SimRandom linkRandom;
    ChunkPlan plan;
    double t0 = 0;
    FILE* truth = nullptr;
};

void Log(double t, const std::string& text) {
    std::fprintf(stderr, "zelko-sim [%9.3f] %s\n", t, text.c_str());
}

// Answers every whole frame the host has written, at sim time `at`.
void Answer(Session& s, double at) {
    ZelkoBytes lead, wire;
    while (s.reader.Next(lead, wire)) {
        if (wire.empty()) continue;  // line noise without a start marker
        const bool ok = CPositionMgr::MakeZelkoCS(wire.data(), wire.size()) == 0;
        const Frame frame = ZelkoUnstuff(wire);
        CommandOutcome out = HandleHostFrame(frame, ok, s.module, at);
        if (!out.replies.empty() && InAnyInterval(s.opt.silences, at)) {
            out.log += " (silent: not sent)";
            out.replies.clear();
        }
        Log(at, out.log);
        if (s.truth) {
            std::fputs(CommandTruthLine(at, frame, ok, out.log).c_str(), s.truth);
            std::fflush(s.truth);
        }
        std::vector<uint16_t> corrupt;
        const Frame replies = ToWire(out.replies, FaultRates{0, s.opt.corrupt}, s.linkRandom, corrupt);
        LinkWrite(s.link, replies, s.plan, s.linkRandom, at);
    }
}

// Answers the host until sim time `until`.
void Serve(Session& s, double until) {
    uint8_t buf[512];
    for (double now = MonotonicSeconds() - s.t0; now < until && !StopRequested(); now = MonotonicSeconds() - s.t0) {
        const size_t n = LinkRead(s.link, buf, sizeof buf, until - now);
        s.reader.Push(buf, n);
        Answer(s, MonotonicSeconds() - s.t0);
    }
}

// Plays the --host bytes due by sim time t.
void PlayHost(Session& s, size_t& next, double t) {
    for (; next < s.opt.host.size() && s.opt.host[next].at <= t; ++next) {
        const SimHostBytes& h = s.opt.host[next];
        s.reader.Push(h.bytes.data(), h.bytes.size());
        Answer(s, h.at);
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    SimOptions opt;
    const int parsed = ParseOptions(argc, argv, opt);
    if (parsed >= 0) return parsed;
    if (!opt.replay.empty()) return Replay(opt);
    std::string error;
    const double period = 1.0 / opt.rate;
    Session s{opt, Link{}, ModuleState{}, ZelkoFrameSplitter{},
              SimRandom(opt.seed, RandomStream::Link), ChunkPlan{opt.chunkMin, opt.chunkMax, period / 2}};
    std::copy(opt.version, opt.version + 3, s.module.version);
    s.module.coldStartSeconds = opt.coldStart;
    SetMountAngle(s.module, opt.mountPitch, opt.mountRoll);

    FILE* truth = nullptr;
    if (!opt.truth.empty() && (truth = std::fopen(opt.truth.c_str(), "w")) == nullptr)
        return ToolFail(kSimCommandLine.name, "cannot create " + opt.truth + ": " + std::strerror(errno));
    s.truth = truth;
    if (!OpenLink(opt, s.link, error)) return ToolFail(kSimCommandLine.name, error);
    CatchStopSignals();
    const bool paced = s.link.kind != LinkKind::File;
    if (paced) {
        std::printf("%s\n", s.link.path.c_str());
        std::fflush(stdout);
    }

    Scenario scenario(opt);
    SimRandom faults(opt.seed, RandomStream::Faults);
    const FaultRates cycleFaults{opt.noise, opt.corrupt};
    s.t0 = MonotonicSeconds();
    int status = 0;
    size_t nextHost = 0;
    for (uint32_t k = 0;; ++k) {
        const double t = k * period;
        const bool end = opt.duration > 0 && t >= opt.duration;
        const bool vanish = opt.vanish >= 0 && t >= opt.vanish;
        if (paced) Serve(s, end ? opt.duration : vanish ? opt.vanish : t);
        if (vanish && !end) Log(opt.vanish, "vanish: closing " + s.link.path);
        if (end || vanish || StopRequested()) break;
        PlayHost(s, nextHost, t);

        const CycleState c = scenario.Next(s.module);
        std::vector<uint16_t> corrupt;
        Frame wire;
        if (!c.silent) wire = ToWire(CycleFrames(c, s.module), cycleFaults, faults, corrupt);
        if (!LinkWrite(s.link, wire, s.plan, s.linkRandom, t)) {
            std::perror(s.link.path.c_str());
            status = 1;
            break;
        }
        if (truth) {
            std::fputs(TruthLine(c, wire.size(), corrupt).c_str(), truth);
            std::fflush(truth);
        }
    }
    CloseLink(s.link);
    if (truth) std::fclose(truth);
    return status;
}
