#include "tools/common/ZelkoSampleFrames.h"

#include <vector>

namespace {

ZelkoBytes Logical(int id, std::initializer_list<ZelkoValue> values, const std::vector<uint32_t>& entries = {})
{
    const ZelkoKind& kind = *ZelkoKindById(id);
    return ZelkoLogicalFrame(kind, ZelkoRecordImage(kind, values), entries);
}

}  // namespace

int32_t ZelkoModuleAngle(double degrees)
{
    return static_cast<int32_t>(degrees / 180.0 * 2147483648.0);
}

ZelkoBytes ZelkoSampleFixWithRawDR(double lon, double lat, uint16_t heading, uint16_t speed, uint32_t tick)
{
    using namespace ZelkoFixWithRawDR;
    return Logical(ZELKO_ID_FIX_WITH_RAW_DR,
                   {{&kStatus, 0x15}, {&kStatus2, 0x02}, {&kDRTime, tick}, {&kLat, ZelkoModuleAngle(lat)},
                    {&kLon, ZelkoModuleAngle(lon)}, {&kAlt, 35}, {&kHeading, heading}, {&kSpeed, speed}});
}

ZelkoBytes ZelkoSampleGpsFix(double lon, double lat, uint16_t heading, uint16_t speed)
{
    using namespace ZelkoGpsFix;
    return Logical(ZELKO_ID_GPS_FIX, {{&kMode, 0x51}, {&kLat, ZelkoModuleAngle(lat)}, {&kLon, ZelkoModuleAngle(lon)},
                                      {&kHeading, heading}, {&kSpeed, speed}});
}

ZelkoBytes ZelkoSampleTimeConstel(uint16_t year, uint8_t month, uint8_t day, uint8_t hour, uint8_t minute,
                                  uint8_t second, uint8_t used)
{
    using namespace ZelkoUtcConstel;
    return Logical(ZELKO_ID_UTC_CONSTEL, {{&kYear, year}, {&kMonth, month}, {&kDay, day}, {&kHour, hour},
                                          {&kMinute, minute}, {&kSecond, second}, {&kDop1, 300}, {&kDop2, 256},
                                          {&kDop3, 512}, {&kFixKind, 0x08}, {&kSatsUsed, used}});
}

ZelkoBytes ZelkoSampleChannelMeas(uint8_t id, uint8_t cn0, uint8_t elevation, uint8_t azimuthHalf, uint8_t state)
{
    using namespace ZelkoChannelMeas;
    return Logical(ZELKO_ID_CHANNEL_MEAS, {{&kSat, id}, {&kState, state}, {&kSnr, cn0}, {&kAzimuth, azimuthHalf},
                                           {&kElevation, elevation}});
}

ZelkoBytes ZelkoSampleDRSensor(uint32_t sensorTime, uint32_t samples, int32_t gyroSum, uint8_t entries)
{
    using namespace ZelkoDRSensor;
    std::vector<uint32_t> values(entries);
    for (uint32_t i = 0; i < entries; ++i) values[i] = 0x43424140u + 0x04040404u * i;
    return Logical(ZELKO_ID_DR_SENSOR, {{&kSensorTime, sensorTime}, {&kSamples, samples}, {&kGyroSum, gyroSum}},
                   values);
}

ZelkoBytes ZelkoSampleSecond(unsigned second)
{
    ZelkoBytes s;
    const double lon = 127.0 + second * 1e-5;
    const double lat = 37.5 + second * 1e-5;
    const uint16_t heading = static_cast<uint16_t>(second * 97u);
    ZelkoAppend(s, ZelkoStuff(ZelkoSampleFixWithRawDR(lon, lat, heading, 1389, second * 1000u)));
    ZelkoAppend(s, ZelkoStuff(ZelkoSampleGpsFix(lon, lat, heading, 1389)));
    ZelkoAppend(s, ZelkoStuff(ZelkoSampleTimeConstel(2024, 3, 15, 12, static_cast<uint8_t>(second / 60 % 60),
                                                     static_cast<uint8_t>(second % 60), 9)));
    for (uint8_t ch = 0; ch < 12; ++ch) {
        ZelkoAppend(s, ZelkoStuff(ZelkoSampleChannelMeas(static_cast<uint8_t>(ch * 3 + 1), static_cast<uint8_t>(150 + ch),
                                                         static_cast<uint8_t>(10 + ch * 5),
                                                         static_cast<uint8_t>(ch * 15), 0x14)));
    }
    ZelkoAppend(s, ZelkoStuff(ZelkoSampleDRSensor(second * 1000u, 10, -2000 + static_cast<int32_t>(second % 7) * 100, 4)));
    return s;
}
