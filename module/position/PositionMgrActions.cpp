// What each decoded module message does to the position and the module state. Fields are read
// at their offsets in the de-stuffed frame (start marker = byte 0).
#include <cstdint>

#include "module/geo/MMNumeric.h"
#include "module/geo/MMUtility.h"
#include "module/position/PositionMgr.h"
#include "module/position/ZelkoBytes.h"
#include "platform/mCharset.h"
#include "platform/mString16.h"
#include "platform/mTrace.h"

namespace {

template <auto Slot>
const unsigned char* RecordOf(const CZELKOParser& parser)
{
    return (parser.*Slot).ucData;
}

const uint8_t kFix3D = 0x11;  // the module's "GPS fix" mode value

// Module coordinates (2^31 = 180 degrees) in the configured unit; a pair of zeros means "none"
// and stays zero rather than becoming a datum-shifted origin.
_mLonLat ModuleLonLat(unsigned char unitKind, int32_t lat, int32_t lon)
{
    if (lat == 0 && lon == 0) return _mLonLat{0, 0};
    return CMMUtility::ChangeLonLatUnits(unitKind, lon, lat);
}

// hhmmss * 1000 from byte fields, wrapping in 32 bits for out-of-range bytes.
int32_t TimeOfDayMs(unsigned hour, unsigned minute, unsigned second)
{
    return static_cast<int32_t>((hour * 10000u + minute * 100u + second) * 1000u);
}

// A 16-byte name from a report: converted from the module's code page and cut to 16
// characters (the converter may read one byte further and always terminates).
struct ReportName {
    unsigned short text[ZELKO_PRODUCT_NAME_LEN + 2];
};

ReportName ConvertReportName(const unsigned char* src)
{
    ReportName name = {};
    UtilMbcsToWide3(src, ZELKO_PRODUCT_NAME_LEN, name.text, ZELKO_PRODUCT_NAME_LEN);
    name.text[ZELKO_PRODUCT_NAME_LEN] = 0;
    return name;
}

template <class Rec>
void SetYearToSecond(Rec& rec, uint16_t year, const unsigned char* monthToSecond)
{
    rec.wYear = year;
    rec.ucMonth = monthToSecond[0];
    rec.ucDay = monthToSecond[1];
    rec.ucHour = monthToSecond[2];
    rec.ucMinute = monthToSecond[3];
    rec.ucSecond = monthToSecond[4];
}

uint8_t Bit(unsigned value, int bit)
{
    return static_cast<uint8_t>((value >> bit) & 1u);
}

}  // namespace

void CPositionMgr::ActOnMessage(int id)
{
    struct Action {
        int id;
        const unsigned char* (*record)(const CZELKOParser&);
        void (CPositionMgr::*apply)(const unsigned char*);
    };
    // Kinds without an entry (1103, 1106, 1601, 3607, 7033) are consumed without effect.
    static const Action kActions[] = {
        {1001, RecordOf<&CZELKOParser::m_stAckNoIdx>, &CPositionMgr::OnAckNoIdx},
        {1002, RecordOf<&CZELKOParser::m_stAckIdx>, &CPositionMgr::OnAckIdx},
        {1003, RecordOf<&CZELKOParser::m_stSysCmdAck>, &CPositionMgr::OnSysCmdAck},
        {1101, RecordOf<&CZELKOParser::m_stAppVersion>, &CPositionMgr::OnAppVersion},
        {1203, RecordOf<&CZELKOParser::m_stProduct>, &CPositionMgr::OnProductReport},
        {1204, RecordOf<&CZELKOParser::m_stHardware>, &CPositionMgr::OnHardwareReport},
        {1401, RecordOf<&CZELKOParser::m_stSoftEventLog>, &CPositionMgr::OnEventLog},
        {3002, RecordOf<&CZELKOParser::m_stFFixWithRawDR>, &CPositionMgr::OnFixWithRawDR},
        {3101, RecordOf<&CZELKOParser::m_stGpsFix>, &CPositionMgr::OnGpsFix},
        {3102, RecordOf<&CZELKOParser::m_stGpsFixEx>, &CPositionMgr::OnGpsFix},
        {3201, RecordOf<&CZELKOParser::m_stUtcConstelSum>, &CPositionMgr::OnTimeConstel},
        {3301, RecordOf<&CZELKOParser::m_stGpsChMeasShStat>, &CPositionMgr::OnChannelMeas},
        {7013, RecordOf<&CZELKOParser::m_stDRSensor>, &CPositionMgr::OnDRSensor},
        {7060, RecordOf<&CZELKOParser::m_stMountAngCal>, &CPositionMgr::OnMountAngle},
    };
    for (const Action& action : kActions) {
        if (action.id == id) {
            (this->*action.apply)(action.record(*m_pParser));
            return;
        }
    }
}

void CPositionMgr::OnAckNoIdx(const unsigned char* f)
{
    mTraceW(W16("[MM-Dbg][CPositionMgr::ParsingZelko] NonIdx Ack : Code(0x%X), SubCode(0x%X), State(%d)\n"),
            static_cast<unsigned>(f[3]), static_cast<unsigned>(f[4]), static_cast<int>(f[5]));
    if (f[3] == 0x70 && f[4] == 0x60 && f[5] == 0) m_ucMountAcked = 1;
}

void CPositionMgr::OnAckIdx(const unsigned char* f)
{
    mTraceW(W16("[MM-Dbg][CPositionMgr::ParsingZelko] Index Ack : Code(0x%X), SubCode(0x%X), Idx(0x%X), State(%d)\n"),
            static_cast<unsigned>(f[3]), static_cast<unsigned>(f[4]), static_cast<unsigned>(f[5]),
            static_cast<int>(f[6]));
}

void CPositionMgr::OnSysCmdAck(const unsigned char* f)
{
    mTraceW(W16("[MM-Dbg][CPositionMgr::ParsingZelko] System Ack : SysCmd(0x%X), State(%d)\n"),
            static_cast<unsigned>(f[3]), static_cast<int>(f[4]));
}

void CPositionMgr::OnAppVersion(const unsigned char* f)
{
    m_stEng.ucAppVerMajor = f[3];
    m_stEng.ucAppVerMinor = f[4];
    m_stEng.ucAppVerPatch = f[5];
    mTraceW(W16("[MM-Dbg][ZelkoVerReport] App %d.%d.%d\n"), static_cast<int>(f[3]), static_cast<int>(f[4]),
            static_cast<int>(f[5]));
}

void CPositionMgr::OnProductReport(const unsigned char* f)
{
    const ReportName name = ConvertReportName(f + 11);
    m_stEng.ucProductVer1 = f[7];
    m_stEng.ucProductVer2 = f[8];
    m_stEng.wProductVer3 = ZelkoU16(f + 9);
    static_assert(sizeof m_stEng.wszProductName == ZELKO_PRODUCT_NAME_LEN * sizeof(unsigned short), "");
    for (int i = 0; i < ZELKO_PRODUCT_NAME_LEN; ++i) m_stEng.wszProductName[i] = name.text[i];
    mTraceW(W16("[MM-Dbg][ProductReport] %u, %s(%d.%d.%d)\n"), static_cast<unsigned>(ZelkoU32(f + 3)), name.text,
            static_cast<int>(ZelkoU16(f + 9)), static_cast<int>(f[8]), static_cast<int>(f[7]));
}

void CPositionMgr::OnHardwareReport(const unsigned char* f)
{
    const ReportName name = ConvertReportName(f + 3);
    mTraceW(W16("[MM-Dbg][HardwareReport] %s\n"), name.text);
}

void CPositionMgr::OnEventLog(const unsigned char* f)
{
    // Event number -> place of its 3-bit level in the diagnosis word.
    static const struct {
        uint8_t event;
        uint8_t shift;
    } kEventFields[] = {{0x62, 0}, {0x63, 3}, {0x65, 6}, {0x74, 9}, {0x92, 12}};
    const uint8_t severity = f[12];
    const unsigned level = (severity & 0x0F) == 0 && severity <= 0x30 ? (severity >> 4) + 1u : 0u;
    for (const auto& field : kEventFields) {
        if (field.event != f[11]) continue;
        const unsigned mask = 7u << field.shift;
        m_stDiagnosis.wEventLevels =
            static_cast<uint16_t>((m_stDiagnosis.wEventLevels & ~mask) | (level << field.shift));
        return;
    }
}

void CPositionMgr::OnFixWithRawDR(const unsigned char* f)
{
    const uint8_t status = f[3];
    const uint8_t ext = f[4];
    const uint8_t drByte = f[42];
    m_ucDRHeadValid = Bit(status, 2);

    const _mLonLat pos = ModuleLonLat(m_ucUnitKind, ZelkoI32(f + 10), ZelkoI32(f + 14));
    m_stPos.lLon = m_stLowOut.lLon = m_stEng.lDRLon = pos.lLon;
    m_stPos.lLat = m_stLowOut.lLat = m_stEng.lDRLat = pos.lLat;

    const uint16_t heading = static_cast<uint16_t>(CMMUtility::ChangeHeadUnits(ZelkoU16(f + 20)));
    if (m_ucDRHeadValid) m_stPos.wHeading = m_stLowOut.wHeading = heading;
    m_stEng.wDRHeading = heading;

    const uint16_t rawSpeed = ZelkoU16(f + 22);
    m_stPos.sSpeed = m_stEng.sDRSpeed = CMMUtility::ChangeSpeedUnits(rawSpeed);
    m_stLowOut.wRawSpeed = rawSpeed;

    m_stPos.sAltitude = ZelkoI16(f + 18);
    m_stLowOut.lAltitude = m_stPos.sAltitude;
    m_stPos.ucReserved = 0;
    m_stPos.ucPosMode = (Bit(status, 4) && Bit(ext, 1)) ? 8 : 6;

    for (int i = 0; i < 8; ++i) m_stStatus.ucStatusFlag[i] = Bit(status, i);
    m_stStatus.ucStatusFlag[8] = Bit(ext, 2);
    m_stStatus.ucStatusFlag[9] = Bit(ext, 3);
    m_stEng.ucStatusBits1 = status;
    m_stEng.ucStatusBits2 = static_cast<uint8_t>((m_stEng.ucStatusBits2 & 0xF0) | Bit(ext, 2) | (Bit(ext, 3) << 1) |
                                                 (Bit(ext, 1) << 2) | (Bit(drByte, 7) << 3));

    m_stTime.ulDRTime = ZelkoU32(f + 6);

    m_stSub.sDRValue[0] = ZelkoI16(f + 26);
    m_stSub.sDRValue[1] = ZelkoI16(f + 28);
    m_stSub.wDRValue[0] = ZelkoU16(f + 38);
    m_stSub.wDRValue[1] = ZelkoU16(f + 40);
    m_stSub.ucDRFlag = Bit(ext, 6);
    m_stEng.wDRValue[0] = ZelkoU16(f + 24);
    m_stEng.wDRValue[1] = ZelkoU16(f + 26);
    m_stEng.wDRValue[2] = ZelkoU16(f + 28);
    m_stEng.ulDRValue = ZelkoU32(f + 43);
    m_stEng.ucDRValue7 = static_cast<uint8_t>(drByte & 0x7F);
    m_stEng.wDRValueTail = ZelkoU16(f + 47);
}

void CPositionMgr::OnGpsFix(const unsigned char* f)
{
    const uint8_t mode = static_cast<uint8_t>(f[7] & 0x3F);
    const bool threeD = Bit(f[7], 6) != 0;

    const _mLonLat pos = ModuleLonLat(m_ucUnitKind, ZelkoI32(f + 9), ZelkoI32(f + 13));
    m_stSub.lLon = m_stEng.lGpsLon = pos.lLon;
    m_stSub.lLat = m_stEng.lGpsLat = pos.lLat;

    const uint16_t heading = static_cast<uint16_t>(CMMUtility::ChangeHeadUnits(ZelkoU16(f + 19)));
    const int16_t speed = CMMUtility::ChangeSpeedUnits(ZelkoU16(f + 21));
    m_stSub.wHeading = m_stEng.wGpsHeading = heading;
    m_stSub.sSpeed = m_stEng.sGpsSpeed = speed;

    // The GPS heading stands in for the DR heading only with a usable DOP set, and then when DR
    // has no valid heading, or for DR kind 8 at a full fix the module does not flag (flag 10).
    const bool dopsValid = m_stPos.sDop1 > 0 && m_stPos.sDop2 > 0 && m_stPos.sDop3 > 0;
    const bool kind8Fix = mode == kFix3D && m_stStatus.ucStatusFlag[9] == 0 && m_wDRKind == 8;
    if (dopsValid && (!m_ucDRHeadValid || kind8Fix)) m_stPos.wHeading = m_stLowOut.wHeading = heading;

    m_stStatus.ucFixMode = mode;
    m_stPos.ucFixValid = mode == kFix3D ? 1 : 0;
    if (mode != kFix3D) {
        m_stEng.ucFixState = 2;
    } else if (!threeD) {
        m_stEng.ucFixState = 4;
    } else {
        m_stEng.ucFixState = 3;
        if (m_ucMeasuring.load(std::memory_order_relaxed)) StopMeasureFixTime();
    }
}

void CPositionMgr::OnTimeConstel(const unsigned char* f)
{
    const uint16_t year = ZelkoU16(f + 3);
    const unsigned char* monthToSecond = f + 5;
    if (year >= 2000) {
        SetYearToSecond(m_stTime, year, monthToSecond);
        m_stPos.lDate = f[6] * 10000 + f[5] * 100 + (year - 2000);
        m_stPos.lTime = TimeOfDayMs(f[7], f[8], f[9]);
    }

    const uint8_t used = static_cast<uint8_t>(f[20] & 0x0F);
    m_stPos.ucSatUsed = m_stPos.ucSatView = used > 12 ? 12 : used;

    m_stPos.sDop1 = CMMUtility::ChangeDOPUnits(ZelkoU16(f + 11));
    m_stPos.sDop2 = CMMUtility::ChangeDOPUnits(ZelkoU16(f + 13));
    m_stPos.sDop3 = CMMUtility::ChangeDOPUnits(ZelkoU16(f + 15));
    const uint8_t fixKind = static_cast<uint8_t>(f[18] & 0x0F);
    m_stStatus.ucFixKind = fixKind;

    uint16_t quality = 1;
    if (fixKind == 0 || fixKind == 8) {
        quality = 4;
    } else if (fixKind == 7) {
        quality = 3;
    } else if (fixKind == 5 || fixKind == 6) {
        quality = 2;
    }
    m_stLowOut.wFixQuality = quality;
    m_stLowOut.sDop2 = m_stPos.sDop2;
    m_stLowOut.sDop3 = m_stPos.sDop3;
    m_stEng.sDop[0] = m_stPos.sDop2;
    m_stEng.sDop[1] = m_stPos.sDop1;
    m_stEng.sDop[2] = m_stPos.sDop2;

    // Only the literal year 80 is kept out of these two; any other year, valid or not, is copied.
    if (year != 80) {
        SetYearToSecond(m_stLowOut, year, monthToSecond);
        SetYearToSecond(m_stEng, year, monthToSecond);
    }
}

void CPositionMgr::OnChannelMeas(const unsigned char* f)
{
    const uint16_t id = f[4];
    for (_mSatelView& sat : m_stSatel) {
        // Entries are claimed in order and never freed: with 32 ids seen, new ones are dropped.
        if (sat.wSatID != id && static_cast<int16_t>(sat.wSatID) >= 1) continue;
        sat.wSatID = id;
        sat.wElevation = f[8];
        sat.sAzimuth = static_cast<int16_t>(f[7] * 2);
        sat.wSNR = static_cast<uint16_t>(GeoTruncS32(f[6] * 0.2));
        sat.ucUsed = (f[5] & 0x14) != 0 ? 1 : 0;
        return;
    }
}

void CPositionMgr::OnDRSensor(const unsigned char* rec)
{
    m_stTime.ulSensorTime = ZelkoU32(rec + 1);
    const uint32_t samples = ZelkoU32(rec + 15);
    if (samples == 0) return;
    const int32_t gyroSum = ZelkoI32(rec + 43);
    const int32_t rate = static_cast<int32_t>(static_cast<int64_t>(gyroSum) / samples);

    int32_t heading = m_sGyroHead.load(std::memory_order_relaxed) - GeoTruncS32(rate * 0.00875 / 5.0);
    // One correction each way only, on purpose: a larger step is not folded back into 0..359.
    if (heading < 0) {
        heading += 360;
    } else if (heading >= 360) {
        heading -= 360;
    }
    const int16_t stored = static_cast<int16_t>(heading);
    m_sGyroHead.store(stored, std::memory_order_relaxed);
    m_stEngEx.sGyroHeading = static_cast<int16_t>(stored * 10);
    m_stEngEx.lGyroRate = static_cast<int32_t>(static_cast<int64_t>(rate) * 5000 / 65536);
}

void CPositionMgr::OnMountAngle(const unsigned char* f)
{
    const double pitchSine = ZelkoF32(f + 29);
    const double rollTerm = ZelkoF32(f + 33);
    const uint8_t progress = f[72];

    const long pitch = -CMMUtility::mAsin(GeoTruncS32(pitchSine * 100000.0));
    const long cosPitch = CMMUtility::mCos(pitch);
    // A vertical pitch leaves the roll undefined: report it as unknown.
    const long roll = cosPitch == 0 ? 360 : CMMUtility::mAsin(GeoTruncS32(rollTerm * 100000.0 / cosPitch * 100000.0));

    m_stEng.sPitch = static_cast<int16_t>(pitch);
    m_stEng.sRoll = static_cast<int16_t>(roll);
    m_stEng.ucMountAngleProgress = progress;
    mTraceW(W16("[MM-Dbg][ZelkoMountAngle] Pitch(%d), Roll(%d), Progress(%d)\n"), static_cast<int>(pitch),
            static_cast<int>(roll), static_cast<int>(progress));
}
