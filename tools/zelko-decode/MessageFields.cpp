#include "tools/zelko-decode/MessageFields.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "module/position/ZelkoCatalogue.h"
#include "tools/common/ZelkoText.h"

namespace {

void AppendField(JsonLine& line, const ZelkoField& f, const unsigned char* record)
{
    const int64_t v = ZelkoFieldValue(record, f);
    switch (f.unit) {
        case ZelkoUnit::Low4: line.Int(f.name, v & 0x0F); break;
        case ZelkoUnit::Hex: {
            char hex[8];
            std::snprintf(hex, sizeof hex, "0x%02X", static_cast<unsigned>(v));
            line.Text(f.name, hex);
            break;
        }
        case ZelkoUnit::Float: line.Fixed(f.name, ZelkoGetLE<float>(record + f.offset), 6); break;
        case ZelkoUnit::Text16: line.Text(f.name, ZelkoNameText(record + f.offset)); break;
        default: line.Int(f.name, v); break;
    }
}

}  // namespace

bool AppendMessageFields(JsonLine& line, const CZELKOParser& parser, int id)
{
    const ZelkoKind* kind = ZelkoKindById(id);
    if (kind == nullptr) return false;
    line.Text("kind", kind->name);
    const unsigned char* record = kind->slot.record(parser);
    for (const ZelkoField& f : kind->fields) AppendField(line, f, record);
    return true;
}
