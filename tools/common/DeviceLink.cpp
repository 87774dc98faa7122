#include "tools/common/DeviceLink.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <fstream>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define GPSDR_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define GPSDR_SANITIZED 1
#endif
#endif
#ifdef GPSDR_SANITIZED
#include <sanitizer/common_interface_defs.h>
#endif

const char DeviceLink::kPath[] = "/dev/ttyGPS1";

namespace {

// The live link and its target for the way out of a dying process, where only
// async-signal-safe calls may be made. Written only while g_linked is false.
char g_path[512], g_target[512];
std::atomic<bool> g_linked{false};

bool LinkPointsAt(const char* path, const char* target)
{
    char buf[sizeof g_target];
    const ssize_t n = readlink(path, buf, sizeof buf);
    return n > 0 && static_cast<size_t>(n) == std::strlen(target) && std::memcmp(buf, target, static_cast<size_t>(n)) == 0;
}

void RemoveOnDeath()
{
    if (g_linked.exchange(false) && LinkPointsAt(g_path, g_target)) unlink(g_path);
}

void OnFatalSignal(int sig)
{
    RemoveOnDeath();
    signal(sig, SIG_DFL);
    raise(sig);
}

void InstallDeathHandlers()
{
    static bool installed = false;
    if (installed) return;
    installed = true;
    for (int sig : {SIGABRT, SIGTERM, SIGINT, SIGHUP, SIGQUIT}) signal(sig, OnFatalSignal);
#ifdef GPSDR_SANITIZED
    // The sanitizers report faults themselves and then die through this callback.
    __sanitizer_set_death_callback(RemoveOnDeath);
#else
    for (int sig : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) signal(sig, OnFatalSignal);
#endif
}

}  // namespace

std::string DeviceLink::Recorded() const
{
    std::ifstream in(m_record);
    std::string target;
    std::getline(in, target);
    return target;
}

std::string DeviceLink::Claim()
{
    const std::string dir = m_path.substr(0, m_path.rfind('/') + 1);
    if (access(dir.c_str(), W_OK) != 0) return "making " + m_path + " needs root";
    struct stat st;
    if (lstat(m_path.c_str(), &st) != 0) return "";
    const std::string mine = Recorded();
    if (!S_ISLNK(st.st_mode) || mine.empty() || !LinkPointsAt(m_path.c_str(), mine.c_str()))
        return m_path + " exists and was not made by us; it is left alone";
    Remove();  // left over from a run that was killed
    return "";
}

bool DeviceLink::PointAt(const std::string& target)
{
    if (target.size() >= sizeof g_target || m_path.size() >= sizeof g_path) return false;
    const std::string mine = Recorded();
    struct stat st;
    if (lstat(m_path.c_str(), &st) == 0 && (mine.empty() || !LinkPointsAt(m_path.c_str(), mine.c_str()))) return false;
    InstallDeathHandlers();
    // Recorded first: if the run dies between the steps, the next one still knows the link.
    std::ofstream(m_record) << target << "\n";
    // Made aside and renamed over the old one, so the path never disappears in between and
    // nobody else can take it meanwhile.
    const std::string aside = m_path + ".new" + std::to_string(getpid());
    unlink(aside.c_str());
    g_linked = false;
    if (symlink(target.c_str(), aside.c_str()) != 0) return false;
    if (rename(aside.c_str(), m_path.c_str()) != 0) {
        unlink(aside.c_str());
        return false;
    }
    std::memcpy(g_path, m_path.c_str(), m_path.size() + 1);
    std::memcpy(g_target, target.c_str(), target.size() + 1);
    g_linked = true;
    return true;
}

void DeviceLink::Remove()
{
    g_linked = false;
    const std::string mine = Recorded();
    if (!mine.empty() && LinkPointsAt(m_path.c_str(), mine.c_str())) unlink(m_path.c_str());
    std::remove(m_record.c_str());
}
