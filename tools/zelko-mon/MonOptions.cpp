#include "tools/zelko-mon/MonOptions.h"

#include "tools/common/ToolCli.h"

const char kMonTool[] = "zelko-mon";

namespace {

enum OptionId { kBaud };

const ToolCommandLine kMonCommandLine = {
    kMonTool,
    "DEVICE",
    "Live monitor of a Zelko GPS/DR module on DEVICE (a serial device or zelko-sim's pseudo-terminal),\n"
    "decoded by the library's own manager, with the module's commands at a key press.",
    {
        {kBaud, "baud", "N", "2400, 4800, 9600, 38400, 115200, 230400 or 460800 (115200, the module's rate)"},
    },
    "Keys: s start-up queries; 0, 1, 2, 3 the module's reset commands; m mount-angle calibration\n"
    "(asks for pitch and roll in whole degrees; Enter sends, Esc cancels); q quits. SIGINT and\n"
    "SIGTERM end the monitor as q does. A device that goes away is shown as the port's state.\n",
    {
        {kExitOk, "the monitor was ended (q, SIGINT or SIGTERM)"},
        {kExitFailure, "the device could not be opened at that rate, or the terminal could not be used"},
    },
};

}  // namespace

int ParseMonOptions(int argc, char** argv, MonOptions& opt)
{
    const int parsed = ParseToolCommandLine(
        kMonCommandLine, argc, argv,
        [&](int, const char* arg, std::string&) {
            long long baud = 0;
            if (!ParseToolInt(arg, 1, 4000000, baud)) return false;
            opt.baud = static_cast<unsigned long>(baud);
            return true;
        },
        [&](const char* operand, std::string& why) {
            why = "only one DEVICE is watched";
            if (!opt.device.empty()) return false;
            opt.device = operand;
            return true;
        });
    if (parsed >= 0) return parsed;
    return opt.device.empty() ? ToolUsageError(kMonCommandLine, "no DEVICE given") : -1;
}
