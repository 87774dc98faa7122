// Builds Zelko frames for tests and benchmarks, independently of the library's own builders:
// a logical frame is laid out by hand, sealed with its zero-sum checksum and escaped for the wire.
#ifndef GPSDR_TOOLS_COMMON_ZELKOFRAMES_H
#define GPSDR_TOOLS_COMMON_ZELKOFRAMES_H

#include <cstdint>
#include <cstring>
#include <vector>

namespace zf {

using Bytes = std::vector<unsigned char>;

// 81 code sub, L-5 zero body bytes, checksum slot, 82.
inline Bytes Blank(uint8_t code, uint8_t sub, size_t len)
{
    Bytes f(len, 0);
    f[0] = 0x81;
    f[1] = code;
    f[2] = sub;
    f[len - 1] = 0x82;
    return f;
}

inline void Put16(Bytes& f, size_t at, uint16_t v)
{
    f[at] = static_cast<unsigned char>(v);
    f[at + 1] = static_cast<unsigned char>(v >> 8);
}

inline void Put32(Bytes& f, size_t at, uint32_t v)
{
    for (int i = 0; i < 4; ++i) f[at + i] = static_cast<unsigned char>(v >> (8 * i));
}

inline void PutF32(Bytes& f, size_t at, float v)
{
    uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    Put32(f, at, bits);
}

// Writes the checksum so that all bytes sum to 0 modulo 256.
inline Bytes Seal(Bytes f)
{
    if (f.size() < 2) return f;
    unsigned char& checksum = f[f.size() - 2];
    checksum = 0;
    unsigned sum = 0;
    for (unsigned char b : f) sum += b;
    checksum = static_cast<unsigned char>(0x100 - (sum & 0xFF));
    return f;
}

// Escapes 0x80..0x83 between the markers as 0x80, v - 0x80.
inline Bytes Stuff(const Bytes& logical)
{
    Bytes out;
    out.push_back(logical.front());
    for (size_t i = 1; i + 1 < logical.size(); ++i) {
        const unsigned char b = logical[i];
        if (b >= 0x80 && b <= 0x83) {
            out.push_back(0x80);
            out.push_back(static_cast<unsigned char>(b - 0x80));
        } else {
            out.push_back(b);
        }
    }
    out.push_back(logical.back());
    return out;
}

inline void Append(Bytes& to, const Bytes& from)
{
    to.insert(to.end(), from.begin(), from.end());
}

// ---- realistic module messages (logical frames, sealed)

// Module angular unit: 2^31 is 180 degrees.
inline uint32_t ModuleAngle(double degrees)
{
    return static_cast<uint32_t>(static_cast<int32_t>(degrees / 180.0 * 2147483648.0));
}

inline Bytes FixWithRawDR(double lon, double lat, uint16_t heading, uint16_t speed, uint32_t tick)
{
    Bytes f = Blank(0x30, 0x02, 51);
    f[3] = 0x15;  // status: flag 1 (ready), DR heading valid, bit 4
    f[4] = 0x02;
    Put32(f, 6, tick);
    Put32(f, 10, ModuleAngle(lat));
    Put32(f, 14, ModuleAngle(lon));
    Put16(f, 18, 35);
    Put16(f, 20, heading);
    Put16(f, 22, speed);
    return Seal(f);
}

inline Bytes GpsFix(double lon, double lat, uint16_t heading, uint16_t speed)
{
    Bytes f = Blank(0x31, 0x01, 33);
    f[7] = 0x51;  // mode 0x11, 3-D
    Put32(f, 9, ModuleAngle(lat));
    Put32(f, 13, ModuleAngle(lon));
    Put16(f, 19, heading);
    Put16(f, 21, speed);
    return Seal(f);
}

inline Bytes TimeConstel(uint16_t year, uint8_t month, uint8_t day, uint8_t hour, uint8_t minute,
                         uint8_t second, uint8_t used)
{
    Bytes f = Blank(0x32, 0x01, 23);
    Put16(f, 3, year);
    f[5] = month;
    f[6] = day;
    f[7] = hour;
    f[8] = minute;
    f[9] = second;
    Put16(f, 11, 300);
    Put16(f, 13, 256);
    Put16(f, 15, 512);
    f[18] = 0x08;
    f[20] = used;
    return Seal(f);
}

inline Bytes ChannelMeas(uint8_t id, uint8_t cn0, uint8_t elevation, uint8_t azimuthHalf, uint8_t state)
{
    Bytes f = Blank(0x33, 0x01, 12);
    f[4] = id;
    f[5] = state;
    f[6] = cn0;
    f[7] = azimuthHalf;
    f[8] = elevation;
    return Seal(f);
}

// Format version 8 with `entries` four-byte entries and the gyro sum in the tail block.
inline Bytes DRSensor(uint32_t sensorTime, uint32_t samples, int32_t gyroSum, uint8_t entries)
{
    Bytes f = Blank(0x70, 0x13, 59 + 4u * entries);
    f[3] = 8;
    Put32(f, 5, sensorTime);
    Put32(f, 19, samples);
    f[27] = entries;
    for (size_t i = 0; i < 4u * entries; ++i) f[28 + i] = static_cast<unsigned char>(0x40 + i);
    Put32(f, 28 + 4u * entries + 20, static_cast<uint32_t>(gyroSum));
    return Seal(f);
}

// One second of the module's output as it arrives on the wire.
inline Bytes ModuleSecond(unsigned second)
{
    Bytes s;
    const double lon = 127.0 + second * 1e-5;
    const double lat = 37.5 + second * 1e-5;
    const uint16_t heading = static_cast<uint16_t>(second * 97u);
    Append(s, Stuff(FixWithRawDR(lon, lat, heading, 1389, second * 1000u)));
    Append(s, Stuff(GpsFix(lon, lat, heading, 1389)));
    Append(s, Stuff(TimeConstel(2024, 3, 15, 12, static_cast<uint8_t>(second / 60 % 60),
                                static_cast<uint8_t>(second % 60), 9)));
    for (uint8_t ch = 0; ch < 12; ++ch) {
        Append(s, Stuff(ChannelMeas(static_cast<uint8_t>(ch * 3 + 1), static_cast<uint8_t>(150 + ch),
                                    static_cast<uint8_t>(10 + ch * 5), static_cast<uint8_t>(ch * 15), 0x14)));
    }
    Append(s, Stuff(DRSensor(second * 1000u, 10, -2000 + static_cast<int32_t>(second % 7) * 100, 4)));
    return s;
}

}  // namespace zf

#endif
