// Position and module-state records shared by the parser, the manager, the facade and callers.
// Plain data only. Units: coordinates in 1/360000 degree (1/100 arc-second), headings in
// 0.1 degree, dates DDMMYY, times hhmmss * 1000 + ms (UTC).
#ifndef GPSDR_MODULE_MM_MMTYPES_H
#define GPSDR_MODULE_MM_MMTYPES_H

#include <cstddef>
#include <cstdint>

// Main GPS/DR position record. Crosses the library boundary as raw bytes (input kind 3), so
// its layout is a wire format.
struct _mGpsDataEx {
    int32_t lLon;
    int32_t lLat;
    uint16_t wHeading;
    int16_t sSpeed;        // 0.1 km/h from the module
    int32_t lDate;         // DDMMYY; 0 or negative: no date
    int32_t lTime;
    uint8_t ucSatUsed;
    uint8_t ucSatView;     // also the number of valid satellite entries copied out
    int16_t sDop1;         // 0.1 units
    int16_t sDop2;
    int16_t sDop3;
    uint8_t ucReserved;
    uint8_t ucFixValid;
    int16_t sAltitude;     // whole metres
    uint8_t ucPosMode;     // 6 or 8
    uint8_t ucReserved2[3];
};
static_assert(sizeof(_mGpsDataEx) == 36, "_mGpsDataEx is a 36-byte wire record");
static_assert(offsetof(_mGpsDataEx, lLon) == 0, "");
static_assert(offsetof(_mGpsDataEx, lLat) == 4, "");
static_assert(offsetof(_mGpsDataEx, wHeading) == 8, "");
static_assert(offsetof(_mGpsDataEx, sSpeed) == 10, "");
static_assert(offsetof(_mGpsDataEx, lDate) == 12, "");
static_assert(offsetof(_mGpsDataEx, lTime) == 16, "");
static_assert(offsetof(_mGpsDataEx, ucSatUsed) == 20, "");
static_assert(offsetof(_mGpsDataEx, ucSatView) == 21, "");
static_assert(offsetof(_mGpsDataEx, sDop1) == 22, "");
static_assert(offsetof(_mGpsDataEx, sDop2) == 24, "");
static_assert(offsetof(_mGpsDataEx, sDop3) == 26, "");
static_assert(offsetof(_mGpsDataEx, ucReserved) == 28, "");
static_assert(offsetof(_mGpsDataEx, ucFixValid) == 29, "");
static_assert(offsetof(_mGpsDataEx, sAltitude) == 30, "");
static_assert(offsetof(_mGpsDataEx, ucPosMode) == 32, "");
static_assert(offsetof(_mGpsDataEx, ucReserved2) == 33, "");

// Matched position handed to callers. Copied as 72 bytes, so the doubles are pinned to
// 8-byte alignment: i386 would otherwise pack them at offset 12 and shrink the record.
struct _mMMPosition {
    int32_t lLon;
    int32_t lLat;
    uint16_t wHeading;
    int16_t sSpeed;
    alignas(8) double dLon;  // still 1/360000 degree
    alignas(8) double dLat;
    uint32_t ulMatchWord[2];  // 0
    uint8_t ucMatchByte[4];   // 0
    int32_t lMatchIndex[2];   // -1: no matched link
    uint8_t ucMatchFlag[3];   // 0
    uint8_t ucValid;
    uint8_t ucMatchState;
    uint8_t ucStatusFlag;
    uint8_t ucPadding[2];
    uint8_t ucReserved[12];
};
static_assert(sizeof(_mMMPosition) == 72, "_mMMPosition is copied as 72 bytes");
static_assert(offsetof(_mMMPosition, wHeading) == 8, "");
static_assert(offsetof(_mMMPosition, sSpeed) == 10, "");
static_assert(offsetof(_mMMPosition, dLon) == 16, "");
static_assert(offsetof(_mMMPosition, dLat) == 24, "");
static_assert(offsetof(_mMMPosition, ulMatchWord) == 32, "");
static_assert(offsetof(_mMMPosition, ucMatchByte) == 40, "");
static_assert(offsetof(_mMMPosition, lMatchIndex) == 44, "");
static_assert(offsetof(_mMMPosition, ucMatchFlag) == 52, "");
static_assert(offsetof(_mMMPosition, ucValid) == 55, "");
static_assert(offsetof(_mMMPosition, ucMatchState) == 56, "");
static_assert(offsetof(_mMMPosition, ucStatusFlag) == 57, "");
static_assert(offsetof(_mMMPosition, ucReserved) == 60, "");

struct _mLonLat {
    int32_t lLon;
    int32_t lLat;
};
static_assert(sizeof(_mLonLat) == 8, "");

// Matched position as the matcher reports it back for the engineering record: the third word
// holds the matched heading (low half) and matched speed (high half).
struct _mPosition {
    int32_t lLon;
    int32_t lLat;
    uint16_t wHeading;
    int16_t sSpeed;
};
static_assert(sizeof(_mPosition) == 12, "");
static_assert(offsetof(_mPosition, wHeading) == 8, "");
static_assert(offsetof(_mPosition, sSpeed) == 10, "");

struct _SYSTEMTIME {
    uint16_t wYear;
    uint16_t wMonth;
    uint16_t wDayOfWeek;
    uint16_t wDay;
    uint16_t wHour;
    uint16_t wMinute;
    uint16_t wSecond;
    uint16_t wMilliseconds;
};
static_assert(sizeof(_SYSTEMTIME) == 16, "");

// One satellite entry, copied as raw 12 bytes. wSatID 65535 marks an empty entry; an entry is
// usable when sAzimuth is not negative and ucUsed is non-zero.
struct _mSatelView {
    uint16_t wSatID;
    uint16_t wElevation;
    int16_t sAzimuth;
    uint16_t wSNR;
    uint8_t ucUsed;
    uint8_t ucReserved[3];
};
static_assert(sizeof(_mSatelView) == 12, "_mSatelView is a 12-byte raw entry");
static_assert(offsetof(_mSatelView, wElevation) == 2, "");
static_assert(offsetof(_mSatelView, sAzimuth) == 4, "");
static_assert(offsetof(_mSatelView, wSNR) == 6, "");
static_assert(offsetof(_mSatelView, ucUsed) == 8, "");
static_assert(offsetof(_mSatelView, ucReserved) == 9, "");

enum { MM_SATEL_MAX = 32 };

struct _mSatelInfo {
    int32_t lSatelNum;  // entries filled, 0 on failure
    _mSatelView stSatel[MM_SATEL_MAX];
};

// The facade's summary for callers.
struct _mGpsInfo {
    int32_t lLon;
    int32_t lLat;
    uint16_t wHeading;  // wHeading and sSpeed are copied together as one 32-bit word
    int16_t sSpeed;
    int32_t lYear;      // year .. second are 0 when no time is available
    int32_t lMonth;
    int32_t lDay;
    int32_t lHour;
    int32_t lMinute;
    int32_t lSecond;
    uint8_t ucDayOfWeek;  // 255 when no time is available
    uint8_t ucSatUsed;
    uint8_t ucSatView;
    uint8_t ucFixValid;
    int32_t lAltitude;
    float fSpeed;
    float fDop1;
    float fDop2;
    float fDop3;
    uint32_t ulPortState;
};
static_assert(offsetof(_mGpsInfo, sSpeed) == offsetof(_mGpsInfo, wHeading) + 2,
              "heading and speed form one 32-bit word");

// Module time. ulDRTime is the time word of the last fix-with-DR message; it stays 0 until the
// module has delivered one, so it doubles as the time-valid word.
struct _sZelkoTimeData {
    uint32_t ulDRTime;
    uint32_t ulSensorTime;
    uint16_t wYear;
    uint8_t ucMonth;
    uint8_t ucDay;
    uint8_t ucHour;
    uint8_t ucMinute;
    uint8_t ucSecond;
};

enum { ZELKO_STATUS_FLAG_NUM = 10 };

// A position is published only while ucStatusFlag[0] (the third byte) is non-zero.
struct _sZelkoStatusData {
    uint8_t ucFixMode;
    uint8_t ucFixKind;
    uint8_t ucStatusFlag[ZELKO_STATUS_FLAG_NUM];
};
static_assert(sizeof(_sZelkoStatusData) == 12, "");
static_assert(offsetof(_sZelkoStatusData, ucStatusFlag) == 2, "");

struct _sZelkoSubData {
    int32_t lLon;
    int32_t lLat;
    uint16_t wHeading;
    int16_t sSpeed;
    int16_t sDRValue[2];
    uint16_t wDRValue[2];
    uint8_t ucDRFlag;
};

struct _mZelkoLowDataInfo {
    int32_t lLon;
    int32_t lLat;
    uint16_t wUnitKind;  // written by the manager, not the parser
    uint16_t wFixQuality;  // 1 to 4
    int16_t sDop2;
    int16_t sDop3;
    uint16_t wRawSpeed;
    uint16_t wHeading;
    int32_t lAltitude;
    uint16_t wYear;
    uint8_t ucMonth;
    uint8_t ucDay;
    uint8_t ucHour;
    uint8_t ucMinute;
    uint8_t ucSecond;
};
static_assert(offsetof(_mZelkoLowDataInfo, wUnitKind) == 8, "unit kind follows the first eight bytes");

enum { ZELKO_PRODUCT_NAME_LEN = 16 };

struct _mGPSDREngineerInfo {
    int32_t lGpsLon;
    int32_t lGpsLat;
    int32_t lDRLon;
    int32_t lDRLat;
    int32_t lMMLon;
    int32_t lMMLat;
    uint16_t wGpsHeading;
    uint16_t wDRHeading;
    uint16_t wMMHeading;
    int16_t sGpsSpeed;
    int16_t sDRSpeed;
    int16_t sMMSpeed;
    uint8_t ucMountAngleProgress;
    uint8_t ucFixState;  // 2, 3 or 4
    uint8_t ucStatusBits1;
    uint8_t ucStatusBits2;
    int16_t sPitch;  // degrees; 360: unknown
    int16_t sRoll;
    uint32_t ulDRValue;
    uint8_t ucReserved[4];
    uint16_t wDRValue[3];
    int16_t sDop[3];
    uint16_t wYear;
    uint8_t ucMonth;
    uint8_t ucDay;
    uint8_t ucHour;
    uint8_t ucMinute;
    uint8_t ucSecond;
    uint8_t ucDRValue7;  // 7 bits used
    uint8_t ucAppVerMajor;
    uint8_t ucAppVerMinor;
    uint8_t ucAppVerPatch;
    uint8_t ucProductVer1;
    uint8_t ucProductVer2;
    uint16_t wProductVer3;
    unsigned short wszProductName[ZELKO_PRODUCT_NAME_LEN];
    uint16_t wDRValueTail;
};

struct _mGPSDREngineerInfoEx {
    int16_t sGyroHeading;  // 0.1 degree
    int32_t lGyroRate;
};

// Five 3-bit event levels: bits 0-2, 3-5, 6-8, 9-11, 12-14.
struct _mGPSDRDiagnosis {
    uint16_t wEventLevels;
};
static_assert(sizeof(_mGPSDRDiagnosis) == 2, "");

#endif  // GPSDR_MODULE_MM_MMTYPES_H
