// Arbitrary bytes as one frame into the dispatcher, taken as a frame at the buffer start and as a
// buffer to search: decoding must stay inside the given bytes.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "module/position/ZELKOParser.h"
#include "platform/mAndroidLog.h"

namespace {

void Discard(int, const char*, const char*, void*) {}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    mHostLogSetSink(&Discard, nullptr);
    if (size > 0xFFFF) return 0;
    static CZELKOParser parser;
    for (char atStart : {1, 0}) {
        std::vector<unsigned char> buf(data, data + size);
        parser.Parsing(buf.data(), static_cast<unsigned short>(size), atStart);
    }
    return 0;
}
