#include "tools/zelko-decode/MessageFields.h"

#include <cstdint>
#include <cstdio>
#include <string>

#include "module/position/ZELKOParser.h"
#include "tools/common/ZelkoText.h"

namespace {

const char* FixModeName(uint8_t modeByte)
{
    using namespace ZelkoGpsFix;
    if ((modeByte & MODE_MASK) != MODE_FIX) return "none";
    return (modeByte >> MODE_3D_BIT) & 1 ? "3D" : "2D";
}

void AppendField(JsonLine& line, const ZelkoField& f, const unsigned char* record)
{
    const int64_t v = ZelkoFieldValue(record, f);
    const ZelkoScale scale = ZelkoScaleOf(f.unit);
    switch (f.unit) {
        case ZelkoUnit::Low4: line.Int(f.name, v & 0x0F); break;
        case ZelkoUnit::Hex: {
            char hex[8];
            std::snprintf(hex, sizeof hex, "0x%02X", static_cast<unsigned>(v));
            line.Text(f.name, hex);
            break;
        }
        case ZelkoUnit::FixMode: line.Text(f.name, FixModeName(static_cast<uint8_t>(v))); break;
        case ZelkoUnit::Float: line.Fixed(f.name, ZelkoGetLE<float>(record + f.offset), 6); break;
        case ZelkoUnit::Text16: line.Text(f.name, ZelkoNameText(record + f.offset)); break;
        default:
            if (scale.factor == 0 || scale.decimals == 0)
                line.Int(f.name, scale.factor == 0 ? v : static_cast<int64_t>(v * scale.factor));
            else
                line.Fixed(f.name, static_cast<double>(v) * scale.factor, scale.decimals);
            break;
    }
}

}  // namespace

const char* MessageKindName(int id)
{
    const ZelkoKind* kind = ZelkoKindById(id);
    return kind ? kind->name : nullptr;
}

bool IsMessageIdOrKind(const std::string& item)
{
    for (const ZelkoKind& kind : kZelkoKinds)
        if (item == kind.name || item == std::to_string(kind.id)) return true;
    return false;
}

void AppendMessageFields(JsonLine& line, const CZELKOParser& parser, int id)
{
    const ZelkoKind* kind = ZelkoKindById(id);
    if (kind == nullptr) return;
    const unsigned char* record = kind->slot.record(parser);
    for (const ZelkoField& f : kind->fields) AppendField(line, f, record);
}
