#include "tools/common/ProcSelf.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>

namespace procself {

const char* const kLibraryThreadNames[3] = {"Update_Thread", "GPSDR_THREAD", "MM_THREAD"};

namespace {

// The whole of a small /proc file; empty when it cannot be read. Plain read(): a thread may end
// while its files are being read, and the streams would throw on that error.
std::string ReadProcFile(const std::string& path)
{
    std::string text;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return text;
    char buf[1024];
    for (ssize_t n; (n = read(fd, buf, sizeof buf)) > 0;) text.append(buf, static_cast<size_t>(n));
    close(fd);
    return text;
}

// "tid (comm) state ppid ..." where comm may hold blanks and parentheses: the name runs to the
// last ')'. utime and stime are fields 14 and 15.
bool ParseStat(const std::string& stat, Task& task)
{
    const size_t first = stat.find('(');
    const size_t last = stat.rfind(')');
    if (first == std::string::npos || last == std::string::npos || last < first) return false;
    task.name = stat.substr(first + 1, last - first - 1);
    std::istringstream rest(stat.substr(last + 1));
    std::string field;
    uint64_t utime = 0, stime = 0;
    for (int n = 3; n <= 15 && rest >> field; ++n) {
        if (n == 14) utime = std::strtoull(field.c_str(), nullptr, 10);
        if (n == 15) stime = std::strtoull(field.c_str(), nullptr, 10);
    }
    task.cpuTicks = utime + stime;
    return static_cast<bool>(rest);
}

template <typename Visit>
void ForEachTaskDir(Visit visit)
{
    DIR* dir = opendir("/proc/self/task");
    if (!dir) return;
    while (dirent* entry = readdir(dir)) {
        if (entry->d_name[0] != '.') visit(std::string("/proc/self/task/") + entry->d_name);
    }
    closedir(dir);
}

}  // namespace

std::vector<Task> Tasks()
{
    std::vector<Task> tasks;
    ForEachTaskDir([&](const std::string& path) {
        Task task{};
        if (ParseStat(ReadProcFile(path + "/stat"), task)) tasks.push_back(task);
    });
    return tasks;
}

size_t TaskCount()
{
    size_t n = 0;
    ForEachTaskDir([&](const std::string&) { ++n; });
    return n;
}

bool IsLibraryThread(const std::string& name)
{
    for (const char* own : kLibraryThreadNames)
        if (name == own) return true;
    return false;
}

size_t LibraryThreadCount()
{
    size_t n = 0;
    for (const Task& t : Tasks()) n += IsLibraryThread(t.name);
    return n;
}

std::string LibraryThreadList()
{
    std::string names;
    for (const Task& t : Tasks())
        if (IsLibraryThread(t.name)) names += " " + t.name;
    return names;
}

double LibraryCpuSeconds()
{
    uint64_t ticks = 0;
    for (const Task& t : Tasks())
        if (IsLibraryThread(t.name)) ticks += t.cpuTicks;
    return static_cast<double>(ticks) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double ProcessCpuSeconds()
{
    rusage use{};
    getrusage(RUSAGE_SELF, &use);
    auto seconds = [](const timeval& tv) { return static_cast<double>(tv.tv_sec) + tv.tv_usec / 1e6; };
    return seconds(use.ru_utime) + seconds(use.ru_stime);
}

long ResidentKb()
{
    std::istringstream in(ReadProcFile("/proc/self/status"));
    for (std::string line; std::getline(in, line);) {
        if (line.compare(0, 6, "VmRSS:") == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
    }
    return -1;
}

}  // namespace procself
