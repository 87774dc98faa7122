// The facade's fixed device "/dev/ttyGPS1" as a symbolic link to a simulator's pty, made only
// where it is safe: as root, and never over a path somebody else put there. The target last set
// is recorded in a file, so that a link left by a killed run is recognised and replaced; a run
// that dies of a signal or a sanitizer report removes its link on the way out.
#ifndef GPSDR_TESTS_E2E_STRESS_DEVICELINK_H
#define GPSDR_TESTS_E2E_STRESS_DEVICELINK_H

#include <string>
#include <utility>

class DeviceLink {
public:
    static const char kPath[];

    explicit DeviceLink(std::string recordFile) : m_record(std::move(recordFile)) {}
    ~DeviceLink() { Remove(); }
    DeviceLink(const DeviceLink&) = delete;
    DeviceLink& operator=(const DeviceLink&) = delete;

    // Empty when the link may be made; otherwise why not.
    std::string Claim();
    bool PointAt(const std::string& target);
    // Removes the link if it is still the one this object made.
    void Remove();

private:
    std::string Recorded() const;

    std::string m_record;
};

#endif
