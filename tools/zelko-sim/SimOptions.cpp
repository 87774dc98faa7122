#include "tools/zelko-sim/SimOptions.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "tools/zelko-sim/SimTime.h"

namespace {

bool ParseHexByte(const std::string& two, long long& out) {
    return std::isxdigit(static_cast<unsigned char>(two[0])) && ParseToolInt(two.c_str(), 0, 255, out, 16);
}

// "A:B" into two parts; B may be missing when optional.
bool SplitPair(const char* text, std::string& a, std::string& b, bool secondOptional) {
    const char* colon = std::strchr(text, ':');
    if (!colon) {
        a = text;
        b.clear();
        return secondOptional;
    }
    a.assign(text, colon);
    b = colon + 1;
    return true;
}

bool ParseInterval(const char* text, bool lengthOptional, SimInterval& out) {
    std::string a, b;
    if (!SplitPair(text, a, b, lengthOptional)) return false;
    out.length = -1;
    if (!ParseToolReal(a.c_str(), 0, 1e9, out.start)) return false;
    return b.empty() ? lengthOptional : ParseToolReal(b.c_str(), 0, 1e9, out.length);
}

bool ParseVersion(const char* text, uint8_t version[3]) {
    long long parts[3] = {0, 0, 0};
    int n = 0;
    const char* p = text;
    while (n < 3) {
        char* end = nullptr;
        long long v = std::strtoll(p, &end, 10);
        if (end == p || v < 0 || v > 255) return false;
        parts[n++] = v;
        if (*end == '\0') break;
        if (*end != '.') return false;
        p = end + 1;
    }
    if (n < 2) return false;
    for (int i = 0; i < 3; ++i) version[i] = static_cast<uint8_t>(parts[i]);
    return true;
}

// "S:8103..." into a time and its bytes, two hexadecimal digits each.
bool ParseHostBytes(const char* text, SimHostBytes& out) {
    std::string a, hex;
    if (!SplitPair(text, a, hex, false) || !ParseToolReal(a.c_str(), 0, 1e9, out.at) || hex.empty() ||
        hex.size() % 2 != 0)
        return false;
    out.bytes.clear();
    for (size_t i = 0; i < hex.size(); i += 2) {
        long long v = 0;
        if (!ParseHexByte(hex.substr(i, 2), v)) return false;
        out.bytes.push_back(static_cast<uint8_t>(v));
    }
    return true;
}

enum OptionId {
    kDevice, kOutput, kCapture, kReplay, kSpeed, kLoop, kTruth, kRate, kDuration, kStart, kFirmware, kColdStart, kMount,
    kSats, kTunnel, kStop, kSilent, kVanish, kChunk, kNoise, kCorrupt, kSeed, kHost
};

// Applies one option; false when its argument is not acceptable.
bool Apply(int id, const char* arg, SimOptions& opt) {
    long long n = 0;
    std::string a, b;
    SimInterval span{};
    switch (id) {
        case kDevice: opt.device = arg; return true;
        case kOutput: opt.output = arg; return true;
        case kCapture:
            opt.output = arg;
            opt.capture = true;
            return true;
        case kReplay: opt.replay = arg; return true;
        case kSpeed: return ParseToolReal(arg, 0.01, 1000, opt.speed);
        case kLoop: opt.loop = true; return true;
        case kTruth: opt.truth = arg; return true;
        case kRate:
            if (!ParseToolInt(arg, 1, 10, n)) return false;
            opt.rate = static_cast<int>(n);
            return true;
        case kDuration: return ParseToolReal(arg, 0, 1e9, opt.duration);
        case kStart: return ParseUtcText(arg, opt.startMs);
        case kFirmware: return ParseVersion(arg, opt.version);
        case kColdStart: return ParseToolReal(arg, 0, 1e6, opt.coldStart);
        case kMount: {
            long long pitch = 0, roll = 0;
            if (!SplitPair(arg, a, b, false) || !ParseToolInt(a.c_str(), -89, 89, pitch) ||
                !ParseToolInt(b.c_str(), -180, 180, roll))
                return false;
            opt.mountPitch = static_cast<int>(pitch);
            opt.mountRoll = static_cast<int>(roll);
            return true;
        }
        case kSats:
            if (!ParseToolInt(arg, 0, 32, n)) return false;
            opt.sats = static_cast<int>(n);
            return true;
        case kTunnel:
        case kStop:
        case kSilent:
            if (!ParseInterval(arg, id == kSilent, span)) return false;
            (id == kTunnel ? opt.tunnels : id == kStop ? opt.stops : opt.silences).push_back(span);
            return true;
        case kVanish: return ParseToolReal(arg, 0, 1e9, opt.vanish);
        case kChunk: {
            long long lo = 0, hi = 0;
            if (!SplitPair(arg, a, b, false) || !ParseToolInt(a.c_str(), 1, 65536, lo) ||
                !ParseToolInt(b.c_str(), lo, 65536, hi))
                return false;
            opt.chunkMin = static_cast<int>(lo);
            opt.chunkMax = static_cast<int>(hi);
            return true;
        }
        case kNoise: return ParseToolReal(arg, 0, 1, opt.noise);
        case kCorrupt: return ParseToolReal(arg, 0, 1, opt.corrupt);
        case kSeed:
            if (!ParseToolInt(arg, 0, 4294967295LL, n)) return false;
            opt.seed = static_cast<uint32_t>(n);
            return true;
        case kHost: {
            SimHostBytes host;
            if (!ParseHostBytes(arg, host)) return false;
            const auto later = std::upper_bound(opt.host.begin(), opt.host.end(), host.at,
                                                [](double at, const SimHostBytes& h) { return at < h.at; });
            opt.host.insert(later, host);
            return true;
        }
        default: return false;
    }
}

}  // namespace

extern const ToolCommandLine kSimCommandLine = {
    "zelko-sim",
    "",
    "Plays a Zelko GPS/DR module on a new pseudo-terminal (printing its path), on a terminal device\n"
    "or into a capture file.",
    {
        {kDevice, "device", "PATH", "play on this terminal device instead of a new pseudo-terminal"},
        {kOutput, "output", "FILE", "write the stream to FILE as fast as possible (needs --duration)"},
        {kCapture, "capture", "FILE", "the same as a timed capture (tools/common/Capture.h), each cycle at its time"},
        {kReplay, "replay", "FILE", "play a capture at its recorded pace instead of a drive (a raw one at 115200 baud)"},
        {kSpeed, "speed", "X", "replay X times as fast as recorded, 0.01..1000 (1)"},
        {kLoop, "loop", nullptr, "replay from the start again after its end, until stopped"},
        {kTruth, "truth", "FILE", "write the played ground truth, one JSON line per cycle and per command received"},
        {kRate, "rate", "HZ", "cycles per second, 1..10 (1)"},
        {kDuration, "duration", "S", "seconds to play, 0 = until stopped (0)"},
        {kStart, "start", "YYYYMMDDhhmmss", "simulated UTC at the start (20240315093000)"},
        {kFirmware, "firmware", "M.m[.p]", "the module's application version (2.2.0)"},
        {kColdStart, "cold-start", "S", "seconds without a fix after a reset command (5)"},
        {kMount, "mount", "PITCH:ROLL", "mount angle the module starts with, degrees (0:0)"},
        {kSats, "sats", "N", "satellites in view, 0..32 (12)"},
        {kTunnel, "tunnel", "START:LEN", "GPS lost, dead reckoning only"},
        {kStop, "stop", "START:LEN", "the vehicle stands"},
        {kSilent, "silent", "START[:LEN]", "nothing at all on the wire"},
        {kVanish, "vanish", "START", "close the device and exit"},
        {kChunk, "chunk", "MIN:MAX", "write in random chunks with small gaps"},
        {kNoise, "noise", "P", "garbage between frames, probability per cycle"},
        {kCorrupt, "corrupt", "P", "wrong checksum, probability per frame"},
        {kSeed, "seed", "N", "seed of all randomness (1)"},
        {kHost, "host", "S:HEX", "the host writes these bytes at second S, as if read from the line"},
    },
    "Times are seconds of the run. The host's commands are answered on the pseudo-terminal or\n"
    "device; the log of what happened goes to standard error. SIGINT or SIGTERM end the run as\n"
    "its duration would (the truth file complete, status 0). A replay plays the capture's bytes\n"
    "only: what the host writes is read and dropped, and the scenario options do not apply.\n",
    {
        {kExitOk, "the run ended (its duration, --vanish, SIGINT or SIGTERM)"},
        {kExitFailure, "the device, output or truth file could not be opened or written, or the device is no terminal;\n"
                       "the replayed file is cut, or holds no Zelko position message"},
    },
};

int ParseOptions(int argc, char** argv, SimOptions& opt) {
    ParseUtcText("20240315093000", opt.startMs);
    const int parsed = ParseToolCommandLine(
        kSimCommandLine, argc, argv, [&](int id, const char* arg, std::string&) { return Apply(id, arg, opt); },
        [](const char*, std::string&) { return false; });
    if (parsed >= 0) return parsed;
    if (!opt.device.empty() && !opt.output.empty())
        return ToolUsageError(kSimCommandLine, "--device and --output exclude each other");
    if (!opt.replay.empty() && !opt.output.empty())
        return ToolUsageError(kSimCommandLine, "--replay plays onto a pty or --device, not into a file");
    if (opt.replay.empty() && (opt.loop || opt.speed != 1))
        return ToolUsageError(kSimCommandLine, "--speed and --loop need --replay");
    if (!opt.output.empty() && opt.duration <= 0)
        return ToolUsageError(kSimCommandLine, "--output and --capture need a --duration");
    return -1;
}

bool InAnyInterval(const std::vector<SimInterval>& list, double t) {
    for (const SimInterval& span : list) {
        if (t >= span.start && (span.length < 0 || t < span.start + span.length)) return true;
    }
    return false;
}
