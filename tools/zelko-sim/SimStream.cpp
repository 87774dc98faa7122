#include "tools/zelko-sim/SimStream.h"

#include "tools/common/ZelkoFrameWriter.h"

namespace {

const int kMaxGarbage = 16;

// Garbage never holds a start marker: that would swallow the next frame, which is what
// corrupt frames are for; noise only tests resynchronisation.
Frame Garbage(SimRandom& random) {
    Frame bytes(static_cast<size_t>(random.Between(1, kMaxGarbage)));
    for (uint8_t& b : bytes) {
        uint32_t v = random.Below(255);
        b = static_cast<uint8_t>(v >= ZELKO_START ? v + 1 : v);
    }
    return bytes;
}

}  // namespace

Frame ToWire(const std::vector<IdFrame>& frames, const FaultRates& rates, SimRandom& random,
             std::vector<uint16_t>& corruptIds) {
    const bool noisy = random.Chance(rates.noise);
    const size_t noiseAt = noisy ? random.Below(static_cast<uint32_t>(frames.size() + 1)) : 0;
    Frame wire;
    for (size_t i = 0; i <= frames.size(); ++i) {
        if (noisy && i == noiseAt) {
            const Frame garbage = Garbage(random);
            wire.insert(wire.end(), garbage.begin(), garbage.end());
        }
        if (i == frames.size()) break;
        Frame logical = frames[i].logical;
        if (random.Chance(rates.corrupt)) {
            uint8_t& cs = logical[logical.size() - 2];
            cs = static_cast<uint8_t>(cs + random.Between(1, 255));
            corruptIds.push_back(frames[i].id);
        }
        const Frame stuffed = ZelkoStuff(logical);
        wire.insert(wire.end(), stuffed.begin(), stuffed.end());
    }
    return wire;
}
