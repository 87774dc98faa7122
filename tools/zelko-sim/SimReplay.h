// zelko-sim --replay: plays a recorded capture onto a pty or a device at its recorded pace.
#ifndef GPSDR_TOOLS_ZELKO_SIM_SIMREPLAY_H
#define GPSDR_TOOLS_ZELKO_SIM_SIMREPLAY_H

#include "tools/zelko-sim/SimOptions.h"

// Exit status: 0 at the end of the capture, 1 with a message when the capture cannot be read,
// holds no Zelko position or the line cannot be opened.
int Replay(const SimOptions& opt);

#endif
