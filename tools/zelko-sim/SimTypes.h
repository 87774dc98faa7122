// Plain records shared by the simulator's parts: what the vehicle did in one cycle, what the
// module reported for it, and the module state that host commands change.
#ifndef GPSDR_TOOLS_ZELKO_SIM_SIMTYPES_H
#define GPSDR_TOOLS_ZELKO_SIM_SIMTYPES_H

#include <cstddef>
#include <cstdint>
#include <vector>

using Frame = std::vector<uint8_t>;

enum class FixKind { None, DeadReckoning, Fix3D };

// One channel of the constellation report.
struct SatState {
    uint8_t prn;
    uint8_t elevation;    // degrees
    uint8_t azimuthHalf;  // azimuth / 2
    uint8_t cn0x5;        // C/N0 in 0.2 dB-Hz, 0 when not tracked
    uint8_t flags;        // bit 0 tracked, bit 2 used in the solution
};

struct CycleState {
    uint32_t index = 0;
    double t = 0;          // seconds since the start of the run
    int64_t utcMs = 0;     // simulated UTC, milliseconds since 1970
    uint32_t towMs = 0;    // GPS time of week

    // Ground truth.
    double lon = 0, lat = 0;  // degrees
    double heading = 0;       // degrees clockwise from north
    double speed = 0;         // m/s
    double altitude = 0;      // metres

    // What the module reports for it.
    int32_t lonRaw = 0, latRaw = 0;  // 2^31 = 180 degrees
    uint16_t headingRaw = 0;         // 180/32768 degree
    uint16_t speedRaw = 0;           // cm/s
    int16_t altRaw = 0;              // metres
    FixKind fix = FixKind::None;
    uint8_t status = 0;      // status byte S of the DR fix
    uint8_t statusT = 0;     // byte T of the DR fix
    uint8_t fixKindCode = 0; // constellation summary fix kind
    uint8_t satsUsed = 0;
    uint16_t dop[3] = {0, 0, 0};  // PDOP, HDOP, VDOP in 1/256
    std::vector<SatState> sats;

    // Gyro over the cycle: samples and the two half sums (counter-clockwise positive).
    uint32_t gyroSamples = 0;
    int32_t gyroHalf[2] = {0, 0};

    bool silent = false;  // nothing goes on the wire this cycle
};

struct ModuleState {
    uint8_t version[3] = {2, 2, 0};
    uint32_t mountBits[3] = {0, 0, 0};  // gravity direction floats, bit patterns as set
    double mountCalStart = -1;          // sim time a recalibration began; < 0: none running
    double coldStartSeconds = 5;
    double coldUntil = -1;              // sim time the cold start after a reset ends
};

// Modules from 2.2 on have the mount-angle calibration.
inline bool HasMountAngle(const ModuleState& m) {
    return m.version[0] > 2 || (m.version[0] == 2 && m.version[1] >= 2);
}

#endif
