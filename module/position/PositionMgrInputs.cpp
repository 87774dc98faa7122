// Ready-made position inputs (raw _mGpsDataEx records, FS records) and the offset transform of
// the current position.
#include <cstdint>
#include <cstring>

#include "module/geo/MMNumeric.h"
#include "module/geo/MMUtility.h"
#include "module/geo/OffsetTransform.h"
#include "module/position/PositionMgr.h"
#include "platform/mString16.h"
#include "platform/mTrace.h"

namespace {

const unsigned short kGpsDataExLen = sizeof(_mGpsDataEx);
const unsigned short kGpsDataLegacyLen = 32;
const size_t kLegacyCopied = offsetof(_mGpsDataEx, ucFixValid) + 1;  // offsets 0..29

// FS records are an external format in the host's byte order.
template <class T>
T FsField(const char* rec, size_t offset)
{
    T v;
    std::memcpy(&v, rec + offset, sizeof v);
    return v;
}

enum FsOffset : size_t {
    kFsGpsLon = 8, kFsGpsLat = 16, kFsGpsHeading = 24, kFsGpsSpeed = 32, kFsDRLon = 40, kFsDRLat = 48,
    kFsSpeedMps = 64, kFsAltitude = 72, kFsFixStatus = 74, kFsHeading = 88, kFsMode = 92,
    kFsYear = 116, kFsMonth = 118, kFsDay = 119, kFsHour = 120, kFsMinute = 121, kFsSecond = 122,
};
const size_t kFsSatUsed = 36;

_mLonLat FsLonLat(const char* rec, size_t lonAt, size_t latAt)
{
    return CMMUtility::DegreeToLonLat(FsField<double>(rec, lonAt) / 10000000.0,
                                      FsField<double>(rec, latAt) / 10000000.0);
}

}  // namespace

void CPositionMgr::ResetEngineeringForInput()
{
    m_stEng.ucMountAngleProgress = 0;
    m_stEng.ucFixState = m_stPos.ucFixValid ? 4 : 2;
    m_stEng.ucStatusBits1 = 0;
    m_stEng.ucStatusBits2 = static_cast<uint8_t>((m_stEng.ucStatusBits2 & 0xF0) | (m_stPos.ucPosMode == 8 ? 0x04 : 0));
    m_stEng.sPitch = 360;
    m_stEng.sRoll = 360;
    m_stEng.ulDRValue = 0;
    std::memset(m_stEng.ucReserved, 0, sizeof m_stEng.ucReserved);
    std::memset(m_stEng.wDRValue, 0, sizeof m_stEng.wDRValue);
    m_stEng.sDop[0] = m_stPos.sDop2;
    m_stEng.sDop[1] = m_stPos.sDop1;
    m_stEng.sDop[2] = m_stPos.sDop3;
    // The application version survives: it belongs to the module, not to the input.
    m_stEng.ucDRValue7 = 0;
    m_stEng.ucProductVer1 = 0;
    m_stEng.ucProductVer2 = 0;
    m_stEng.wProductVer3 = 0;
    std::memset(m_stEng.wszProductName, 0, sizeof m_stEng.wszProductName);
    m_stEng.wDRValueTail = 0;
    m_stEngEx = _mGPSDREngineerInfoEx();
}

int CPositionMgr::ParsingGpsStruct(char* data, unsigned short len)
{
    if (data == nullptr) return 0;
    if (len == kGpsDataExLen) {
        std::memcpy(&m_stPos, data, kGpsDataExLen);
    } else if (len == kGpsDataLegacyLen) {
        std::memcpy(&m_stPos, data, kLegacyCopied);
        m_stPos.sAltitude = 0;
        m_stPos.ucPosMode = 0;
    } else {
        mTraceW(W16("[MM-Err][CPositionMgr::ParsingGpsStruct] GpsDataEx size is not same! Input(%d), Varnex(%d)\n"),
                static_cast<int>(len), static_cast<int>(kGpsDataExLen));
        return 0;
    }

    m_stEng.lGpsLon = m_stPos.lLon;
    m_stEng.lGpsLat = m_stPos.lLat;
    m_stEng.lDRLon = 0;
    m_stEng.lDRLat = 0;
    m_stEng.wGpsHeading = m_stPos.wHeading;
    m_stEng.wDRHeading = 0;
    m_stEng.sGpsSpeed = m_stPos.sSpeed;
    m_stEng.sDRSpeed = 0;
    ResetEngineeringForInput();

    // Calendar-structure fields on purpose (years since 1900, months from 0), unlike the other
    // inputs.
    const int32_t date = m_stPos.lDate;
    const int32_t secondsOfDay = m_stPos.lTime / 1000;
    m_stEng.wYear = static_cast<uint16_t>(date % 100 + 100);
    m_stEng.ucMonth = static_cast<uint8_t>(date % 10000 / 100 - 1);
    m_stEng.ucDay = static_cast<uint8_t>(date / 10000);
    m_stEng.ucHour = static_cast<uint8_t>(m_stPos.lTime / 10000000);
    m_stEng.ucMinute = static_cast<uint8_t>(secondsOfDay % 10000 / 100);
    m_stEng.ucSecond = static_cast<uint8_t>(secondsOfDay % 100);
    return 1;
}

int CPositionMgr::ParsingFS(char* data, unsigned short /*len*/)
{
    if (data == nullptr) return 0;
    const _mLonLat dr = FsLonLat(data, kFsDRLon, kFsDRLat);
    const _mLonLat gps = FsLonLat(data, kFsGpsLon, kFsGpsLat);
    m_stPos.lLon = dr.lLon;
    m_stPos.lLat = dr.lLat;

    // One correction only, and written back into the caller's record as well: both on purpose.
    int32_t heading = FsField<int32_t>(data, kFsHeading);
    if (heading < 0) {
        heading += 3600;
    } else if (heading >= 3600) {
        heading -= 3600;
    }
    std::memcpy(data + kFsHeading, &heading, sizeof heading);
    m_stPos.wHeading = static_cast<uint16_t>(heading);

    m_stPos.sSpeed = static_cast<int16_t>(GeoTruncS32(FsField<double>(data, kFsSpeedMps) * 3.6));
    m_stPos.sAltitude = FsField<int16_t>(data, kFsAltitude);

    const uint16_t year = FsField<uint16_t>(data, kFsYear);
    const uint8_t month = FsField<uint8_t>(data, kFsMonth);
    const uint8_t day = FsField<uint8_t>(data, kFsDay);
    const uint8_t hour = FsField<uint8_t>(data, kFsHour);
    const uint8_t minute = FsField<uint8_t>(data, kFsMinute);
    const uint8_t second = FsField<uint8_t>(data, kFsSecond);
    m_stPos.lDate = day * 10000 + month * 100 + (year - 2000);
    m_stPos.lTime = static_cast<int32_t>((hour * 10000u + minute * 100u + second) * 1000u);

    m_stPos.sDop3 = 0;
    m_stPos.ucReserved = 0;
    m_stPos.ucFixValid = data[kFsFixStatus] == 'A' ? 1 : 0;
    m_stPos.ucPosMode = data[kFsMode] == 'F' ? 6 : 8;

    m_stEng.lGpsLon = gps.lLon;
    m_stEng.lGpsLat = gps.lLat;
    m_stEng.lDRLon = m_stPos.lLon;
    m_stEng.lDRLat = m_stPos.lLat;
    m_stEng.wGpsHeading = static_cast<uint16_t>(GeoTruncS32(FsField<double>(data, kFsGpsHeading)));
    m_stEng.wDRHeading = m_stPos.wHeading;
    m_stEng.sGpsSpeed = static_cast<int16_t>(static_cast<uint16_t>(GeoTruncS32(FsField<double>(data, kFsGpsSpeed))));
    m_stEng.sDRSpeed = m_stPos.sSpeed;
    ResetEngineeringForInput();
    m_stEng.wYear = year;
    m_stEng.ucMonth = month;
    m_stEng.ucDay = day;
    m_stEng.ucHour = hour;
    m_stEng.ucMinute = minute;
    m_stEng.ucSecond = second;
    return 1;
}

int CPositionMgr::ParsingFSSat(char* data, unsigned short /*len*/)
{
    if (data == nullptr) return 0;
    m_stPos.ucSatUsed = static_cast<uint8_t>(data[kFsSatUsed]);
    return 1;
}

int CPositionMgr::ConVConvert(_mGpsDataEx* in, _mGpsDataEx* out, int /*unused*/)
{
    if (in == nullptr || out == nullptr) return 0;
    if (in->lLon != 0 && in->lLat != 0) {
        VIT_S vit = {1, 0, in->lTime, *in};
        return GetGpsData(&vit, out);
    }
    *out = *in;
    return 0;
}

int GetGpsData(VIT_S* vit, _mGpsDataEx* out)
{
    if (vit == nullptr || out == nullptr) return 0;
    *out = _mGpsDataEx();
    const _mGpsDataEx& pos = vit->stGps;
    unsigned int x = 0;
    unsigned int y = 0;
    if (wgtochina_lb(vit->lFlag, static_cast<uint32_t>(pos.lLon), static_cast<uint32_t>(pos.lLat), pos.sAltitude,
                     vit->lWeek, static_cast<uint32_t>(vit->lTime), &x, &y) != 0) {
        return 0;
    }
    const size_t keptFrom = offsetof(_mGpsDataEx, wHeading);
    std::memcpy(reinterpret_cast<unsigned char*>(out) + keptFrom,
                reinterpret_cast<const unsigned char*>(&pos) + keptFrom, sizeof(_mGpsDataEx) - keptFrom);
    // 1/1024 arc-second back to 1/100 arc-second.
    out->lLon = GeoTruncS32(x * 0.0009765625 * 100.0);
    out->lLat = GeoTruncS32(y * 0.0009765625 * 100.0);
    return 1;
}
