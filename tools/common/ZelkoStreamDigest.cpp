// Random streams are drawn from std::mt19937 alone (its output is fixed by the standard; the
// distributions are not), so a seed means the same bytes with every compiler and on every target.
#include "tools/common/ZelkoStreamDigest.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <random>

#include "module/position/PositionMgr.h"
#include "platform/mAndroidLog.h"
#include "tools/common/ZelkoFrameWriter.h"

namespace {

using Bytes = ZelkoBytes;

class Random {
public:
    explicit Random(uint32_t seed) : m_rng(seed) {}
    uint32_t Below(uint32_t n) { return m_rng() % n; }
    uint32_t Range(uint32_t lo, uint32_t hi) { return lo + Below(hi - lo + 1); }
    bool Chance(uint32_t percent) { return Below(100) < percent; }
    unsigned char Byte() { return static_cast<unsigned char>(m_rng()); }
    // Mostly plain values, often the four reserved ones that travel escaped.
    unsigned char BodyByte() { return Chance(15) ? static_cast<unsigned char>(0x80 + Below(4)) : Byte(); }
    template <class T>
    const T& Pick(const std::vector<T>& from) { return from[Below(static_cast<uint32_t>(from.size()))]; }

private:
    std::mt19937 m_rng;
};

// A kind to draw: its catalogue row and the length to send (a kind may go in either format).
struct DrawnKind {
    int id;  // 0: a code and subcode of no kind
    uint8_t code, sub;
    unsigned len;  // 0: DRSensorData's, which depends on its entries
};

DrawnKind Drawn(int id, bool otherFormat = false)
{
    const ZelkoKind& k = *ZelkoKindById(id);
    return {id, k.code, k.subFirst, otherFormat ? k.frameLenAlt : k.frameLen};
}

template <class T, class V>
void Put(Bytes& f, const ZelkoFieldOf<T>& field, V value)
{
    ZelkoPutLE<T>(&f[field.offset], static_cast<T>(value));
}

// A logical frame of one of the module's kinds with a random body and, where the library
// branches on a field, values on both sides of the branch.
Bytes RandomLogicalFrame(Random& r)
{
    // The order is part of what a seed means: the common kinds of a drive, drawn more often,
    // are the seven from FFixWithRawDRMsg on.
    static const std::vector<DrawnKind> kKinds = {
        Drawn(ZELKO_ID_APP_VERSION),   Drawn(ZELKO_ID_VERSION_03),    Drawn(ZELKO_ID_VERSION_06),
        Drawn(ZELKO_ID_PRODUCT),       Drawn(ZELKO_ID_HARDWARE),      Drawn(ZELKO_ID_EVENT_LOG),
        Drawn(ZELKO_ID_HEALTH),        Drawn(ZELKO_ID_ACK_NO_IDX),    Drawn(ZELKO_ID_ACK_IDX),
        Drawn(ZELKO_ID_SYS_CMD_ACK),   Drawn(ZELKO_ID_FIX_WITH_RAW_DR), Drawn(ZELKO_ID_GPS_FIX),
        Drawn(ZELKO_ID_GPS_FIX_EX),    Drawn(ZELKO_ID_UTC_CONSTEL),   Drawn(ZELKO_ID_CHANNEL_MEAS),
        Drawn(ZELKO_ID_DPP_CAL),       Drawn(ZELKO_ID_DR_SENSOR),     Drawn(ZELKO_ID_ALT_FILTER, true),
        Drawn(ZELKO_ID_ALT_FILTER),    Drawn(ZELKO_ID_MOUNT_ANGLE),   {0, 0x42, 0x01, 10},
    };
    const DrawnKind& k = r.Chance(50) ? kKinds[10 + r.Below(7)] : r.Pick(kKinds);
    unsigned len = k.len;
    const unsigned entries = r.Chance(10) ? r.Range(40, 120) : r.Below(6);
    if (len == 0) len = ZelkoDRSensor::FrameLen(entries);
    const bool ack = k.id == ZELKO_ID_ACK_NO_IDX || k.id == ZELKO_ID_ACK_IDX || k.id == ZELKO_ID_SYS_CMD_ACK;
    if (ack && r.Chance(30)) len = r.Range(5, 11);  // acknowledgements told by length
    Bytes f = ZelkoBlankFrame(k.code, ack ? static_cast<uint8_t>(r.Range(0, 4)) : k.sub, len);
    for (unsigned i = 3; i + 2 < len; ++i) f[i] = r.BodyByte();

    switch (k.id) {
    case ZELKO_ID_ACK_NO_IDX: case ZELKO_ID_ACK_IDX: case ZELKO_ID_SYS_CMD_ACK:
        if (r.Chance(30) && len >= 8) {  // mount-angle command accepted
            const ZelkoKind& mount = *ZelkoKindById(ZELKO_ID_MOUNT_ANGLE);
            Put(f, ZelkoAckNoIdx::kCode, mount.code);
            Put(f, ZelkoAckNoIdx::kSubcode, mount.subFirst);
            Put(f, ZelkoAckNoIdx::kState, 0);
        }
        break;
    case ZELKO_ID_APP_VERSION:
        if (r.Chance(60)) {  // around the version that has mount-angle calibration
            Put(f, ZelkoVersion::kMajor, r.Below(4));
            Put(f, ZelkoVersion::kMinor, r.Below(4));
        }
        break;
    case ZELKO_ID_PRODUCT: case ZELKO_ID_HARDWARE:
        // Names reach the trace text; a '%' there would be expanded a second time by the log
        // (kept behaviour, reading an argument that is not there), so none is sent.
        for (unsigned i = 3; i + 2 < len; ++i) {
            if (r.Chance(80)) f[i] = static_cast<unsigned char>(r.Range(0x20, 0x7E));
            if (f[i] == '%') f[i] = '+';
        }
        break;
    case ZELKO_ID_EVENT_LOG:
        Put(f, ZelkoEventLog::kEvent, r.Pick(std::vector<unsigned char>{0x62, 0x63, 0x65, 0x74, 0x92, 0x10}));
        if (r.Chance(70)) Put(f, ZelkoEventLog::kLevel, r.Below(4) << 4);
        break;
    case ZELKO_ID_GPS_FIX: case ZELKO_ID_GPS_FIX_EX:
        if (r.Chance(60)) {
            using namespace ZelkoGpsFix;
            Put(f, kMode, r.Pick(std::vector<unsigned char>{MODE_FIX, MODE_FIX | 1 << MODE_3D_BIT, 0x02}));
        }
        break;
    case ZELKO_ID_UTC_CONSTEL:
        if (r.Chance(70)) Put(f, ZelkoUtcConstel::kYear, r.Pick(std::vector<uint16_t>{80, 1999, 2000, 2024, 2107}));
        break;
    case ZELKO_ID_CHANNEL_MEAS:
        Put(f, ZelkoChannelMeas::kSat, r.Below(45));
        break;
    case ZELKO_ID_DR_SENSOR:
        if (r.Chance(80)) f[ZelkoDRSensor::FRAME_VERSION_AT] = static_cast<unsigned char>(r.Range(6, 9));
        f[ZelkoDRSensor::FRAME_COUNT_AT] = static_cast<unsigned char>(entries);
        if (r.Chance(20)) {  // no samples; the record keeps the frame's sensor block from its byte 1 on
            using namespace ZelkoDRSensor;
            ZelkoPutLE<uint32_t>(&f[FRAME_SENSOR_AT - kSensorTime.offset + kSamples.offset], 0);
        }
        break;
    case ZELKO_ID_ALT_FILTER:
        Put(f, ZelkoAltFilter::kFormat, len == ZelkoAltFilter::FORMAT1_LEN ? 1 : r.Chance(90) ? 2 : 3);
        break;
    case ZELKO_ID_MOUNT_ANGLE:
        Put(f, ZelkoMountAngle::kPitch, r.Chance(10) ? 1.0f : static_cast<float>(r.Below(2001)) / 1000.0f - 1.0f);
        Put(f, ZelkoMountAngle::kRoll, static_cast<float>(r.Below(2001)) / 1000.0f - 1.0f);
        if (r.Chance(50)) Put(f, ZelkoMountAngle::kProgress, 100);
        break;
    }
    return ZelkoSeal(f);
}

// A wire frame spoilt in one of the ways a noisy line spoils it.
Bytes Corrupt(Random& r, Bytes wire)
{
    const size_t at = 1 + r.Below(static_cast<uint32_t>(wire.size() - 1));
    switch (r.Below(6)) {
    case 0: wire[at] ^= static_cast<unsigned char>(1u << r.Below(8)); break;        // bit error
    case 1: wire.resize(at); break;                                                  // cut short
    case 2: wire.erase(wire.begin()); break;                                         // start lost
    case 3: wire.insert(wire.end() - 1, 0x80); break;                                // escape at end
    case 4: wire.insert(wire.begin() + static_cast<long>(at), {0x80, 0x80}); break;  // double escape
    default: wire[at] = r.Byte(); break;
    }
    // Often the checksum is made to match, so that the damage reaches the decoders.
    if (wire.size() > 2 && r.Chance(40)) {
        unsigned char sum = 0;
        for (unsigned char b : wire) sum = static_cast<unsigned char>(sum + b);
        wire[wire.size() - 2] = static_cast<unsigned char>(wire[wire.size() - 2] - sum);
    }
    return wire;
}

// Bytes without the given marker.
Bytes Run(Random& r, size_t n, unsigned char without)
{
    Bytes b(n);
    for (unsigned char& c : b) {
        c = r.Byte();
        if (c == without) c = 0x55;
    }
    return b;
}

Bytes RandomSegment(Random& r)
{
    const uint32_t what = r.Below(100);
    if (what < 55) return ZelkoStuff(RandomLogicalFrame(r));
    if (what < 70) return Corrupt(r, ZelkoStuff(RandomLogicalFrame(r)));
    if (what < 80) return Run(r, r.Range(1, 40), 0x00);  // noise, markers included
    if (what < 85) return Run(r, r.Range(200, 1500), ZELKO_START);
    if (what < 88) {  // an open frame that outgrows the store buffer
        Bytes open = Run(r, r.Range(1000, 4500), ZELKO_END);
        for (unsigned char& c : open) c = c == ZELKO_START ? 0x55 : c;
        open[0] = ZELKO_START;
        return open;
    }
    Bytes burst;  // many small frames, for the per-call limit
    for (uint32_t n = r.Range(15, 40); n > 0; --n) {
        const DrawnKind k = Drawn(ZELKO_ID_CHANNEL_MEAS);
        Bytes f = ZelkoBlankFrame(k.code, k.sub, k.len);
        Put(f, ZelkoChannelMeas::kSat, r.Below(45));
        ZelkoAppend(burst, ZelkoStuff(ZelkoSeal(f)));
    }
    return burst;
}

void AddChunks(std::vector<unsigned short>& chunks, size_t n, uint32_t lo, uint32_t hi, Random& r)
{
    while (n > 0) {
        const size_t c = std::min<size_t>(n, r.Range(lo, hi));
        chunks.push_back(static_cast<unsigned short>(c));
        n -= c;
    }
}

// ---- digest

class Digest {
public:
    void Add(const void* data, size_t n)
    {
        const unsigned char* p = static_cast<const unsigned char*>(data);
        for (; n >= 8; p += 8, n -= 8) {
            uint64_t w;
            std::memcpy(&w, p, 8);
            Mix(w);
        }
        uint64_t last = n;
        for (size_t i = 0; i < n; ++i) last = last << 8 | p[i];
        Mix(last);
    }
    void Add(int v) { Mix(static_cast<uint64_t>(static_cast<int64_t>(v))); }
    uint64_t Value() const { return m_h; }

private:
    void Mix(uint64_t w)
    {
        m_h = (m_h ^ w) * 0x100000001B3ull;
        m_h ^= m_h >> 29;
    }
    uint64_t m_h = 0xCBF29CE484222325ull;
};

// A record as a getter copies it out, its result added.
template <class T>
T CopyOut(Digest& d, const CPositionMgr& m, int (CPositionMgr::*getter)(T*) const)
{
    T v{};
    d.Add((m.*getter)(&v));
    return v;
}

// Bytes [from, to) of a record. Padding is left out: merged stores may fill it with anything.
void AddBytes(Digest& d, const void* record, size_t from, size_t to)
{
    d.Add(static_cast<const unsigned char*>(record) + from, to - from);
}

void AddState(Digest& d, CPositionMgr& m)
{
    const _mGpsDataEx pos = CopyOut(d, m, &CPositionMgr::GetPosData);
    d.Add(&pos, sizeof pos);
    const _sZelkoStatusData status = CopyOut(d, m, &CPositionMgr::GetZelkoStatusData);
    d.Add(&status, sizeof status);
    const _sZelkoSubData sub = CopyOut(d, m, &CPositionMgr::GetZelkoSubData);
    AddBytes(d, &sub, 0, offsetof(_sZelkoSubData, ucDRFlag) + 1);
    const _sZelkoTimeData time = CopyOut(d, m, &CPositionMgr::GetZelkoTimeData);
    AddBytes(d, &time, 0, offsetof(_sZelkoTimeData, ucSecond) + 1);
    const _mZelkoLowDataInfo low = CopyOut(d, m, &CPositionMgr::GetZelkoLowOutData);
    AddBytes(d, &low, 0, offsetof(_mZelkoLowDataInfo, ucSecond) + 1);
    const _mGPSDREngineerInfo eng = CopyOut(d, m, &CPositionMgr::GetEngineeringModeData);
    AddBytes(d, &eng, 0, offsetof(_mGPSDREngineerInfo, ucProductVer2) + 1);
    AddBytes(d, &eng, offsetof(_mGPSDREngineerInfo, wProductVer3), sizeof eng - 2);
    static_assert(offsetof(_mGPSDREngineerInfo, wDRValueTail) == sizeof(_mGPSDREngineerInfo) - 4, "");
    const _mGPSDREngineerInfoEx engEx = CopyOut(d, m, &CPositionMgr::GetEngineeringModeDataEx);
    d.Add(engEx.sGyroHeading);
    d.Add(engEx.lGyroRate);
    const _mGPSDRDiagnosis diagnosis = CopyOut(d, m, &CPositionMgr::GetGPSDRDiagnosisData);
    d.Add(diagnosis.wEventLevels);
    // The byte count is the stream's length, which the seed already fixes; left out, the digests
    // recorded before it was counted still hold.
    const ZelkoParseStats stats = CopyOut(d, m, &CPositionMgr::GetParseStats);
    AddBytes(d, &stats, offsetof(ZelkoParseStats, ulAccepted), sizeof stats);
    _mSatelView sats[CPositionMgr::SATEL_TABLE_SIZE];
    d.Add(m.GetSatelData(sats));
    d.Add(sats, sizeof sats);
    d.Add(m.GetGyroCalHead());
    for (unsigned char which = 0; which < 4; ++which) d.Add(m.CheckGetZelkoVer(which));
    d.Add(m.CheckGetMountAngle());
    unsigned char kind = 0;
    unsigned long elapsed = 0;  // depends on the clock: only whether it is there counts
    d.Add(m.GetZelkoResetTime(kind, elapsed));
    d.Add(kind);
}

// Every record of a parser: they are byte arrays, laid out one after the other.
void AddParserRecords(Digest& d, const CZELKOParser& p)
{
    const unsigned char* first = p.m_stAppVersion.ucData;
    const unsigned char* end = p.m_stHealthStatus.ucData + sizeof p.m_stHealthStatus.ucData;
    d.Add(first, static_cast<size_t>(end - first));
}

void TraceLine(int prio, const char* tag, const char* text, void* ctx)
{
    Digest& d = *static_cast<Digest*>(ctx);
    d.Add(prio);
    d.Add(tag, std::strlen(tag));
    d.Add(text, std::strlen(text));
}

}  // namespace

ZelkoTestStream RandomZelkoStream(uint32_t seed)
{
    Random r(seed);
    ZelkoTestStream s;
    s.unitKind = static_cast<unsigned char>(r.Below(3));
    s.drKind = r.Chance(50) ? 8 : 2;
    s.resetKind = r.Chance(30) ? static_cast<int>(r.Below(4)) : -1;

    std::vector<size_t> segments;
    for (uint32_t n = r.Range(1, 100); n > 0; --n) {
        ZelkoAppend(s.bytes, RandomSegment(r));
        segments.push_back(s.bytes.size());
    }
    // Read shapes: byte by byte, short, serial-sized, large, or every segment cut once at a
    // random place (over many streams, every place).
    const uint32_t shape = r.Below(5);
    if (shape == 4) {
        size_t from = 0;
        for (size_t to : segments) {
            const size_t cut = r.Below(static_cast<uint32_t>(to - from + 1));
            AddChunks(s.chunks, cut, 4096, 4096, r);
            AddChunks(s.chunks, to - from - cut, 4096, 4096, r);
            from = to;
        }
    } else {
        static const uint32_t kShapes[4][2] = {{1, 8}, {1, 64}, {32, 256}, {200, 4096}};
        AddChunks(s.chunks, s.bytes.size(), kShapes[shape][0], kShapes[shape][1], r);
    }
    return s;
}

uint64_t DigestZelkoStream(const ZelkoTestStream& s)
{
    Digest d;
    mHostLogSetSink(&TraceLine, &d);
    CPositionMgr mgr;
    mgr.Initialize(1, s.unitKind, s.drKind);
    if (s.resetKind >= 0) mgr.StartMeasureFixTime(static_cast<unsigned char>(s.resetKind));
    CZELKOParser parser;
    std::vector<char> chunk;
    size_t at = 0;
    for (unsigned short n : s.chunks) {
        chunk.assign(s.bytes.begin() + static_cast<long>(at), s.bytes.begin() + static_cast<long>(at + n));
        at += n;
        d.Add(mgr.ParsingZelko(chunk.data(), n));
        AddState(d, mgr);
        d.Add(parser.Parsing(reinterpret_cast<unsigned char*>(chunk.data()), n, 0));
        AddParserRecords(d, parser);
        d.Add(parser.m_ucLastOutcome);
        d.Add(parser.m_ucLastKind);
    }
    mHostLogSetSink(nullptr, nullptr);
    return d.Value();
}
