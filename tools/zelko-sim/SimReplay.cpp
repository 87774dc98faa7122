#include "tools/zelko-sim/SimReplay.h"

#include <cstdio>
#include <string>

#include "tools/common/Capture.h"
#include "tools/common/StopSignal.h"
#include "tools/common/ToolCli.h"
#include "tools/common/ZelkoFeed.h"
#include "tools/zelko-sim/SimLink.h"

namespace {

// Waits until `due` (monotonic seconds), reading and dropping what the host sends meanwhile, so
// that its writes never block on a full line.
void DrainUntil(Link& link, double due)
{
    uint8_t sink[512];
    for (double now = MonotonicSeconds(); now < due && !StopRequested(); now = MonotonicSeconds())
        LinkRead(link, sink, sizeof sink, due - now);
}

}  // namespace

int Replay(const SimOptions& opt)
{
    Capture capture;
    std::string error;
    const char* tool = kSimCommandLine.name;
    if (!ReadCapture(opt.replay, capture, error)) return ToolFail(tool, error);
    // A file of another kind would otherwise be played as raw bytes.
    if (CountZelkoPositions(capture.bytes) == 0)
        return ToolFail(tool, opt.replay + " holds no Zelko position message: not a capture of the module");
    Link link;
    if (!OpenLink(opt, link, error)) return ToolFail(tool, error);
    CatchStopSignals();
    std::printf("%s\n", link.path.c_str());
    std::fflush(stdout);

    const CaptureChunk& last = capture.chunks.back();
    // One round lasts until the last chunk has left the wire.
    const double round = (last.atUs / 1e6 + last.len / kWireBytesPerSecond) / opt.speed;
    SimRandom unused(opt.seed, RandomStream::Link);
    double start = MonotonicSeconds();
    do {
        for (const CaptureChunk& c : capture.chunks) {
            if (StopRequested()) break;
            DrainUntil(link, start + c.atUs / 1e6 / opt.speed);
            const Frame bytes(capture.bytes.begin() + c.offset, capture.bytes.begin() + c.offset + c.len);
            LinkWrite(link, bytes, ChunkPlan{}, unused, 0);
        }
        start += round;
        DrainUntil(link, start);
    } while (opt.loop && !StopRequested());
    CloseLink(link);
    return 0;
}
