// Look-ups in the message catalogue for the tools and the counters; the parser and the actions
// read the table and the named fields directly.
#include "module/position/ZelkoCatalogue.h"

int64_t ZelkoFieldValue(const unsigned char* record, const ZelkoField& field)
{
    const unsigned char* p = record + field.offset;
    if (field.unit == ZelkoUnit::Text16) return 0;
    if (field.unit == ZelkoUnit::Float) return ZelkoGetLE<uint32_t>(p);
    switch (field.width) {
    case 1: return field.isSigned ? ZelkoGetLE<int8_t>(p) : ZelkoGetLE<uint8_t>(p);
    case 2: return field.isSigned ? ZelkoGetLE<int16_t>(p) : ZelkoGetLE<uint16_t>(p);
    default: return field.isSigned ? ZelkoGetLE<int32_t>(p) : ZelkoGetLE<uint32_t>(p);
    }
}

unsigned ZelkoKindIndex(int id)
{
    unsigned k = 0;
    while (k < ZELKO_KIND_COUNT && kZelkoKinds[k].id != id) ++k;
    return k;
}

const ZelkoKind* ZelkoKindById(int id)
{
    const unsigned k = ZelkoKindIndex(id);
    return k < ZELKO_KIND_COUNT ? &kZelkoKinds[k] : nullptr;
}
