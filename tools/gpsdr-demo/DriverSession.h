// The library driven through the facade's native interface: the facade's start sequence on a
// given device, and once a second the reads and the mapping of its update thread, i.e. the
// arguments Java's sendGISInfo would receive.
#ifndef GPSDR_TOOLS_GPSDR_DEMO_DRIVERSESSION_H
#define GPSDR_TOOLS_GPSDR_DEMO_DRIVERSESSION_H

#include <string>

#include "jni/GpsDRInterface.h"
#include "jni/UpdateCycle.h"

// One sendGISInfo call, in argument order, plus the port state the facade reports beside it.
struct GisSample {
    SendGISArgs args;
    int portState;  // MM_PORT_*
};

std::string GisSampleText(const GisSample& s);

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
    GpsDRInterface m_facade;
};

#endif
