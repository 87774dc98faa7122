// Where the stream goes: a new pseudo-terminal, an existing device, or a file.
#ifndef GPSDR_TOOLS_ZELKO_SIM_SIMLINK_H
#define GPSDR_TOOLS_ZELKO_SIM_SIMLINK_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "tools/common/Capture.h"
#include "tools/zelko-sim/SimOptions.h"
#include "tools/zelko-sim/SimRandom.h"
#include "tools/zelko-sim/SimTypes.h"

enum class LinkKind { Pty, Device, File };

struct Link {
    LinkKind kind = LinkKind::Pty;
    int fd = -1;
    std::string path;  // what the host opens (pty slave, device) or the output file
    CaptureWriter capture;  // a file written as a timed capture
    bool timed = false;
};

bool OpenLink(const SimOptions& opt, Link& link, std::string& error);
void CloseLink(Link& link);

struct ChunkPlan {
    int min = 0, max = 0;  // 0: one write
    double gapBudget = 0;  // seconds all gaps of one write may take together
};

// Writes bytes, sent at sim time `at`. A file gets them all; a serial line drops what does not
// fit, as a line without a listener would. False only when a file write fails.
bool LinkWrite(Link& link, const Frame& bytes, const ChunkPlan& plan, SimRandom& random, double at);
// Waits up to waitSeconds for bytes from the host; returns how many were read into buf.
size_t LinkRead(Link& link, uint8_t* buf, size_t cap, double waitSeconds);

double MonotonicSeconds();
void SleepSeconds(double seconds);

#endif
