// zelko-record: records what a serial device or pty sends, with the arrival time of every chunk,
// as a timed capture that zelko-sim --replay plays back and zelko-decode reads.
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>

#include "tools/common/ByteSource.h"
#include "tools/common/Capture.h"
#include "tools/common/StopSignal.h"
#include "tools/common/ToolCli.h"

namespace {

const char kTool[] = "zelko-record";

const ToolCommandLine kCommandLine = {
    kTool,
    "DEVICE FILE",
    "Records what a serial device or pseudo-terminal sends into a timed capture.",
    {},
    "DEVICE is opened raw at 115200 baud. FILE gets the header line \"ZELKOCAP 1\", then for each\n"
    "chunk as it was read its arrival time (microseconds since the first, 64-bit), its length\n"
    "(32-bit, both little-endian) and its bytes; tools/common/Capture.h describes the format.\n"
    "Recording ends when DEVICE hangs up, or on SIGINT (Ctrl-C) or SIGTERM; every chunk read\n"
    "until then is on disk.\n",
    {
        {kExitOk, "the recording ended (hang-up, SIGINT or SIGTERM)"},
        {kExitFailure, "DEVICE is missing or no terminal, or could not be read; FILE could not be written"},
    },
};

}  // namespace

int main(int argc, char** argv)
{
    std::string operands[2];
    int given = 0;
    const int parsed = ParseToolCommandLine(
        kCommandLine, argc, argv, [](int, const char*, std::string&) { return false; },
        [&](const char* operand, std::string& why) {
            why = "a DEVICE and a FILE only";
            if (given == 2) return false;
            operands[given++] = operand;
            return true;
        });
    if (parsed >= 0) return parsed;
    if (given < 2) return ToolUsageError(kCommandLine, "needs a DEVICE and a FILE");
    const std::string &device = operands[0], &file = operands[1];

    // Checked before FILE is made, so that a wrong DEVICE leaves nothing behind.
    struct stat st;
    if (stat(device.c_str(), &st) != 0) return ToolFail(kTool, "cannot open " + device + ": " + std::strerror(errno));
    if (!S_ISCHR(st.st_mode)) return ToolFail(kTool, device + " is not a serial device or pseudo-terminal");
    ByteSource source;
    CaptureWriter out;
    std::string error;
    if (!source.Open(device, error) || !out.Open(file, error)) return ToolFail(kTool, error);
    CatchStopSignals();

    using Clock = std::chrono::steady_clock;
    Clock::time_point first;
    unsigned char buf[4096];
    long n;
    for (bool started = false; (n = source.Read(buf, sizeof buf)) > 0;) {
        const Clock::time_point now = Clock::now();
        if (!started) first = now, started = true;
        const auto us = std::chrono::duration_cast<std::chrono::microseconds>(now - first).count();
        if (!out.Write(static_cast<uint64_t>(us), buf, static_cast<size_t>(n)))
            return ToolFail(kTool, "cannot write " + file + ": " + std::strerror(errno));
    }
    if (n < 0) return ToolFail(kTool, "read error on " + device + ": " + std::strerror(errno));
    return kExitOk;
}
