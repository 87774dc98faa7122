// zelko-sim as the library sees it: reproducible captures, a stream that the library's own
// parser turns into exactly the truth the simulator wrote, and answers on a real pty.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "module/geo/MMUtility.h"
#include "platform/mAndroidLog.h"
#include "module/position/PositionMgr.h"

extern char** environ;

namespace {

using Bytes = std::vector<unsigned char>;
using Clock = std::chrono::steady_clock;

std::string SimPath() {
    const char* dir = std::getenv("GPSDR_BUILD_DIR");
    return std::string(dir ? dir : ".") + "/zelko-sim";
}

std::string TempPath(const std::string& name) {
    return testing::TempDir() + "zelko_sim_" + std::to_string(getpid()) + "_" + name;
}

// Spawns the simulator; stdout and stderr go to pipes when out and err are given.
pid_t Spawn(std::vector<std::string> args, int* out = nullptr, int* err = nullptr) {
    args.insert(args.begin(), SimPath());
    std::vector<char*> argv;
    for (std::string& a : args) argv.push_back(&a[0]);
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    int pipes[2][2] = {{-1, -1}, {-1, -1}};
    int* ends[2] = {out, err};
    for (int i = 0; i < 2; ++i) {
        if (!ends[i] || pipe2(pipes[i], O_CLOEXEC) != 0) continue;
        posix_spawn_file_actions_adddup2(&actions, pipes[i][1], i + 1);
    }
    pid_t pid = -1;
    if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    for (int i = 0; i < 2; ++i) {
        if (pipes[i][1] < 0) continue;
        close(pipes[i][1]);
        *ends[i] = pipes[i][0];
    }
    return pid;
}

int RunSim(const std::vector<std::string>& args) {
    const pid_t pid = Spawn(args);
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

Bytes ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// One line of the truth file, fields looked up by key.
struct Truth {
    std::string line;

    const char* At(const char* key) const {
        const size_t p = line.find("\"" + std::string(key) + "\":");
        return p == std::string::npos ? "" : line.c_str() + p + std::strlen(key) + 3;
    }
    double Num(const char* key) const { return std::strtod(At(key), nullptr); }
    long Int(const char* key) const { return std::strtol(At(key), nullptr, 10); }
    std::string Text(const char* key) const {
        const char* p = At(key);
        return *p == '"' ? std::string(p + 1, std::strchr(p + 1, '"')) : "";
    }
    std::vector<long> Array(const char* key) const {
        std::vector<long> out;
        for (const char* p = At(key); *p == '[' || *p == ',';) {
            char* end = nullptr;
            const long v = std::strtol(p + 1, &end, 10);
            if (end == p + 1) break;
            out.push_back(v);
            p = end;
        }
        return out;
    }
};

std::vector<Truth> ReadTruth(const std::string& path) {
    std::vector<Truth> out;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) out.push_back({line});
    return out;
}

TEST(ZelkoSim, SameSeedAndOptionsGiveTheSameBytes) {
    const std::vector<std::string> common = {"--duration", "40", "--rate", "2", "--noise", "0.5",
                                             "--corrupt", "0.05", "--tunnel", "5:5"};
    auto capture = [&](const std::string& name, std::vector<std::string> extra) {
        extra.insert(extra.end(), common.begin(), common.end());
        extra.insert(extra.end(), {"--output", TempPath(name + ".bin"), "--truth", TempPath(name + ".json")});
        EXPECT_EQ(RunSim(extra), 0) << name;
        return ReadFile(TempPath(name + ".bin"));
    };
    const Bytes a = capture("a", {"--seed", "7"});
    ASSERT_FALSE(a.empty());
    EXPECT_EQ(capture("b", {"--seed", "7"}), a);
    // Chunking shapes only the writes, never the content.
    EXPECT_EQ(capture("chunked", {"--seed", "7", "--chunk", "1:9"}), a);
    EXPECT_NE(capture("other", {"--seed", "8"}), a);

    const std::vector<Truth> truth = ReadTruth(TempPath("a.json"));
    ASSERT_EQ(truth.size(), 80u);
    size_t total = 0, corrupted = 0;
    for (const Truth& t : truth) {
        total += static_cast<size_t>(t.Int("bytes"));
        corrupted += t.Array("corrupt").size();
    }
    EXPECT_EQ(total, a.size());
    EXPECT_GT(corrupted, 0u);
}

// Counts the library's checksum rejections while alive.
class ChecksumFailures {
public:
    ChecksumFailures() { mHostLogSetSink(&Sink, this); }
    ~ChecksumFailures() { mHostLogSetSink(nullptr, nullptr); }
    size_t count = 0;

private:
    static void Sink(int, const char*, const char* text, void* ctx) {
        if (std::strstr(text, "[ZELKOParser::CalChecksum]Invalid")) ++static_cast<ChecksumFailures*>(ctx)->count;
    }
};

TEST(ZelkoSim, NoiseCostsNoFrameAndCorruptFramesAreTheOnesNamed) {
    ASSERT_EQ(RunSim({"--output", TempPath("faults.bin"), "--truth", TempPath("faults.json"),
                      "--duration", "300", "--seed", "5", "--noise", "0.9", "--corrupt", "0.02"}),
              0);
    Bytes stream = ReadFile(TempPath("faults.bin"));
    CPositionMgr mgr;
    ASSERT_EQ(mgr.Initialize(1, 1, 2), 1);
    ChecksumFailures failures;
    size_t offset = 0, lost = 0;
    for (const Truth& t : ReadTruth(TempPath("faults.json"))) {
        SCOPED_TRACE(t.line);
        const size_t n = static_cast<size_t>(t.Int("bytes"));
        ASSERT_LE(offset + n, stream.size());
        const std::vector<long> corrupt = t.Array("corrupt");
        auto intact = [&](long id) { return std::count(corrupt.begin(), corrupt.end(), id) == 0; };
        lost += !intact(3002);
        // One whole cycle per call: garbage between frames is skipped, each corrupt frame
        // is rejected on its own and nothing else is.
        failures.count = 0;
        EXPECT_EQ(mgr.ParsingZelko(reinterpret_cast<char*>(&stream[offset]), static_cast<unsigned short>(n)),
                  intact(3002) ? 1 : 0);
        EXPECT_EQ(failures.count, corrupt.size());
        offset += n;
        // The time report opens the cycle; the sensor report carries the fix's time word.
        _sZelkoTimeData time;
        ASSERT_EQ(mgr.GetZelkoTimeData(&time), 1);
        if (intact(3201)) {
            EXPECT_EQ(time.ucSecond, std::atoi(t.Text("utc").c_str() + 17));
        }
        if (intact(3002) && intact(7013)) {
            EXPECT_EQ(time.ulSensorTime, time.ulDRTime);
        }
    }
    EXPECT_EQ(offset, stream.size());
    EXPECT_GT(lost, 0u);
}

// Where the simulator's rounding to module units and the library's truncation to
// 1/100 arc-second, 0.1 degree and 0.1 km/h can leave a value.
const double kCoordTolerance = 1.02;
const double kHeadingTolerance = 1.0;
const double kSpeedTolerance = 1.2;

void ExpectMatches(const CPositionMgr& mgr, const Truth& t) {
    _mGpsDataEx pos;
    ASSERT_EQ(mgr.GetPosData(&pos), 1);
    const _mLonLat ll = CMMUtility::ChangeLonLatUnits(1, t.Int("lon_raw"), t.Int("lat_raw"));
    EXPECT_EQ(pos.lLon, ll.lLon);
    EXPECT_EQ(pos.lLat, ll.lLat);
    EXPECT_NEAR(pos.lLon, t.Num("lon") * 360000, kCoordTolerance);
    EXPECT_NEAR(pos.lLat, t.Num("lat") * 360000, kCoordTolerance);

    const unsigned short headingRaw = static_cast<unsigned short>(t.Int("heading_raw"));
    EXPECT_EQ(pos.wHeading, static_cast<uint16_t>(CMMUtility::ChangeHeadUnits(headingRaw)));
    const double turn = std::fabs(pos.wHeading - t.Num("heading") * 10);
    EXPECT_LE(std::min(turn, 3600 - turn), kHeadingTolerance);
    const unsigned short speedRaw = static_cast<unsigned short>(t.Int("speed_raw"));
    EXPECT_EQ(pos.sSpeed, CMMUtility::ChangeSpeedUnits(speedRaw));
    EXPECT_NEAR(pos.sSpeed, t.Num("speed_kmh") * 10, kSpeedTolerance);
    EXPECT_EQ(pos.sAltitude, t.Int("alt"));

    const bool fix = t.Text("fix") == "3d";
    EXPECT_EQ(pos.ucFixValid, fix ? 1 : 0);
    EXPECT_EQ(pos.ucPosMode, fix ? 8 : 6);
    EXPECT_EQ(pos.ucSatUsed, t.Int("sats"));
    const std::vector<long> dop = t.Array("dop_raw");
    ASSERT_EQ(dop.size(), 3u);
    EXPECT_EQ(pos.sDop1, CMMUtility::ChangeDOPUnits(static_cast<unsigned short>(dop[0])));
    EXPECT_EQ(pos.sDop2, CMMUtility::ChangeDOPUnits(static_cast<unsigned short>(dop[1])));
    EXPECT_EQ(pos.sDop3, CMMUtility::ChangeDOPUnits(static_cast<unsigned short>(dop[2])));

    int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
    ASSERT_EQ(std::sscanf(t.Text("utc").c_str(), "%d-%d-%dT%d:%d:%d", &y, &mo, &d, &h, &mi, &s), 6);
    EXPECT_EQ(pos.lDate, d * 10000 + mo * 100 + (y - 2000));
    EXPECT_EQ(pos.lTime, (h * 10000 + mi * 100 + s) * 1000);
    _sZelkoTimeData time;
    ASSERT_EQ(mgr.GetZelkoTimeData(&time), 1);
    EXPECT_NE(time.ulDRTime, 0u);
    EXPECT_EQ(time.wYear, y);
    EXPECT_EQ(time.ucDay, d);
    EXPECT_EQ(time.ucSecond, s);

    _sZelkoStatusData status;
    ASSERT_EQ(mgr.GetZelkoStatusData(&status), 1);
    for (int bit = 0; bit < 8; ++bit)
        EXPECT_EQ(status.ucStatusFlag[bit], (t.Int("status") >> bit) & 1) << "status bit " << bit;

    _mSatelView sats[CPositionMgr::SATEL_TABLE_SIZE];
    ASSERT_EQ(mgr.GetSatelData(sats), 1);
    const long used = std::count_if(std::begin(sats), std::end(sats),
                                    [](const _mSatelView& v) { return v.wSatID != 65535 && v.ucUsed; });
    EXPECT_EQ(used, t.Int("sats"));
}

TEST(ZelkoSim, LibraryDecodesTheTruthCycleByCycle) {
    // Starts just before midnight of a leap day, so the date rolls over during the drive.
    ASSERT_EQ(RunSim({"--output", TempPath("drive.bin"), "--truth", TempPath("drive.json"),
                      "--duration", "100", "--rate", "2", "--seed", "3", "--start", "20240229235930",
                      "--tunnel", "20:10", "--stop", "40:8"}),
              0);
    const Bytes stream = ReadFile(TempPath("drive.bin"));
    const std::vector<Truth> truth = ReadTruth(TempPath("drive.json"));
    ASSERT_EQ(truth.size(), 200u);

    CPositionMgr mgr;
    ASSERT_EQ(mgr.Initialize(1, 1, 2), 1);
    std::mt19937 chunks(11);
    size_t offset = 0;
    int deadReckoned = 0, standing = 0, moving = 0;
    for (const Truth& t : truth) {
        SCOPED_TRACE(t.line);
        // Arbitrary chunks that never cross into the next cycle, so each cycle can be compared.
        const size_t end = offset + static_cast<size_t>(t.Int("bytes"));
        ASSERT_LE(end, stream.size());
        int positions = 0;
        while (offset < end) {
            const size_t n = std::min<size_t>(end - offset, 1 + chunks() % 64);
            positions += mgr.ParsingZelko(reinterpret_cast<char*>(const_cast<unsigned char*>(&stream[offset])),
                                          static_cast<unsigned short>(n));
            offset += n;
        }
        EXPECT_EQ(positions, 1);
        ExpectMatches(mgr, t);
        if (HasFatalFailure()) return;
        const double at = t.Num("t");
        deadReckoned += t.Text("fix") == "dr" ? 1 : 0;
        standing += at >= 40 && at < 48 && t.Int("speed_raw") == 0 ? 1 : 0;
        moving += t.Int("speed_raw") > 1000 ? 1 : 0;
    }
    EXPECT_EQ(offset, stream.size());
    EXPECT_EQ(deadReckoned, 20);
    EXPECT_EQ(standing, 16);
    EXPECT_GT(moving, 50);
    EXPECT_EQ(truth.back().Text("utc"), "2024-03-01T00:01:09.500Z");
}

// A running simulator on its pty, seen from the host side.
class PtySession {
public:
    explicit PtySession(const std::vector<std::string>& args) { pid_ = Spawn(args, &out_, &err_); }
    ~PtySession() {
        Stop();
        for (int fd : {out_, err_, slave_})
            if (fd >= 0) close(fd);
    }

    // Reads the slave path the simulator prints and opens it raw, as the library does.
    bool Open() {
        std::string path;
        char c = 0;
        while (WaitReadable(out_) && read(out_, &c, 1) == 1 && c != '\n') path += c;
        slave_ = open(path.c_str(), O_RDWR | O_NOCTTY);
        termios tio;
        if (slave_ < 0 || tcgetattr(slave_, &tio) != 0) return false;
        cfmakeraw(&tio);
        return tcsetattr(slave_, TCSANOW, &tio) == 0;
    }

    // Sends a command with the zero preamble the library writes before each one.
    void Send(const unsigned char* frame, unsigned long len) {
        Bytes bytes(8, 0);
        bytes.insert(bytes.end(), frame, frame + len);
        ASSERT_EQ(write(slave_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    // Reads into received_ until done() holds; false on the deadline.
    bool ReadUntil(const std::function<bool()>& done) {
        while (!done()) {
            unsigned char buf[512];
            if (!WaitReadable(slave_)) return false;
            const ssize_t n = read(slave_, buf, sizeof buf);
            if (n <= 0) return false;
            received_.insert(received_.end(), buf, buf + n);
        }
        return true;
    }

    // Waits until the exact bytes arrive; drops everything up to and including them.
    bool Expect(const Bytes& frame) {
        Bytes::iterator at;
        const bool found = ReadUntil([&] {
            at = std::search(received_.begin(), received_.end(), frame.begin(), frame.end());
            return at != received_.end();
        });
        if (found) received_.erase(received_.begin(), at + static_cast<long>(frame.size()));
        return found;
    }

    // Hands what has arrived to mgr; reads on until done() holds for it.
    bool Feed(CPositionMgr& mgr, const std::function<bool()>& done) {
        return ReadUntil([&] {
            if (!received_.empty())
                mgr.ParsingZelko(reinterpret_cast<char*>(received_.data()),
                                 static_cast<unsigned short>(received_.size()));
            received_.clear();
            return done();
        });
    }

    std::string StopAndReadLog() {
        Stop();
        std::string log;
        char buf[512];
        for (ssize_t n; (n = read(err_, buf, sizeof buf)) > 0;) log.append(buf, static_cast<size_t>(n));
        return log;
    }

private:
    bool WaitReadable(int fd) {
        const int remaining = static_cast<int>(
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline_ - Clock::now()).count());
        pollfd p{fd, POLLIN, 0};
        return remaining > 0 && poll(&p, 1, remaining) == 1;
    }

    void Stop() {
        if (pid_ <= 0) return;
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }

    pid_t pid_ = -1;
    int out_ = -1, err_ = -1, slave_ = -1;
    Bytes received_;
    const Clock::time_point deadline_ = Clock::now() + std::chrono::seconds(20);
};

TEST(ZelkoSim, AnswersTheHostOnItsPty) {
    PtySession sim({"--rate", "10", "--cold-start", "1", "--chunk", "1:16"});
    ASSERT_TRUE(sim.Open());
    CPositionMgr host;
    ASSERT_EQ(host.Initialize(1, 1, 2), 1);
    unsigned char cmd[200] = {0};
    unsigned long len = 0;

    ASSERT_EQ(CPositionMgr::MakeZelkoSysQuery(0, cmd, 10, len), 1);
    sim.Send(cmd, len);
    EXPECT_TRUE(sim.Expect({0x81, 0x11, 0x01, 0x02, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0xE7, 0x82}));

    // The mount angle set by the library's command comes back through its own decoder.
    ASSERT_EQ(host.MakeMountAngleCal(0, 3, -2, cmd, sizeof cmd, len), 1);
    sim.Send(cmd, len);
    EXPECT_TRUE(sim.Expect({0x81, 0x10, 0x01, 0x70, 0x60, 0x00, 0x1C, 0x82}));
    ASSERT_EQ(CPositionMgr::MakeZelkoSysQuery(6, cmd, 10, len), 1);
    sim.Send(cmd, len);
    _mGPSDREngineerInfo eng;
    EXPECT_TRUE(sim.Feed(host, [&] {
        host.GetEngineeringModeData(&eng);
        return eng.sPitch == 3 && eng.sRoll == -2;
    }));
    EXPECT_EQ(eng.ucMountAngleProgress, 100);

    // A reset: acknowledged, then no position for the cold start, then a 3-D fix again.
    ASSERT_EQ(CPositionMgr::MakeZelkoSysSet(0, cmd, 10, len), 1);
    sim.Send(cmd, len);
    ASSERT_TRUE(sim.Expect({0x81, 0x10, 0x03, 0x01, 0x00, 0xE9, 0x82}));
    CPositionMgr afterReset;
    ASSERT_EQ(afterReset.Initialize(1, 1, 2), 1);
    afterReset.StartMeasureFixTime(0);
    bool sawNoPosition = false;
    unsigned char kind = 0;
    unsigned long ms = 0;
    EXPECT_TRUE(sim.Feed(afterReset, [&] {
        _sZelkoStatusData status;
        afterReset.GetZelkoStatusData(&status);
        sawNoPosition |= status.ucFixMode != 0xFF && status.ucStatusFlag[0] == 0;
        return afterReset.GetZelkoResetTime(kind, ms) == 1;
    }));
    EXPECT_TRUE(sawNoPosition);
    EXPECT_GE(ms, 900u);
    EXPECT_LT(ms, 5000u);

    const std::string log = sim.StopAndReadLog();
    for (const char* line : {"] query 11/01 -> 1101\n", "] set 70/60 type 0 pitch 3 roll -2 -> 1001\n",
                             "] query 70/60 -> 7060\n", "] system 01 -> 1003, cold start 1 s\n"})
        EXPECT_NE(log.find(line), std::string::npos) << line << "\nin:\n" << log;
}

}  // namespace
