// zelko-decode: decodes a captured Zelko byte stream (file, standard input or serial device)
// with the library's own parser and prints one JSON line per message, one per position update
// and a closing summary; optionally writes the track as GPX.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tools/common/GpxTrack.h"
#include "tools/zelko-decode/ByteSource.h"
#include "tools/zelko-decode/PositionRecord.h"
#include "tools/zelko-decode/StreamDecoder.h"

namespace {

const char kUsage[] =
    "usage: zelko-decode [--gpx FILE] [--trace] [INPUT]\n"
    "  INPUT        capture file, serial device (opened raw, 115200 baud) or - for standard\n"
    "               input (the default)\n"
    "  --gpx FILE   write the decoded track as GPX\n"
    "  --trace      copy the library's trace lines to standard error\n"
    "Output: one JSON object per line: \"msg\" for every frame (id 0: refused or unknown; len:\n"
    "bytes as received, escapes included), \"pos\" after every position update, and a final\n"
    "\"summary\". A device is read until it hangs up or SIGINT.\n";

struct Options {
    std::string input = "-";
    std::string gpx;
    bool trace = false;
};

bool ParseArgs(int argc, char** argv, Options& opt)
{
    bool haveInput = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--gpx" && i + 1 < argc) {
            opt.gpx = argv[++i];
        } else if (arg == "--trace") {
            opt.trace = true;
        } else if ((arg == "-" || arg[0] != '-') && !haveInput) {
            opt.input = arg;
            haveInput = true;
        } else {
            return false;
        }
    }
    return true;
}

// Reading stops at the next interruption so that the summary and the GPX are still written.
void OnStopSignal(int) {}

void InstallStopSignals()
{
    struct sigaction sa {};
    sa.sa_handler = OnStopSignal;  // no SA_RESTART: the blocked read returns
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
}

}  // namespace

int main(int argc, char** argv)
{
    Options opt;
    if (!ParseArgs(argc, argv, opt)) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    ByteSource source;
    std::string error;
    if (!source.Open(opt.input, error)) {
        std::fprintf(stderr, "zelko-decode: %s\n", error.c_str());
        return 1;
    }
    InstallStopSignals();

    GpxTrack track{"zelko-decode", {}};
    StreamDecoder::Output out;
    out.line = [](const std::string& line) { std::printf("%s\n", line.c_str()); };
    out.position = [&](const _mGpsDataEx& pos) {
        std::printf("%s\n", PositionJson(pos).c_str());
        if (PositionHasFix(pos)) track.points.push_back(PositionGpxPoint(pos));
    };
    StreamDecoder decoder(out, opt.trace);

    unsigned char buf[4096];
    long n;
    while ((n = source.Read(buf, sizeof buf)) > 0) decoder.Feed(buf, static_cast<size_t>(n));
    if (n < 0) std::fprintf(stderr, "zelko-decode: read error on %s: %s\n", opt.input.c_str(), std::strerror(errno));
    std::printf("%s\n", decoder.SummaryJson().c_str());
    std::fflush(stdout);

    if (!opt.gpx.empty() && !WriteGpx(opt.gpx, "zelko-decode", {track})) {
        std::fprintf(stderr, "zelko-decode: cannot write %s\n", opt.gpx.c_str());
        return 1;
    }
    return n < 0 ? 1 : 0;
}
