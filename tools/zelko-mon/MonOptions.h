// Command line of zelko-mon.
#ifndef GPSDR_TOOLS_ZELKO_MON_MONOPTIONS_H
#define GPSDR_TOOLS_ZELKO_MON_MONOPTIONS_H

#include <string>

extern const char kMonTool[];

struct MonOptions {
    std::string device;
    unsigned long baud = 115200;
};

// -1 when the monitor should run; otherwise the status main returns at once (ToolCli.h).
int ParseMonOptions(int argc, char** argv, MonOptions& opt);

#endif
