// Reassembly of the module's chunked byte stream into frames, handled in arrival order.
#include <algorithm>
#include <cstring>

#include "module/position/PositionMgr.h"
#include "platform/mString16.h"
#include "platform/mTrace.h"

namespace {

// Frames handled per call before the rest of the buffer is dropped: bounds the time per read.
const int kMaxFramesPerCall = 22;

}  // namespace

void CPositionMgr::CountFrame(int id)
{
    ZelkoParseStats& s = m_stParseStats;
    if (id < 0) {  // too short to be a frame
        ++s.ulRefusedLengths;
        return;
    }
    switch (m_pParser->m_ucLastOutcome) {
    case ZELKO_OUTCOME_ACCEPTED: ++s.ulAccepted[m_pParser->m_ucLastKind]; break;
    case ZELKO_OUTCOME_BAD_CHECKSUM: ++s.ulChecksumFailures; break;
    case ZELKO_OUTCOME_BAD_ESCAPE: ++s.ulEscapeFailures; break;
    case ZELKO_OUTCOME_REFUSED_LENGTH: ++s.ulRefusedLengths; break;
    default: ++s.ulUnknownKinds; break;
    }
}

void CPositionMgr::ClearStore()
{
    std::memset(m_ucStore, 0, sizeof m_ucStore);
    m_wStoreLen = 0;
}

void CPositionMgr::DiscardStored(unsigned count)
{
    std::memmove(m_ucStore, m_ucStore + count, m_wStoreLen - count);
    m_wStoreLen = static_cast<uint16_t>(m_wStoreLen - count);
}

int CPositionMgr::ParsingZelko(char* data, unsigned short len)
{
    if (m_pParser == nullptr || data == nullptr || len == 0) return 0;
    m_stParseStats.ulBytes += len;

    if (m_wStoreLen + len > STORE_BUFFER_SIZE) {
        mTraceW(W16("[MM-Dbg][CPositionMgr::ParsingZelko] Buffer Reset because store buffer over Max : CurSize(%d), AddSize(%d)\n"),
                static_cast<int>(m_wStoreLen), static_cast<int>(len));
        ++m_stParseStats.ulResetOverflow;
        ClearStore();
    }
    // The reader never delivers more than the buffer holds; a larger chunk is cut, not overrun.
    const unsigned add = std::min<unsigned>(len, STORE_BUFFER_SIZE - m_wStoreLen);
    std::memcpy(m_ucStore + m_wStoreLen, data, add);
    m_wStoreLen = static_cast<uint16_t>(m_wStoreLen + add);

    // The start search answers modulo 256 and is compared with this chunk's length rather than
    // the stored length; both are kept on purpose: long garbage is dropped in 8-bit steps.
    unsigned char start = CZELKOParser::FindStartMsg(m_ucStore, m_wStoreLen);
    if (start == len) {
        mTraceW(W16("[MM-Dbg][CPositionMgr::ParsingZelko] Buffer Reset because buffer have no start bit\n"));
        ++m_stParseStats.ulResetNoStart;
        ClearStore();
        return 0;
    }
    if (start > 0) DiscardStored(start);

    unsigned char end = CZELKOParser::FindEndMsg(m_ucStore, m_wStoreLen);
    if (end == 0) return 0;

    int result = 0;
    for (int frames = 1;; ++frames) {
        const unsigned char frameLen = static_cast<unsigned char>(end + 1);
        const int id = m_pParser->Parsing(m_ucStore, frameLen, 1);
        CountFrame(id);
        ActOnMessage(id);
        if (id == ZELKO_ID_FIX_WITH_RAW_DR) result = 1;
        DiscardStored(frameLen);

        if (frames == kMaxFramesPerCall) {
            mTraceW(W16("[MM-Dbg][CPositionMgr::ParsingZelko] Buffer Clear(many data read by once)\n"));
            ++m_stParseStats.ulResetTooMany;
            ClearStore();
            return result;
        }
        if (m_wStoreLen == 0) return result;

        start = CZELKOParser::FindStartMsg(m_ucStore, m_wStoreLen);
        if (start == len) {
            ++m_stParseStats.ulResetTrailing;
            ClearStore();
            return result;
        }
        if (start > 0) DiscardStored(start);
        end = CZELKOParser::FindEndMsg(m_ucStore, m_wStoreLen);
        if (end == 0) return result;
    }
}
