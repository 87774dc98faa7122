#include "tools/common/ZelkoFrameWriter.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "module/position/PositionMgr.h"

int64_t ZelkoFloatBits(float v)
{
    unsigned char bytes[4];
    ZelkoPutLE(bytes, v);
    return ZelkoGetLE<uint32_t>(bytes);
}

void ZelkoSetField(ZelkoBytes& record, const ZelkoValue& value)
{
    const ZelkoField& f = *value.field;
    if (f.offset + f.width > record.size()) std::abort();  // a field of another kind
    unsigned char* p = record.data() + f.offset;
    if (f.unit == ZelkoUnit::Text16) {
        std::memset(p, 0, f.width);
        std::memcpy(p, value.text, std::min<size_t>(f.width, std::strlen(value.text)));
        return;
    }
    for (unsigned i = 0; i < f.width; ++i) p[i] = static_cast<uint8_t>(static_cast<uint64_t>(value.number) >> (8 * i));
}

ZelkoBytes ZelkoRecordImage(const ZelkoKind& kind, std::initializer_list<ZelkoValue> values, uint8_t subcode)
{
    ZelkoBytes record(kind.slot.recordSize, 0);
    if (kind.frameLen != 0) {
        record = ZelkoBlankFrame(kind.code, subcode != 0 ? subcode : kind.subFirst, record.size());
    }
    for (const ZelkoValue& v : values) ZelkoSetField(record, v);
    return record;
}

namespace {

// The DR sensor record back into its frame: flag bits, sensor values, entries, tail block.
ZelkoBytes DRSensorFrame(const ZelkoKind& kind, const ZelkoBytes& rec, const std::vector<uint32_t>& entries)
{
    using namespace ZelkoDRSensor;
    ZelkoBytes f = ZelkoBlankFrame(kind.code, kind.subFirst, FrameLen(static_cast<unsigned>(entries.size())));
    f[FRAME_VERSION_AT] = TAIL_VERSION;
    const uint8_t flags = rec[kFlags.offset];
    f[FRAME_FLAGS_AT] = static_cast<uint8_t>((flags & 0x01) | ((flags & 0x06) << 5));
    std::copy_n(rec.begin() + kSensorTime.offset, SENSOR_LEN, f.begin() + FRAME_SENSOR_AT);
    f[FRAME_COUNT_AT] = static_cast<uint8_t>(entries.size());
    for (size_t i = 0; i < entries.size(); ++i) ZelkoPutLE(&f[FRAME_ENTRIES_AT + 4 * i], entries[i]);
    std::copy_n(rec.begin() + RECORD_TAIL_AT, TAIL_LEN, f.begin() + FRAME_ENTRIES_AT + 4 * entries.size());
    return f;
}

}  // namespace

ZelkoBytes ZelkoLogicalFrame(const ZelkoKind& kind, const ZelkoBytes& record, const std::vector<uint32_t>& entries)
{
    if (kind.frameLen == 0) return ZelkoSeal(DRSensorFrame(kind, record, entries));
    ZelkoBytes f = record;
    if (kind.frameLenAlt != 0 && record[ZelkoAltFilter::kFormat.offset] == 1) {
        // Format 1 stops where the format-2 values begin.
        f.resize(ZelkoAltFilter::FORMAT2_ONLY);
        f.insert(f.end(), {0, ZELKO_END});
    }
    return ZelkoSeal(f);
}

ZelkoBytes ZelkoWireFrame(int id, std::initializer_list<ZelkoValue> values)
{
    const ZelkoKind* kind = ZelkoKindById(id);
    if (kind == nullptr) std::abort();
    return ZelkoStuff(ZelkoLogicalFrame(*kind, ZelkoRecordImage(*kind, values)));
}

ZelkoBytes ZelkoBlankFrame(uint8_t code, uint8_t subcode, size_t len)
{
    ZelkoBytes f(len, 0);
    f[0] = ZELKO_START;
    f[1] = code;
    f[2] = subcode;
    f[len - 1] = ZELKO_END;
    return f;
}

ZelkoBytes ZelkoSeal(ZelkoBytes logical)
{
    uint8_t& checksum = logical[logical.size() - 2];
    checksum = 0;
    checksum = CPositionMgr::MakeZelkoCS(logical.data(), logical.size());
    return logical;
}

ZelkoBytes ZelkoStuff(const ZelkoBytes& logical)
{
    // The library stuffs in place and scans its whole buffer, which must be zero past the frame:
    // room for every byte escaped. Its count is 8 bits wide, as are the frames it serves.
    ZelkoBytes wire(logical);
    wire.resize(2 * logical.size(), 0);
    const uint8_t added = CPositionMgr::MakeStuffPacket(wire.data(), logical.size(), wire.size());
    wire.resize(logical.size() + added);
    return wire;
}

void ZelkoAppend(ZelkoBytes& to, const ZelkoBytes& from)
{
    to.insert(to.end(), from.begin(), from.end());
}

std::string ZelkoHexText(const ZelkoBytes& f)
{
    static const char kDigits[] = "0123456789ABCDEF";
    std::string out;
    for (uint8_t b : f) {
        if (!out.empty()) out += ' ';
        out += kDigits[b >> 4];
        out += kDigits[b & 15];
    }
    return out;
}
