// Decodes a Zelko byte stream with the library's own parser and position manager.
//
// The stream is cut after every end marker and each piece goes to two places: the decoder's own
// CZELKOParser (Parsing with marker search) names the frame it holds, and the library's
// CPositionMgr::ParsingZelko turns it into position and module state as in the running driver.
// A piece ends at the only end marker in it, so both cut the same frame out of it, and the
// position printed after a fix message is the library's own. Because each call carries one
// frame, the store resets counted are those the stream itself causes (bytes without a start
// marker), not those of an over-long serial read.
#ifndef GPSDR_TOOLS_ZELKO_DECODE_STREAMDECODER_H
#define GPSDR_TOOLS_ZELKO_DECODE_STREAMDECODER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "module/position/PositionMgr.h"
#include "module/position/ZELKOParser.h"
#include "tools/zelko-decode/ObjectFilter.h"
#include "tools/zelko-decode/PositionRecord.h"
#include "tools/zelko-decode/SkyReport.h"

struct DecodeCounts {
    uint64_t bytes = 0;
    uint64_t frames = 0;            // delimited frames, accepted or not
    uint64_t messages = 0;          // frames accepted by the parser
    uint64_t refused = 0;           // frames refused (checksum, stuffing) or of no known kind
    uint64_t checksumFailures = 0;  // counted by the library's position manager
    uint64_t storeResets = 0;       // the store-buffer resets and clears it counted
    uint64_t positions = 0;         // fix messages that updated the position
};

class StreamDecoder {
public:
    struct Output {
        std::function<void(const std::string&)> line;          // one JSON line, no newline
        std::function<void(const DecodedFix&)> position;        // after each position update
        std::function<void(const std::string&)> note;          // a fault of the input, for people
        ObjectFilter filter;                                    // which objects go to line
    };

    // Takes over the host log for the decoder's lifetime: with echoTrace library traces are
    // copied to standard error; otherwise they are silent.
    StreamDecoder(Output out, bool echoTrace);
    ~StreamDecoder();
    StreamDecoder(const StreamDecoder&) = delete;
    StreamDecoder& operator=(const StreamDecoder&) = delete;

    void Feed(const unsigned char* data, size_t len);
    // At the end of the input: prints the last epoch's satellites, notes a frame cut off.
    void Finish();
    // The final summary line; bytes of an unfinished frame at the end are not counted as one.
    std::string SummaryJson() const;
    const DecodeCounts& Counts() const { return m_counts; }

private:
    static void OnLog(int prio, const char* tag, const char* text, void* ctx);
    void HandlePiece();
    void PrintFrame(int id, const char* refusal);
    void PrintSky();
    void Print(int id, const char* objectClass, const std::string& json);
    void Note(uint64_t offset, const std::string& what);

    Output m_out;
    bool m_echoTrace;
    CPositionMgr m_positionMgr;
    CZELKOParser m_parser;
    std::vector<unsigned char> m_piece;
    uint64_t m_pieceOffset = 0;  // of the piece's first byte in the input
    ZelkoParseStats m_stats{};  // the library's counters after the last piece
    SkyEpoch m_sky;
    DecodeCounts m_counts;
};

#endif
