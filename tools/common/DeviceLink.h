// A symbolic link to a simulator's pty, above all the library's fixed device "/dev/ttyGPS1",
// made only where it is safe: never over a path somebody else put there. The target last set is
// recorded in a file, so that a link left by a killed run is recognised and replaced; a process
// that dies of a signal or a sanitizer report removes its link on the way out.
#ifndef GPSDR_TOOLS_COMMON_DEVICELINK_H
#define GPSDR_TOOLS_COMMON_DEVICELINK_H

#include <string>
#include <utility>

class DeviceLink {
public:
    static const char kPath[];  // "/dev/ttyGPS1"

    explicit DeviceLink(std::string recordFile, std::string path = kPath)
        : m_record(std::move(recordFile)), m_path(std::move(path)) {}
    ~DeviceLink() { Remove(); }
    DeviceLink(const DeviceLink&) = delete;
    DeviceLink& operator=(const DeviceLink&) = delete;

    // Empty when the link may be made; otherwise why not.
    std::string Claim();
    bool PointAt(const std::string& target);
    // Removes the link if it is still the one this object made.
    void Remove();
    const std::string& Path() const { return m_path; }

private:
    std::string Recorded() const;

    std::string m_record, m_path;
};

#endif
