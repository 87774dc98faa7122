// Reproducible randomness: std::mt19937's output is fixed by the standard, the standard
// distributions are not, so the few draws the simulator needs are written out here.
#ifndef GPSDR_TOOLS_ZELKO_SIM_SIMRANDOM_H
#define GPSDR_TOOLS_ZELKO_SIM_SIMRANDOM_H

#include <cstdint>
#include <random>

// Independent streams from one seed, so that e.g. turning on chunking does not move the
// scenario's own draws.
enum class RandomStream : uint32_t { Scenario = 1, Faults = 2, Link = 3 };

class SimRandom {
public:
    SimRandom(uint32_t seed, RandomStream stream);
    uint32_t Next() { return static_cast<uint32_t>(engine_()); }
    uint32_t Below(uint32_t n);       // uniform in 0 .. n-1; 0 when n is 0
    int Between(int lo, int hi);      // uniform in lo .. hi inclusive
    bool Chance(double p);            // always one draw

private:
    std::mt19937 engine_;
};

#endif
