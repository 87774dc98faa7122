#include "tools/zelko-decode/MessageFields.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "platform/mCharset.h"

namespace {

enum class FieldType { U8, Low4, Hex8, U16, I16, U32, I32, F32, Text16 };

// Offsets are those of the decoded record: the de-stuffed frame image for every kind but
// DRSensorData, whose record is repacked.
struct Field {
    const char* name;
    FieldType type;
    unsigned offset;
};

uint32_t LittleEndian(const unsigned char* p, unsigned bytes)
{
    uint32_t v = 0;
    for (unsigned i = 0; i < bytes; ++i) v |= static_cast<uint32_t>(p[i]) << (8 * i);
    return v;
}

// The report names are 16 multibyte characters; the library reads them as EUC-KR.
std::string NameText(const unsigned char* p)
{
    unsigned short wide[17] = {};
    UtilMbcsToWide3(p, 16, wide, 16);
    unsigned char utf8[16 * 3 + 1] = {};
    UtilWideToUtf8(wide, utf8);
    return reinterpret_cast<const char*>(utf8);
}

void AppendField(JsonLine& line, const Field& f, const unsigned char* record)
{
    const unsigned char* p = record + f.offset;
    switch (f.type) {
        case FieldType::U8: line.Int(f.name, p[0]); break;
        case FieldType::Low4: line.Int(f.name, p[0] & 0x0F); break;
        case FieldType::Hex8: {
            char hex[8];
            std::snprintf(hex, sizeof hex, "0x%02X", p[0]);
            line.Text(f.name, hex);
            break;
        }
        case FieldType::U16: line.Int(f.name, LittleEndian(p, 2)); break;
        case FieldType::I16: line.Int(f.name, static_cast<int16_t>(LittleEndian(p, 2))); break;
        case FieldType::U32: line.Int(f.name, LittleEndian(p, 4)); break;
        case FieldType::I32: line.Int(f.name, static_cast<int32_t>(LittleEndian(p, 4))); break;
        case FieldType::F32: {
            const uint32_t bits = LittleEndian(p, 4);
            float v;
            static_assert(sizeof v == sizeof bits, "float32");
            std::memcpy(&v, &bits, sizeof v);
            line.Fixed(f.name, v, 6);
            break;
        }
        case FieldType::Text16: line.Text(f.name, NameText(p)); break;
    }
}

template <auto Slot>
const unsigned char* RecordOf(const CZELKOParser& parser)
{
    return (parser.*Slot).ucData;
}

struct Kind {
    int id;
    const char* name;
    const unsigned char* (*record)(const CZELKOParser&);
    std::vector<Field> fields;
};

// Coordinates travel latitude first, in the module's unit (2^31 = 180 degrees); headings in
// 180/32768 degree, speeds in 0.01 m/s, DOPs in 1/256.
const std::vector<Field> kVersion = {
    {"major", FieldType::U8, 3}, {"minor", FieldType::U8, 4}, {"patch", FieldType::U8, 5}};
const std::vector<Field> kGpsFix = {
    {"mode", FieldType::Hex8, 7},         {"lat_raw", FieldType::I32, 9},
    {"lon_raw", FieldType::I32, 13},      {"heading_raw", FieldType::U16, 19},
    {"speed_raw", FieldType::U16, 21}};

const Kind kKinds[] = {
    {1001, "SAndQAckNoIdx", RecordOf<&CZELKOParser::m_stAckNoIdx>,
     {{"code", FieldType::Hex8, 3}, {"subcode", FieldType::Hex8, 4}, {"state", FieldType::U8, 5}}},
    {1002, "SAndQAckIdx", RecordOf<&CZELKOParser::m_stAckIdx>,
     {{"code", FieldType::Hex8, 3}, {"subcode", FieldType::Hex8, 4}, {"index", FieldType::Hex8, 5},
      {"state", FieldType::U8, 6}}},
    {1003, "SysCmdAck", RecordOf<&CZELKOParser::m_stSysCmdAck>,
     {{"command", FieldType::Hex8, 3}, {"state", FieldType::U8, 4}}},
    {1101, "VersionReport", RecordOf<&CZELKOParser::m_stAppVersion>, kVersion},
    {1103, "VersionReport", RecordOf<&CZELKOParser::m_stVersion03>, kVersion},
    {1106, "VersionReport", RecordOf<&CZELKOParser::m_stVersion06>, kVersion},
    {1203, "ProductReport", RecordOf<&CZELKOParser::m_stProduct>,
     {{"serial", FieldType::U32, 3}, {"version_1", FieldType::U8, 7}, {"version_2", FieldType::U8, 8},
      {"version_3", FieldType::U16, 9}, {"name", FieldType::Text16, 11}}},
    {1204, "HardwareReport", RecordOf<&CZELKOParser::m_stHardware>, {{"name", FieldType::Text16, 3}}},
    {1401, "SoftEventLogReport", RecordOf<&CZELKOParser::m_stSoftEventLog>,
     {{"event", FieldType::Hex8, 11}, {"level", FieldType::Hex8, 12}}},
    {1601, "HealthStatusReport", RecordOf<&CZELKOParser::m_stHealthStatus>, {}},
    {3002, "FFixWithRawDRMsg", RecordOf<&CZELKOParser::m_stFFixWithRawDR>,
     {{"status", FieldType::Hex8, 3},      {"status2", FieldType::Hex8, 4},
      {"dr_time", FieldType::U32, 6},      {"lat_raw", FieldType::I32, 10},
      {"lon_raw", FieldType::I32, 14},     {"alt", FieldType::I16, 18},
      {"heading_raw", FieldType::U16, 20}, {"speed_raw", FieldType::U16, 22}}},
    {3101, "GpsFixMsg", RecordOf<&CZELKOParser::m_stGpsFix>, kGpsFix},
    {3102, "GpsFixMsgEx", RecordOf<&CZELKOParser::m_stGpsFixEx>, kGpsFix},
    {3201, "UtcConstelSum", RecordOf<&CZELKOParser::m_stUtcConstelSum>,
     {{"year", FieldType::U16, 3},      {"month", FieldType::U8, 5},      {"day", FieldType::U8, 6},
      {"hour", FieldType::U8, 7},       {"minute", FieldType::U8, 8},     {"second", FieldType::U8, 9},
      {"dop1_raw", FieldType::U16, 11}, {"dop2_raw", FieldType::U16, 13}, {"dop3_raw", FieldType::U16, 15},
      {"fix_kind", FieldType::Low4, 18}, {"sats_used", FieldType::Low4, 20}}},
    {3301, "GpsChMeasShStat", RecordOf<&CZELKOParser::m_stGpsChMeasShStat>,
     {{"sat", FieldType::U8, 4},        {"state", FieldType::Hex8, 5}, {"snr_raw", FieldType::U8, 6},
      {"azimuth_raw", FieldType::U8, 7}, {"elevation", FieldType::U8, 8}}},
    {3607, "DppCalMsg", RecordOf<&CZELKOParser::m_stDppCal>, {}},
    {7013, "DRSensorData", RecordOf<&CZELKOParser::m_stDRSensor>,
     {{"sensor_time", FieldType::U32, 1}, {"samples", FieldType::U32, 15}, {"gyro_sum", FieldType::I32, 43}}},
    {7033, "AltFilterOutputData", RecordOf<&CZELKOParser::m_stAltFilterOutput>, {{"format", FieldType::U8, 3}}},
    {7060, "MountAngCalGet", RecordOf<&CZELKOParser::m_stMountAngCal>,
     {{"pitch", FieldType::F32, 29}, {"roll", FieldType::F32, 33}, {"progress", FieldType::U8, 72}}},
};

}  // namespace

bool AppendMessageFields(JsonLine& line, const CZELKOParser& parser, int id)
{
    for (const Kind& kind : kKinds) {
        if (kind.id != id) continue;
        line.Text("kind", kind.name);
        const unsigned char* record = kind.record(parser);
        for (const Field& f : kind.fields) AppendField(line, f, record);
        return true;
    }
    return false;
}
