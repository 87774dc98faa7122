#include "tools/zelko-sim/SimMessages.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "tools/common/ZelkoFrameWriter.h"
#include "tools/zelko-sim/SimTime.h"

namespace {

const uint32_t kProductId = 0x5A4B0007;
const char kProductName[] = "ZELKO-DR7 GNSS";
const char kHardwareName[] = "ZK7-MB REV.C";
const double kCalibrationPerSecond = 10;  // percent
const uint8_t kSensorValid = 0x01;        // flag bit 0
const uint8_t kAckSet = 0x01, kAckSystem = 0x03;  // acknowledgement subcode: the command class

using Entries = std::vector<uint32_t>;

void FillAckNoIdx(const MessageInput& in, ZelkoBytes& r, Entries&) {
    using namespace ZelkoAckNoIdx;
    for (const ZelkoValue& v : {ZelkoValue{&kCode, in.ack[0]}, ZelkoValue{&kSubcode, in.ack[1]},
                                ZelkoValue{&kState, in.ack[2]}})
        ZelkoSetField(r, v);
}

void FillSysCmdAck(const MessageInput& in, ZelkoBytes& r, Entries&) {
    ZelkoSetField(r, {&ZelkoSysCmdAck::kCommand, in.ack[0]});
    ZelkoSetField(r, {&ZelkoSysCmdAck::kState, in.ack[1]});
}

void FillVersion(const MessageInput& in, ZelkoBytes& r, Entries&) {
    using namespace ZelkoVersion;
    for (const ZelkoValue& v : {ZelkoValue{&kMajor, in.module->version[0]}, ZelkoValue{&kMinor, in.module->version[1]},
                                ZelkoValue{&kPatch, in.module->version[2]}})
        ZelkoSetField(r, v);
}

void FillProduct(const MessageInput&, ZelkoBytes& r, Entries&) {
    using namespace ZelkoProduct;
    // Product version 2.4.1, stored patch first.
    for (const ZelkoValue& v : {ZelkoValue{&kSerial, kProductId}, ZelkoValue{&kVersion1, 1}, ZelkoValue{&kVersion2, 4},
                                ZelkoValue{&kVersion3, 2}, ZelkoValue{&kName, 0, kProductName}})
        ZelkoSetField(r, v);
}

void FillHardware(const MessageInput&, ZelkoBytes& r, Entries&) {
    ZelkoSetField(r, {&ZelkoHardware::kName, 0, kHardwareName});
}

// Zero body: no fault to report.
void FillHealth(const MessageInput&, ZelkoBytes&, Entries&) {}

void FillFixWithDR(const MessageInput& in, ZelkoBytes& r, Entries&) {
    using namespace ZelkoFixWithRawDR;
    const CycleState& c = *in.cycle;
    for (const ZelkoValue& v : {ZelkoValue{&kStatus, c.status}, ZelkoValue{&kStatus2, c.statusT},
                                ZelkoValue{&kDRTime, c.towMs}, ZelkoValue{&kLat, c.latRaw}, ZelkoValue{&kLon, c.lonRaw},
                                ZelkoValue{&kAlt, c.altRaw}, ZelkoValue{&kHeading, c.headingRaw},
                                ZelkoValue{&kSpeed, c.speedRaw}})
        ZelkoSetField(r, v);
}

void FillGpsFix(const MessageInput& in, ZelkoBytes& r, Entries&) {
    using namespace ZelkoGpsFix;
    const CycleState& c = *in.cycle;
    if (c.fix != FixKind::Fix3D) return;  // mode 0: no fix, no coordinates
    // Mode: fix (0x11) with the 3-D bit.
    for (const ZelkoValue& v : {ZelkoValue{&kMode, 0x51}, ZelkoValue{&kLat, c.latRaw}, ZelkoValue{&kLon, c.lonRaw},
                                ZelkoValue{&kHeading, c.headingRaw}, ZelkoValue{&kSpeed, c.speedRaw}})
        ZelkoSetField(r, v);
}

void FillUtc(const MessageInput& in, ZelkoBytes& r, Entries&) {
    using namespace ZelkoUtcConstel;
    const CycleState& c = *in.cycle;
    const UtcTime t = UtcFromMs(c.utcMs);
    for (const ZelkoValue& v : {ZelkoValue{&kYear, t.year}, ZelkoValue{&kMonth, t.month}, ZelkoValue{&kDay, t.day},
                                ZelkoValue{&kHour, t.hour}, ZelkoValue{&kMinute, t.minute},
                                ZelkoValue{&kSecond, t.second}, ZelkoValue{&kDop1, c.dop[0]},
                                ZelkoValue{&kDop2, c.dop[1]}, ZelkoValue{&kDop3, c.dop[2]},
                                ZelkoValue{&kFixKind, c.fixKindCode}, ZelkoValue{&kSatsUsed, c.satsUsed}})
        ZelkoSetField(r, v);
}

void FillChannel(const MessageInput& in, ZelkoBytes& r, Entries&) {
    using namespace ZelkoChannelMeas;
    const SatState& s = in.cycle->sats[in.channel];
    for (const ZelkoValue& v : {ZelkoValue{&kChannel, static_cast<int64_t>(in.channel)}, ZelkoValue{&kSat, s.prn},
                                ZelkoValue{&kState, s.flags}, ZelkoValue{&kSnr, s.cn0x5},
                                ZelkoValue{&kAzimuth, s.azimuthHalf}, ZelkoValue{&kElevation, s.elevation}})
        ZelkoSetField(r, v);
}

// The two half-cycle gyro sums go as the frame's entries, their total in the tail block.
void FillSensor(const MessageInput& in, ZelkoBytes& r, Entries& entries) {
    using namespace ZelkoDRSensor;
    const CycleState& c = *in.cycle;
    for (const ZelkoValue& v : {ZelkoValue{&kFlags, kSensorValid}, ZelkoValue{&kSensorTime, c.towMs},
                                ZelkoValue{&kSamples, c.gyroSamples},
                                ZelkoValue{&kGyroSum, c.gyroHalf[0] + c.gyroHalf[1]}})
        ZelkoSetField(r, v);
    entries = {static_cast<uint32_t>(c.gyroHalf[0]), static_cast<uint32_t>(c.gyroHalf[1])};
}

void FillMountAngle(const MessageInput& in, ZelkoBytes& r, Entries&) {
    using namespace ZelkoMountAngle;
    for (const ZelkoValue& v : {ZelkoValue{&kPitch, in.module->mountBits[0]}, ZelkoValue{&kRoll, in.module->mountBits[1]},
                                ZelkoValue{&kGravityZ, in.module->mountBits[2]},
                                ZelkoValue{&kProgress, MountProgress(*in.module, in.now)}})
        ZelkoSetField(r, v);
}

struct MessageFill {
    int id;
    uint8_t subcode;  // 0: the kind's own
    void (*fill)(const MessageInput&, ZelkoBytes& record, Entries& entries);
};

const MessageFill kFills[] = {
    {ZELKO_ID_ACK_NO_IDX, kAckSet, FillAckNoIdx},
    {ZELKO_ID_SYS_CMD_ACK, kAckSystem, FillSysCmdAck},
    {ZELKO_ID_APP_VERSION, 0, FillVersion},
    {ZELKO_ID_PRODUCT, 0, FillProduct},
    {ZELKO_ID_HARDWARE, 0, FillHardware},
    {ZELKO_ID_HEALTH, 0, FillHealth},
    {ZELKO_ID_FIX_WITH_RAW_DR, 0, FillFixWithDR},
    {ZELKO_ID_GPS_FIX, 0, FillGpsFix},
    {ZELKO_ID_UTC_CONSTEL, 0, FillUtc},
    {ZELKO_ID_CHANNEL_MEAS, 0, FillChannel},
    {ZELKO_ID_DR_SENSOR, 0, FillSensor},
    {ZELKO_ID_MOUNT_ANGLE, 0, FillMountAngle},
};

}  // namespace

Frame BuildMessage(uint16_t id, const MessageInput& in) {
    const auto fill = std::find_if(std::begin(kFills), std::end(kFills),
                                   [id](const MessageFill& f) { return f.id == id; });
    const ZelkoKind* kind = ZelkoKindById(id);
    if (fill == std::end(kFills) || kind == nullptr) std::abort();  // a kind this table lacks is a bug here
    ZelkoBytes record = ZelkoRecordImage(*kind, {}, fill->subcode);
    Entries entries;
    fill->fill(in, record, entries);
    return ZelkoLogicalFrame(*kind, record, entries);
}

std::vector<IdFrame> CycleFrames(const CycleState& cycle, const ModuleState& module) {
    MessageInput in;
    in.cycle = &cycle;
    in.module = &module;
    in.now = cycle.t;
    std::vector<IdFrame> frames;
    frames.push_back({ZELKO_ID_UTC_CONSTEL, BuildMessage(ZELKO_ID_UTC_CONSTEL, in)});
    for (in.channel = 0; in.channel < cycle.sats.size(); ++in.channel)
        frames.push_back({ZELKO_ID_CHANNEL_MEAS, BuildMessage(ZELKO_ID_CHANNEL_MEAS, in)});
    frames.push_back({ZELKO_ID_GPS_FIX, BuildMessage(ZELKO_ID_GPS_FIX, in)});
    frames.push_back({ZELKO_ID_DR_SENSOR, BuildMessage(ZELKO_ID_DR_SENSOR, in)});
    // Last, so that the position a host publishes on it carries this cycle's time and fix.
    frames.push_back({ZELKO_ID_FIX_WITH_RAW_DR, BuildMessage(ZELKO_ID_FIX_WITH_RAW_DR, in)});
    return frames;
}

uint8_t MountProgress(const ModuleState& module, double now) {
    if (module.mountCalStart < 0) return 100;
    const double percent = (now - module.mountCalStart) * kCalibrationPerSecond;
    return static_cast<uint8_t>(std::clamp(percent, 0.0, 100.0));
}
