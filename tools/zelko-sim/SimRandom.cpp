#include "tools/zelko-sim/SimRandom.h"

SimRandom::SimRandom(uint32_t seed, RandomStream stream) {
    std::seed_seq seq{seed, static_cast<uint32_t>(stream)};
    engine_.seed(seq);
}

uint32_t SimRandom::Below(uint32_t n) {
    if (n == 0) return 0;
    // Reject the low values that would make the modulo uneven.
    const uint32_t threshold = (0u - n) % n;
    for (;;) {
        const uint32_t x = Next();
        if (x >= threshold) return x % n;
    }
}

int SimRandom::Between(int lo, int hi) {
    const uint32_t span = static_cast<uint32_t>(hi) - static_cast<uint32_t>(lo) + 1u;
    return static_cast<int>(static_cast<uint32_t>(lo) + Below(span));
}

bool SimRandom::Chance(double p) {
    return Next() < p * 4294967296.0;
}
