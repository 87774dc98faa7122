#include "tools/zelko-sim/SimScenario.h"

#include <algorithm>
#include <cmath>

#include "tools/zelko-sim/SimTime.h"

namespace {

// Sensor sampling behind the DR sensor report, and the gyro's scale (8.75 mdps per count).
const uint32_t kGyroSamplesPerSecond = 50;
const double kGyroDegreesPerCount = 0.00875;
const int kMaxSatsUsed = 12;

const uint8_t kPrns[32] = {2,  5,  7,  9,  13, 15, 18, 20, 23, 26, 29, 30, 1,  3,  4,  6,
                           8,  10, 11, 12, 14, 16, 17, 19, 21, 22, 24, 25, 27, 28, 31, 32};

uint16_t DopToRaw(double dop) { return static_cast<uint16_t>(std::lround(dop * 256)); }

}  // namespace

int32_t AngleToRaw(double degrees) {
    return static_cast<int32_t>(std::llround(degrees * 2147483648.0 / 180.0));
}

uint16_t HeadingToRaw(double degrees) {
    return static_cast<uint16_t>(std::llround(degrees * 32768.0 / 180.0) & 0xFFFF);
}

uint16_t SpeedToRaw(double metresPerSecond) {
    return static_cast<uint16_t>(std::llround(metresPerSecond * 100.0));
}

Scenario::Scenario(const SimOptions& opt)
    : opt_(opt), route_(DefaultRoute()), random_(opt.seed, RandomStream::Scenario) {
    speed_ = ProfileSpeed(0);
    heading_ = RouteAt(route_, 0).heading;
}

CycleState Scenario::Next(const ModuleState& module) {
    CycleState c;
    c.index = index_;
    const double dt = 1.0 / opt_.rate;
    c.t = index_ * dt;
    c.utcMs = opt_.startMs + int64_t{index_} * 1000 / opt_.rate;
    c.towMs = GpsTimeOfWeekMs(c.utcMs);
    c.silent = InAnyInterval(opt_.silences, c.t);

    if (index_ > 0) {
        double v = 0;
        if (!InAnyInterval(opt_.stops, c.t)) {
            tau_ += dt;
            v = ProfileSpeed(tau_);
        }
        along_ += (speed_ + v) / 2 * dt;
        speed_ = v;
    }
    const RoutePose pose = RouteAt(route_, along_);
    double turn = pose.heading - heading_;
    turn -= 360.0 * std::floor((turn + 180.0) / 360.0);
    heading_ = pose.heading;
    c.lon = pose.lon;
    c.lat = pose.lat;
    c.heading = pose.heading;
    c.speed = speed_;
    c.altitude = pose.altitude;

    // The gyro counts counter-clockwise; headings turn clockwise.
    c.gyroSamples = kGyroSamplesPerSecond / static_cast<uint32_t>(opt_.rate);
    const int32_t sum = static_cast<int32_t>(
        std::llround(-turn / dt / kGyroDegreesPerCount * c.gyroSamples));
    c.gyroHalf[0] = sum / 2;
    c.gyroHalf[1] = sum - sum / 2;

    const bool ready = !(module.coldUntil > c.t);
    const bool tunnel = InAnyInterval(opt_.tunnels, c.t);
    FillSatellites(c, !tunnel, ready && !tunnel);
    c.fix = !ready ? FixKind::None : c.satsUsed >= 4 ? FixKind::Fix3D : FixKind::DeadReckoning;
    if (c.fix != FixKind::Fix3D) {
        for (SatState& s : c.sats) s.flags &= static_cast<uint8_t>(~0x04);
        c.satsUsed = 0;
    } else {
        const double hdop = 0.7 + 3.0 / c.satsUsed, vdop = 1.3 * hdop;
        c.dop[0] = DopToRaw(std::hypot(hdop, vdop));
        c.dop[1] = DopToRaw(hdop);
        c.dop[2] = DopToRaw(vdop);
    }
    c.fixKindCode = c.fix == FixKind::Fix3D ? 4 : c.fix == FixKind::DeadReckoning ? 7 : 0;

    if (ready) {
        // Bit 0 position, bit 2 DR heading valid, bit 4 GPS-aided; T bit 1 sensors calibrated.
        c.status = static_cast<uint8_t>(0x05 | (c.fix == FixKind::Fix3D ? 0x10 : 0));
        c.statusT = 0x02;
        c.lonRaw = AngleToRaw(c.lon);
        c.latRaw = AngleToRaw(c.lat);
        c.headingRaw = HeadingToRaw(c.heading);
        c.speedRaw = SpeedToRaw(c.speed);
        c.altRaw = static_cast<int16_t>(std::lround(c.altitude));
    }
    ++index_;
    return c;
}

void Scenario::FillSatellites(CycleState& c, bool tracking, bool solving) {
    c.satsUsed = 0;
    for (int i = 0; i < opt_.sats; ++i) {
        SatState s{};
        s.prn = kPrns[i];
        s.elevation = static_cast<uint8_t>(5 + i * 29 % 80);
        const double azimuth = std::fmod(i * 97 + c.t * 0.004, 360.0);
        s.azimuthHalf = static_cast<uint8_t>(azimuth / 2);
        // Drawn in every cycle so that the stream does not depend on the events.
        const int cn0 = std::clamp(27 + s.elevation / 3 + random_.Between(-2, 2), 0, 51);
        if (tracking) {
            s.cn0x5 = static_cast<uint8_t>(cn0 * 5);
            s.flags = 0x01;
            // Weak signals are left out of the solution.
            if (solving && cn0 >= 33 && c.satsUsed < kMaxSatsUsed) {
                s.flags |= 0x04;
                ++c.satsUsed;
            }
        }
        c.sats.push_back(s);
    }
}
