#include "tools/zelko-sim/SimOptions.h"

#include <getopt.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "tools/zelko-sim/SimTime.h"

const char kSimUsage[] =
    "usage: zelko-sim [options]\n"
    "  --device PATH        play on an existing device instead of a new pseudo-terminal\n"
    "  --output FILE        write the stream to FILE as fast as possible (needs --duration)\n"
    "  --truth FILE         write the played ground truth, one JSON line per cycle\n"
    "  --rate HZ            cycles per second, 1..10 (1)\n"
    "  --duration S         seconds to play, 0 = until killed (0)\n"
    "  --start YYYYMMDDhhmmss  simulated UTC at the start (20240315093000)\n"
    "  --version M.m[.p]    module application version (2.2.0)\n"
    "  --cold-start S       seconds without a fix after a reset command (5)\n"
    "  --mount PITCH:ROLL   mount angle the module starts with, degrees (0:0)\n"
    "  --sats N             satellites in view, 0..32 (12)\n"
    "  --tunnel START:LEN   GPS lost, dead reckoning only\n"
    "  --stop START:LEN     the vehicle stands\n"
    "  --silent START[:LEN] nothing at all on the wire\n"
    "  --vanish START       close the device and exit\n"
    "  --chunk MIN:MAX      write in random chunks with small gaps\n"
    "  --noise P            garbage between frames, probability per cycle\n"
    "  --corrupt P          wrong checksum, probability per frame\n"
    "  --seed N             seed of all randomness (1)\n"
    "  --host S:HEX         the host writes these bytes at second S, as if read from the line\n";

namespace {

bool ParseDouble(const char* text, double lo, double hi, double& out) {
    char* end = nullptr;
    double v = std::strtod(text, &end);
    if (end == text || *end != '\0' || !(v >= lo && v <= hi)) return false;
    out = v;
    return true;
}

bool ParseInt(const char* text, long long lo, long long hi, long long& out, int base = 10) {
    char* end = nullptr;
    long long v = std::strtoll(text, &end, base);
    if (end == text || *end != '\0' || v < lo || v > hi) return false;
    out = v;
    return true;
}

bool ParseHexByte(const std::string& two, long long& out) {
    return std::isxdigit(static_cast<unsigned char>(two[0])) && ParseInt(two.c_str(), 0, 255, out, 16);
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
    if (!ParseDouble(a.c_str(), 0, 1e9, out.start)) return false;
    return b.empty() ? lengthOptional : ParseDouble(b.c_str(), 0, 1e9, out.length);
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
    if (!SplitPair(text, a, hex, false) || !ParseDouble(a.c_str(), 0, 1e9, out.at) || hex.empty() ||
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
    kDevice = 256, kOutput, kTruth, kRate, kDuration, kStart, kVersion, kColdStart, kMount,
    kSats, kTunnel, kStop, kSilent, kVanish, kChunk, kNoise, kCorrupt, kSeed, kHost, kHelp
};

const option kLongOptions[] = {
    {"device", required_argument, nullptr, kDevice},
    {"output", required_argument, nullptr, kOutput},
    {"truth", required_argument, nullptr, kTruth},
    {"rate", required_argument, nullptr, kRate},
    {"duration", required_argument, nullptr, kDuration},
    {"start", required_argument, nullptr, kStart},
    {"version", required_argument, nullptr, kVersion},
    {"cold-start", required_argument, nullptr, kColdStart},
    {"mount", required_argument, nullptr, kMount},
    {"sats", required_argument, nullptr, kSats},
    {"tunnel", required_argument, nullptr, kTunnel},
    {"stop", required_argument, nullptr, kStop},
    {"silent", required_argument, nullptr, kSilent},
    {"vanish", required_argument, nullptr, kVanish},
    {"chunk", required_argument, nullptr, kChunk},
    {"noise", required_argument, nullptr, kNoise},
    {"corrupt", required_argument, nullptr, kCorrupt},
    {"seed", required_argument, nullptr, kSeed},
    {"host", required_argument, nullptr, kHost},
    {"help", no_argument, nullptr, kHelp},
    {nullptr, 0, nullptr, 0},
};

// Applies one option; false when its argument is not acceptable.
bool Apply(int id, const char* arg, SimOptions& opt) {
    long long n = 0;
    std::string a, b;
    SimInterval span{};
    switch (id) {
        case kDevice: opt.device = arg; return true;
        case kOutput: opt.output = arg; return true;
        case kTruth: opt.truth = arg; return true;
        case kRate:
            if (!ParseInt(arg, 1, 10, n)) return false;
            opt.rate = static_cast<int>(n);
            return true;
        case kDuration: return ParseDouble(arg, 0, 1e9, opt.duration);
        case kStart: return ParseUtcText(arg, opt.startMs);
        case kVersion: return ParseVersion(arg, opt.version);
        case kColdStart: return ParseDouble(arg, 0, 1e6, opt.coldStart);
        case kMount: {
            long long pitch = 0, roll = 0;
            if (!SplitPair(arg, a, b, false) || !ParseInt(a.c_str(), -89, 89, pitch) ||
                !ParseInt(b.c_str(), -180, 180, roll))
                return false;
            opt.mountPitch = static_cast<int>(pitch);
            opt.mountRoll = static_cast<int>(roll);
            return true;
        }
        case kSats:
            if (!ParseInt(arg, 0, 32, n)) return false;
            opt.sats = static_cast<int>(n);
            return true;
        case kTunnel:
        case kStop:
        case kSilent:
            if (!ParseInterval(arg, id == kSilent, span)) return false;
            (id == kTunnel ? opt.tunnels : id == kStop ? opt.stops : opt.silences).push_back(span);
            return true;
        case kVanish: return ParseDouble(arg, 0, 1e9, opt.vanish);
        case kChunk: {
            long long lo = 0, hi = 0;
            if (!SplitPair(arg, a, b, false) || !ParseInt(a.c_str(), 1, 65536, lo) ||
                !ParseInt(b.c_str(), lo, 65536, hi))
                return false;
            opt.chunkMin = static_cast<int>(lo);
            opt.chunkMax = static_cast<int>(hi);
            return true;
        }
        case kNoise: return ParseDouble(arg, 0, 1, opt.noise);
        case kCorrupt: return ParseDouble(arg, 0, 1, opt.corrupt);
        case kSeed:
            if (!ParseInt(arg, 0, 4294967295LL, n)) return false;
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

bool ParseOptions(int argc, char** argv, SimOptions& opt, std::string& error) {
    ParseUtcText("20240315093000", opt.startMs);
    optind = 1;
    opterr = 0;
    for (;;) {
        int index = 0;
        int id = getopt_long(argc, argv, "", kLongOptions, &index);
        if (id == -1) break;
        if (id == kHelp) {
            error = kSimUsage;
            return false;
        }
        if (id == '?' || id == ':') {
            error = std::string("unknown option or missing argument: ") + argv[optind - 1];
            return false;
        }
        if (!Apply(id, optarg, opt)) {
            error = std::string("bad value for --") + kLongOptions[index].name + ": " + optarg;
            return false;
        }
    }
    if (optind < argc) {
        error = std::string("unexpected argument: ") + argv[optind];
        return false;
    }
    if (!opt.device.empty() && !opt.output.empty()) {
        error = "--device and --output exclude each other";
        return false;
    }
    if (!opt.output.empty() && opt.duration <= 0) {
        error = "--output needs a --duration";
        return false;
    }
    return true;
}

bool InAnyInterval(const std::vector<SimInterval>& list, double t) {
    for (const SimInterval& span : list) {
        if (t >= span.start && (span.length < 0 || t < span.start + span.length)) return true;
    }
    return false;
}
