// What the decoder prints for each message identifier: the kind's name and the fields the
// library reads from its record, taken from the parser's own decoded record.
#ifndef GPSDR_TOOLS_ZELKO_DECODE_MESSAGEFIELDS_H
#define GPSDR_TOOLS_ZELKO_DECODE_MESSAGEFIELDS_H

#include <string>

#include "module/position/ZELKOParser.h"
#include "tools/zelko-decode/JsonLine.h"

// The record name of a message identifier (as CZELKOParser::Parsing returns it), or null when
// the catalogue does not know it.
const char* MessageKindName(int id);
// Whether item is a message identifier ("3002") or a record name ("GpsFixMsg") of the catalogue.
bool IsMessageIdOrKind(const std::string& item);
// Appends the record's fields for a message accepted with identifier id; parser must be the one
// that just accepted it.
void AppendMessageFields(JsonLine& line, const CZELKOParser& parser, int id);

#endif
