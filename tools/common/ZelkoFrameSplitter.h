// Cuts a Zelko byte stream into frames: each piece ends at an end marker, and its frame begins
// at the last start marker before it (an earlier one belongs to a frame that was cut off). What
// stands before the frame is handed over too, so that a reader can check what preceded it.
#ifndef GPSDR_TOOLS_COMMON_ZELKOFRAMESPLITTER_H
#define GPSDR_TOOLS_COMMON_ZELKOFRAMESPLITTER_H

#include <cstddef>
#include <cstdint>

#include "tools/common/ZelkoFrameWriter.h"

class ZelkoFrameSplitter {
public:
    void Push(const uint8_t* data, size_t n);
    // The next piece: lead = the bytes before the frame, wire = the frame as it came (start to
    // end marker, escapes in place; empty when the piece has no start marker). False while no
    // end marker is pending. Without one, no more than a frame's worth of bytes is kept.
    bool Next(ZelkoBytes& lead, ZelkoBytes& wire);

private:
    ZelkoBytes pending_;
};

// The logical frame of a wire frame: escape pairs removed by the library's own rule.
ZelkoBytes ZelkoUnstuff(const ZelkoBytes& wire);

#endif
