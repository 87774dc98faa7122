// What the demo prints: a header naming each column with its unit, then one line per
// sendGISInfo call as Java received it, beside the simulator's truth for that moment.
#ifndef GPSDR_TOOLS_GPSDR_DEMO_CALLTABLE_H
#define GPSDR_TOOLS_GPSDR_DEMO_CALLTABLE_H

#include <string>
#include <vector>

#include "tools/common/GisCall.h"
#include "tools/common/TruthCycles.h"

// The library names the thread that calls Java.
extern const char kUpdateThread[];

// One call and the truth cycle it matches (-1: it carries no time or no position).
struct DemoCall {
    GisCall call;
    int cycle = -1;
    double metres = 0;  // to that cycle's truth passed through the offset transform
};

bool HasPosition(const GisCall& c);
// "YYYY-MM-DDThh:mm:ssZ" of Java's time text; empty for the zero text.
std::string IsoTime(const std::string& gisTime);

// Matches the call against the truth read so far.
DemoCall MatchCall(const GisCall& call, const std::vector<TruthCycle>& truth);

std::string TableHeader();
std::string TableLine(const DemoCall& d, const std::vector<TruthCycle>& truth);

#endif
