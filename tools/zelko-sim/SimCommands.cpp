#include "tools/zelko-sim/SimCommands.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "tools/common/Format.h"
#include "tools/common/ZelkoFrameWriter.h"

namespace {

const double kPi = 3.141592653589793;
const uint8_t kClassSet = 0x01, kClassQuery = 0x02, kClassSystem = 0x03;
const uint8_t kStateAccepted = 0, kStateRejected = 1;

struct QueryReply {
    uint8_t code, subcode;
    uint16_t reply;
    bool needsMountAngle;
};
const QueryReply kQueries[] = {
    {0x11, 0x01, ZELKO_ID_APP_VERSION, false}, {0x12, 0x03, ZELKO_ID_PRODUCT, false},
    {0x12, 0x04, ZELKO_ID_HARDWARE, false},    {0x16, 0x01, ZELKO_ID_HEALTH, false},
    {0x70, 0x60, ZELKO_ID_MOUNT_ANGLE, true},
};

// The module's reset commands.
const uint8_t kResets[] = {0x01, 0x05, 0x02, 0x07};

const size_t kMountCommandLength = 44;

uint32_t FloatBits(float v) {
    uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    return bits;
}

float BitsFloat(uint32_t bits) {
    float v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}

IdFrame Ack(uint16_t id, uint8_t a, uint8_t b, uint8_t c) {
    MessageInput in;
    in.ack[0] = a;
    in.ack[1] = b;
    in.ack[2] = c;
    return {id, BuildMessage(id, in)};
}

CommandOutcome Query(const Frame& f, const ModuleState& module, double now) {
    CommandOutcome out;
    if (f.size() != 6) {
        out.log = "query of bad length: " + ZelkoHexText(f);
        return out;
    }
    for (const QueryReply& q : kQueries) {
        if (q.code != f[2] || q.subcode != f[3]) continue;
        if (q.needsMountAngle && !HasMountAngle(module)) break;
        MessageInput in;
        in.module = &module;
        in.now = now;
        out.replies.push_back({q.reply, BuildMessage(q.reply, in)});
        out.log = Format("query %02X/%02X -> %u", f[2], f[3], q.reply);
        return out;
    }
    out.log = Format("query %02X/%02X -> no reply (version %u.%u.%u)", f[2], f[3],
                     module.version[0], module.version[1], module.version[2]);
    return out;
}

CommandOutcome System(const Frame& f, ModuleState& module, double now) {
    CommandOutcome out;
    if (f.size() != 5) {
        out.log = "system command of bad length: " + ZelkoHexText(f);
        return out;
    }
    const uint8_t command = f[2];
    if (std::memchr(kResets, command, sizeof kResets) == nullptr) {
        out.replies.push_back(Ack(ZELKO_ID_SYS_CMD_ACK, command, kStateRejected, 0));
        out.log = Format("system %02X -> 1003 rejected", command);
        return out;
    }
    module.coldUntil = now + module.coldStartSeconds;
    out.replies.push_back(Ack(ZELKO_ID_SYS_CMD_ACK, command, kStateAccepted, 0));
    out.log = Format("system %02X -> 1003, cold start %g s", command, module.coldStartSeconds);
    return out;
}

CommandOutcome Set(const Frame& f, ModuleState& module, double now) {
    CommandOutcome out;
    const uint8_t code = f[2], subcode = f[3];
    const bool mount = code == 0x70 && subcode == 0x60 && f.size() == kMountCommandLength;
    const uint8_t type = mount ? f[5] : 0;
    if (!mount || !HasMountAngle(module) || type > 3) {
        out.replies.push_back(Ack(ZELKO_ID_ACK_NO_IDX, code, subcode, kStateRejected));
        out.log = Format("set %02X/%02X -> 1001 rejected: %s", code, subcode, ZelkoHexText(f).c_str());
        return out;
    }
    out.replies.push_back(Ack(ZELKO_ID_ACK_NO_IDX, code, subcode, kStateAccepted));
    if (type == 0) {
        for (size_t i = 0; i < 3; ++i) module.mountBits[i] = ZelkoGetLE<uint32_t>(&f[30 + 4 * i]);
        const double p = BitsFloat(module.mountBits[0]), r = BitsFloat(module.mountBits[1]),
                     g = BitsFloat(module.mountBits[2]);
        out.log = Format("set 70/60 type 0 pitch %ld roll %ld -> 1001",
                         std::lround(std::asin(std::clamp(-p, -1.0, 1.0)) * 180 / kPi),
                         std::lround(std::atan2(r, g) * 180 / kPi));
        module.mountCalStart = -1;
        return out;
    }
    if (type == 1) module.mountCalStart = now;
    out.log = Format("set 70/60 type %u -> 1001", type);
    return out;
}

}  // namespace

CommandOutcome HandleHostFrame(const Frame& logical, bool checksumOk, ModuleState& module,
                               double now) {
    if (!checksumOk) return {{}, "bad checksum: " + ZelkoHexText(logical)};
    if (logical.size() < 5) return {{}, "short frame: " + ZelkoHexText(logical)};
    switch (logical[1]) {
        case kClassQuery: return Query(logical, module, now);
        case kClassSystem: return System(logical, module, now);
        case kClassSet: return Set(logical, module, now);
        default: return {{}, "unknown command: " + ZelkoHexText(logical)};
    }
}

void SetMountAngle(ModuleState& module, int pitch, int roll) {
    const double p = pitch * kPi / 180, r = roll * kPi / 180;
    module.mountBits[0] = FloatBits(static_cast<float>(-std::sin(p)) + 0.0f);  // never -0.0
    module.mountBits[1] = FloatBits(static_cast<float>(std::cos(p) * std::sin(r)));
    module.mountBits[2] = FloatBits(static_cast<float>(std::cos(p) * std::cos(r)));
    module.mountCalStart = -1;
}
