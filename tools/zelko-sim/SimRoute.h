// The drive: a closed loop of city streets and a repeating speed profile.
#ifndef GPSDR_TOOLS_ZELKO_SIM_SIMROUTE_H
#define GPSDR_TOOLS_ZELKO_SIM_SIMROUTE_H

#include <vector>

struct RoutePoint {
    double x, y;  // metres east and north of the route's origin
};

struct Route {
    double lon0 = 0, lat0 = 0;      // origin of the local plane, degrees
    std::vector<RoutePoint> points;  // a loop: the last point joins the first
    std::vector<double> along;       // distance from the first point to each point
    double length = 0;
};

struct RoutePose {
    double lon, lat;  // degrees
    double heading;   // degrees clockwise from north, 0 .. 360
    double altitude;  // metres
};

// A loop of about 3.9 km around Jongno, Seoul, with rounded corners.
Route DefaultRoute();
// The pose at distance s along the loop (wrapping).
RoutePose RouteAt(const Route& route, double s);
// Speed in m/s at profile time tau: starts, cruising, a stop at lights; repeats every 180 s.
double ProfileSpeed(double tau);

#endif
