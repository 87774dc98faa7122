#include "tools/zelko-sim/SimRoute.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>

namespace {

const double kPi = 3.141592653589793;
const double kMetresPerDegreeLat = 6378137.0 * kPi / 180.0;

struct LonLat {
    double lon, lat;
};

// Gwanghwamun, Sejong-daero, Jong-ro, Donhwamun-ro, Yulgok-ro, back to Gwanghwamun.
const LonLat kJongnoLoop[] = {
    {126.97690, 37.57600}, {126.97685, 37.57070}, {126.98400, 37.57030},
    {126.99190, 37.57050}, {126.99180, 37.57600}, {126.98500, 37.57610},
};

// Time (s) and speed (km/h) corners of the profile, linear in between.
struct ProfilePoint {
    double t, kmh;
};
const ProfilePoint kProfile[] = {
    {0, 0},    {4, 0},    {14, 50},  {40, 50},  {48, 0},   {68, 0},   {76, 35},
    {100, 35}, {110, 60}, {140, 60}, {150, 30}, {165, 30}, {172, 0},  {180, 0},
};

double MetresPerDegreeLon(double lat0) { return kMetresPerDegreeLat * std::cos(lat0 * kPi / 180); }

RoutePoint Lerp(RoutePoint a, RoutePoint b, double f) {
    return {a.x + (b.x - a.x) * f, a.y + (b.y - a.y) * f};
}

double Distance(RoutePoint a, RoutePoint b) { return std::hypot(b.x - a.x, b.y - a.y); }

// Cuts every corner with three points so that a turn takes a few cycles, not one.
std::vector<RoutePoint> RoundCorners(const std::vector<RoutePoint>& corners) {
    const double kCut = 12.0;
    std::vector<RoutePoint> out;
    const size_t n = corners.size();
    for (size_t i = 0; i < n; ++i) {
        const RoutePoint prev = corners[(i + n - 1) % n], v = corners[i], next = corners[(i + 1) % n];
        const RoutePoint in = Lerp(v, prev, std::min(kCut, Distance(prev, v) / 3) / Distance(prev, v));
        const RoutePoint out2 = Lerp(v, next, std::min(kCut, Distance(v, next) / 3) / Distance(v, next));
        out.push_back(in);
        out.push_back({0.5 * v.x + 0.25 * (in.x + out2.x), 0.5 * v.y + 0.25 * (in.y + out2.y)});
        out.push_back(out2);
    }
    return out;
}

}  // namespace

Route DefaultRoute() {
    Route route;
    route.lon0 = kJongnoLoop[0].lon;
    route.lat0 = kJongnoLoop[0].lat;
    const double kLon = MetresPerDegreeLon(route.lat0);
    std::vector<RoutePoint> corners;
    for (const LonLat& p : kJongnoLoop)
        corners.push_back({(p.lon - route.lon0) * kLon, (p.lat - route.lat0) * kMetresPerDegreeLat});
    route.points = RoundCorners(corners);
    // Start where the first turn ends, at the head of Sejong-daero going south.
    std::rotate(route.points.begin(), route.points.begin() + 2, route.points.end());
    const size_t n = route.points.size();
    for (size_t i = 0; i < n; ++i) {
        route.along.push_back(route.length);
        route.length += Distance(route.points[i], route.points[(i + 1) % n]);
    }
    return route;
}

RoutePose RouteAt(const Route& route, double s) {
    s = std::fmod(s, route.length);
    if (s < 0) s += route.length;
    const size_t n = route.points.size();
    // Last point whose distance is not beyond s.
    const size_t i = static_cast<size_t>(
        std::upper_bound(route.along.begin(), route.along.end(), s) - route.along.begin() - 1);
    const RoutePoint a = route.points[i], b = route.points[(i + 1) % n];
    const RoutePoint p = Lerp(a, b, (s - route.along[i]) / Distance(a, b));
    double heading = std::atan2(b.x - a.x, b.y - a.y) * 180 / kPi;
    if (heading < 0) heading += 360;
    RoutePose pose;
    pose.lon = route.lon0 + p.x / MetresPerDegreeLon(route.lat0);
    pose.lat = route.lat0 + p.y / kMetresPerDegreeLat;
    pose.heading = heading;
    // Jongno is gently rolling: a few metres up and down around 38 m.
    pose.altitude = 38.0 + 6.0 * std::sin(2 * kPi * s / route.length);
    return pose;
}

double ProfileSpeed(double tau) {
    const double period = std::prev(std::end(kProfile))->t;
    tau = std::fmod(tau, period);
    if (tau < 0) tau += period;
    for (size_t i = 1; i < std::size(kProfile); ++i) {
        const ProfilePoint a = kProfile[i - 1], b = kProfile[i];
        if (tau <= b.t) return (a.kmh + (b.kmh - a.kmh) * (tau - a.t) / (b.t - a.t)) / 3.6;
    }
    return 0;
}
