// Message catalogue and dispatch: every kind of the catalogue round trip and its counters, refusals,
// and the exact image of the repacked DR sensor kind.
#include <set>

#include "tests/position/PositionTestSupport.h"
#include "tools/common/ZelkoFrameWriter.h"

namespace {

using Bytes = ZelkoBytes;

template <auto Slot>
Bytes RecordBytes(const CZELKOParser& p)
{
    const auto& r = p.*Slot;
    return Bytes(r.ucData, r.ucData + sizeof r.ucData);
}

int ParseWire(CZELKOParser& p, Bytes wire)
{
    return p.Parsing(wire.data(), static_cast<unsigned short>(wire.size()), 1);
}

// Every kind of the catalogue, built from it with a value in every field (escaped where the
// kind allows), parses back to the same values; fed to a position manager, each is counted once
// under its own row, and each refusal under its reason.
TEST(ZelkoMessages, EveryCatalogueKindRoundTripsAndIsCounted)
{
    testsupport::LogCapture log;
    CZELKOParser parser;
    CPositionMgr mgr;
    mgr.Initialize(1, 1, 2);
    std::set<int> ids;
    ZelkoBytes stream;
    EXPECT_EQ(ZelkoKindById(1102), nullptr);
    for (const ZelkoKind& kind : kZelkoKinds) {
        SCOPED_TRACE(kind.id);
        EXPECT_TRUE(ids.insert(kind.id).second);
        EXPECT_EQ(ZelkoKindById(kind.id), &kind);
        EXPECT_EQ(kind.frameLen == 0 ? 52 : kind.frameLen, kind.slot.recordSize);
        EXPECT_EQ(kind.receivedLen, kind.code == 0x10 ? kind.frameLen : 0);
        // An acknowledgement that needed escaping would not be recognised, so it gets none.
        const uint8_t base = kind.receivedLen != 0 ? 0x10 : 0x7D;
        for (uint8_t format = 2; format >= (kind.frameLenAlt != 0 ? 1 : 2); --format) {
            ZelkoBytes rec = ZelkoRecordImage(kind);
            for (const ZelkoField& f : kind.fields) {
                uint64_t v = 0;  // bytes counting up from base + offset
                for (unsigned i = 0; i < 8; ++i) v |= uint64_t{static_cast<uint8_t>(base + f.offset + i)} << (8 * i);
                ZelkoSetField(rec, {&f, static_cast<int64_t>(v), "Zk\x80\x83"});
            }
            if (kind.id == ZELKO_ID_DR_SENSOR) rec[ZelkoDRSensor::kFlags.offset] &= 7;  // 3 bits are carried
            if (kind.id == ZELKO_ID_ALT_FILTER) rec[ZelkoAltFilter::kFormat.offset] = format;
            const ZelkoBytes wire = ZelkoStuff(ZelkoLogicalFrame(kind, rec, {0x83828180}));
            ASSERT_EQ(parser.Parsing(ZelkoBytes(wire).data(), static_cast<unsigned short>(wire.size()), 1), kind.id);
            const unsigned char* got = kind.slot.record(parser);
            for (const ZelkoField& f : kind.fields) {
                EXPECT_EQ(ZelkoBytes(got + f.offset, got + f.offset + f.width),
                          ZelkoBytes(&rec[f.offset], &rec[f.offset] + f.width))
                    << f.name;
            }
            ZelkoAppend(stream, wire);
        }
    }
    ASSERT_EQ(pt::Feed(mgr, stream), 1);
    unsigned char last[80];
    for (const ZelkoKind& kind : kZelkoKinds)
        EXPECT_EQ(ZelkoBytes(last, last + mgr.GetLastRecord(kind.id, last, sizeof last)),
                  ZelkoBytes(kind.slot.record(parser), kind.slot.record(parser) + kind.slot.recordSize)) << kind.id;
    const size_t firstBytes = stream.size();
    // Refusals: a broken checksum, no known kind (twice an acknowledgement's code with another
    // subcode), an acknowledgement of no known length, an unknown format, a frame of four bytes.
    stream.clear();
    ZelkoBytes broken = ZelkoWireFrame(ZELKO_ID_GPS_FIX);
    broken[4] ^= 1;
    ZelkoBytes format3 = ZelkoRecordImage(*ZelkoKindById(ZELKO_ID_ALT_FILTER), {{&ZelkoAltFilter::kFormat, 3}});
    for (const ZelkoBytes& bad : {broken, ZelkoSeal(ZelkoBlankFrame(0x55, 1, 6)), ZelkoSeal(ZelkoBlankFrame(0x10, 4, 8)),
                                  ZelkoSeal(ZelkoBlankFrame(0x10, 0, 7)), ZelkoSeal(ZelkoBlankFrame(0x10, 1, 10)),
                                  ZelkoSeal(format3),
                                  ZelkoBytes{0x81, 0x11, 0x01, 0x82}})
        ZelkoAppend(stream, bad);
    EXPECT_EQ(pt::Feed(mgr, stream), 0);

    ZelkoParseStats stats;
    EXPECT_EQ(mgr.GetParseStats(nullptr), 0);
    ASSERT_EQ(mgr.GetParseStats(&stats), 1);
    for (unsigned k = 0; k < ZELKO_KIND_COUNT; ++k)
        EXPECT_EQ(stats.ulAccepted[k], kZelkoKinds[k].frameLenAlt != 0 ? 2u : 1u) << kZelkoKinds[k].id;
    EXPECT_EQ(pt::Text("%u %u %u %u %u", stats.ulChecksumFailures, stats.ulEscapeFailures, stats.ulRefusedLengths,
                       stats.ulUnknownKinds, stats.ulResetTooMany),
              "1 0 3 3 0");
    EXPECT_EQ(stats.ulBytes, firstBytes + stream.size());
}

TEST(ZelkoMessages, ParsingRefusesNoBufferAndTinyFrames)
{
    testsupport::LogCapture log;
    CZELKOParser parser;
    EXPECT_EQ(parser.Parsing(nullptr, 10, 1), -1);
    EXPECT_EQ(log.Take(), pt::Lines({"[MM-Dbg][CZELKOParser::Parsing] data buffer is NULL\n"}));

    Bytes tiny = {0x81, 0x11, 0x01, 0x82};
    EXPECT_EQ(parser.Parsing(tiny.data(), 4, 1), -1);
    EXPECT_TRUE(log.Take().empty());
}

TEST(ZelkoMessages, DRSensorDataIsRepacked)
{
    testsupport::LogCapture log;
    CZELKOParser parser;
    auto record = RecordBytes<&CZELKOParser::m_stDRSensor>;

    // Format 8 with two entries: the tail block starts at logical offset 36, escaped; bits 3..7
    // of the first byte belong to the record, not the frame.
    Bytes v8 = ZelkoSampleDRSensor(0x01020304, 10, -12345, 2);
    v8[4] = 0x40;
    for (size_t i = 36; i < 65; ++i) v8[i] = static_cast<unsigned char>(0xA0 + i);
    parser.m_stDRSensor.ucData[0] = 0xF8;
    v8[6] = 0x82;
    v8[30] = 0x81;  // an entry
    v8[40] = 0x80;  // the tail block
    v8 = ZelkoSeal(v8);
    const Bytes wire = ZelkoStuff(v8);
    ASSERT_GT(wire.size(), v8.size() + 2);
    ASSERT_EQ(ParseWire(parser, wire), 7013);
    Bytes want = {0xFA};
    ZelkoAppend(want, Bytes(v8.begin() + 5, v8.begin() + 27));
    ZelkoAppend(want, Bytes(v8.begin() + 36, v8.begin() + 65));
    EXPECT_EQ(record(parser), want);

    const Bytes kept = record(parser);
    Bytes bad = wire;
    bad[10] ^= 1;
    EXPECT_EQ(ParseWire(parser, bad), 0);
    EXPECT_EQ(record(parser), kept);
    EXPECT_EQ(log.Take(), pt::Lines({"[ZELKOParser::CalChecksum]Invalid - Len(69), S(81), E(82), ID(70-13), Sum(01)\n"}));
}

}  // namespace
