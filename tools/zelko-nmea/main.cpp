// zelko-nmea: a live bridge from the module to the GPS tools that speak NMEA 0183. Reads the
// module's stream (a device, a pty such as zelko-sim's or a replay's, or a capture file),
// decodes it with the library and writes NMEA to standard output, a file or a new pty.
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>

#include "tools/common/ByteSource.h"
#include "tools/common/Nmea.h"
#include "tools/common/Pty.h"
#include "tools/common/StopSignal.h"
#include "tools/common/ToolCli.h"
#include "tools/common/ZelkoFeed.h"

namespace {

const char kTool[] = "zelko-nmea";

enum OptionId { kOutput, kPty, kTrace };

const ToolCommandLine kCommandLine = {
    kTool,
    "INPUT",
    "Decodes a Zelko module's stream with the library and writes it as NMEA 0183.",
    {
        {kOutput, "output", "FILE", "write the NMEA to FILE instead of standard output"},
        {kPty, "pty", nullptr, "write it to a new pseudo-terminal, whose path is printed first"},
        {kTrace, "trace", nullptr, "copy the library's trace lines to standard error"},
    },
    "INPUT is the serial device or pseudo-terminal the module talks on (opened raw at 115200 baud;\n"
    "zelko-sim's or zelko-sim --replay's pty), or a capture file. At every position message:\n"
    "RMC, VTG, GGA, GSA and GSV, from the library's decoded state. Positions are the module's own\n"
    "WGS 84 coordinates, taken before the offset transform the driver applies to what it hands to\n"
    "Java. Dead-reckoning positions without a GPS fix are marked estimated (mode E, GGA quality 6).\n"
    "With --pty, what a client writes (gpsd's probes) is read and dropped; give gpsd the printed\n"
    "path. Runs until INPUT ends or hangs up, or SIGINT or SIGTERM.\n",
    {
        {kExitOk, "INPUT ended or the bridge was stopped"},
        {kExitFailure, "INPUT could not be opened or read, or held no position; the output could not be written"},
    },
};

struct Options {
    std::string input, output;
    bool pty = false, trace = false;
};

// A stop that lands just before a wait is seen within this time.
const int kStopPollMs = 200;

// Where the sentences go.
struct Sink {
    FILE* file = nullptr;
    int pty = -1;

    bool Put(const std::string& text)
    {
        if (pty < 0) return std::fputs(text.c_str(), file) >= 0 && std::fflush(file) == 0;
        // Nobody on the pty, or a full line: the epoch is lost, as on a serial line.
        const ssize_t n = write(pty, text.data(), text.size());
        (void)n;
        return true;
    }
};

// Reads INPUT until its end; the pty's incoming bytes (a client's probes) are read and dropped.
long Pump(ByteSource& source, Sink& sink, ZelkoFeed& feed)
{
    bool sinkOk = true;
    const ZelkoFeed::OnPosition put = [&](const CPositionMgr& mgr) { sinkOk = sinkOk && sink.Put(NmeaEpoch(mgr)); };
    unsigned char buf[4096];
    while (!StopRequested() && sinkOk) {
        if (source.Fd() >= 0) {
            pollfd p[2] = {{source.Fd(), POLLIN, 0}, {sink.pty, POLLIN, 0}};
            if (poll(p, sink.pty >= 0 ? 2 : 1, kStopPollMs) < 0) {
                if (errno == EINTR) continue;
                return -1;
            }
            if (p[1].revents & POLLIN) {
                const ssize_t dropped = read(sink.pty, buf, sizeof buf);
                (void)dropped;
            }
            if (!(p[0].revents & (POLLIN | POLLHUP | POLLERR))) continue;
        }
        const long n = source.Read(buf, sizeof buf);
        if (n <= 0) return n;
        feed.Feed(buf, static_cast<size_t>(n), put);
    }
    return sinkOk ? 0 : -2;
}

}  // namespace

int main(int argc, char** argv)
{
    Options opt;
    const int parsed = ParseToolCommandLine(
        kCommandLine, argc, argv,
        [&](int id, const char* arg, std::string&) {
            if (id == kOutput) opt.output = arg;
            if (id == kPty) opt.pty = true;
            if (id == kTrace) opt.trace = true;
            return true;
        },
        [&](const char* operand, std::string& why) {
            why = "one INPUT only";
            if (!opt.input.empty()) return false;
            opt.input = operand;
            return true;
        });
    if (parsed >= 0) return parsed;
    if (opt.input.empty()) return ToolUsageError(kCommandLine, "no INPUT given");
    if (opt.pty && !opt.output.empty()) return ToolUsageError(kCommandLine, "--output and --pty exclude each other");

    std::signal(SIGPIPE, SIG_IGN);
    ByteSource source;
    std::string error;
    if (!source.Open(opt.input, error)) return ToolFail(kTool, error);
    Sink sink{stdout, -1};
    if (!opt.output.empty() && (sink.file = std::fopen(opt.output.c_str(), "w")) == nullptr)
        return ToolFail(kTool, "cannot create " + opt.output + ": " + std::strerror(errno));
    if (opt.pty) {
        std::string path;
        if ((sink.pty = OpenRawPty(path, error)) < 0) return ToolFail(kTool, error);
        std::printf("%s\n", path.c_str());
        std::fflush(stdout);
    }
    CatchStopSignals();

    ZelkoFeed feed(opt.trace);
    const long end = Pump(source, sink, feed);
    if (sink.file != stdout) std::fclose(sink.file);
    if (sink.pty >= 0) close(sink.pty);
    if (end == -2) return ToolFail(kTool, std::string("cannot write the NMEA output: ") + std::strerror(errno));
    if (end < 0) return ToolFail(kTool, "read error on " + opt.input + ": " + std::strerror(errno));
    if (feed.Positions() == 0 && !StopRequested()) return ToolFail(kTool, opt.input + " held no Zelko position message");
    return kExitOk;
}
