#include "tools/zelko-mon/MonOptions.h"

#include <getopt.h>

#include <cstdlib>

const char kMonUsage[] =
    "usage: zelko-mon [options] DEVICE\n"
    "Live monitor of a Zelko GPS/DR module on DEVICE (a serial device or zelko-sim's pty),\n"
    "decoded by libgpsdr's own manager, with the module's commands at a key press.\n"
    "  --baud N      115200 (the module's rate), or 2400, 4800, 9600, 38400, 230400, 460800\n"
    "  -h, --help    this text\n"
    "  --version     the program's version\n"
    "keys: s start-up queries, 0-3 reset commands, m mount-angle calibration (asks pitch and\n"
    "      roll in degrees), q quit\n"
    "exit: 0 quit with q, 1 the device or the terminal could not be used, 2 bad command line,\n"
    "      128+N ended by signal N (130 for Ctrl-C)\n";

const char kMonVersion[] = "zelko-mon 1.0.0\n";

bool ParseMonOptions(int argc, char** argv, MonOptions& opt, std::string& error)
{
    enum { kBaud = 256, kVersion };
    static const option kLong[] = {
        {"baud", required_argument, nullptr, kBaud},
        {"help", no_argument, nullptr, 'h'},
        {"version", no_argument, nullptr, kVersion},
        {nullptr, 0, nullptr, 0},
    };
    opterr = 0;
    optind = 1;
    for (int c; (c = getopt_long(argc, argv, "h", kLong, nullptr)) != -1;) {
        char* end = nullptr;
        switch (c) {
            case 'h': opt.help = true; return true;
            case kVersion: opt.version = true; return true;
            case kBaud:
                opt.baud = std::strtoul(optarg, &end, 10);
                if (end == optarg || *end != '\0') {
                    error = std::string("--baud needs a number, not '") + optarg + "'";
                    return false;
                }
                break;
            default:
                error = std::string("unknown option '") + argv[optind - 1] + "'";
                return false;
        }
    }
    if (optind != argc - 1) {
        error = optind == argc ? "no DEVICE given" : "only one DEVICE can be watched";
        return false;
    }
    opt.device = argv[optind];
    return true;
}
