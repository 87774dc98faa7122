#include "tools/zelko-decode/StreamDecoder.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "platform/mAndroidLog.h"
#include "tools/zelko-decode/JsonLine.h"
#include "tools/zelko-decode/MessageFields.h"

namespace {

// The library's store holds 4096 bytes; a longer run without an end marker is handed over in
// pieces of that size, as a serial read would.
const size_t kMaxPiece = CPositionMgr::STORE_BUFFER_SIZE;

// Same settings as the manager gives its position manager, except the coordinate unit: WGS 84
// in 1/360000 degree instead of the offset transform's input unit.
const unsigned char kZelkoKind = 1;
const unsigned char kUnitWgs84 = 1;
const unsigned short kDRKind = 1;

std::string Hex8(unsigned char v)
{
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", v);
    return text;
}

// Where the frame in a piece starts (the size when it has none). The library's own search
// counts in 8 bits; this one also places frames behind long runs of noise.
size_t StartOf(const std::vector<unsigned char>& piece)
{
    return static_cast<size_t>(std::find(piece.begin(), piece.end(), ZELKO_START) - piece.begin());
}

}  // namespace

StreamDecoder::StreamDecoder(Output out, bool echoTrace) : m_out(std::move(out)), m_echoTrace(echoTrace)
{
    mHostLogSetSink(&StreamDecoder::OnLog, this);
    m_positionMgr.Initialize(kZelkoKind, kUnitWgs84, kDRKind);
    m_piece.reserve(kMaxPiece);
}

StreamDecoder::~StreamDecoder()
{
    mHostLogSetSink(nullptr, nullptr);
}

void StreamDecoder::OnLog(int, const char* tag, const char* text, void* ctx)
{
    auto* self = static_cast<StreamDecoder*>(ctx);
    if (self->m_echoTrace) std::fprintf(stderr, "%s: %s", tag, text);
}

void StreamDecoder::Feed(const unsigned char* data, size_t len)
{
    m_counts.bytes += len;
    for (size_t i = 0; i < len; ++i) {
        m_piece.push_back(data[i]);
        if (CZELKOParser::IsEOMByte(&m_piece.back()) || m_piece.size() == kMaxPiece) HandlePiece();
    }
}

void StreamDecoder::HandlePiece()
{
    const unsigned short len = static_cast<unsigned short>(m_piece.size());
    const int id = m_parser.Parsing(m_piece.data(), len, 0);

    const uint64_t checksumFailures = m_counts.checksumFailures;
    const int fix = m_positionMgr.ParsingZelko(reinterpret_cast<char*>(m_piece.data()), len);
    ZelkoParseStats stats;
    m_positionMgr.GetParseStats(&stats);
    m_counts.checksumFailures = stats.ulChecksumFailures;
    // The resets the library traces; the silent drop of bytes behind a frame is not one.
    m_counts.storeResets = uint64_t{stats.ulResetOverflow} + stats.ulResetNoStart + stats.ulResetTooMany;
    PrintFrame(id, m_counts.checksumFailures != checksumFailures);
    m_pieceOffset += len;
    m_piece.clear();
    if (!fix) return;

    ++m_counts.positions;
    _mGpsDataEx pos{};
    m_positionMgr.GetPosData(&pos);
    if (m_out.position) m_out.position(pos);
}

void StreamDecoder::PrintFrame(int id, bool badChecksum)
{
    if (id < 0) return;  // no frame in this piece
    ++m_counts.frames;
    unsigned char* piece = m_piece.data();
    const size_t start = StartOf(m_piece);
    const unsigned frameLen =
        CZELKOParser::FindEndMsg(piece + start, static_cast<unsigned short>(m_piece.size() - start)) + 1u;

    JsonLine line;
    line.Text("type", "msg").Int("id", id).Int("len", frameLen);
    if (id > 0 && AppendMessageFields(line, m_parser, id)) {
        ++m_counts.messages;
    } else {
        ++m_counts.refused;
        std::string what = "refused frame";
        if (frameLen >= 3) {
            const std::string code = Hex8(piece[start + 1]), subcode = Hex8(piece[start + 2]);
            line.Text("code", code).Text("subcode", subcode);
            what += " " + code + "/" + subcode;
        }
        what += ", " + std::to_string(frameLen) + " bytes: " + (badChecksum ? "bad checksum" : "unknown kind or malformed");
        Note(m_pieceOffset + start, what);
    }
    if (m_out.line) m_out.line(line.Str());
}

void StreamDecoder::Finish()
{
    const size_t start = StartOf(m_piece);
    if (start < m_piece.size())
        Note(m_pieceOffset + start, "input ends inside a frame (" + std::to_string(m_piece.size() - start) + " bytes)");
}

void StreamDecoder::Note(uint64_t offset, const std::string& what)
{
    if (m_out.note) m_out.note("byte " + std::to_string(offset) + ": " + what);
}

std::string StreamDecoder::SummaryJson() const
{
    return JsonLine()
        .Text("type", "summary")
        .Int("bytes", static_cast<int64_t>(m_counts.bytes))
        .Int("frames", static_cast<int64_t>(m_counts.frames))
        .Int("messages", static_cast<int64_t>(m_counts.messages))
        .Int("refused", static_cast<int64_t>(m_counts.refused))
        .Int("checksum_failures", static_cast<int64_t>(m_counts.checksumFailures))
        .Int("store_resets", static_cast<int64_t>(m_counts.storeResets))
        .Int("positions", static_cast<int64_t>(m_counts.positions))
        .Str();
}
