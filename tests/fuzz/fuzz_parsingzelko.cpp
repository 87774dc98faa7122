// Arbitrary chunk sequences into a fresh position manager: whatever the module sends, the stream
// code must stay in bounds and return.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "module/position/PositionMgr.h"
#include "platform/mAndroidLog.h"

namespace {

void Discard(int, const char*, const char*, void*) {}

// Chunk length from the input: mostly short reads, sometimes up to the reader's 4096 bytes.
size_t NextChunkLength(const uint8_t*& data, size_t& size)
{
    size_t n = data[0] + 1u;
    if ((data[0] & 0x80) && size >= 2) {
        n = ((static_cast<size_t>(data[0] & 0x7F) << 8 | data[1]) % 4096) + 1;
        ++data;
        --size;
    }
    ++data;
    --size;
    return n < size ? n : size;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    mHostLogSetSink(&Discard, nullptr);
    if (size < 2) return 0;
    CPositionMgr mgr;
    mgr.Initialize(1, static_cast<unsigned char>(data[0] % 3), (data[0] & 0x40) ? 8 : 2);
    ++data;
    --size;
    while (size > 0) {
        const size_t n = NextChunkLength(data, size);
        // An exact-size copy, so that any read past the chunk is caught.
        std::vector<char> chunk(data, data + n);
        mgr.ParsingZelko(chunk.data(), static_cast<unsigned short>(n));
        data += n;
        size -= n;
    }
    _mGpsDataEx pos;
    mgr.GetPosData(&pos);
    unsigned char kind;
    unsigned long ms;
    mgr.GetZelkoResetTime(kind, ms);
    mgr.CheckGetMountAngle();
    return 0;
}
