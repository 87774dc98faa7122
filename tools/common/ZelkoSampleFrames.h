// Plausible module messages for benchmarks and tests, built through the message catalogue:
// sealed logical frames (ZelkoStuff gives their wire form).
#ifndef GPSDR_TOOLS_COMMON_ZELKOSAMPLEFRAMES_H
#define GPSDR_TOOLS_COMMON_ZELKOSAMPLEFRAMES_H

#include <cstdint>

#include "tools/common/ZelkoFrameWriter.h"

// Degrees in the module's angle unit (2^31 = 180 degrees).
int32_t ZelkoModuleAngle(double degrees);

// Status: ready, DR heading valid, bit 4; altitude 35 m.
ZelkoBytes ZelkoSampleFixWithRawDR(double lon, double lat, uint16_t heading, uint16_t speed, uint32_t tick);
// A 3-D fix.
ZelkoBytes ZelkoSampleGpsFix(double lon, double lat, uint16_t heading, uint16_t speed);
// DOPs 300, 256, 512 (1/256), fix kind 8.
ZelkoBytes ZelkoSampleTimeConstel(uint16_t year, uint8_t month, uint8_t day, uint8_t hour, uint8_t minute,
                                  uint8_t second, uint8_t used);
ZelkoBytes ZelkoSampleChannelMeas(uint8_t id, uint8_t cn0, uint8_t elevation, uint8_t azimuthHalf, uint8_t state);
// Format version 8 with `entries` four-byte entries (bytes 0x40, 0x41, ...).
ZelkoBytes ZelkoSampleDRSensor(uint32_t sensorTime, uint32_t samples, int32_t gyroSum, uint8_t entries);
// One second of the module's output as it arrives on the wire: a fix with DR, a GPS fix, a time
// summary, twelve channel reports and DR sensor data.
ZelkoBytes ZelkoSampleSecond(unsigned second);

#endif
