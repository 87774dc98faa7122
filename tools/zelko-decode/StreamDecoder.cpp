#include "tools/zelko-decode/StreamDecoder.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "module/position/ZELKOParser.h"
#include "platform/mAndroidLog.h"
#include "tools/common/ZelkoFeed.h"
#include "tools/zelko-decode/JsonLine.h"
#include "tools/zelko-decode/MessageFields.h"

namespace {

const char kRefusedClass[] = "REFUSED";

std::string Hex8(unsigned char v)
{
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", v);
    return text;
}

// Why the library refused the frame it just read, from its counters before and after.
const char* RefusalOf(const ZelkoParseStats& before, const ZelkoParseStats& after)
{
    if (after.ulChecksumFailures != before.ulChecksumFailures) return "bad checksum";
    if (after.ulEscapeFailures != before.ulEscapeFailures) return "escapes that cannot be removed";
    if (after.ulRefusedLengths != before.ulRefusedLengths) return "a length of no known kind";
    if (after.ulUnknownKinds != before.ulUnknownKinds) return "code and subcode of no known kind";
    return "not a frame";
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
    InitializeForWgs84(m_positionMgr);
    m_piece.reserve(CPositionMgr::STORE_BUFFER_SIZE);
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
    CutZelkoPieces(m_piece, data, len, [this] { HandlePiece(); });
}

void StreamDecoder::HandlePiece()
{
    const unsigned short len = static_cast<unsigned short>(m_piece.size());
    const int id = m_parser.Parsing(m_piece.data(), len, 0);
    // An epoch's satellites (one channel message each) end with the first other message, before
    // it changes the record.
    if (id > 0 && id != ZELKO_ID_CHANNEL_MEAS && !m_sky.Empty()) PrintSky();

    const ZelkoParseStats before = m_stats;
    const int fix = m_positionMgr.ParsingZelko(reinterpret_cast<char*>(m_piece.data()), len);
    m_positionMgr.GetParseStats(&m_stats);
    m_counts.checksumFailures = m_stats.ulChecksumFailures;
    // The resets the library traces; the silent drop of bytes behind a frame is not one.
    m_counts.storeResets = uint64_t{m_stats.ulResetOverflow} + m_stats.ulResetNoStart + m_stats.ulResetTooMany;
    PrintFrame(id, RefusalOf(before, m_stats));
    m_pieceOffset += len;
    if (id == ZELKO_ID_CHANNEL_MEAS)
        m_sky.Add(ZelkoGet(ZelkoKindById(id)->slot.record(m_parser), ZelkoChannelMeas::kSat));
    if (!fix) return;

    ++m_counts.positions;
    DecodedFix decoded;
    _sZelkoTimeData time{};
    _mGPSDREngineerInfo engineering{};
    m_positionMgr.GetPosData(&decoded.pos);
    m_positionMgr.GetZelkoTimeData(&time);
    m_positionMgr.GetEngineeringModeData(&engineering);
    decoded.drTimeMs = time.ulDRTime;
    decoded.gpsFixState = engineering.ucFixState;
    Print(0, "TPV", PositionJson(decoded));
    if (m_out.position) m_out.position(decoded);
}

void StreamDecoder::PrintFrame(int id, const char* refusal)
{
    if (id < 0) return;  // no frame in this piece
    ++m_counts.frames;
    unsigned char* piece = m_piece.data();
    const size_t start = StartOf(m_piece);
    const unsigned frameLen =
        CZELKOParser::FindEndMsg(piece + start, static_cast<unsigned short>(m_piece.size() - start)) + 1u;

    const char* kind = id > 0 ? MessageKindName(id) : nullptr;
    JsonLine line;
    line.Text("class", kind ? kind : kRefusedClass);
    if (kind) line.Int("id", id);
    line.Int("offset", static_cast<int64_t>(m_pieceOffset + start)).Int("len", frameLen);
    if (kind) {
        ++m_counts.messages;
        AppendMessageFields(line, m_parser, id);
    } else {
        ++m_counts.refused;
        std::string what = "refused frame";
        if (frameLen >= 3) {
            const std::string code = Hex8(piece[start + 1]), subcode = Hex8(piece[start + 2]);
            line.Text("code", code).Text("subcode", subcode);
            what += " " + code + "/" + subcode;
        }
        what += ", " + std::to_string(frameLen) + " bytes: " + refusal;
        Note(m_pieceOffset + start, what);
    }
    Print(kind ? id : 0, kind ? kind : kRefusedClass, line.Str());
}

void StreamDecoder::PrintSky()
{
    _mSatelView table[CPositionMgr::SATEL_TABLE_SIZE];
    _mGpsDataEx pos{};
    m_positionMgr.GetSatelData(table);
    m_positionMgr.GetPosData(&pos);
    Print(0, "SKY", m_sky.Take(table, pos));
}

void StreamDecoder::Print(int id, const char* objectClass, const std::string& json)
{
    if (m_out.line && m_out.filter.Shows(id, objectClass)) m_out.line(json);
}

void StreamDecoder::Finish()
{
    if (!m_sky.Empty()) PrintSky();
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
        .Text("class", "SUMMARY")
        .Int("bytes", static_cast<int64_t>(m_counts.bytes))
        .Int("frames", static_cast<int64_t>(m_counts.frames))
        .Int("messages", static_cast<int64_t>(m_counts.messages))
        .Int("refused", static_cast<int64_t>(m_counts.refused))
        .Int("checksum_failures", static_cast<int64_t>(m_counts.checksumFailures))
        .Int("store_resets", static_cast<int64_t>(m_counts.storeResets))
        .Int("positions", static_cast<int64_t>(m_counts.positions))
        .Str();
}
