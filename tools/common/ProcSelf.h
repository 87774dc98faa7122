// What /proc says about this process: its threads (by name, with their CPU time) and its
// resident memory. The library names its threads, so they can be told from the caller's own.
#ifndef GPSDR_TOOLS_COMMON_PROCSELF_H
#define GPSDR_TOOLS_COMMON_PROCSELF_H

#include <cstdint>
#include <string>
#include <vector>

namespace procself {

// The names the library gives its threads (update, data and matching thread).
extern const char* const kLibraryThreadNames[3];

struct Task {
    std::string name;     // comm
    uint64_t cpuTicks;    // utime + stime, in clock ticks
};

// The threads of this process; a thread that ends while being read is left out.
std::vector<Task> Tasks();

size_t TaskCount();
bool IsLibraryThread(const std::string& name);
size_t LibraryThreadCount();
std::string LibraryThreadList();  // " name name ...", for messages

// CPU seconds of the library's threads alive now, and of the whole process so far.
double LibraryCpuSeconds();
double ProcessCpuSeconds();

// VmRSS in kB, or -1.
long ResidentKb();

}  // namespace procself

#endif
