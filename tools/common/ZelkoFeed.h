// Hands a Zelko byte stream to the library's own position manager one frame at a time, so
// that every position message is seen with the state it completes: what the NMEA output and
// the replay's capture check read.
#ifndef GPSDR_TOOLS_COMMON_ZELKOFEED_H
#define GPSDR_TOOLS_COMMON_ZELKOFEED_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "module/position/PositionMgr.h"

class ZelkoFeed {
public:
    using OnPosition = std::function<void(const CPositionMgr&)>;

    // The library's traces are dropped, or copied to standard error with echoTrace, while the
    // feed lives.
    explicit ZelkoFeed(bool echoTrace = false);
    ~ZelkoFeed();
    ZelkoFeed(const ZelkoFeed&) = delete;
    ZelkoFeed& operator=(const ZelkoFeed&) = delete;

    // onPosition runs after every position message the library accepted.
    void Feed(const uint8_t* data, size_t len, const OnPosition& onPosition);
    uint64_t Positions() const { return m_positions; }

private:
    CPositionMgr m_mgr;
    std::vector<uint8_t> m_piece;
    uint64_t m_positions = 0;
};

// Appends data to piece and hands over every piece the library's store takes whole: one ends at
// its end marker, or where the store would be full, as a serial read would deliver it.
// onPiece() reads the piece, which is emptied after it.
template <class OnPiece>
void CutZelkoPieces(std::vector<uint8_t>& piece, const uint8_t* data, size_t len, OnPiece&& onPiece)
{
    for (size_t i = 0; i < len; ++i) {
        piece.push_back(data[i]);
        if (!CZELKOParser::IsEOMByte(&piece.back()) && piece.size() < CPositionMgr::STORE_BUFFER_SIZE) continue;
        onPiece();
        piece.clear();
    }
}

// Gives mgr the settings the manager gives its own, except the coordinate unit: the module's
// own WGS 84 in 1/360000 degree rather than the offset transform's input.
void InitializeForWgs84(CPositionMgr& mgr);

// How many position messages of data the library accepts; 0 means the bytes are no Zelko stream.
uint64_t CountZelkoPositions(const std::vector<uint8_t>& data);

#endif
