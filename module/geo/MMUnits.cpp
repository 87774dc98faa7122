// Conversions between the integer coordinate unit, degrees, radians, DMS and module units.
#include "module/geo/MMUtility.h"

#include "module/geo/MMNumeric.h"

namespace {

constexpr int32_t kUnitsPerDegree = 360000;
constexpr int32_t kUnitsPerMinute = 6000;
constexpr double kModuleUnitToHalfTurn = 4.656612873077393e-10;  // 2^-31

void SplitUnits(int32_t v, int32_t* deg, int32_t* min, double* sec)
{
    int32_t r = v % kUnitsPerDegree;
    *deg = v / kUnitsPerDegree;
    *min = r / kUnitsPerMinute;
    *sec = (r % kUnitsPerMinute) / 100.0;
}

double UnitsToDegree(int32_t v)
{
    int32_t deg, min;
    double sec;
    SplitUnits(v, &deg, &min, &sec);
    return deg + min / 60.0 + sec / 3600.0;
}

// The split goes through unsigned on purpose: a negative degree value gives D = M = 0, so the
// seconds carry the whole (negative) angle.
int32_t DegreeToUnits(double x)
{
    uint16_t d = static_cast<uint16_t>(GeoTruncU32(x));
    double m = (x - d) * 60.0;
    uint16_t mi = static_cast<uint16_t>(GeoTruncU32(m));
    double s = (m - mi) * 60.0;
    return GeoTruncS32((static_cast<double>(3600 * d + 60 * mi) + s) * 100.0);
}

void DegreeToParts(double x, int16_t* deg, int16_t* min, double* sec)
{
    int16_t d = static_cast<int16_t>(GeoTruncS32(x));
    double m = (x - d) * 60.0;
    int16_t mi = static_cast<int16_t>(GeoTruncS32(m));
    *deg = d;
    *min = mi;
    *sec = (m - mi) * 60.0;
}

int32_t RadianToUnits(double rad)
{
    double x = rad * 180.0 / kMMPi;
    int32_t d = GeoTruncS32(x);
    double m = (x - d) * 60.0;
    int32_t mi = GeoTruncS32(m);
    int32_t whole = GeoWrapS32(static_cast<uint32_t>(d) * kUnitsPerDegree + static_cast<uint32_t>(mi) * kUnitsPerMinute);
    return GeoTruncS32(static_cast<double>(whole) + (m - mi) * 60.0 * 100.0);
}

double ModuleUnitToDegree(long v)
{
    return GeoS32(v) * kModuleUnitToHalfTurn * 180.0;
}

double NmeaToDeg(double v)
{
    int32_t k = GeoTruncS32(v / 100.0);
    return (v - k * 100.0) / 60.0 + k;
}

}  // namespace

void CMMUtility::DegreeToDMS(double lon, double lat, tagLonLatDMS* out)
{
    if (!out) return;
    DegreeToParts(lon, &out->lonDegree, &out->lonMinute, &out->lonSecond);
    DegreeToParts(lat, &out->latDegree, &out->latMinute, &out->latSecond);
}

_mLonLat CMMUtility::DegreeToLonLat(double lon, double lat)
{
    return _mLonLat{DegreeToUnits(lon), DegreeToUnits(lat)};
}

void CMMUtility::LonLatToDMS(long lon, long lat, tagLonLatDMS* out)
{
    if (!out) return;
    int32_t deg, min;
    SplitUnits(GeoS32(lon), &deg, &min, &out->lonSecond);
    out->lonDegree = static_cast<int16_t>(deg);
    out->lonMinute = static_cast<int16_t>(min);
    SplitUnits(GeoS32(lat), &deg, &min, &out->latSecond);
    out->latDegree = static_cast<int16_t>(deg);
    out->latMinute = static_cast<int16_t>(min);
}

void CMMUtility::LonLatToDegree(long lon, long lat, double* lonDeg, double* latDeg)
{
    if (lonDeg) *lonDeg = UnitsToDegree(GeoS32(lon));
    if (latDeg) *latDeg = UnitsToDegree(GeoS32(lat));
}

void CMMUtility::LonLatToRadian(long lon, long lat, double* lonRad, double* latRad)
{
    if (lonRad) *lonRad = UnitsToDegree(GeoS32(lon)) * kMMPi / 180.0;
    if (latRad) *latRad = UnitsToDegree(GeoS32(lat)) * kMMPi / 180.0;
}

_mLonLat CMMUtility::GTConvert(double lon, double lat)
{
    return _mLonLat{static_cast<int32_t>(GeoTruncU32(lon * 3600.0 * 1024.0)),
                    static_cast<int32_t>(GeoTruncU32(lat * 3600.0 * 1024.0))};
}

void CMMUtility::DMSToDegree(tagLonLatDMS dms, double* lonDeg, double* latDeg)
{
    if (lonDeg) *lonDeg = dms.lonDegree + dms.lonMinute / 60.0 + dms.lonSecond / 3600.0;
    if (latDeg) *latDeg = dms.latDegree + dms.latMinute / 60.0 + dms.latSecond / 3600.0;
}

double CMMUtility::DMSToRadian(short deg, short min, double sec)
{
    return (deg + min / 60.0 + sec / 3600.0) * kMMPi / 180.0;
}

void CMMUtility::RadianToDMS(double rad, short* deg, short* min, double* sec)
{
    int16_t d, m;
    double s;
    DegreeToParts(rad * 180.0 / kMMPi, &d, &m, &s);
    if (deg) *deg = d;
    if (min) *min = m;
    if (sec) *sec = s;
}

_mLonLat CMMUtility::RadianToLonLat(double lonRad, double latRad)
{
    return _mLonLat{RadianToUnits(lonRad), RadianToUnits(latRad)};
}

tagLonLatDouble CMMUtility::NmeaToDegree(double lon, double lat)
{
    return tagLonLatDouble{NmeaToDeg(lon), NmeaToDeg(lat)};
}

_mLonLat CMMUtility::ChangeLonLatUnitstoDegree(long lon, long lat)
{
    return DegreeToLonLat(ModuleUnitToDegree(lon), ModuleUnitToDegree(lat));
}

_mLonLat CMMUtility::ChangeLonLatUnits(unsigned char kind, long lon, long lat)
{
    double dLon = ModuleUnitToDegree(lon);
    double dLat = ModuleUnitToDegree(lat);
    if (kind == 0) {
        tagLonLatDouble tokyo = Wgs84ToTokyo(dLon, dLat);
        return DegreeToLonLat(tokyo.dLon, tokyo.dLat);
    }
    if (kind == 2) return GTConvert(dLon, dLat);
    return DegreeToLonLat(dLon, dLat);
}

short CMMUtility::ChangeHeadUnits(unsigned short h)
{
    return static_cast<int16_t>(GeoTruncS32(h * 3.0517578125e-5 * 180.0 * 10.0));
}

// The product wraps for s >= 59653 (about 597 m/s); kept as the module code computed it.
short CMMUtility::ChangeSpeedUnits(unsigned short s)
{
    return static_cast<int16_t>(GeoWrapS32(36000u * s) / 100000);
}

short CMMUtility::ChangeDOPUnits(unsigned short d)
{
    return static_cast<int16_t>(GeoTruncS32(d * 0.00390625 * 10.0));
}
