// Zelko frames from the module's side: 0x81 code subcode body checksum 0x82, where the 8-bit
// sum of the whole frame is zero and 0x80..0x83 between the markers go as 0x80, v - 0x80.
#ifndef GPSDR_TOOLS_ZELKO_SIM_SIMFRAMES_H
#define GPSDR_TOOLS_ZELKO_SIM_SIMFRAMES_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "tools/zelko-sim/SimTypes.h"

const uint8_t kFrameStart = 0x81;
const uint8_t kFrameEnd = 0x82;
const uint8_t kFrameEscape = 0x80;

// Every multi-byte field of the protocol is little-endian.
void PutLE(Frame& f, size_t at, uint32_t value, int bytes);
uint32_t GetLE(const uint8_t* p, int bytes);

// A logical frame of the given length with its markers and identifiers; the rest is zero.
Frame NewFrame(uint8_t code, uint8_t subcode, size_t length);
// Writes the checksum byte (offset length - 2).
void SealFrame(Frame& logical);
// The wire form of a sealed logical frame.
Frame StuffFrame(const Frame& logical);
// "81 03 01 F9 82": how logs and the truth show a frame.
std::string HexText(const Frame& f);

// Cuts frames out of the bytes the host writes (which may carry zero preambles and line
// noise between frames) and undoes the escapes.
class HostFrameReader {
public:
    void Push(const uint8_t* data, size_t n);
    // The next complete frame, logical form; checksumOk tells whether its sum was zero.
    bool Next(Frame& logical, bool& checksumOk);

private:
    Frame pending_;
};

#endif
