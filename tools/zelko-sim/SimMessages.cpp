#include "tools/zelko-sim/SimMessages.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "tools/zelko-sim/SimFrames.h"
#include "tools/zelko-sim/SimTime.h"

namespace {

const uint32_t kProductId = 0x5A4B0007;
const char kProductName[] = "ZELKO-DR7 GNSS";
const char kHardwareName[] = "ZK7-MB REV.C";
const uint8_t kSensorFormat = 8;     // carries the tail block
const uint8_t kSensorEntries = 2;    // the two half-cycle gyro sums
const double kCalibrationPerSecond = 10;  // percent

// The DR fix and the GPS fix carry the same four fields at different places.
struct FixLayout {
    size_t lat, lon, heading, speed;
};
const FixLayout kDrFixLayout = {10, 14, 20, 22};
const FixLayout kGpsFixLayout = {9, 13, 19, 21};

void PutFix(Frame& f, const FixLayout& at, const CycleState& c) {
    PutLE(f, at.lat, static_cast<uint32_t>(c.latRaw), 4);
    PutLE(f, at.lon, static_cast<uint32_t>(c.lonRaw), 4);
    PutLE(f, at.heading, c.headingRaw, 2);
    PutLE(f, at.speed, c.speedRaw, 2);
}

// Fixed-width name field, zero padded.
void PutText(Frame& f, size_t at, size_t width, const char* text) {
    const size_t n = std::min(width, std::strlen(text));
    std::memcpy(&f[at], text, n);
}

void FillAck(const MessageInput& in, Frame& f) {
    std::copy(in.ack, in.ack + (f.size() - 5), f.begin() + 3);
}

void FillVersion(const MessageInput& in, Frame& f) {
    std::copy(in.module->version, in.module->version + 3, f.begin() + 3);
}

void FillProduct(const MessageInput&, Frame& f) {
    PutLE(f, 3, kProductId, 4);
    f[7] = 1;  // product version 2.4.1, stored patch first
    f[8] = 4;
    PutLE(f, 9, 2, 2);
    PutText(f, 11, 16, kProductName);
}

void FillHardware(const MessageInput&, Frame& f) { PutText(f, 3, 16, kHardwareName); }

// Zero body: no fault to report.
void FillHealth(const MessageInput&, Frame&) {}

void FillFixWithDR(const MessageInput& in, Frame& f) {
    const CycleState& c = *in.cycle;
    f[3] = c.status;
    f[4] = c.statusT;
    PutLE(f, 6, c.towMs, 4);
    PutFix(f, kDrFixLayout, c);
    PutLE(f, 18, static_cast<uint16_t>(c.altRaw), 2);
}

void FillGpsFix(const MessageInput& in, Frame& f) {
    const CycleState& c = *in.cycle;
    if (c.fix != FixKind::Fix3D) return;  // mode 0: no fix, no coordinates
    f[7] = 0x51;                          // fix (0x11) with the 3-D bit
    PutFix(f, kGpsFixLayout, c);
}

void FillUtc(const MessageInput& in, Frame& f) {
    const CycleState& c = *in.cycle;
    const UtcTime t = UtcFromMs(c.utcMs);
    PutLE(f, 3, static_cast<uint32_t>(t.year), 2);
    f[5] = static_cast<uint8_t>(t.month);
    f[6] = static_cast<uint8_t>(t.day);
    f[7] = static_cast<uint8_t>(t.hour);
    f[8] = static_cast<uint8_t>(t.minute);
    f[9] = static_cast<uint8_t>(t.second);
    for (int i = 0; i < 3; ++i) PutLE(f, 11 + 2 * i, c.dop[i], 2);
    f[18] = c.fixKindCode;
    f[20] = c.satsUsed;
}

void FillChannel(const MessageInput& in, Frame& f) {
    const SatState& s = in.cycle->sats[in.channel];
    f[3] = static_cast<uint8_t>(in.channel);
    f[4] = s.prn;
    f[5] = s.flags;
    f[6] = s.cn0x5;
    f[7] = s.azimuthHalf;
    f[8] = s.elevation;
}

void FillSensor(const MessageInput& in, Frame& f) {
    const CycleState& c = *in.cycle;
    f[3] = kSensorFormat;
    f[4] = 0x01;  // sensor values valid
    PutLE(f, 5, c.towMs, 4);
    PutLE(f, 19, c.gyroSamples, 4);
    f[27] = kSensorEntries;
    for (size_t i = 0; i < kSensorEntries; ++i)
        PutLE(f, 28 + 4 * i, static_cast<uint32_t>(c.gyroHalf[i]), 4);
    const size_t tail = 28 + 4 * kSensorEntries;
    const int32_t sum = c.gyroHalf[0] + c.gyroHalf[1];
    PutLE(f, tail + 20, static_cast<uint32_t>(sum), 4);
}

void FillMountAngle(const MessageInput& in, Frame& f) {
    for (size_t i = 0; i < 3; ++i) PutLE(f, 29 + 4 * i, in.module->mountBits[i], 4);
    f[72] = MountProgress(*in.module, in.now);
}

struct MessageKind {
    uint16_t id;
    uint8_t code, subcode;
    size_t length;  // logical, markers included
    void (*fill)(const MessageInput&, Frame&);
};

const MessageKind kKinds[] = {
    {1001, 0x10, 0x01, 8, FillAck},  // acknowledges a set command
    {1003, 0x10, 0x03, 7, FillAck},  // acknowledges a system command
    {1101, 0x11, 0x01, 12, FillVersion},
    {1203, 0x12, 0x03, 29, FillProduct},
    {1204, 0x12, 0x04, 21, FillHardware},
    {1601, 0x16, 0x01, 8, FillHealth},
    {3002, 0x30, 0x02, 51, FillFixWithDR},
    {3101, 0x31, 0x01, 33, FillGpsFix},
    {3201, 0x32, 0x01, 23, FillUtc},
    {3301, 0x33, 0x01, 12, FillChannel},
    {7013, 0x70, 0x13, 59 + 4 * kSensorEntries, FillSensor},
    {7060, 0x70, 0x60, 75, FillMountAngle},
};

}  // namespace

Frame BuildMessage(uint16_t id, const MessageInput& in) {
    const auto kind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                   [id](const MessageKind& k) { return k.id == id; });
    if (kind == std::end(kKinds)) std::abort();  // a kind this table lacks is a bug here
    Frame f = NewFrame(kind->code, kind->subcode, kind->length);
    kind->fill(in, f);
    SealFrame(f);
    return f;
}

std::vector<IdFrame> CycleFrames(const CycleState& cycle, const ModuleState& module) {
    MessageInput in;
    in.cycle = &cycle;
    in.module = &module;
    in.now = cycle.t;
    std::vector<IdFrame> frames;
    frames.push_back({3201, BuildMessage(3201, in)});
    for (in.channel = 0; in.channel < cycle.sats.size(); ++in.channel)
        frames.push_back({3301, BuildMessage(3301, in)});
    frames.push_back({3101, BuildMessage(3101, in)});
    frames.push_back({7013, BuildMessage(7013, in)});
    // Last, so that the position a host publishes on it carries this cycle's time and fix.
    frames.push_back({3002, BuildMessage(3002, in)});
    return frames;
}

uint8_t MountProgress(const ModuleState& module, double now) {
    if (module.mountCalStart < 0) return 100;
    const double percent = (now - module.mountCalStart) * kCalibrationPerSecond;
    return static_cast<uint8_t>(std::clamp(percent, 0.0, 100.0));
}
