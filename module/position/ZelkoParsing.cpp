// Frame dispatch: code and subcode (and, for acknowledgements, the received length) select the
// record and the message identifier.
#include "module/position/ZELKOParser.h"

#include "platform/mString16.h"
#include "platform/mTrace.h"

namespace {

template <auto Slot>
int Decode(CZELKOParser& parser, unsigned char* frame, unsigned char endIndex)
{
    return parser.Parse(frame, &(parser.*Slot), endIndex);
}

struct ZelkoKind {
    unsigned char code;
    unsigned char subFirst;
    unsigned char subLast;
    int receivedLen;  // 0: any length
    int id;
    int (*decode)(CZELKOParser&, unsigned char*, unsigned char);
};

// Searched in this order; the first match decides. The acknowledgements share one code and are
// told apart only by the length as received, stuffing included, so an acknowledgement that
// needed escaping goes unrecognised; their identifiers are fixed rather than derived.
const ZelkoKind kKinds[] = {
    {0x11, 0x01, 0x01, 0, 1101, Decode<&CZELKOParser::m_stAppVersion>},
    {0x11, 0x03, 0x03, 0, 1103, Decode<&CZELKOParser::m_stVersion03>},
    {0x11, 0x06, 0x06, 0, 1106, Decode<&CZELKOParser::m_stVersion06>},
    {0x12, 0x03, 0x03, 0, 1203, Decode<&CZELKOParser::m_stProduct>},
    {0x12, 0x04, 0x04, 0, 1204, Decode<&CZELKOParser::m_stHardware>},
    {0x30, 0x02, 0x02, 0, 3002, Decode<&CZELKOParser::m_stFFixWithRawDR>},
    {0x31, 0x01, 0x01, 0, 3101, Decode<&CZELKOParser::m_stGpsFix>},
    {0x31, 0x02, 0x02, 0, 3102, Decode<&CZELKOParser::m_stGpsFixEx>},
    {0x32, 0x01, 0x01, 0, 3201, Decode<&CZELKOParser::m_stUtcConstelSum>},
    {0x33, 0x01, 0x01, 0, 3301, Decode<&CZELKOParser::m_stGpsChMeasShStat>},
    {0x36, 0x07, 0x07, 0, 3607, Decode<&CZELKOParser::m_stDppCal>},
    {0x70, 0x13, 0x13, 0, 7013, Decode<&CZELKOParser::m_stDRSensor>},
    {0x70, 0x33, 0x33, 0, 7033, Decode<&CZELKOParser::m_stAltFilterOutput>},
    {0x70, 0x60, 0x60, 0, 7060, Decode<&CZELKOParser::m_stMountAngCal>},
    {0x14, 0x01, 0x01, 0, 1401, Decode<&CZELKOParser::m_stSoftEventLog>},
    {0x16, 0x01, 0x01, 0, 1601, Decode<&CZELKOParser::m_stHealthStatus>},
    {0x10, 0x01, 0x03, 8, 1001, Decode<&CZELKOParser::m_stAckNoIdx>},
    {0x10, 0x01, 0x03, 9, 1002, Decode<&CZELKOParser::m_stAckIdx>},
    {0x10, 0x01, 0x03, 7, 1003, Decode<&CZELKOParser::m_stSysCmdAck>},
};

}  // namespace

int CZELKOParser::Parsing(unsigned char* buf, unsigned short len, char atStart)
{
    if (buf == nullptr) {
        mTraceW(W16("[MM-Dbg][CZELKOParser::Parsing] data buffer is NULL\n"));
        return -1;
    }
    if (len <= 4) return -1;

    unsigned start = 0;
    unsigned char endIndex;
    if (atStart) {
        endIndex = static_cast<unsigned char>(len - 1);
    } else {
        start = FindStartMsg(buf, len);
        if (start >= len) return -1;
        endIndex = FindEndMsg(buf + start, static_cast<unsigned short>(len - start));
    }
    if (endIndex == 0) return -1;

    unsigned char* frame = buf + start;
    const unsigned char code = GetParserCode(frame);
    // A frame cut at the buffer's end has no subcode; its code is then the end marker, which
    // no kind uses.
    const unsigned char subcode = len - start > 2 ? GetParserSubcode(frame) : 0;
    const int receivedLen = endIndex + 1;
    for (const ZelkoKind& kind : kKinds) {
        if (code != kind.code || subcode < kind.subFirst || subcode > kind.subLast) continue;
        if (kind.receivedLen != 0 && kind.receivedLen != receivedLen) continue;
        return kind.decode(*this, frame, endIndex) ? kind.id : 0;
    }
    return 0;
}
