// Frame dispatch: code and subcode (and, for acknowledgements, the received length) select the
// catalogue row, which names the record and the message identifier.
#include "module/position/ZELKOParser.h"
#include "module/position/ZelkoCatalogue.h"

#include <array>
#include <cstdint>

#include "platform/mString16.h"
#include "platform/mTrace.h"

namespace {

// The first catalogue row of each code (ZELKO_KIND_COUNT for a code of no kind): the rows
// before it cannot match, so the first-match search starts there.
constexpr std::array<uint8_t, 256> FirstRowByCode()
{
    std::array<uint8_t, 256> first{};
    for (uint8_t& row : first) row = ZELKO_KIND_COUNT;
    for (unsigned k = ZELKO_KIND_COUNT; k-- > 0;) first[kZelkoKinds[k].code] = static_cast<uint8_t>(k);
    return first;
}
constexpr std::array<uint8_t, 256> kFirstRowByCode = FirstRowByCode();
static_assert(ZELKO_KIND_COUNT < 256, "rows are numbered in a byte");

}  // namespace

int CZELKOParser::Parsing(unsigned char* buf, unsigned short len, char atStart)
{
    m_ucLastOutcome = ZELKO_OUTCOME_NO_FRAME;
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
    m_ucLastOutcome = ZELKO_OUTCOME_UNKNOWN_KIND;
    for (unsigned k = kFirstRowByCode[code]; k < ZELKO_KIND_COUNT; ++k) {
        const ZelkoKind& kind = kZelkoKinds[k];
        if (code != kind.code || subcode < kind.subFirst || subcode > kind.subLast) continue;
        if (kind.receivedLen != 0 && kind.receivedLen != receivedLen) {
            m_ucLastOutcome = ZELKO_OUTCOME_REFUSED_LENGTH;
            continue;
        }
        m_ucLastOutcome = ZELKO_OUTCOME_ACCEPTED;  // a refusing decoder says why
        m_ucLastKind = static_cast<unsigned char>(k);
        return kind.slot.decode(*this, frame, endIndex) ? kind.id : 0;
    }
    return 0;
}
