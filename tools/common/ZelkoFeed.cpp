#include "tools/common/ZelkoFeed.h"

#include <cstdio>

#include "platform/mAndroidLog.h"

namespace {

const unsigned char kZelkoKind = 1;
const unsigned char kUnitWgs84 = 1;
const unsigned short kDRKind = 1;

void DropTrace(int, const char*, const char*, void*) {}

void EchoTrace(int, const char* tag, const char* text, void*)
{
    std::fprintf(stderr, "%s: %s", tag, text);
}

}  // namespace

ZelkoFeed::ZelkoFeed(bool echoTrace)
{
    mHostLogSetSink(echoTrace ? EchoTrace : DropTrace, nullptr);
    InitializeForWgs84(m_mgr);
    m_piece.reserve(CPositionMgr::STORE_BUFFER_SIZE);
}

ZelkoFeed::~ZelkoFeed()
{
    mHostLogSetSink(nullptr, nullptr);
}

void ZelkoFeed::Feed(const uint8_t* data, size_t len, const OnPosition& onPosition)
{
    CutZelkoPieces(m_piece, data, len, [&] {
        if (!m_mgr.ParsingZelko(reinterpret_cast<char*>(m_piece.data()), static_cast<unsigned short>(m_piece.size())))
            return;
        ++m_positions;
        if (onPosition) onPosition(m_mgr);
    });
}

void InitializeForWgs84(CPositionMgr& mgr)
{
    mgr.Initialize(kZelkoKind, kUnitWgs84, kDRKind);
}

uint64_t CountZelkoPositions(const std::vector<uint8_t>& data)
{
    ZelkoFeed feed;
    feed.Feed(data.data(), data.size(), nullptr);
    return feed.Positions();
}
