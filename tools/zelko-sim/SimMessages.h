// The messages the module sends: what fills each kind of the message catalogue.
#ifndef GPSDR_TOOLS_ZELKO_SIM_SIMMESSAGES_H
#define GPSDR_TOOLS_ZELKO_SIM_SIMMESSAGES_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tools/zelko-sim/SimTypes.h"

// Everything a message body may be filled from; each kind reads what it needs.
struct MessageInput {
    const CycleState* cycle = nullptr;
    const ModuleState* module = nullptr;
    double now = 0;              // sim time, for the calibration progress
    size_t channel = 0;          // which satellite a channel report is about
    uint8_t ack[3] = {0, 0, 0};  // acknowledgement body
};

struct IdFrame {
    uint16_t id;
    Frame logical;  // sealed
};

// The sealed logical frame of message id (the kinds the simulator sends: the acknowledgements
// without index and of system commands, version, product, hardware, health, both fixes, time
// summary, channel report, DR sensor data and mount angle).
Frame BuildMessage(uint16_t id, const MessageInput& in);
// One cycle's frames in the order they go on the wire.
std::vector<IdFrame> CycleFrames(const CycleState& cycle, const ModuleState& module);
// Mount-angle calibration progress in percent; 100 once applied.
uint8_t MountProgress(const ModuleState& module, double now);

#endif
