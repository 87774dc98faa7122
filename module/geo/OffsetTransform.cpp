// Offset coordinate transform. Every constant below (the 15-digit 2 pi of yj_sin2, the pi one
// unit high, 0.6667 for two thirds, the ellipsoid and the short pi of the metre conversions) is
// part of the transform's definition: receivers of the output undo it with the same digits.
#include "module/geo/OffsetTransform.h"

#include <cmath>

#include "module/geo/MMNumeric.h"

uint32_t casm_t1 = 0;
uint32_t casm_t2 = 0;
double casm_rr = 0.0;
double casm_x1 = 0.0;
double casm_y1 = 0.0;
double casm_x2 = 0.0;
double casm_y2 = 0.0;
double casm_f = 0.0;

namespace {

constexpr double kUnitsPerDegree = 3686400.0;
constexpr double kDegToRad = 0.0174532925199433;

constexpr double kSixPi = 18.849555921538762;
constexpr double kTwoPi = 6.283185307179588;
constexpr double kPi = 3.141592653589794;
constexpr double kPiOver3 = 1.047197551196598;
constexpr double kPiOver12 = 0.2617993877991495;
constexpr double kPiOver30 = 0.1047197551196598;
constexpr double kTwoThirds = 0.6667;

constexpr double kSemiMajor = 6378245.0;
constexpr double kEcc2 = 0.00669342;
constexpr double kMeridianNumerator = 6335552.7273521;
constexpr double kShortPi = 3.1415926;

// (c1 * sin(k1 * u) + c2 * sin(k2 * u)) weighted by two thirds.
double Harmonic(double c1, double k1, double c2, double k2, double u)
{
    return (c1 * yj_sin2(u * k1) + c2 * yj_sin2(u * k2)) * kTwoThirds;
}

double ReducedW(double lat)
{
    double s = yj_sin2(lat * kDegToRad);
    return 1.0 - kEcc2 * s * s;
}

int Reject(unsigned int* outLon, unsigned int* outLat)
{
    if (outLon) *outLon = 0;
    if (outLat) *outLat = 0;
    return OFFSET_TRANSFORM_REJECT;
}

bool InsideRegion(double x, double y) { return x >= 72.004 && x <= 137.8347 && y >= 0.8293 && y <= 55.8271; }

void AcceptUpdate(uint32_t t)
{
    casm_t1 = t;
    casm_x1 = casm_x2;
    casm_y1 = casm_y2;
    casm_f = casm_f + 1.0 + 1.0 + 1.0;
}

}  // namespace

double yj_sin2(double x)
{
    bool neg = x < 0;
    double a = std::fabs(x);
    a = a - GeoTruncS32(a / 6.28318530717959) * 6.28318530717959;
    if (a > 3.141592653589793) {
        a = a - 3.141592653589793;
        neg = !neg;
    }
    double a2 = a * a;
    double a3 = a * a2;
    double s = a + a3 * -0.166666666666667 + a3 * a2 * 0.00833333333333333 + a3 * a2 * a2 * -0.000198412698412698 +
               a3 * a2 * a2 * a2 * 2.75573192239859e-06 + a3 * a2 * a2 * a2 * a2 * -2.50521083854417e-08;
    return neg ? -s : s;
}

double random_yj()
{
    double v = 453806245.0 + casm_rr * 314159269.0;
    int32_t k = GeoTruncS32(v * 0.5);
    casm_rr = (v - GeoWrapS32(2u * static_cast<uint32_t>(k))) * 0.5;
    return casm_rr;
}

void IniCasm(unsigned int time, unsigned int lon, unsigned int lat)
{
    casm_t1 = time;
    casm_t2 = time;
    double t = time;
    casm_rr = time != 0 ? t - GeoTruncS32(t / 0.357) * 0.357 : 0.3;
    casm_x1 = casm_x2 = lon;
    casm_y1 = casm_y2 = lat;
    casm_f = 3.0;
}

double Transform_yj5(double x, double y)
{
    return x + 300.0 + 2.0 * y + 0.1 * x * x + 0.1 * x * y + 0.1 * std::sqrt(std::sqrt(x * x)) +
           Harmonic(20.0, kTwoPi, 20.0, kSixPi, x) + Harmonic(40.0, kPiOver3, 20.0, kPi, x) +
           Harmonic(300.0, kPiOver30, 150.0, kPiOver12, x);
}

double Transform_yjy5(double x, double y)
{
    return 2.0 * x - 100.0 + 3.0 * y + 0.2 * y * y + 0.1 * x * y + 0.2 * std::sqrt(std::sqrt(x * x)) +
           Harmonic(20.0, kTwoPi, 20.0, kSixPi, x) + Harmonic(40.0, kPiOver3, 20.0, kPi, y) +
           Harmonic(320.0, kPiOver30, 160.0, kPiOver12, y);
}

double Transform_jy5(double lat, double metres)
{
    double w = ReducedW(lat);
    return metres * 180.0 / (kSemiMajor / std::sqrt(w) * std::cos(lat * kDegToRad) * kShortPi);
}

double Transform_jyj5(double lat, double metres)
{
    double w = ReducedW(lat);
    return metres * 180.0 / (kMeridianNumerator / (w * std::sqrt(w)) * kShortPi);
}

double r_yj() { return 0; }

int wgtochina_lb(int mode, unsigned int lon, unsigned int lat, int height, int /*week*/, unsigned int time,
                 unsigned int* outLon, unsigned int* outLat)
{
    if (height > 5000) return Reject(outLon, outLat);
    double x = lon / kUnitsPerDegree;
    double y = lat / kUnitsPerDegree;
    if (!InsideRegion(x, y)) return Reject(outLon, outLat);
    if (mode == 0) {
        IniCasm(time, lon, lat);
        if (outLon) *outLon = lon;
        if (outLat) *outLat = lat;
        return 0;
    }

    // A clock that runs backwards wraps into a huge dt, which counts as "long ago".
    casm_t2 = time;
    double dt = static_cast<uint32_t>(time - casm_t1) / 1000.0;
    if (dt == 0.0) {
        AcceptUpdate(time);
    } else if (dt > 120.0) {
        if (casm_f == 3.0) {
            casm_f = 0;
            casm_x2 = lon;
            casm_y2 = lat;
            double dLat = lat - casm_y1;
            double dLon = lon - casm_x1;
            if (std::sqrt(dLat * dLat + dLon * dLon) / dt > 3185.0) return Reject(outLon, outLat);
        }
        AcceptUpdate(casm_t2);
    }

    double ex = Transform_yj5(x - 105.0, y - 35.0);
    double ny = Transform_yjy5(x - 105.0, y - 35.0);
    double h = height;
    double a = time * kDegToRad;
    double s1 = yj_sin2(a);
    double r1 = random_yj();
    double s2 = yj_sin2(a);
    double r2 = random_yj();
    unsigned int newLon = GeoTruncU32((Transform_jy5(y, ex + h * 0.001 + s1 + r1) + x) * kUnitsPerDegree);
    unsigned int newLat = GeoTruncU32((Transform_jyj5(y, ny + h * 0.001 + s2 + r2) + y) * kUnitsPerDegree);
    if (outLon) *outLon = newLon;
    if (outLat) *outLat = newLat;
    return 0;
}
