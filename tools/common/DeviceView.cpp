#include "tools/common/DeviceView.h"

#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

namespace {

const char kStage[] = "/tmp";
const char kStageHost[] = "/tmp/.host";

bool WriteFile(const char* path, const std::string& text)
{
    const int fd = open(path, O_WRONLY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool ok = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(fd);
    return ok;
}

}  // namespace

bool MakeDeviceView(const std::string& target, DeviceView& view, std::string& why)
{
    view = DeviceView{};
    view.target = target;
    view.device = std::string(kStage) + std::strrchr(DeviceLink::kPath, '/');
    view.uidMap = std::to_string(geteuid()) + " " + std::to_string(geteuid()) + " 1";
    view.gidMap = std::to_string(getegid()) + " " + std::to_string(getegid()) + " 1";
    DIR* dev = opendir("/dev");
    if (dev == nullptr) {
        why = std::string("cannot list /dev: ") + std::strerror(errno);
        return false;
    }
    for (dirent* e; (e = readdir(dev)) != nullptr;) {
        const std::string name = e->d_name;
        if (name == "." || name == ".." || "/dev/" + name == DeviceLink::kPath) continue;
        view.links.push_back(std::string(kStage) + "/" + name);
        view.hosts.push_back(".host/" + name);
    }
    closedir(dev);

    // Tried once in a throw-away child, so that a refusal is reported here and not as a JVM
    // that cannot find its device.
    const pid_t probe = fork();
    if (probe == 0) _exit(EnterDeviceView(view) ? 0 : 1);
    int status = 0;
    if (probe < 0 || waitpid(probe, &status, 0) != probe || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        why = "this machine does not let a user make a user and mount namespace "
              "(see sysctl user.max_user_namespaces and kernel.unprivileged_userns_clone)";
        return false;
    }
    return true;
}

bool EnterDeviceView(const DeviceView& v)
{
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    if (!WriteFile("/proc/self/setgroups", "deny") || !WriteFile("/proc/self/uid_map", v.uidMap) ||
        !WriteFile("/proc/self/gid_map", v.gidMap))
        return false;
    // Private, so that nothing done here reaches the rest of the machine.
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
    // The new /dev is staged on /tmp, where the real one can still be bound into it, and then
    // moved over the real one, which uncovers /tmp again.
    if (mount("tmpfs", kStage, "tmpfs", MS_NOSUID, "mode=755") != 0 || mkdir(kStageHost, 0755) != 0 ||
        mount("/dev", kStageHost, nullptr, MS_BIND | MS_REC, nullptr) != 0)
        return false;
    for (size_t i = 0; i < v.links.size(); ++i)
        if (symlink(v.hosts[i].c_str(), v.links[i].c_str()) != 0) return false;
    return symlink(v.target.c_str(), v.device.c_str()) == 0 && mount(kStage, "/dev", nullptr, MS_MOVE, nullptr) == 0;
}

ChildDevice::ChildDevice(const std::string& workDir) : m_work(workDir) {}

bool ChildDevice::Prepare(std::string& error)
{
    // As root the real path, unless it is somebody else's.
    m_link.reset(new DeviceLink(m_work + "/ttyGPS1.target"));
    if (geteuid() == 0 && m_link->Claim().empty()) return true;
    // Otherwise the child's own /dev leads to a link of ours, which can be re-pointed meanwhile.
    m_link.reset(new DeviceLink(m_work + "/ttyGPS1.target", m_work + "/ttyGPS1"));
    const std::string why = m_link->Claim();
    if (!why.empty()) {
        error = why;
        return false;
    }
    m_useView = MakeDeviceView(m_link->Path(), m_view, error);
    return m_useView;
}

bool ChildDevice::PointAt(const std::string& pty)
{
    return m_link && m_link->PointAt(pty);
}

std::string ChildDevice::Describe(const std::string& pty) const
{
    if (!m_useView) return std::string(DeviceLink::kPath) + " -> " + pty + " (a symbolic link, removed at the end)";
    return std::string(DeviceLink::kPath) + " -> " + pty +
           " in a user and mount namespace of the JVM's own (nothing changes outside it)";
}
