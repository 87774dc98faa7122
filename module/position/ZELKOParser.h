// The Zelko module's receive side: frame primitives, one record per message kind and the
// dispatcher that turns one frame into a message identifier.
//
// A frame is 0x81, code, subcode, body, checksum, 0x82; the bytes 0x80..0x83 inside it travel as
// the pair 0x80, (v - 0x80). Offsets below are those of the de-stuffed frame, the start marker
// being byte 0; multi-byte values are little-endian (module/position/ZelkoBytes.h).
#ifndef GPSDR_POSITION_ZELKOPARSER_H
#define GPSDR_POSITION_ZELKOPARSER_H

#include <cstdint>

#include "module/position/ZelkoFrameScan.h"

// Frame markers; the four values 0x80..0x83 never appear unescaped inside a frame.
enum : unsigned char { ZELKO_ESCAPE = 0x80, ZELKO_START = 0x81, ZELKO_END = 0x82, ZELKO_RESERVED_LAST = 0x83 };

// Why CZELKOParser::Parsing did or did not accept its last frame (m_ucLastOutcome).
enum : unsigned char {
    ZELKO_OUTCOME_ACCEPTED,
    ZELKO_OUTCOME_NO_FRAME,        // nothing delimited (returned -1)
    ZELKO_OUTCOME_UNKNOWN_KIND,    // code and subcode of no kind
    ZELKO_OUTCOME_REFUSED_LENGTH,  // an acknowledgement of no known length, an unknown 7033 format
    ZELKO_OUTCOME_BAD_CHECKSUM,
    ZELKO_OUTCOME_BAD_ESCAPE,
};

// A record of N bytes. For all kinds but DRSensorData it is the de-stuffed frame image itself,
// so ucData[1] is the code, ucData[N-2] the checksum and ucData[N-1] the end marker.
template <unsigned N>
struct ZelkoRecord {
    static constexpr unsigned kSize = N;
    unsigned char ucData[N];
};

struct VersionReport : ZelkoRecord<12> {};        // 0x11/0x01, 0x03, 0x06
struct ProductReport : ZelkoRecord<29> {};        // 0x12/0x03
struct HardwareReport : ZelkoRecord<21> {};       // 0x12/0x04
struct SoftEventLogReport : ZelkoRecord<15> {};   // 0x14/0x01
struct HealthStatusReport : ZelkoRecord<8> {};    // 0x16/0x01
struct SAndQAckNoIdx : ZelkoRecord<8> {};         // 0x10/0x01..0x03, 8 bytes received
struct SAndQAckIdx : ZelkoRecord<9> {};           // 0x10/0x01..0x03, 9 bytes received
struct SysCmdAck : ZelkoRecord<7> {};             // 0x10/0x01..0x03, 7 bytes received
struct FFixWithRawDRMsg : ZelkoRecord<51> {};     // 0x30/0x02
struct GpsFixMsg : ZelkoRecord<33> {};            // 0x31/0x01
struct GpsFixMsgEx : ZelkoRecord<43> {};          // 0x31/0x02
struct UtcConstelSum : ZelkoRecord<23> {};        // 0x32/0x01
struct GpsChMeasShStat : ZelkoRecord<12> {};      // 0x33/0x01
struct DppCalMsg : ZelkoRecord<14> {};            // 0x36/0x07
struct MountAngCalGet : ZelkoRecord<75> {};       // 0x70/0x60
// 0x70/0x33: the format-2 frame image; format-1 frames (58 bytes) are widened, 56..71 zero.
struct AltFilterOutputData : ZelkoRecord<74> {};
// 0x70/0x13, repacked: [0] flag bits (bit 0 = frame flag bit 0, bits 1-2 = frame flag bits
// 6-7), [1..22] frame bytes 5..26, [23..51] the tail block (zero before format version 8).
struct DRSensorData : ZelkoRecord<52> {};

class CZELKOParser {
public:
    CZELKOParser();
    virtual ~CZELKOParser();

    // ---- frame primitives; indices and counts are 8 bits wide on purpose (they wrap at 256).
    // Index of the first 0x81, else len; either taken modulo 256 (callers treat a result not
    // below len as "no start marker").
    static unsigned char FindStartMsg(unsigned char* buf, unsigned short len);
    // With buf at a start marker: index (mod 256) of the first 0x82 from position 1 on;
    // 0 when there is none yet, len is 0 or buf[0] is itself 0x82.
    static unsigned char FindEndMsg(unsigned char* buf, unsigned short len);
    static unsigned char GetParserCode(unsigned char* frame);
    static unsigned char GetParserSubcode(unsigned char* frame);
    static bool IsEOMByte(unsigned char* p);
    // Escape bytes among frame[0..endIndex] (8-bit count).
    static unsigned char GetCountOf0x80(unsigned char* frame, unsigned char endIndex);
    // Removes escape pairs, despite its name; bytes written, 0 on failure.
    static int GenStuffedMsg(unsigned char* dst, unsigned char* src, int srcLen, int dstMax, char quiet);
    // 1 when frame[0..endIndex] sums to 0 in 8 bits (checked on the stuffed bytes), else 0.
    static int IsValidChecksum(unsigned char* frame, unsigned char endIndex);

    // ---- one decoder per record type: 1 when out was filled, 0 when the frame was refused
    // (out then keeps its previous contents). endIndex is the index of the end marker.
    int Parse(unsigned char* f, VersionReport* out, unsigned char e) { return ParseImage(f, out, e); }
    int Parse(unsigned char* f, ProductReport* out, unsigned char e) { return ParseImage(f, out, e); }
    int Parse(unsigned char* f, HardwareReport* out, unsigned char e) { return ParseImage(f, out, e); }
    int Parse(unsigned char* f, SoftEventLogReport* out, unsigned char e) { return ParseImage(f, out, e); }
    int Parse(unsigned char* f, HealthStatusReport* out, unsigned char e) { return ParseImage(f, out, e); }
    int Parse(unsigned char* f, SAndQAckNoIdx* out, unsigned char e) { return ParseImage(f, out, e); }
    int Parse(unsigned char* f, SAndQAckIdx* out, unsigned char e) { return ParseImage(f, out, e); }
    int Parse(unsigned char* f, SysCmdAck* out, unsigned char e) { return ParseImage(f, out, e); }
    int Parse(unsigned char* f, FFixWithRawDRMsg* out, unsigned char e) { return ParseImage(f, out, e); }
    int Parse(unsigned char* f, GpsFixMsg* out, unsigned char e) { return ParseImage(f, out, e); }
    int Parse(unsigned char* f, GpsFixMsgEx* out, unsigned char e) { return ParseImage(f, out, e); }
    int Parse(unsigned char* f, UtcConstelSum* out, unsigned char e) { return ParseImage(f, out, e); }
    int Parse(unsigned char* f, GpsChMeasShStat* out, unsigned char e) { return ParseImage(f, out, e); }
    int Parse(unsigned char* f, DppCalMsg* out, unsigned char e) { return ParseImage(f, out, e); }
    int Parse(unsigned char* f, MountAngCalGet* out, unsigned char e) { return ParseImage(f, out, e); }
    int Parse(unsigned char* frame, AltFilterOutputData* out, unsigned char endIndex);
    int Parse(unsigned char* frame, DRSensorData* out, unsigned char endIndex);

    // Decodes one frame into its record. atStart non-zero: buf begins with the start marker and
    // len is the frame length; zero: the markers are searched for. Returns the message
    // identifier (1101, 3002, ...; 1001/1002/1003 for the acknowledgements), 0 for a refused or
    // unknown frame, -1 when no frame could be delimited.
    int Parsing(unsigned char* buf, unsigned short len, char atStart);

    // ---- the last accepted frame of each kind; read right after Parsing returns its id.
    VersionReport m_stAppVersion;   // 0x11/0x01
    VersionReport m_stVersion03;    // 0x11/0x03
    VersionReport m_stVersion06;    // 0x11/0x06
    FFixWithRawDRMsg m_stFFixWithRawDR;
    GpsFixMsg m_stGpsFix;
    GpsFixMsgEx m_stGpsFixEx;
    UtcConstelSum m_stUtcConstelSum;
    GpsChMeasShStat m_stGpsChMeasShStat;
    DppCalMsg m_stDppCal;
    SAndQAckNoIdx m_stAckNoIdx;
    SAndQAckIdx m_stAckIdx;
    SysCmdAck m_stSysCmdAck;
    DRSensorData m_stDRSensor;
    AltFilterOutputData m_stAltFilterOutput;
    MountAngCalGet m_stMountAngCal;
    ProductReport m_stProduct;
    HardwareReport m_stHardware;
    SoftEventLogReport m_stSoftEventLog;
    HealthStatusReport m_stHealthStatus;

    // ---- what became of the last frame: a ZELKO_OUTCOME_* value, and for an accepted frame
    // its row in kZelkoKinds (module/position/ZelkoCatalogue.h). Plain bytes, read by the owner
    // right after Parsing, so that counting costs nothing on the way.
    unsigned char m_ucLastOutcome;
    unsigned char m_ucLastKind;

private:
    // IsValidChecksum's answer (and trace) for a frame whose sum is known.
    static int CheckSum(const unsigned char* frame, unsigned char endIndex, uint8_t sum);
    // Checksum, then de-stuffing of the frame into an L-byte image, written straight into out.
    int ParseFrameImage(unsigned char* frame, unsigned char* out, unsigned L, unsigned char endIndex);
    // Its part for a bad checksum or escapes, kept out of line so the common path stays short.
    [[gnu::noinline]] int ParseEscapedImage(unsigned char* frame, unsigned char* out, unsigned L,
                                            unsigned char endIndex, ZelkoFrameScan scan);
    // CheckSum, noting a failure as the last outcome.
    int CheckFrame(const unsigned char* frame, unsigned char endIndex, uint8_t sum);

    template <class R>
    int ParseImage(unsigned char* frame, R* out, unsigned char endIndex)
    {
        return ParseFrameImage(frame, out->ucData, R::kSize, endIndex);
    }
};

// The catalogue of message kinds and their field layout is part of this interface: whatever
// reads a record reads it through the catalogue's named fields. It needs the class above.
#include "module/position/ZelkoCatalogue.h"

#endif
