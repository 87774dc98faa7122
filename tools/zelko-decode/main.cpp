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
#include "tools/zelko-decode/MessageFields.h"
#include "tools/zelko-decode/NmeaMode.h"
#include "tools/zelko-decode/ObjectFilter.h"
#include "tools/zelko-decode/PositionRecord.h"
#include "tools/zelko-decode/StreamDecoder.h"

namespace {

const char kTool[] = "zelko-decode";
// The input held no frame the parser accepted.
const int kExitNoFrames = 3;

enum OptionId { kGpx, kNmea, kOnly, kSkip, kTrace };

const ToolCommandLine kCommandLine = {
    kTool,
    "[INPUT]",
    "Decodes a captured Zelko byte stream with the library's own parser.",
    {
        {kGpx, "gpx", "FILE", "write the decoded track as GPX"},
        {kNmea, "nmea", nullptr, "print NMEA 0183 instead (see below)"},
        {kOnly, "only", "LIST", "print only these message ids and classes (3002,3201,TPV)"},
        {kSkip, "skip", "LIST", "leave out these message ids and classes (3301,SKY)"},
        {kTrace, "trace", nullptr, "copy the library's trace lines to standard error"},
    },
    "INPUT is a capture file (timed or raw), a serial device (opened raw, 115200 baud) or - for standard input\n"
    "(the default).\n"
    "Output: one JSON object per line, its kind in \"class\" as gpsd's clients expect:\n"
    "  a message's record name (\"GpsFixMsg\" ...) for every frame accepted, with its \"id\", the\n"
    "    \"offset\" of its first byte in the input, its \"len\" as received (escapes included) and\n"
    "    its fields in degrees, metres, m/s, seconds and dB-Hz;\n"
    "  \"REFUSED\" for a frame refused (checksum, escaping) or of no known kind;\n"
    "  \"TPV\" after every position update: \"mode\" 1 no fix, 2 2-D or dead reckoning, 3 3-D;\n"
    "    \"status\" 5 dead reckoning alone, 6 satellites with dead reckoning; \"fix\" none, 2D,\n"
    "    3D or DR; UTC \"time\", \"lat\" and \"lon\" in degrees, \"alt\" in metres, \"track\" in\n"
    "    degrees, \"speed\" in m/s;\n"
    "  \"SKY\" after each epoch's satellite reports: DOPs, \"nSat\" in view, \"uSat\" used, and per\n"
    "    satellite \"PRN\", elevation \"el\" and azimuth \"az\" in degrees, \"ss\" in dB-Hz, \"used\";\n"
    "  a closing \"SUMMARY\" of the counts.\n"
    "The GPX holds every position with its fix type (GPS or DR), satellites used and DOPs.\n"
    "Refused frames and a frame cut off by the end of the input are also named on standard error\n"
    "with their byte offset. A device is read until it hangs up; SIGINT or SIGTERM ends any input\n"
    "early, and the summary and the GPX are still written.\n"
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
    ObjectFilter filter;
};

bool KnownItem(const std::string& item)
{
    return item == "TPV" || item == "SKY" || item == "REFUSED" || IsMessageIdOrKind(item);
}

}  // namespace

int main(int argc, char** argv)
{
    Options opt;
    bool haveInput = false;
    const int parsed = ParseToolCommandLine(
        kCommandLine, argc, argv,
        [&](int id, const char* arg, std::string& why) {
            if (id == kGpx) opt.gpx = arg;
            if (id == kTrace) opt.trace = true;
            if (id == kNmea) opt.nmea = true;
            if (id == kOnly) return opt.filter.Only(arg, KnownItem, why);
            if (id == kSkip) return opt.filter.Skip(arg, KnownItem, why);
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
    out.position = [&](const DecodedFix& fix) {
        if (PositionHasFix(fix.pos)) track.points.push_back(PositionGpxPoint(fix));
    };
    out.filter = opt.filter;
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
