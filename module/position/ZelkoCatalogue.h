// The one catalogue of the messages the Zelko module sends: per kind its code and subcode, its
// identifier, its lengths, the parser's record that holds it and the layout of the fields that
// anything reads. The parser's dispatch, the position manager's actions, zelko-decode and
// zelko-sim all read it; a new kind is one row here plus its handler.
//
// Offsets are those of the decoded record, which is the de-stuffed frame image (start marker =
// byte 0) for every kind but DRSensorData, whose record is repacked (ZelkoDRSensor below).
// Everything is constexpr plain data, so a read through a named field costs what a literal
// offset would.
#ifndef GPSDR_POSITION_ZELKOCATALOGUE_H
#define GPSDR_POSITION_ZELKOCATALOGUE_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "module/position/ZELKOParser.h"
#include "module/position/ZelkoBytes.h"

// The identifiers CZELKOParser::Parsing returns: code and subcode in hex digits read as a
// decimal number, except the acknowledgements, whose identifiers are fixed.
enum ZelkoId : int {
    ZELKO_ID_ACK_NO_IDX = 1001,
    ZELKO_ID_ACK_IDX = 1002,
    ZELKO_ID_SYS_CMD_ACK = 1003,
    ZELKO_ID_APP_VERSION = 1101,
    ZELKO_ID_VERSION_03 = 1103,
    ZELKO_ID_VERSION_06 = 1106,
    ZELKO_ID_PRODUCT = 1203,
    ZELKO_ID_HARDWARE = 1204,
    ZELKO_ID_EVENT_LOG = 1401,
    ZELKO_ID_HEALTH = 1601,
    ZELKO_ID_FIX_WITH_RAW_DR = 3002,
    ZELKO_ID_GPS_FIX = 3101,
    ZELKO_ID_GPS_FIX_EX = 3102,
    ZELKO_ID_UTC_CONSTEL = 3201,
    ZELKO_ID_CHANNEL_MEAS = 3301,
    ZELKO_ID_DPP_CAL = 3607,
    ZELKO_ID_DR_SENSOR = 7013,
    ZELKO_ID_ALT_FILTER = 7033,
    ZELKO_ID_MOUNT_ANGLE = 7060,
};

// How a field's value is meant: the scale of a number, or how a tool shows it.
enum class ZelkoUnit : uint8_t {
    Count,       // a plain number
    Hex,         // a code or a set of bits
    Low4,        // a number in the low four bits; the high four are not part of it
    Angle31,     // 2^31 = 180 degrees
    Heading15,   // 180/32768 degree
    CmPerSec,    // 0.01 m/s
    Metres,
    Dop256,      // 1/256
    Millisecond,
    Degree,
    Degree2,     // 2 degrees
    DbHz5,       // 0.2 dB-Hz
    FixMode,     // a GPS fix mode byte, ZelkoGpsFix::MODE_*
    Float,       // IEEE single precision
    Text16,      // 16 bytes of multibyte text, EUC-KR
};

// A scaled unit in the units GPS users read: degrees, metres, m/s, seconds, dB-Hz; decimals
// enough for its resolution. factor is 0 for the units that are no scaled number.
struct ZelkoScale {
    double factor;
    uint8_t decimals;
};

constexpr ZelkoScale ZelkoScaleOf(ZelkoUnit unit)
{
    switch (unit) {
    case ZelkoUnit::Angle31: return {180.0 / 2147483648.0, 7};
    case ZelkoUnit::Heading15: return {180.0 / 32768.0, 2};
    case ZelkoUnit::CmPerSec: return {0.01, 2};
    case ZelkoUnit::Dop256: return {1.0 / 256.0, 2};
    case ZelkoUnit::Millisecond: return {0.001, 3};
    case ZelkoUnit::Metres:
    case ZelkoUnit::Degree: return {1.0, 0};
    case ZelkoUnit::Degree2: return {2.0, 0};
    case ZelkoUnit::DbHz5: return {0.2, 1};
    default: return {0.0, 0};
    }
}

struct ZelkoField {
    const char* name;
    uint8_t offset;  // in the record
    uint8_t width;   // bytes
    bool isSigned;
    ZelkoUnit unit;
};

// The 16-byte names of the two reports.
struct ZelkoText16 {
    unsigned char bytes[16];
};

// A field whose value type is fixed, so that ZelkoGet reads it with the right width and sign.
template <class T>
struct ZelkoFieldOf : ZelkoField {};

template <class T>
constexpr ZelkoFieldOf<T> ZelkoFieldAt(const char* name, uint8_t offset, ZelkoUnit unit)
{
    return {{name, static_cast<uint8_t>(offset), static_cast<uint8_t>(sizeof(T)),
             std::is_floating_point<T>::value || std::is_signed<T>::value, unit}};
}

template <class T>
inline T ZelkoGet(const unsigned char* record, const ZelkoFieldOf<T>& field)
{
    return ZelkoGetLE<T>(record + field.offset);
}

inline const unsigned char* ZelkoGet(const unsigned char* record, const ZelkoFieldOf<ZelkoText16>& field)
{
    return record + field.offset;
}

// Any field's value as a 64-bit number (a float's bit pattern for ZelkoUnit::Float; 0 for text).
int64_t ZelkoFieldValue(const unsigned char* record, const ZelkoField& field);

// ---- the fields, one namespace per record layout
namespace ZelkoAckNoIdx {
inline constexpr auto kCode = ZelkoFieldAt<uint8_t>("code", 3, ZelkoUnit::Hex);
inline constexpr auto kSubcode = ZelkoFieldAt<uint8_t>("subcode", 4, ZelkoUnit::Hex);
inline constexpr auto kState = ZelkoFieldAt<uint8_t>("state", 5, ZelkoUnit::Count);
inline constexpr ZelkoField kFields[] = {kCode, kSubcode, kState};
}  // namespace ZelkoAckNoIdx

namespace ZelkoAckIdx {
inline constexpr auto kCode = ZelkoFieldAt<uint8_t>("code", 3, ZelkoUnit::Hex);
inline constexpr auto kSubcode = ZelkoFieldAt<uint8_t>("subcode", 4, ZelkoUnit::Hex);
inline constexpr auto kIndex = ZelkoFieldAt<uint8_t>("index", 5, ZelkoUnit::Hex);
inline constexpr auto kState = ZelkoFieldAt<uint8_t>("state", 6, ZelkoUnit::Count);
inline constexpr ZelkoField kFields[] = {kCode, kSubcode, kIndex, kState};
}  // namespace ZelkoAckIdx

namespace ZelkoSysCmdAck {
inline constexpr auto kCommand = ZelkoFieldAt<uint8_t>("command", 3, ZelkoUnit::Hex);
inline constexpr auto kState = ZelkoFieldAt<uint8_t>("state", 4, ZelkoUnit::Count);
inline constexpr ZelkoField kFields[] = {kCommand, kState};
}  // namespace ZelkoSysCmdAck

namespace ZelkoVersion {
inline constexpr auto kMajor = ZelkoFieldAt<uint8_t>("major", 3, ZelkoUnit::Count);
inline constexpr auto kMinor = ZelkoFieldAt<uint8_t>("minor", 4, ZelkoUnit::Count);
inline constexpr auto kPatch = ZelkoFieldAt<uint8_t>("patch", 5, ZelkoUnit::Count);
inline constexpr ZelkoField kFields[] = {kMajor, kMinor, kPatch};
}  // namespace ZelkoVersion

namespace ZelkoProduct {
inline constexpr auto kSerial = ZelkoFieldAt<uint32_t>("serial", 3, ZelkoUnit::Count);
inline constexpr auto kVersion1 = ZelkoFieldAt<uint8_t>("version_1", 7, ZelkoUnit::Count);
inline constexpr auto kVersion2 = ZelkoFieldAt<uint8_t>("version_2", 8, ZelkoUnit::Count);
inline constexpr auto kVersion3 = ZelkoFieldAt<uint16_t>("version_3", 9, ZelkoUnit::Count);
inline constexpr auto kName = ZelkoFieldAt<ZelkoText16>("name", 11, ZelkoUnit::Text16);
inline constexpr ZelkoField kFields[] = {kSerial, kVersion1, kVersion2, kVersion3, kName};
}  // namespace ZelkoProduct

namespace ZelkoHardware {
inline constexpr auto kName = ZelkoFieldAt<ZelkoText16>("name", 3, ZelkoUnit::Text16);
inline constexpr ZelkoField kFields[] = {kName};
}  // namespace ZelkoHardware

namespace ZelkoEventLog {
inline constexpr auto kEvent = ZelkoFieldAt<uint8_t>("event", 11, ZelkoUnit::Hex);
inline constexpr auto kLevel = ZelkoFieldAt<uint8_t>("level", 12, ZelkoUnit::Hex);
inline constexpr ZelkoField kFields[] = {kEvent, kLevel};
}  // namespace ZelkoEventLog

namespace ZelkoFixWithRawDR {
inline constexpr auto kStatus = ZelkoFieldAt<uint8_t>("status", 3, ZelkoUnit::Hex);
inline constexpr auto kStatus2 = ZelkoFieldAt<uint8_t>("status2", 4, ZelkoUnit::Hex);
inline constexpr auto kDRTime = ZelkoFieldAt<uint32_t>("dr_time", 6, ZelkoUnit::Millisecond);
inline constexpr auto kLat = ZelkoFieldAt<int32_t>("lat", 10, ZelkoUnit::Angle31);
inline constexpr auto kLon = ZelkoFieldAt<int32_t>("lon", 14, ZelkoUnit::Angle31);
inline constexpr auto kAlt = ZelkoFieldAt<int16_t>("alt", 18, ZelkoUnit::Metres);
inline constexpr auto kHeading = ZelkoFieldAt<uint16_t>("heading", 20, ZelkoUnit::Heading15);
inline constexpr auto kSpeed = ZelkoFieldAt<uint16_t>("speed", 22, ZelkoUnit::CmPerSec);
// DR values carried as they stand; 2 and 3 are also read unsigned.
inline constexpr auto kDRValue1 = ZelkoFieldAt<uint16_t>("dr_value_1", 24, ZelkoUnit::Count);
inline constexpr auto kDRValue2 = ZelkoFieldAt<int16_t>("dr_value_2", 26, ZelkoUnit::Count);
inline constexpr auto kDRValue3 = ZelkoFieldAt<int16_t>("dr_value_3", 28, ZelkoUnit::Count);
inline constexpr auto kDRValue4 = ZelkoFieldAt<uint16_t>("dr_value_4", 38, ZelkoUnit::Count);
inline constexpr auto kDRValue5 = ZelkoFieldAt<uint16_t>("dr_value_5", 40, ZelkoUnit::Count);
inline constexpr auto kDRFlags = ZelkoFieldAt<uint8_t>("dr_flags", 42, ZelkoUnit::Hex);
inline constexpr auto kDRValue6 = ZelkoFieldAt<uint32_t>("dr_value_6", 43, ZelkoUnit::Count);
inline constexpr auto kDRValue7 = ZelkoFieldAt<uint16_t>("dr_value_7", 47, ZelkoUnit::Count);
inline constexpr ZelkoField kFields[] = {kStatus,   kStatus2,  kDRTime,   kLat,      kLon,     kAlt,
                                         kHeading,  kSpeed,    kDRValue1, kDRValue2, kDRValue3, kDRValue4,
                                         kDRValue5, kDRFlags,  kDRValue6, kDRValue7};
}  // namespace ZelkoFixWithRawDR

// GpsFixMsg and GpsFixMsgEx: the longer kind has the same fields at the same places.
namespace ZelkoGpsFix {
// The mode byte: its low six bits are MODE_FIX for a fix (anything else is none), and bit
// MODE_3D_BIT marks a 3-D one.
enum : uint8_t { MODE_MASK = 0x3F, MODE_FIX = 0x11, MODE_3D_BIT = 6 };
inline constexpr auto kMode = ZelkoFieldAt<uint8_t>("mode", 7, ZelkoUnit::FixMode);
inline constexpr auto kLat = ZelkoFieldAt<int32_t>("lat", 9, ZelkoUnit::Angle31);
inline constexpr auto kLon = ZelkoFieldAt<int32_t>("lon", 13, ZelkoUnit::Angle31);
inline constexpr auto kHeading = ZelkoFieldAt<uint16_t>("heading", 19, ZelkoUnit::Heading15);
inline constexpr auto kSpeed = ZelkoFieldAt<uint16_t>("speed", 21, ZelkoUnit::CmPerSec);
inline constexpr ZelkoField kFields[] = {kMode, kLat, kLon, kHeading, kSpeed};
}  // namespace ZelkoGpsFix

namespace ZelkoUtcConstel {
inline constexpr auto kYear = ZelkoFieldAt<uint16_t>("year", 3, ZelkoUnit::Count);
inline constexpr auto kMonth = ZelkoFieldAt<uint8_t>("month", 5, ZelkoUnit::Count);
inline constexpr auto kDay = ZelkoFieldAt<uint8_t>("day", 6, ZelkoUnit::Count);
inline constexpr auto kHour = ZelkoFieldAt<uint8_t>("hour", 7, ZelkoUnit::Count);
inline constexpr auto kMinute = ZelkoFieldAt<uint8_t>("minute", 8, ZelkoUnit::Count);
inline constexpr auto kSecond = ZelkoFieldAt<uint8_t>("second", 9, ZelkoUnit::Count);
// D1, D2 and D3 of the record: position, horizontal and vertical dilution of precision.
inline constexpr auto kDop1 = ZelkoFieldAt<uint16_t>("pdop", 11, ZelkoUnit::Dop256);
inline constexpr auto kDop2 = ZelkoFieldAt<uint16_t>("hdop", 13, ZelkoUnit::Dop256);
inline constexpr auto kDop3 = ZelkoFieldAt<uint16_t>("vdop", 15, ZelkoUnit::Dop256);
inline constexpr auto kFixKind = ZelkoFieldAt<uint8_t>("fix_kind", 18, ZelkoUnit::Low4);
inline constexpr auto kSatsUsed = ZelkoFieldAt<uint8_t>("sats_used", 20, ZelkoUnit::Low4);
inline constexpr ZelkoField kFields[] = {kYear, kMonth, kDay,  kHour,    kMinute,  kSecond,
                                         kDop1, kDop2,  kDop3, kFixKind, kSatsUsed};
}  // namespace ZelkoUtcConstel

namespace ZelkoChannelMeas {
inline constexpr auto kChannel = ZelkoFieldAt<uint8_t>("channel", 3, ZelkoUnit::Count);
inline constexpr auto kSat = ZelkoFieldAt<uint8_t>("sat", 4, ZelkoUnit::Count);
inline constexpr auto kState = ZelkoFieldAt<uint8_t>("state", 5, ZelkoUnit::Hex);
inline constexpr auto kSnr = ZelkoFieldAt<uint8_t>("snr", 6, ZelkoUnit::DbHz5);
inline constexpr auto kAzimuth = ZelkoFieldAt<uint8_t>("azimuth", 7, ZelkoUnit::Degree2);
inline constexpr auto kElevation = ZelkoFieldAt<uint8_t>("elevation", 8, ZelkoUnit::Degree);
inline constexpr ZelkoField kFields[] = {kChannel, kSat, kState, kSnr, kAzimuth, kElevation};
}  // namespace ZelkoChannelMeas

// The repacked record: [0] flag bits, [1..22] frame bytes 5..26, [23..51] the tail block.
namespace ZelkoDRSensor {
inline constexpr auto kFlags = ZelkoFieldAt<uint8_t>("flags", 0, ZelkoUnit::Hex);
inline constexpr auto kSensorTime = ZelkoFieldAt<uint32_t>("sensor_time", 1, ZelkoUnit::Millisecond);
inline constexpr auto kSamples = ZelkoFieldAt<uint32_t>("samples", 15, ZelkoUnit::Count);
inline constexpr auto kGyroSum = ZelkoFieldAt<int32_t>("gyro_sum", 43, ZelkoUnit::Count);
inline constexpr ZelkoField kFields[] = {kFlags, kSensorTime, kSamples, kGyroSum};
// The frame around the record: a format version (the tail block from 8 on), then N four-byte
// entries that the record does not keep, then the tail block.
enum : uint8_t {
    FRAME_VERSION_AT = 3, FRAME_FLAGS_AT = 4, FRAME_SENSOR_AT = 5, SENSOR_LEN = 22, FRAME_COUNT_AT = 27,
    FRAME_ENTRIES_AT = 28, TAIL_VERSION = 8, TAIL_LEN = 29, RECORD_TAIL_AT = 23
};
// Logical length of a frame of version TAIL_VERSION or later with n entries.
constexpr unsigned FrameLen(unsigned n) { return FRAME_ENTRIES_AT + 4 * n + TAIL_LEN + 2; }
}  // namespace ZelkoDRSensor

namespace ZelkoAltFilter {
inline constexpr auto kFormat = ZelkoFieldAt<uint8_t>("format", 3, ZelkoUnit::Count);
inline constexpr ZelkoField kFields[] = {kFormat};
// Format 1 is 58 bytes; its record is widened to the format-2 layout, FORMAT2_ONLY..71 zero.
enum : uint8_t { FORMAT1_LEN = 58, FORMAT2_LEN = 74, FORMAT2_ONLY = 56 };
}  // namespace ZelkoAltFilter

namespace ZelkoMountAngle {
// The gravity direction the module settled on; pitch and roll are derived from the first two.
inline constexpr auto kPitch = ZelkoFieldAt<float>("pitch", 29, ZelkoUnit::Float);
inline constexpr auto kRoll = ZelkoFieldAt<float>("roll", 33, ZelkoUnit::Float);
inline constexpr auto kGravityZ = ZelkoFieldAt<float>("gravity_z", 37, ZelkoUnit::Float);
inline constexpr auto kProgress = ZelkoFieldAt<uint8_t>("progress", 72, ZelkoUnit::Count);  // percent
inline constexpr ZelkoField kFields[] = {kPitch, kRoll, kGravityZ, kProgress};
}  // namespace ZelkoMountAngle

// ---- the kinds
struct ZelkoFieldList {
    const ZelkoField* begin_;
    uint8_t count;
    constexpr ZelkoFieldList() : begin_(nullptr), count(0) {}
    template <size_t N>
    constexpr ZelkoFieldList(const ZelkoField (&fields)[N]) : begin_(fields), count(static_cast<uint8_t>(N))
    {
    }
    constexpr const ZelkoField* begin() const { return begin_; }
    constexpr const ZelkoField* end() const { return begin_ + count; }
};

// Where the parser keeps a kind's record, and how it decodes a frame into it.
struct ZelkoSlot {
    int (*decode)(CZELKOParser& parser, unsigned char* frame, unsigned char endIndex);
    const unsigned char* (*record)(const CZELKOParser& parser);
    uint8_t recordSize;
};

template <auto Member>
constexpr ZelkoSlot ZelkoSlotOf()
{
    return {[](CZELKOParser& p, unsigned char* frame, unsigned char endIndex) {
                return p.Parse(frame, &(p.*Member), endIndex);
            },
            [](const CZELKOParser& p) { return static_cast<const unsigned char*>((p.*Member).ucData); },
            static_cast<uint8_t>(sizeof((static_cast<CZELKOParser*>(nullptr)->*Member).ucData))};
}

struct ZelkoKind {
    int id;
    const char* name;  // the record type
    uint8_t code;
    uint8_t subFirst, subLast;
    // Acknowledgements share one code and are told apart only by the length as received,
    // escapes included (so one that needed escaping is not recognised); 0 for the others.
    uint8_t receivedLen;
    uint8_t frameLen;     // logical; 0 for DRSensorData, whose length varies
    uint8_t frameLenAlt;  // the other format's length, 0 if none
    ZelkoSlot slot;
    ZelkoFieldList fields;
};

// Searched in this order by CZELKOParser::Parsing; the first match decides.
inline constexpr ZelkoKind kZelkoKinds[] = {
    {ZELKO_ID_APP_VERSION, "VersionReport", 0x11, 0x01, 0x01, 0, 12, 0, ZelkoSlotOf<&CZELKOParser::m_stAppVersion>(), ZelkoVersion::kFields},
    {ZELKO_ID_VERSION_03, "VersionReport", 0x11, 0x03, 0x03, 0, 12, 0, ZelkoSlotOf<&CZELKOParser::m_stVersion03>(), ZelkoVersion::kFields},
    {ZELKO_ID_VERSION_06, "VersionReport", 0x11, 0x06, 0x06, 0, 12, 0, ZelkoSlotOf<&CZELKOParser::m_stVersion06>(), ZelkoVersion::kFields},
    {ZELKO_ID_PRODUCT, "ProductReport", 0x12, 0x03, 0x03, 0, 29, 0, ZelkoSlotOf<&CZELKOParser::m_stProduct>(), ZelkoProduct::kFields},
    {ZELKO_ID_HARDWARE, "HardwareReport", 0x12, 0x04, 0x04, 0, 21, 0, ZelkoSlotOf<&CZELKOParser::m_stHardware>(), ZelkoHardware::kFields},
    {ZELKO_ID_FIX_WITH_RAW_DR, "FFixWithRawDRMsg", 0x30, 0x02, 0x02, 0, 51, 0, ZelkoSlotOf<&CZELKOParser::m_stFFixWithRawDR>(), ZelkoFixWithRawDR::kFields},
    {ZELKO_ID_GPS_FIX, "GpsFixMsg", 0x31, 0x01, 0x01, 0, 33, 0, ZelkoSlotOf<&CZELKOParser::m_stGpsFix>(), ZelkoGpsFix::kFields},
    {ZELKO_ID_GPS_FIX_EX, "GpsFixMsgEx", 0x31, 0x02, 0x02, 0, 43, 0, ZelkoSlotOf<&CZELKOParser::m_stGpsFixEx>(), ZelkoGpsFix::kFields},
    {ZELKO_ID_UTC_CONSTEL, "UtcConstelSum", 0x32, 0x01, 0x01, 0, 23, 0, ZelkoSlotOf<&CZELKOParser::m_stUtcConstelSum>(), ZelkoUtcConstel::kFields},
    {ZELKO_ID_CHANNEL_MEAS, "GpsChMeasShStat", 0x33, 0x01, 0x01, 0, 12, 0, ZelkoSlotOf<&CZELKOParser::m_stGpsChMeasShStat>(), ZelkoChannelMeas::kFields},
    {ZELKO_ID_DPP_CAL, "DppCalMsg", 0x36, 0x07, 0x07, 0, 14, 0, ZelkoSlotOf<&CZELKOParser::m_stDppCal>(), {}},
    {ZELKO_ID_DR_SENSOR, "DRSensorData", 0x70, 0x13, 0x13, 0, 0, 0, ZelkoSlotOf<&CZELKOParser::m_stDRSensor>(), ZelkoDRSensor::kFields},
    {ZELKO_ID_ALT_FILTER, "AltFilterOutputData", 0x70, 0x33, 0x33, 0, ZelkoAltFilter::FORMAT2_LEN, ZelkoAltFilter::FORMAT1_LEN, ZelkoSlotOf<&CZELKOParser::m_stAltFilterOutput>(), ZelkoAltFilter::kFields},
    {ZELKO_ID_MOUNT_ANGLE, "MountAngCalGet", 0x70, 0x60, 0x60, 0, 75, 0, ZelkoSlotOf<&CZELKOParser::m_stMountAngCal>(), ZelkoMountAngle::kFields},
    {ZELKO_ID_EVENT_LOG, "SoftEventLogReport", 0x14, 0x01, 0x01, 0, 15, 0, ZelkoSlotOf<&CZELKOParser::m_stSoftEventLog>(), ZelkoEventLog::kFields},
    {ZELKO_ID_HEALTH, "HealthStatusReport", 0x16, 0x01, 0x01, 0, 8, 0, ZelkoSlotOf<&CZELKOParser::m_stHealthStatus>(), {}},
    {ZELKO_ID_ACK_NO_IDX, "SAndQAckNoIdx", 0x10, 0x01, 0x03, 8, 8, 0, ZelkoSlotOf<&CZELKOParser::m_stAckNoIdx>(), ZelkoAckNoIdx::kFields},
    {ZELKO_ID_ACK_IDX, "SAndQAckIdx", 0x10, 0x01, 0x03, 9, 9, 0, ZelkoSlotOf<&CZELKOParser::m_stAckIdx>(), ZelkoAckIdx::kFields},
    {ZELKO_ID_SYS_CMD_ACK, "SysCmdAck", 0x10, 0x01, 0x03, 7, 7, 0, ZelkoSlotOf<&CZELKOParser::m_stSysCmdAck>(), ZelkoSysCmdAck::kFields},
};

inline constexpr unsigned ZELKO_KIND_COUNT = sizeof kZelkoKinds / sizeof kZelkoKinds[0];

// The row of an identifier, or null.
const ZelkoKind* ZelkoKindById(int id);
// Its place in kZelkoKinds, or ZELKO_KIND_COUNT.
unsigned ZelkoKindIndex(int id);

#endif
