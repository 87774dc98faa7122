// What the decoder prints for each message identifier: the kind's name and the fields the
// library reads from its record, taken from the parser's own decoded record.
#ifndef GPSDR_TOOLS_ZELKO_DECODE_MESSAGEFIELDS_H
#define GPSDR_TOOLS_ZELKO_DECODE_MESSAGEFIELDS_H

#include "module/position/ZELKOParser.h"
#include "tools/zelko-decode/JsonLine.h"

// Appends "kind" and the record's fields for a message accepted with identifier id (as
// returned by CZELKOParser::Parsing, which must be the call just made on parser). False for an
// identifier the table does not know.
bool AppendMessageFields(JsonLine& line, const CZELKOParser& parser, int id);

#endif
