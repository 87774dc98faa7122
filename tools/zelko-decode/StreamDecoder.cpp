#include "tools/zelko-decode/StreamDecoder.h"

#include <cstdio>
#include <cstring>
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
    if (!self->m_inLibrary) return;
    if (std::strstr(text, "[ZELKOParser::CalChecksum]Invalid") != nullptr) ++self->m_counts.checksumFailures;
    if (std::strstr(text, "[CPositionMgr::ParsingZelko] Buffer Reset") != nullptr ||
        std::strstr(text, "[CPositionMgr::ParsingZelko] Buffer Clear") != nullptr)
        ++self->m_counts.storeResets;
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
    PrintFrame(m_parser.Parsing(m_piece.data(), len, 0));

    m_inLibrary = true;
    const int fix = m_positionMgr.ParsingZelko(reinterpret_cast<char*>(m_piece.data()), len);
    m_inLibrary = false;
    m_piece.clear();
    if (!fix) return;

    ++m_counts.positions;
    _mGpsDataEx pos{};
    m_positionMgr.GetPosData(&pos);
    if (m_out.position) m_out.position(pos);
}

void StreamDecoder::PrintFrame(int id)
{
    if (id < 0) return;  // no frame in this piece
    ++m_counts.frames;
    unsigned char* piece = m_piece.data();
    const unsigned short len = static_cast<unsigned short>(m_piece.size());
    const unsigned char start = CZELKOParser::FindStartMsg(piece, len);
    const unsigned frameLen = CZELKOParser::FindEndMsg(piece + start, static_cast<unsigned short>(len - start)) + 1u;

    JsonLine line;
    line.Text("type", "msg").Int("id", id).Int("len", frameLen);
    if (id > 0 && AppendMessageFields(line, m_parser, id)) {
        ++m_counts.messages;
    } else {
        ++m_counts.refused;
        if (frameLen >= 3) line.Text("code", Hex8(piece[start + 1])).Text("subcode", Hex8(piece[start + 2]));
    }
    if (m_out.line) m_out.line(line.Str());
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
