// The library driven through the manager's native interface the way the facade drives it: the
// same start sequence, and once a second the same reads its update thread makes, turned into
// the arguments Java's sendGISInfo would receive.
#ifndef GPSDR_TOOLS_GPSDR_DEMO_DRIVERSESSION_H
#define GPSDR_TOOLS_GPSDR_DEMO_DRIVERSESSION_H

#include <string>

class CMM;

// One sendGISInfo call, in argument order, plus the port state the facade reports beside it.
struct GisSample {
    double lat = 0;  // degrees
    double lon = 0;
    double alt = 0;  // metres
    int dop2 = 0;    // passed first
    int dop1 = 0;
    int heading = 0;  // whole degrees
    int reserved = 0;
    std::string time;  // "YYYYMMDDhhmmss" or fourteen zeros
    int portState = 0;  // MM_PORT_*
};

std::string GisSampleText(const GisSample& s);
const char* PortStateName(int state);

class DriverSession {
public:
    DriverSession() = default;
    ~DriverSession() { Stop(); }
    DriverSession(const DriverSession&) = delete;
    DriverSession& operator=(const DriverSession&) = delete;

    // Initialise, module protocol, open the device at 115200 8N1 without a mount angle and
    // start the data thread. False with a message in error.
    bool Start(const std::string& device, std::string& error);
    GisSample Sample();
    // Destroys and frees the manager (its threads stop, the port closes); takes a few seconds.
    void Stop();

private:
    CMM* m_pMM = nullptr;
};

#endif
