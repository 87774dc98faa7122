// Coordinate units, table trigonometry, heading arithmetic and datum shifts.
//
// Integer coordinates count 1/100 arc-second (360000 per degree, east and north positive);
// headings are tenths of a degree, 0 to 3599, clockwise from north; table values are scaled by
// 100000. Every `long` argument is read as its low 32 bits, so results do not depend on the
// width of `long`.
#ifndef GPSDR_MODULE_GEO_MMUTILITY_H
#define GPSDR_MODULE_GEO_MMUTILITY_H

#include <cstdint>

#include "module/MM/MMTypes.h"

// sin, cos (0..359) and tan (0..179) of whole degrees, times 100000, truncated.
extern const int32_t nMMSinTable[360];
extern const int32_t nMMCosTable[360];
extern const int32_t nMMTanTable[180];

struct tagLonLatDMS {
    int16_t lonDegree;
    int16_t lonMinute;
    double lonSecond;
    int16_t latDegree;
    int16_t latMinute;
    double latSecond;
};

// A longitude/latitude pair of doubles (degrees unless stated otherwise), longitude first.
struct tagLonLatDouble {
    double dLon;
    double dLat;
};

class CMMUtility {
public:
    virtual ~CMMUtility() = default;

    // ---- units (1/100 arc-second unless stated)
    static void DegreeToDMS(double lon, double lat, tagLonLatDMS* out);
    static _mLonLat DegreeToLonLat(double lon, double lat);
    static void LonLatToDMS(long lon, long lat, tagLonLatDMS* out);
    static void LonLatToDegree(long lon, long lat, double* lonDeg, double* latDeg);
    static void LonLatToRadian(long lon, long lat, double* lonRad, double* latRad);
    // 1/1024 arc-second, unsigned (stored bit for bit in the signed members).
    static _mLonLat GTConvert(double lon, double lat);
    static void DMSToDegree(tagLonLatDMS dms, double* lonDeg, double* latDeg);
    static double DMSToRadian(short deg, short min, double sec);
    static void RadianToDMS(double rad, short* deg, short* min, double* sec);
    static _mLonLat RadianToLonLat(double lonRad, double latRad);
    static tagLonLatDouble NmeaToDegree(double lon, double lat);
    // Module angular unit: 2^31 stands for 180 degrees.
    static _mLonLat ChangeLonLatUnitstoDegree(long lon, long lat);
    // kind 0: Tokyo datum; 2: 1/1024 arc-second; otherwise WGS 84.
    static _mLonLat ChangeLonLatUnits(unsigned char kind, long lon, long lat);
    static short ChangeHeadUnits(unsigned short h);   // 180/32768 degree to 0.1 degree
    static short ChangeSpeedUnits(unsigned short s);  // 0.01 m/s to 0.1 km/h
    static short ChangeDOPUnits(unsigned short d);    // 1/256 to 0.1

    // ---- table trigonometry: whole degrees <-> value times 100000
    static long mSin(long deg);
    static long mCos(long deg);
    static long mTan(long deg);
    static long mAcos(long v);
    static long mAsin(long v);
    static long mAtan(long v);

    // ---- headings and plane geometry
    static short CalAngleDiffByAbs3600(short a, short b);
    static short CalAngleDiffByAbs1800(short a, short b);
    static short CalAngleDiffBy1800(short a, short b);
    static short CalAngleAverage(short a, short b);
    // 1: p left of the line a->b, 2: right, 0: on it or a null pointer.
    static int CalcPosSide(_mLonLat* a, _mLonLat* b, _mLonLat* p);
    // dist in millimetres; returns 1, or 0 for a null pointer.
    static int CalDeltaMovingPosition(_mLonLat* from, long dist, unsigned short headingDeg, _mLonLat* to);
    // Millimetres east (dx) and north (dy); either output may be null.
    static void LonLatDiffToDistDiff(long lat, _mLonLat diff, long* dx, long* dy);
    static short CalVAngle(long dist, short h1, short h2);
    // 1 when the run [start1, start1+len1) lies inside [start2, start2+len2).
    static int MultiLinkInclude(unsigned long start1, unsigned short len1, unsigned long start2,
                                unsigned short len2);

    // ---- datum shifts (abridged Molodensky)
    // kind 0 WGS 84->Tokyo, 1 Tokyo->WGS 84, 2 and 3 the same on the GRS 80 figure.
    // Radians in and out; outDh is the height change only.
    static void GetDatumTransform(int kind, double lon, double lat, double h, double* outLon,
                                  double* outLat, double* outDh);
    static tagLonLatDouble Wgs84ToBessel(double lon, double lat);
    static tagLonLatDouble BesselToWgs84(double lon, double lat);
    static tagLonLatDouble Wgs84ToTokyo(double lon, double lat);
    static _mLonLat Wgs84ToTokyo(_mLonLat pos);
};

long mSqrt(unsigned long x);
long mAtan(long v);
long mAtan2(long y, long x);

// Millimetres per coordinate unit in the latitude's 5-degree band (and their squares / 10000).
// Within 0.28 degree of the equator the band chosen last is reused.
void UtilGetGoldenRatio(long lat, unsigned short* lonScale, unsigned short* latScale);
void UtilGetGoldenRatioSquare(long lat, unsigned short* lonSq, unsigned short* latSq);

#endif  // GPSDR_MODULE_GEO_MMUTILITY_H
