#include "tests/e2e/stress/DeviceLink.h"

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

// The live link's target for the way out of a dying process, where only async-signal-safe
// calls may be made. Written only while g_linked is false.
char g_target[512];
std::atomic<bool> g_linked{false};

bool LinkPointsAt(const char* target)
{
    char buf[sizeof g_target];
    const ssize_t n = readlink(DeviceLink::kPath, buf, sizeof buf);
    return n > 0 && static_cast<size_t>(n) == std::strlen(target) && std::memcmp(buf, target, static_cast<size_t>(n)) == 0;
}

void RemoveOnDeath()
{
    if (g_linked.exchange(false) && LinkPointsAt(g_target)) unlink(DeviceLink::kPath);
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
    if (geteuid() != 0) return std::string("making ") + kPath + " needs root";
    struct stat st;
    if (lstat(kPath, &st) != 0) return "";
    const std::string mine = Recorded();
    if (!S_ISLNK(st.st_mode) || mine.empty() || !LinkPointsAt(mine.c_str()))
        return std::string(kPath) + " exists and was not made by this test; it is left alone";
    Remove();  // left over from a run that was killed
    return "";
}

bool DeviceLink::PointAt(const std::string& target)
{
    if (target.size() >= sizeof g_target) return false;
    const std::string mine = Recorded();
    struct stat st;
    if (lstat(kPath, &st) == 0 && (mine.empty() || !LinkPointsAt(mine.c_str()))) return false;
    InstallDeathHandlers();
    // Recorded first: if the run dies between the steps, the next one still knows the link.
    std::ofstream(m_record) << target << "\n";
    // Made aside and renamed over the old one, so the path never disappears in between and
    // nobody else can take it meanwhile.
    const std::string aside = std::string(kPath) + ".new" + std::to_string(getpid());
    unlink(aside.c_str());
    g_linked = false;
    if (symlink(target.c_str(), aside.c_str()) != 0) return false;
    if (rename(aside.c_str(), kPath) != 0) {
        unlink(aside.c_str());
        return false;
    }
    std::memcpy(g_target, target.c_str(), target.size() + 1);
    g_linked = true;
    return true;
}

void DeviceLink::Remove()
{
    g_linked = false;
    const std::string mine = Recorded();
    if (!mine.empty() && LinkPointsAt(mine.c_str())) unlink(kPath);
    std::remove(m_record.c_str());
}
