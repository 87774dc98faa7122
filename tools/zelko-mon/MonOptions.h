// Command line of zelko-mon.
#ifndef GPSDR_TOOLS_ZELKO_MON_MONOPTIONS_H
#define GPSDR_TOOLS_ZELKO_MON_MONOPTIONS_H

#include <string>

extern const char kMonUsage[];
extern const char kMonVersion[];

// Exit codes, as --help documents them.
enum MonExit { kExitQuit = 0, kExitFailed = 1, kExitUsage = 2, kExitSignalBase = 128 };

struct MonOptions {
    std::string device;
    unsigned long baud = 115200;
    bool help = false;
    bool version = false;
};

// False with the reason in error.
bool ParseMonOptions(int argc, char** argv, MonOptions& opt, std::string& error);

#endif
