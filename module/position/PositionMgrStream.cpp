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

[[gnu::always_inline]] inline void CPositionMgr::CountFrame(int id)
{
    ZelkoParseStats& s = m_stParseStats;
    if (id > 0) {  // an identifier is returned for accepted frames only
        ++s.ulAccepted[m_pParser->m_ucLastKind];
        return;
    }
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

// Bytes outside the stored ones are never read, so clearing needs no zero fill.
void CPositionMgr::ClearStore()
{
    m_wStoreHead = 0;
    m_wStoreLen = 0;
}

// Frames are consumed by moving the head of the stored bytes; they go back to the start of the
// buffer only when a chunk would not fit behind them.
void CPositionMgr::MakeRoom(unsigned add)
{
    if (m_wStoreHead + m_wStoreLen + add <= STORE_BUFFER_SIZE) return;
    std::memmove(m_ucStore, m_ucStore + m_wStoreHead, m_wStoreLen);
    m_wStoreHead = 0;
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
    MakeRoom(add);
    unsigned char* front = m_ucStore + m_wStoreHead;
    std::memcpy(front + m_wStoreLen, data, add);
    m_wStoreLen = static_cast<uint16_t>(m_wStoreLen + add);

    // The start search answers modulo 256 and is compared with this chunk's length rather than
    // the stored length; both are kept on purpose: long garbage is dropped in 8-bit steps.
    unsigned char start = *front == ZELKO_START ? 0 : CZELKOParser::FindStartMsg(front, m_wStoreLen);
    if (start == len) {
        mTraceW(W16("[MM-Dbg][CPositionMgr::ParsingZelko] Buffer Reset because buffer have no start bit\n"));
        ++m_stParseStats.ulResetNoStart;
        ClearStore();
        return 0;
    }
    front += start;
    m_wStoreLen = static_cast<uint16_t>(m_wStoreLen - start);

    unsigned char end = CZELKOParser::FindEndMsg(front, m_wStoreLen);
    int result = 0;
    for (int frames = 1; end != 0; ++frames) {
        const unsigned char frameLen = static_cast<unsigned char>(end + 1);
        const int id = m_pParser->Parsing(front, frameLen, 1);
        CountFrame(id);
        ActOnMessage(id);
        if (id == ZELKO_ID_FIX_WITH_RAW_DR) result = 1;
        front += frameLen;
        m_wStoreLen = static_cast<uint16_t>(m_wStoreLen - frameLen);

        if (frames == kMaxFramesPerCall) {
            mTraceW(W16("[MM-Dbg][CPositionMgr::ParsingZelko] Buffer Clear(many data read by once)\n"));
            ++m_stParseStats.ulResetTooMany;
            ClearStore();
            return result;
        }
        if (m_wStoreLen == 0) return result;

        // Frames usually follow each other directly.
        start = *front == ZELKO_START ? 0 : CZELKOParser::FindStartMsg(front, m_wStoreLen);
        if (start == len) {
            ++m_stParseStats.ulResetTrailing;
            ClearStore();
            return result;
        }
        front += start;
        m_wStoreLen = static_cast<uint16_t>(m_wStoreLen - start);
        end = CZELKOParser::FindEndMsg(front, m_wStoreLen);
    }
    m_wStoreHead = static_cast<uint16_t>(front - m_ucStore);
    return result;
}
