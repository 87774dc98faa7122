// One sendGISInfo call as the Java side printed it (NativeCallDemo.callLine):
// "CALL label ms lat lon alt dopA dopB heading reserved time".
#ifndef GPSDR_TOOLS_COMMON_GISCALL_H
#define GPSDR_TOOLS_COMMON_GISCALL_H

#include <string>

struct GisCall {
    std::string label;  // the calling thread's name, or the test's phase
    long ms;            // when Java received it
    double lat, lon;    // degrees, offset coordinate frame
    double alt;         // metres
    int a, b;           // the second and the first DOP value, tenths
    int heading;        // whole degrees
    int reserved;
    std::string time;  // "YYYYMMDDhhmmss" UTC, or fourteen zeros
};

bool ParseGisCall(const std::string& line, GisCall& call);

#endif
