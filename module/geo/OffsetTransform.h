// Offset coordinate transform: a smooth position-dependent displacement of some hundreds of
// metres plus a small time-dependent pseudo-random term, inside a fixed region.
// Coordinates are unsigned 1/1024 arc-second (3686400 per degree), height in metres, time in ms.
// The state is process-wide and unguarded: calls must be serialised by the caller.
#ifndef GPSDR_MODULE_GEO_OFFSETTRANSFORM_H
#define GPSDR_MODULE_GEO_OFFSETTRANSFORM_H

#include <cstdint>

enum { OFFSET_TRANSFORM_REJECT = -27137 };

extern uint32_t casm_t1;  // time of the last accepted state update
extern uint32_t casm_t2;  // time of the current call
extern double casm_rr;    // generator state, [0, 1) once running
extern double casm_x1;    // reference longitude and latitude (input units)
extern double casm_y1;
extern double casm_x2;    // latest candidate longitude and latitude
extern double casm_y2;
extern double casm_f;     // update counter, +3.0 per update; exactly 3.0 arms the speed check

// Returns 0, or OFFSET_TRANSFORM_REJECT with both outputs 0 (height above 5000 m, outside the
// region, or a jump faster than 3185 units/s at the armed speed check). Mode 0 re-seeds the
// state and passes the position through. `week` is ignored.
int wgtochina_lb(int mode, unsigned int lon, unsigned int lat, int height, int week, unsigned int time,
                 unsigned int* outLon, unsigned int* outLat);
void IniCasm(unsigned int time, unsigned int lon, unsigned int lat);
double random_yj();
double yj_sin2(double x);
// x, y in degrees from 105 E, 35 N; metres.
double Transform_yj5(double x, double y);
double Transform_yjy5(double x, double y);
// Metres to degrees of longitude / latitude at `lat` degrees.
double Transform_jy5(double lat, double metres);
double Transform_jyj5(double lat, double metres);
double r_yj();

#endif  // GPSDR_MODULE_GEO_OFFSETTRANSFORM_H
