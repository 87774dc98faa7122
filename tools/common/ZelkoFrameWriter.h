// Zelko frames as the module sends them, built from the message catalogue: a record image with
// field values, the sealed logical frame that carries it, and its escaped wire form. The checksum
// and the escaping are the library's own (CPositionMgr::MakeZelkoCS, MakeStuffPacket).
#ifndef GPSDR_TOOLS_COMMON_ZELKOFRAMEWRITER_H
#define GPSDR_TOOLS_COMMON_ZELKOFRAMEWRITER_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "module/position/ZELKOParser.h"

using ZelkoBytes = std::vector<uint8_t>;

// One field's value: a number (a float's bit pattern for ZelkoUnit::Float, see ZelkoFloatBits)
// or, for text fields, a zero-terminated text cut to the field's width.
struct ZelkoValue {
    const ZelkoField* field;
    int64_t number;
    const char* text = nullptr;
};

int64_t ZelkoFloatBits(float v);

// The record image of a kind with the given values: for frame-image kinds the unsealed logical
// frame (markers, code and subcode; subcode 0 means the kind's first), zero elsewhere.
ZelkoBytes ZelkoRecordImage(const ZelkoKind& kind, std::initializer_list<ZelkoValue> values = {}, uint8_t subcode = 0);
void ZelkoSetField(ZelkoBytes& record, const ZelkoValue& value);
// The sealed logical frame that decodes into record. DRSensorData goes as format version 8 with
// the given four-byte entries; AltFilterOutputData in the format its record names.
ZelkoBytes ZelkoLogicalFrame(const ZelkoKind& kind, const ZelkoBytes& record, const std::vector<uint32_t>& entries = {});
// The escaped wire form of a kind's frame with the given values.
ZelkoBytes ZelkoWireFrame(int id, std::initializer_list<ZelkoValue> values = {});

// ---- frames of any shape, for what the catalogue does not describe
// 81 code subcode, zeros, a checksum slot, 82.
ZelkoBytes ZelkoBlankFrame(uint8_t code, uint8_t subcode, size_t len);
// Writes the checksum byte (offset len - 2).
ZelkoBytes ZelkoSeal(ZelkoBytes logical);
// Escapes 0x80..0x83 between the markers.
ZelkoBytes ZelkoStuff(const ZelkoBytes& logical);
void ZelkoAppend(ZelkoBytes& to, const ZelkoBytes& from);
// "81 03 01 F9 82": how logs and records show a frame.
std::string ZelkoHexText(const ZelkoBytes& f);

#endif
