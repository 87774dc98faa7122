// zelko-decode: decodes a captured Zelko byte stream (file, standard input or serial device)
// with the library's own parser and prints one JSON line per message, one per position update
// and a closing summary; optionally writes the track as GPX.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "tools/common/ByteSource.h"
#include "tools/common/GpxTrack.h"
#include "tools/common/StopSignal.h"
#include "tools/common/ToolCli.h"
#include "tools/zelko-decode/NmeaMode.h"
#include "tools/zelko-decode/PositionRecord.h"
#include "tools/zelko-decode/StreamDecoder.h"

namespace {

const char kTool[] = "zelko-decode";
// The input held no frame the parser accepted.
const int kExitNoFrames = 3;

enum OptionId { kGpx, kNmea, kTrace };

const ToolCommandLine kCommandLine = {
    kTool,
    "[INPUT]",
    "Decodes a captured Zelko byte stream with the library's own parser.",
    {
        {kGpx, "gpx", "FILE", "write the decoded track as GPX"},
        {kNmea, "nmea", nullptr, "print NMEA 0183 instead (see below)"},
        {kTrace, "trace", nullptr, "copy the library's trace lines to standard error"},
    },
    "INPUT is a capture file (timed or raw), a serial device (opened raw, 115200 baud) or - for standard input\n"
    "(the default).\n"
    "Output: one JSON object per line: \"msg\" for every frame (id 0: refused or unknown; len:\n"
    "bytes as received, escapes included), \"pos\" after every position update, and a final\n"
    "\"summary\". Refused frames and a frame cut off by the end of the input are also named on\n"
    "standard error with their byte offset. A device is read until it hangs up; SIGINT or SIGTERM\n"
    "ends any input early, and the summary and the GPX are still written.\n"
    "With --nmea: RMC, VTG, GGA, GSA and GSV at every position, from the library's decoded state;\n"
    "positions are the module's own WGS 84 coordinates, before the offset transform.\n",
    {
        {kExitOk, "the input held frames the parser accepted"},
        {kExitFailure, "the input could not be opened or read, or the GPX could not be written"},
        {kExitNoFrames, "the input held no frame the parser accepted (empty, or not a Zelko stream);\n"
                        "with --nmea, no position message"},
    },
};

struct Options {
    std::string input = "-";
    std::string gpx;
    bool trace = false;
    bool nmea = false;
};

}  // namespace

int main(int argc, char** argv)
{
    Options opt;
    bool haveInput = false;
    const int parsed = ParseToolCommandLine(
        kCommandLine, argc, argv,
        [&](int id, const char* arg, std::string&) {
            if (id == kGpx) opt.gpx = arg;
            if (id == kTrace) opt.trace = true;
            if (id == kNmea) opt.nmea = true;
            return true;
        },
        [&](const char* operand, std::string& why) {
            why = "one INPUT at most";
            if (haveInput) return false;
            opt.input = operand;
            return haveInput = true;
        });
    if (parsed >= 0) return parsed;
    if (opt.nmea && !opt.gpx.empty()) return ToolUsageError(kCommandLine, "--gpx and --nmea exclude each other");

    ByteSource source;
    std::string error;
    if (!source.Open(opt.input, error)) return ToolFail(kTool, error);
    CatchStopSignals();
    if (opt.nmea) {
        const long positions = PrintNmea(source, opt.trace);
        if (positions < 0) return ToolFail(kTool, "read error on " + opt.input + ": " + std::strerror(errno));
        if (positions == 0) return ToolFail(kTool, "no Zelko position message in " + opt.input, kExitNoFrames);
        return kExitOk;
    }

    GpxTrack track{kTool, {}};
    StreamDecoder::Output out;
    out.line = [](const std::string& line) { std::printf("%s\n", line.c_str()); };
    out.position = [&](const _mGpsDataEx& pos) {
        std::printf("%s\n", PositionJson(pos).c_str());
        if (PositionHasFix(pos)) track.points.push_back(PositionGpxPoint(pos));
    };
    out.note = [](const std::string& text) { ToolFail(kTool, text); };
    StreamDecoder decoder(out, opt.trace);

    unsigned char buf[4096];
    long n;
    while ((n = source.Read(buf, sizeof buf)) > 0) decoder.Feed(buf, static_cast<size_t>(n));
    if (n < 0) ToolFail(kTool, "read error on " + opt.input + ": " + std::strerror(errno));
    if (StopRequested()) ToolFail(kTool, std::string("stopped by ") + StopSignalName());
    decoder.Finish();
    std::printf("%s\n", decoder.SummaryJson().c_str());
    std::fflush(stdout);

    if (!opt.gpx.empty() && !WriteGpx(opt.gpx, kTool, {track})) return ToolFail(kTool, "cannot write " + opt.gpx);
    if (n < 0) return kExitFailure;
    if (decoder.Counts().messages == 0) {
        const std::string what = opt.input == "-" ? "standard input" : opt.input;
        return ToolFail(kTool, "no Zelko frame in " + what + " (" + std::to_string(decoder.Counts().bytes) + " bytes)",
                        kExitNoFrames);
    }
    return kExitOk;
}
