// End-to-end latency of the manager: a module streams frames into a pseudo-terminal at the pace
// of a 115200-baud line (ten navigation cycles a second); for each fix-with-DR frame the time
// from its last byte on the line to the published position (CMM::GetMMPos changes) is taken.
// Each cycle starts at a random phase within its first half. The data thread's read returns on
// the first bytes of a cycle and the thread then sleeps its fixed 100 ms, so the fix, which ends
// the cycle, waits for the next read whatever the phase. Also reports the CPU time the data and
// matching threads use per second of stream.
//
//   bench_mm_latency [frames]     (default 300, one every 100 ms)
#include <dirent.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "module/MM/MM.h"
#include "module/position/PositionMgr.h"
#include "platform/mAndroidLog.h"

namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::vector<unsigned char>;

const double kByteTimeUs = 10.0 * 1e6 / 115200.0;  // start, 8 data bits, stop
const auto kCycle = std::chrono::milliseconds(100);

void Put16(Bytes& b, size_t at, uint16_t v)
{
    b[at] = static_cast<unsigned char>(v);
    b[at + 1] = static_cast<unsigned char>(v >> 8);
}

void Put32(Bytes& b, size_t at, uint32_t v)
{
    for (int i = 0; i < 4; ++i) b[at + i] = static_cast<unsigned char>(v >> (8 * i));
}

Bytes Frame(uint8_t code, uint8_t sub, const Bytes& body)
{
    const size_t len = body.size() + 5;
    Bytes buf(2 * len + 8, 0);
    buf[0] = 0x81;
    buf[1] = code;
    buf[2] = sub;
    std::memcpy(&buf[3], body.data(), body.size());
    buf[len - 1] = 0x82;
    buf[len - 2] = CPositionMgr::MakeZelkoCS(buf.data(), len);
    buf.resize(len + CPositionMgr::MakeStuffPacket(buf.data(), len, buf.size()));
    return buf;
}

uint32_t ModuleAngle(double deg)
{
    return static_cast<uint32_t>(static_cast<int32_t>(std::lround(deg / 180.0 * 2147483648.0)));
}

Bytes Fix(int n)
{
    Bytes body(46, 0);
    body[0] = 0x05;  // ready, DR heading valid
    Put32(body, 3, 1000 + static_cast<uint32_t>(n));
    Put32(body, 7, ModuleAngle(37.5 + n * 1e-4));
    Put32(body, 11, ModuleAngle(127.0 + n * 1e-4));
    Put16(body, 17, 0x2000);
    Put16(body, 19, 1500);
    return Frame(0x30, 0x02, body);
}

// The rest of a navigation cycle: time summary, GPS fix, four channel reports.
Bytes CycleHead(int n)
{
    Bytes out;
    Bytes utc(18, 0);
    Put16(utc, 0, 2024);
    utc[2] = 3;
    utc[3] = 15;
    utc[4] = 12;
    utc[5] = static_cast<unsigned char>(n / 600 % 60);
    utc[6] = static_cast<unsigned char>(n / 10 % 60);
    Put16(utc, 8, 256);
    Put16(utc, 10, 256);
    Put16(utc, 12, 256);
    utc[17] = 8;
    Bytes gps(28, 0);
    gps[4] = 0x11 | 0x40;
    for (const Bytes& f : {Frame(0x32, 0x01, utc), Frame(0x31, 0x01, gps)}) out.insert(out.end(), f.begin(), f.end());
    for (uint8_t sat = 1; sat <= 4; ++sat) {
        const Bytes f = Frame(0x33, 0x01, Bytes{0, sat, 0x04, 40, 40, 40, 0});
        out.insert(out.end(), f.begin(), f.end());
    }
    return out;
}

// Writes like a line at 115200 baud: each chunk no earlier than its last byte would arrive.
void WritePaced(int fd, const Bytes& bytes, Clock::time_point& lineFree)
{
    lineFree = std::max(lineFree, Clock::now()) +
               std::chrono::microseconds(static_cast<long>(bytes.size() * kByteTimeUs));
    std::this_thread::sleep_until(lineFree);
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
        if (n <= 0) break;
        done += static_cast<size_t>(n);
    }
}

void DrainHostBytes(int fd)
{
    unsigned char buf[256];
    while (read(fd, buf, sizeof buf) > 0) {
    }
}

// CPU nanoseconds used so far by this process's threads, by thread name.
std::map<std::string, double> ThreadCpuNs()
{
    std::map<std::string, double> out;
    DIR* dir = opendir("/proc/self/task");
    if (!dir) return out;
    while (dirent* e = readdir(dir)) {
        if (e->d_name[0] == '.') continue;
        const std::string base = std::string("/proc/self/task/") + e->d_name;
        std::string name;
        std::ifstream(base + "/comm") >> name;
        double ns = 0;
        std::ifstream sched(base + "/schedstat");
        if (!(sched >> ns)) {
            // No scheduler statistics: fall back to clock ticks (utime, stime).
            std::ifstream stat(base + "/stat");
            std::string line;
            std::getline(stat, line);
            const size_t close = line.rfind(')');
            std::vector<std::string> fields;
            size_t pos = close + 2;
            while (pos < line.size()) {
                const size_t next = line.find(' ', pos);
                fields.push_back(line.substr(pos, next - pos));
                if (next == std::string::npos) break;
                pos = next + 1;
            }
            if (fields.size() > 12)
                ns = (std::stod(fields[11]) + std::stod(fields[12])) * 1e9 / static_cast<double>(sysconf(_SC_CLK_TCK));
        }
        out[name] += ns;
    }
    closedir(dir);
    return out;
}

double Percentile(std::vector<double> v, double p)
{
    std::sort(v.begin(), v.end());
    const size_t i = static_cast<size_t>(std::ceil(p * static_cast<double>(v.size()))) - 1;
    return v[std::min(i, v.size() - 1)];
}

void Silent(int, const char*, const char*, void*) {}

}  // namespace

int main(int argc, char** argv)
{
    const int frames = argc > 1 ? std::max(10, atoi(argv[1])) : 300;
    mHostLogSetSink(&Silent, nullptr);

    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    char path[128];
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0 || ptsname_r(master, path, sizeof path) != 0) {
        std::perror("pty");
        return 1;
    }
    std::vector<unsigned short> path16(path, path + std::strlen(path) + 1);

    CMM* mm = new CMM;
    if (!mm->Initialize(MM_DATAKIND_ZELKO, 1) || !mm->SetParam(MM_PARAM_DATATYPE, MM_DATAKIND_ZELKO) ||
        !mm->CreateDataThread(path16.data(), 115200, 8, 0, 0, 360, 0)) {
        std::fprintf(stderr, "manager did not start\n");
        return 1;
    }
    fcntl(master, F_SETFL, O_NONBLOCK);  // the host's queries are drained without blocking

    std::vector<double> latencyMs;
    Clock::time_point lineFree = Clock::now();
    Clock::time_point cycle = Clock::now();
    std::map<std::string, double> cpu0;
    Clock::time_point streamStart;
    const int warmUp = 10;
    std::mt19937 rng(1);
    std::uniform_int_distribution<int> phaseUs(0, 50000);
    for (int n = 0; n < frames + warmUp; ++n) {
        if (n == warmUp) {
            cpu0 = ThreadCpuNs();
            streamStart = Clock::now();
        }
        std::this_thread::sleep_until(cycle + std::chrono::microseconds(phaseUs(rng)));
        WritePaced(master, CycleHead(n), lineFree);
        _mMMPosition before;
        mm->GetMMPos(&before, 1);
        WritePaced(master, Fix(n), lineFree);
        const Clock::time_point lastByte = Clock::now();
        _mMMPosition now;
        const Clock::time_point deadline = lastByte + std::chrono::seconds(2);
        do {
            mm->GetMMPos(&now, 1);
        } while (now.lLat == before.lLat && Clock::now() < deadline);
        const double ms = std::chrono::duration<double, std::milli>(Clock::now() - lastByte).count();
        if (n >= warmUp) latencyMs.push_back(ms);
        DrainHostBytes(master);
        cycle += kCycle;
    }
    const double streamSeconds = std::chrono::duration<double>(Clock::now() - streamStart).count();
    std::map<std::string, double> cpu1 = ThreadCpuNs();

    std::printf("frames %zu, stream %.1f s at 10 cycles/s (%zu bytes per cycle)\n", latencyMs.size(), streamSeconds,
                CycleHead(0).size() + Fix(0).size());
    std::printf("latency last byte of 3002 -> published position: median %.2f ms, p99 %.2f ms, max %.2f ms\n",
                Percentile(latencyMs, 0.5), Percentile(latencyMs, 0.99), Percentile(latencyMs, 1.0));
    double total = 0;
    for (const char* name : {"GPSDR_THREAD", "MM_THREAD"}) {
        const double perSecondMs = (cpu1[name] - cpu0[name]) / 1e6 / streamSeconds;
        total += perSecondMs;
        std::printf("cpu %-12s %.3f ms per second of stream\n", name, perSecondMs);
    }
    std::printf("cpu library threads %.3f ms per second of stream (%.3f %%)\n", total, total / 10.0);

    delete mm;
    close(master);
    return 0;
}
