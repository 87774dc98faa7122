// What each decoded module message does to the position and the module state. Fields are read
// through their names in the message catalogue.
#include <algorithm>
#include <array>
#include <cstdint>

#include "module/geo/MMNumeric.h"
#include "module/geo/MMUtility.h"
#include "module/position/PositionMgr.h"
#include "module/position/ZelkoCatalogue.h"
#include "platform/mCharset.h"
#include "platform/mString16.h"
#include "platform/mTrace.h"

namespace {

// The SNR byte in whole dB-Hz: integer fifths give what truncating byte * 0.2 in double gives.
constexpr bool FifthsTruncateAsDouble()
{
    for (int v = 0; v < 256; ++v) {
        if (static_cast<int>(v * 0.2) != v / 5) return false;
    }
    return true;
}
static_assert(FifthsTruncateAsDouble(), "the SNR is computed in integers");

const uint8_t kFix3D = ZelkoGpsFix::MODE_FIX;

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
void SetYearToSecond(Rec& rec, const unsigned char* f)
{
    using namespace ZelkoUtcConstel;
    rec.wYear = ZelkoGet(f, kYear);
    rec.ucMonth = ZelkoGet(f, kMonth);
    rec.ucDay = ZelkoGet(f, kDay);
    rec.ucHour = ZelkoGet(f, kHour);
    rec.ucMinute = ZelkoGet(f, kMinute);
    rec.ucSecond = ZelkoGet(f, kSecond);
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
        void (CPositionMgr::*apply)(const unsigned char*);
    };
    // Kinds without an entry (1103, 1106, 1601, 3607, 7033) are consumed without effect.
    static constexpr Action kActions[] = {
        {ZELKO_ID_ACK_NO_IDX, &CPositionMgr::OnAckNoIdx},
        {ZELKO_ID_ACK_IDX, &CPositionMgr::OnAckIdx},
        {ZELKO_ID_SYS_CMD_ACK, &CPositionMgr::OnSysCmdAck},
        {ZELKO_ID_APP_VERSION, &CPositionMgr::OnAppVersion},
        {ZELKO_ID_PRODUCT, &CPositionMgr::OnProductReport},
        {ZELKO_ID_HARDWARE, &CPositionMgr::OnHardwareReport},
        {ZELKO_ID_EVENT_LOG, &CPositionMgr::OnEventLog},
        {ZELKO_ID_FIX_WITH_RAW_DR, &CPositionMgr::OnFixWithRawDR},
        {ZELKO_ID_GPS_FIX, &CPositionMgr::OnGpsFix},
        {ZELKO_ID_GPS_FIX_EX, &CPositionMgr::OnGpsFix},
        {ZELKO_ID_UTC_CONSTEL, &CPositionMgr::OnTimeConstel},
        {ZELKO_ID_CHANNEL_MEAS, &CPositionMgr::OnChannelMeas},
        {ZELKO_ID_DR_SENSOR, &CPositionMgr::OnDRSensor},
        {ZELKO_ID_MOUNT_ANGLE, &CPositionMgr::OnMountAngle},
    };
    // By catalogue row: the parser names the row of the frame it just accepted.
    static constexpr auto kByRow = [] {
        std::array<void (CPositionMgr::*)(const unsigned char*), ZELKO_KIND_COUNT> byRow{};
        for (const Action& action : kActions) {
            for (unsigned k = 0; k < ZELKO_KIND_COUNT; ++k) {
                if (kZelkoKinds[k].id == action.id) byRow[k] = action.apply;
            }
        }
        return byRow;
    }();
    if (id <= 0) return;
    const unsigned row = m_pParser->m_ucLastKind;
    if (kByRow[row] != nullptr) (this->*kByRow[row])(kZelkoKinds[row].slot.record(*m_pParser));
}

void CPositionMgr::OnAckNoIdx(const unsigned char* f)
{
    using namespace ZelkoAckNoIdx;
    const uint8_t code = ZelkoGet(f, kCode), subcode = ZelkoGet(f, kSubcode), state = ZelkoGet(f, kState);
    mTraceW(W16("[MM-Dbg][CPositionMgr::ParsingZelko] NonIdx Ack : Code(0x%X), SubCode(0x%X), State(%d)\n"),
            static_cast<unsigned>(code), static_cast<unsigned>(subcode), static_cast<int>(state));
    if (code == 0x70 && subcode == 0x60 && state == 0) m_ucMountAcked = 1;
}

void CPositionMgr::OnAckIdx(const unsigned char* f)
{
    using namespace ZelkoAckIdx;
    mTraceW(W16("[MM-Dbg][CPositionMgr::ParsingZelko] Index Ack : Code(0x%X), SubCode(0x%X), Idx(0x%X), State(%d)\n"),
            static_cast<unsigned>(ZelkoGet(f, kCode)), static_cast<unsigned>(ZelkoGet(f, kSubcode)),
            static_cast<unsigned>(ZelkoGet(f, kIndex)), static_cast<int>(ZelkoGet(f, kState)));
}

void CPositionMgr::OnSysCmdAck(const unsigned char* f)
{
    using namespace ZelkoSysCmdAck;
    mTraceW(W16("[MM-Dbg][CPositionMgr::ParsingZelko] System Ack : SysCmd(0x%X), State(%d)\n"),
            static_cast<unsigned>(ZelkoGet(f, kCommand)), static_cast<int>(ZelkoGet(f, kState)));
}

void CPositionMgr::OnAppVersion(const unsigned char* f)
{
    using namespace ZelkoVersion;
    m_stEng.ucAppVerMajor = ZelkoGet(f, kMajor);
    m_stEng.ucAppVerMinor = ZelkoGet(f, kMinor);
    m_stEng.ucAppVerPatch = ZelkoGet(f, kPatch);
    mTraceW(W16("[MM-Dbg][ZelkoVerReport] App %d.%d.%d\n"), static_cast<int>(m_stEng.ucAppVerMajor),
            static_cast<int>(m_stEng.ucAppVerMinor), static_cast<int>(m_stEng.ucAppVerPatch));
}

void CPositionMgr::OnProductReport(const unsigned char* f)
{
    using namespace ZelkoProduct;
    const ReportName name = ConvertReportName(ZelkoGet(f, kName));
    m_stEng.ucProductVer1 = ZelkoGet(f, kVersion1);
    m_stEng.ucProductVer2 = ZelkoGet(f, kVersion2);
    m_stEng.wProductVer3 = ZelkoGet(f, kVersion3);
    static_assert(sizeof m_stEng.wszProductName == ZELKO_PRODUCT_NAME_LEN * sizeof(unsigned short), "");
    for (int i = 0; i < ZELKO_PRODUCT_NAME_LEN; ++i) m_stEng.wszProductName[i] = name.text[i];
    mTraceW(W16("[MM-Dbg][ProductReport] %u, %s(%d.%d.%d)\n"), static_cast<unsigned>(ZelkoGet(f, kSerial)),
            name.text, static_cast<int>(m_stEng.wProductVer3), static_cast<int>(m_stEng.ucProductVer2),
            static_cast<int>(m_stEng.ucProductVer1));
}

void CPositionMgr::OnHardwareReport(const unsigned char* f)
{
    const ReportName name = ConvertReportName(ZelkoGet(f, ZelkoHardware::kName));
    mTraceW(W16("[MM-Dbg][HardwareReport] %s\n"), name.text);
}

void CPositionMgr::OnEventLog(const unsigned char* f)
{
    // Event number -> place of its 3-bit level in the diagnosis word.
    static const struct {
        uint8_t event;
        uint8_t shift;
    } kEventFields[] = {{0x62, 0}, {0x63, 3}, {0x65, 6}, {0x74, 9}, {0x92, 12}};
    const uint8_t severity = ZelkoGet(f, ZelkoEventLog::kLevel);
    const unsigned level = (severity & 0x0F) == 0 && severity <= 0x30 ? (severity >> 4) + 1u : 0u;
    for (const auto& field : kEventFields) {
        if (field.event != ZelkoGet(f, ZelkoEventLog::kEvent)) continue;
        const unsigned mask = 7u << field.shift;
        m_stDiagnosis.wEventLevels =
            static_cast<uint16_t>((m_stDiagnosis.wEventLevels & ~mask) | (level << field.shift));
        return;
    }
}

void CPositionMgr::OnFixWithRawDR(const unsigned char* f)
{
    using namespace ZelkoFixWithRawDR;
    const uint8_t status = ZelkoGet(f, kStatus);
    const uint8_t ext = ZelkoGet(f, kStatus2);
    const uint8_t drByte = ZelkoGet(f, kDRFlags);
    m_ucDRHeadValid = Bit(status, 2);

    const _mLonLat pos = ModuleLonLat(m_ucUnitKind, ZelkoGet(f, kLat), ZelkoGet(f, kLon));
    m_stPos.lLon = m_stLowOut.lLon = m_stEng.lDRLon = pos.lLon;
    m_stPos.lLat = m_stLowOut.lLat = m_stEng.lDRLat = pos.lLat;

    const uint16_t heading = static_cast<uint16_t>(CMMUtility::ChangeHeadUnits(ZelkoGet(f, kHeading)));
    if (m_ucDRHeadValid) m_stPos.wHeading = m_stLowOut.wHeading = heading;
    m_stEng.wDRHeading = heading;

    const uint16_t rawSpeed = ZelkoGet(f, kSpeed);
    m_stPos.sSpeed = m_stEng.sDRSpeed = CMMUtility::ChangeSpeedUnits(rawSpeed);
    m_stLowOut.wRawSpeed = rawSpeed;

    m_stPos.sAltitude = ZelkoGet(f, kAlt);
    m_stLowOut.lAltitude = m_stPos.sAltitude;
    m_stPos.ucReserved = 0;
    m_stPos.ucPosMode = (Bit(status, 4) && Bit(ext, 1)) ? 8 : 6;

    for (int i = 0; i < 8; ++i) m_stStatus.ucStatusFlag[i] = Bit(status, i);
    m_stStatus.ucStatusFlag[8] = Bit(ext, 2);
    m_stStatus.ucStatusFlag[9] = Bit(ext, 3);
    m_stEng.ucStatusBits1 = status;
    m_stEng.ucStatusBits2 = static_cast<uint8_t>((m_stEng.ucStatusBits2 & 0xF0) | Bit(ext, 2) | (Bit(ext, 3) << 1) |
                                                 (Bit(ext, 1) << 2) | (Bit(drByte, 7) << 3));

    m_stTime.ulDRTime = ZelkoGet(f, kDRTime);

    m_stSub.sDRValue[0] = ZelkoGet(f, kDRValue2);
    m_stSub.sDRValue[1] = ZelkoGet(f, kDRValue3);
    m_stSub.wDRValue[0] = ZelkoGet(f, kDRValue4);
    m_stSub.wDRValue[1] = ZelkoGet(f, kDRValue5);
    m_stSub.ucDRFlag = Bit(ext, 6);
    m_stEng.wDRValue[0] = ZelkoGet(f, kDRValue1);
    m_stEng.wDRValue[1] = static_cast<uint16_t>(ZelkoGet(f, kDRValue2));
    m_stEng.wDRValue[2] = static_cast<uint16_t>(ZelkoGet(f, kDRValue3));
    m_stEng.ulDRValue = ZelkoGet(f, kDRValue6);
    m_stEng.ucDRValue7 = static_cast<uint8_t>(drByte & 0x7F);
    m_stEng.wDRValueTail = ZelkoGet(f, kDRValue7);
}

void CPositionMgr::OnGpsFix(const unsigned char* f)
{
    using namespace ZelkoGpsFix;
    const uint8_t modeByte = ZelkoGet(f, kMode);
    const uint8_t mode = static_cast<uint8_t>(modeByte & MODE_MASK);
    const bool threeD = Bit(modeByte, MODE_3D_BIT) != 0;

    const _mLonLat pos = ModuleLonLat(m_ucUnitKind, ZelkoGet(f, kLat), ZelkoGet(f, kLon));
    m_stSub.lLon = m_stEng.lGpsLon = pos.lLon;
    m_stSub.lLat = m_stEng.lGpsLat = pos.lLat;

    const uint16_t heading = static_cast<uint16_t>(CMMUtility::ChangeHeadUnits(ZelkoGet(f, kHeading)));
    const int16_t speed = CMMUtility::ChangeSpeedUnits(ZelkoGet(f, kSpeed));
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
    using namespace ZelkoUtcConstel;
    const uint16_t year = ZelkoGet(f, kYear);
    if (year >= 2000) {
        SetYearToSecond(m_stTime, f);
        m_stPos.lDate = ZelkoGet(f, kDay) * 10000 + ZelkoGet(f, kMonth) * 100 + (year - 2000);
        m_stPos.lTime = TimeOfDayMs(ZelkoGet(f, kHour), ZelkoGet(f, kMinute), ZelkoGet(f, kSecond));
    }

    const uint8_t used = static_cast<uint8_t>(ZelkoGet(f, kSatsUsed) & 0x0F);
    m_stPos.ucSatUsed = m_stPos.ucSatView = used > 12 ? 12 : used;

    m_stPos.sDop1 = CMMUtility::ChangeDOPUnits(ZelkoGet(f, kDop1));
    m_stPos.sDop2 = CMMUtility::ChangeDOPUnits(ZelkoGet(f, kDop2));
    m_stPos.sDop3 = CMMUtility::ChangeDOPUnits(ZelkoGet(f, kDop3));
    const uint8_t fixKind = static_cast<uint8_t>(ZelkoGet(f, kFixKind) & 0x0F);
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
        SetYearToSecond(m_stLowOut, f);
        SetYearToSecond(m_stEng, f);
    }
}

void CPositionMgr::OnChannelMeas(const unsigned char* f)
{
    using namespace ZelkoChannelMeas;
    const uint8_t id = ZelkoGet(f, kSat);
    // The first entry that holds the id or is free (its id reads below 1 as a signed value, so an
    // entry of id 0 counts as free). Entries are claimed in order and never freed: with 32 ids
    // seen, new ones are dropped.
    const unsigned entry = std::min(m_ucSatelAt[id], m_ucSatelFree);
    if (entry >= SATEL_TABLE_SIZE) return;
    if (m_stSatel[entry].wSatID != id) ClaimSatelEntry(entry, id);
    _mSatelView& sat = m_stSatel[entry];
    sat.wElevation = ZelkoGet(f, kElevation);
    sat.sAzimuth = static_cast<int16_t>(ZelkoGet(f, kAzimuth) * 2);
    sat.wSNR = static_cast<uint16_t>(ZelkoGet(f, kSnr) / 5);  // = the truncated SNR byte * 0.2
    sat.ucUsed = (ZelkoGet(f, kState) & 0x14) != 0 ? 1 : 0;
}

// The free entry `entry` takes `id`; the first-entry marks move on past it where they pointed
// at it.
void CPositionMgr::ClaimSatelEntry(unsigned entry, uint8_t id)
{
    auto nextFrom = [this](unsigned from, auto matches) {
        while (from < SATEL_TABLE_SIZE && !matches(m_stSatel[from].wSatID)) ++from;
        return static_cast<uint8_t>(from);
    };
    const uint16_t old = m_stSatel[entry].wSatID;
    m_stSatel[entry].wSatID = id;
    m_ucSatelAt[id] = static_cast<uint8_t>(entry);
    if (old < 256 && m_ucSatelAt[old] == entry) {  // an entry of id 0, taken as free
        m_ucSatelAt[old] = nextFrom(entry + 1, [old](uint16_t v) { return v == old; });
    }
    if (static_cast<int16_t>(id) >= 1) {
        m_ucSatelFree = nextFrom(entry + 1, [](uint16_t v) { return static_cast<int16_t>(v) < 1; });
    }
}

void CPositionMgr::OnDRSensor(const unsigned char* rec)
{
    using namespace ZelkoDRSensor;
    m_stTime.ulSensorTime = ZelkoGet(rec, kSensorTime);
    const uint32_t samples = ZelkoGet(rec, kSamples);
    if (samples == 0) return;
    const int32_t gyroSum = ZelkoGet(rec, kGyroSum);
    // In 32 bits where the divisor fits them (the same quotient, at a fraction of the cost).
    const int32_t rate = samples <= INT32_MAX ? gyroSum / static_cast<int32_t>(samples)
                                              : static_cast<int32_t>(static_cast<int64_t>(gyroSum) / samples);

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
    using namespace ZelkoMountAngle;
    const double pitchSine = ZelkoGet(f, kPitch);
    const double rollTerm = ZelkoGet(f, kRoll);
    const uint8_t progress = ZelkoGet(f, kProgress);

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
