// The library's fixed device "/dev/ttyGPS1" shown to one child process (the JVM) without root:
// the child gets a user and mount namespace of its own whose /dev holds what the real /dev
// holds plus /dev/ttyGPS1 as a link to a path of ours. As root the real path is linked instead,
// unless somebody else's device is there.
#ifndef GPSDR_TOOLS_COMMON_DEVICEVIEW_H
#define GPSDR_TOOLS_COMMON_DEVICEVIEW_H

#include <memory>
#include <string>
#include <vector>

#include "tools/common/DeviceLink.h"

// Everything the child needs, prepared by the parent: between fork and exec it may only make
// system calls.
struct DeviceView {
    std::string target, device;             // where /dev/ttyGPS1 leads inside, and its staged path
    std::vector<std::string> links, hosts;  // staged "NAME" and ".host/NAME" for each real entry
    std::string uidMap, gidMap;
};

// False with the reason when the view cannot be made (no /dev listing, or this machine does not
// allow user namespaces).
bool MakeDeviceView(const std::string& target, DeviceView& view, std::string& why);

// In the child: enters the namespace and builds its /dev. False when a step failed.
bool EnterDeviceView(const DeviceView& view);

// /dev/ttyGPS1 for child processes, pointed at whichever pty the caller chooses.
class ChildDevice {
public:
    // workDir: a directory of ours for the record of the link and, without root, the link itself.
    explicit ChildDevice(const std::string& workDir);

    // Picks the way; false with the reason in error when neither works.
    bool Prepare(std::string& error);
    bool PointAt(const std::string& pty);
    // For childproc::Io::device: the view, or null when the real path is linked.
    const DeviceView* View() const { return m_useView ? &m_view : nullptr; }
    // One line for the user: how the child reaches the pty.
    std::string Describe(const std::string& pty) const;

private:
    std::string m_work;
    std::unique_ptr<DeviceLink> m_link;
    DeviceView m_view;
    bool m_useView = false;
};

#endif
