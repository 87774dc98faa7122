// zelko-sim and zelko-decode together: reproducible captures, the decoder against the simulator's
// truth on a corrupted capture, a live read from a pseudo-terminal, gpsd's own client reading its
// objects, and the faults every tool meets (their exact output is pinned by the recorded captures
// of the position suite).
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/e2e/ToolProcess.h"
#include "tools/common/SimProcess.h"

namespace {

using tooltest::Lines;

std::string TempFile(const std::string& name)
{
    return testing::TempDir() + "zelko_decode_" + std::to_string(getpid()) + "_" + name;
}

std::string Source(const std::string& path)
{
    const char* dir = std::getenv("GPSDR_SOURCE_DIR");
    return std::string(dir ? dir : ".") + "/" + path;
}

std::vector<std::string> OfClass(const std::vector<std::string>& lines, const std::string& objectClass)
{
    std::vector<std::string> out;
    for (const std::string& l : lines) {
        if (l.find("{\"class\":\"" + objectClass + "\"") == 0) out.push_back(l);
    }
    return out;
}

// The same seed and options give the same bytes, whatever the chunking of the writes.
TEST(ZelkoSim, SameSeedAndOptionsGiveTheSameBytes)
{
    auto capture = [](const std::string& name, std::vector<std::string> extra) {
        extra.insert(extra.begin(), {"--duration", "40", "--rate", "2", "--noise", "0.5", "--corrupt", "0.05",
                                     "--tunnel", "5:5", "--output", TempFile(name), "--truth", TempFile(name + ".json"), "--seed"});
        EXPECT_EQ(tooltest::Run("zelko-sim", extra).status, 0) << name;
        return std::make_pair(tooltest::ReadText(TempFile(name)), Lines(tooltest::ReadText(TempFile(name + ".json"))));
    };
    const auto a = capture("a", {"7"});
    ASSERT_EQ(a.second.size(), 80u);
    EXPECT_EQ(capture("b", {"7"}), a);
    EXPECT_EQ(capture("chunked", {"7", "--chunk", "1:9"}).first, a.first);
    EXPECT_NE(capture("other", {"8"}).first, a.first);
    size_t total = 0;
    for (const std::string& t : a.second) total += static_cast<size_t>(JsonNumber(t, "bytes"));
    EXPECT_EQ(total, a.first.size());
}

// The simulator records which frames it spoiled; the decoder must count exactly those and report,
// for every fix message that arrived intact, the played position, height, track, speed, time,
// status byte and fix, and each epoch's satellites and DOPs, whatever noise lies between the
// frames. The drive starts just before midnight of a leap day, stands still for four seconds and
// passes a tunnel; the simulator writes a timed capture, which reads as the stream.
TEST(ZelkoDecode, CorruptedSimulatorCaptureMatchesItsTruth)
{
    const std::string cap = TempFile("sim.bin"), truth = TempFile("sim.jsonl"), gpx = TempFile("sim.gpx");
    ASSERT_EQ(tooltest::Run("zelko-sim", {"--capture", cap, "--truth", truth, "--duration", "30", "--rate", "2",
                                          "--seed", "5", "--corrupt", "0.05", "--noise", "0.9", "--tunnel", "10:5",
                                          "--stop", "20:4", "--start", "20240229235945"})
                  .status,
              0);
    size_t corrupt = 0;
    std::vector<std::string> intactFixes, cycles = Lines(tooltest::ReadText(truth));
    for (const std::string& line : cycles) {
        const size_t list = line.find("\"corrupt\":[");
        ASSERT_NE(list, std::string::npos) << line;
        const std::string ids = line.substr(list + 11, line.find(']', list) - list - 11);
        corrupt += ids.empty() ? 0 : tooltest::CountOf(ids, ",") + 1;
        if (ids.find("3002") == std::string::npos) intactFixes.push_back(line);
    }
    ASSERT_GT(corrupt, 0u) << "the capture should hold spoiled frames";

    const tooltest::RunResult r = tooltest::Run("zelko-decode", {"--gpx", gpx, cap});
    ASSERT_EQ(r.status, 0);
    const std::vector<std::string> lines = Lines(r.out), positions = OfClass(lines, "TPV"), skies = OfClass(lines, "SKY"),
                                   fixMessages = OfClass(lines, "FFixWithRawDRMsg");
    ASSERT_FALSE(lines.empty());
    ASSERT_EQ(OfClass(lines, "SUMMARY"), std::vector<std::string>{lines.back()});
    EXPECT_EQ(JsonNumber(lines.back(), "checksum_failures"), corrupt);
    EXPECT_EQ(JsonNumber(lines.back(), "refused"), corrupt);
    ASSERT_EQ(positions.size(), intactFixes.size());
    ASSERT_EQ(fixMessages.size(), intactFixes.size());
    const std::string track = tooltest::ReadText(gpx);
    EXPECT_EQ(tooltest::CountOf(track, "<trkpt "), positions.size());
    const double unit = 180.0 / 2147483648.0;  // the module's angle unit in degrees
    size_t deadReckoned = 0, standing = 0;
    for (size_t i = 0; i < positions.size(); ++i) {
        const std::string &p = positions[i], &t = intactFixes[i];
        SCOPED_TRACE(p);
        EXPECT_NEAR(JsonNumber(p, "lat"), JsonNumber(t, "lat_raw") * unit, 1e-5);
        EXPECT_NEAR(JsonNumber(p, "lon"), JsonNumber(t, "lon_raw") * unit, 1e-5);
        EXPECT_EQ(JsonNumber(p, "alt"), std::round(JsonNumber(t, "alt")));
        // The library keeps 0.1 degree and 0.1 km/h.
        const double turn = std::fabs(JsonNumber(p, "track") - JsonNumber(t, "heading"));
        EXPECT_LE(std::min(turn, 360 - turn), 0.1);
        EXPECT_NEAR(JsonNumber(p, "speed"), JsonNumber(t, "speed_kmh") / 3.6, 0.04);
        EXPECT_EQ(std::stol(JsonText(fixMessages[i], "status"), nullptr, 16), JsonNumber(t, "status"));
        const bool summaryLost = t.find("3201") != std::string::npos;  // the time stays the last one
        EXPECT_TRUE(summaryLost || JsonText(p, "time") == JsonText(t, "utc")) << t;
        const bool dr = JsonText(t, "fix") == "dr";
        EXPECT_EQ(JsonText(p, "fix"), dr ? "DR" : "3D");
        EXPECT_EQ(JsonNumber(p, "mode"), dr ? 2 : 3);
        deadReckoned += dr ? 1 : 0;
        standing += JsonNumber(t, "speed_raw") == 0 ? 1 : 0;
    }
    EXPECT_GT(deadReckoned, 0u);
    EXPECT_GE(standing, 6u);
    EXPECT_EQ(JsonText(positions.back(), "time").substr(0, 11), "2024-03-01T");
    EXPECT_EQ(tooltest::CountOf(track, "<type>DR</type><fix>none</fix><sat>0</sat></trkpt>"), deadReckoned);
    const size_t halfSeconds = tooltest::CountOf(r.out, ".500Z\"");  // every other fix at 2 Hz
    EXPECT_GT(halfSeconds, 20u);
    EXPECT_EQ(tooltest::CountOf(track, ".500Z</time>"), halfSeconds);
    // One report per epoch; where none of its frames was spoiled, all 12 satellites in view.
    ASSERT_EQ(skies.size(), cycles.size());
    for (size_t i = 0; i < skies.size(); ++i) {
        if (cycles[i].find("\"corrupt\":[]") == std::string::npos) continue;
        SCOPED_TRACE(skies[i]);
        EXPECT_EQ(JsonNumber(skies[i], "nSat"), 12);
        EXPECT_EQ(JsonNumber(skies[i], "uSat"), JsonNumber(cycles[i], "sats"));
        EXPECT_EQ(tooltest::CountOf(skies[i], "\"used\":true"), JsonNumber(cycles[i], "sats"));
        int k = 0;
        for (const char* dop : {"pdop", "hdop", "vdop"}) {  // none while the module has none
            const double raw = JsonNumber(cycles[i], "dop_raw", k++);
            if (raw > 0) {
                EXPECT_NEAR(JsonNumber(skies[i], dop), raw / 256, 0.11) << dop;
            }
        }
    }
    for (const std::string& f : {cap, truth, gpx}) std::remove(f.c_str());
}

TEST(ZelkoDecode, ReadsALiveDeviceUntilItHangsUp)
{
    SimProcess sim;
    ASSERT_TRUE(sim.Start(tooltest::BuildPath("zelko-sim"), {"--duration", "3", "--rate", "2"})) << sim.Error();
    const tooltest::RunResult r = tooltest::Run("zelko-decode", {sim.Pty()}, {}, std::chrono::seconds(20));
    EXPECT_EQ(sim.Wait(tooltest::Clock::now() + std::chrono::seconds(20)), 0);
    ASSERT_EQ(r.status, 0);
    const std::vector<std::string> lines = Lines(r.out);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(OfClass(lines, "SUMMARY"), std::vector<std::string>{lines.back()});
    EXPECT_GE(OfClass(lines, "TPV").size(), 3u) << r.out;
}

// gpsd's own gpxlogger, served the decoder's TPV and SKY objects as gpsd serves its reports, logs
// every position with its fix and the satellites and DOPs of its epoch: the shapes are the ones
// gpsd's clients read.
TEST(ZelkoDecode, GpsdClientsReadItsObjects)
{
    if (access("/usr/bin/gpxlogger", X_OK) != 0) GTEST_SKIP() << "gpsd-clients is not installed";
    const std::string objects =
        tooltest::Run("zelko-decode", {"--only", "TPV,SKY", Source("tests/captures/tunnel.bin")}).out;
    const int server = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    ASSERT_EQ(bind(server, reinterpret_cast<sockaddr*>(&addr), len), 0);
    ASSERT_EQ(listen(server, 1) | getsockname(server, reinterpret_cast<sockaddr*>(&addr), &len), 0);
    std::thread gpsd([&] {
        const int client = accept(server, nullptr, nullptr);
        const std::string text = "{\"class\":\"VERSION\",\"release\":\"3.22\",\"proto_major\":3,\"proto_minor\":14}\n";
        EXPECT_EQ(write(client, text.data(), text.size()), static_cast<ssize_t>(text.size()));
        tooltest::ReadUntil(client, tooltest::Clock::now() + std::chrono::milliseconds(500), true);  // its ?WATCH
        EXPECT_EQ(write(client, objects.data(), objects.size()), static_cast<ssize_t>(objects.size()));
        shutdown(client, SHUT_WR);
        tooltest::ReadUntil(client, tooltest::Clock::now() + std::chrono::seconds(5));
        close(client);
    });
    const std::string gpx = TempFile("gpxlogger.gpx");
    tooltest::Run("/usr/bin/gpxlogger", {"-f", gpx, "127.0.0.1:" + std::to_string(ntohs(addr.sin_port))}, {},
                  std::chrono::seconds(10));
    gpsd.join();
    close(server);
    const std::string track = tooltest::ReadText(gpx);
    EXPECT_EQ(tooltest::CountOf(track, "<trkpt "), 7u) << track;
    EXPECT_EQ(tooltest::CountOf(track, "<fix>2d</fix>"), tooltest::CountOf(objects, "\"fix\":\"DR\""));
    EXPECT_EQ(tooltest::CountOf(track, "<fix>3d</fix>\n    <sat>4</sat>\n    <hdop>1.4</hdop>\n    <vdop>1.8</vdop>"),
              tooltest::CountOf(objects, "\"fix\":\"3D\""));
    EXPECT_NE(track.find("<trkpt lat=\"37.575866700\" lon=\"126.976897200\">\n    <time>2024-03-15T09:30:06.000Z"),
              std::string::npos);
    std::remove(gpx.c_str());
}

// What users and scripts meet first: help, version, bad options, inputs that hold nothing and
// faults inside a stream, each with its documented status and a message that names the problem.
TEST(ZelkoTools, CommandLineAndInputFaultsAreNamed)
{
    const std::string empty = TempFile("empty.bin"), noise = TempFile("noise.bin"), err = TempFile("cli.err");
    std::ofstream(empty, std::ios::binary).flush();
    std::string random(5000, '\0');
    std::mt19937 gen(3);
    for (char& c : random) c = static_cast<char>(gen());
    std::ofstream(noise, std::ios::binary) << random;
    struct Case {
        std::vector<std::string> command;
        int status;
        std::string out;  // the start of standard output
        std::string err;  // a part of standard error
    };
    const Case cases[] = {
        {{"zelko-decode", "--help"}, 0, "usage: zelko-decode [options] [INPUT]\n", ""},
        {{"zelko-decode", "-V"}, 0, "zelko-decode ", ""},
        {{"zelko-decode", "--bogus"}, 2, "", "zelko-decode: unknown option --bogus\n"},
        {{"zelko-decode", "--gpx"}, 2, "", "zelko-decode: option --gpx needs a value\n"},
        {{"zelko-decode", empty}, 3, "{\"class\":\"SUMMARY\",\"bytes\":0,", "no Zelko frame in " + empty + " (0 bytes)"},
        {{"zelko-decode", noise}, 3, "{\"class\":\"REFUSED\",", "no Zelko frame in " + noise + " (5000 bytes)"},
        {{"zelko-decode", "--only", "3003"}, 2, "", "bad value for --only: '3003' ('3003' is no message id or class)"},
        {{"zelko-decode", Source("tests/captures/noise.bin")}, 0, "{",
         "byte 1392: refused frame 0x31/0x01, 34 bytes: bad checksum\n"
         "zelko-decode: byte 1493: input ends inside a frame (48 bytes)\n"},
        {{"zelko-decode", "--only", "SKY,3002", "--skip", "3002", Source("tests/captures/drive.bin")}, 0,
         "{\"class\":\"SKY\",\"time\":\"2024-03-15T09:30:00Z\",\"hdop\":1.4,\"vdop\":1.8,\"pdop\":2.3,\"nSat\":6,\"uSat\":4,"
         "\"satellites\":[{\"PRN\":2,\"el\":5,\"az\":0,\"ss\":27,\"used\":false},{\"PRN\":5,", ""},
        {{"zelko-sim", "--help"}, 0, "usage: zelko-sim [options]\n", ""},
        {{"zelko-sim", "--version"}, 0, "zelko-sim ", ""},
        {{"zelko-sim", "--rate", "11"}, 2, "", "zelko-sim: bad value for --rate: '11'\n"},
        {{"zelko-sim", "--device", noise, "--duration", "1"}, 1, "", "cannot play on " + noise + ": not a terminal"},
        {{"zelko-mon", "--help"}, 0, "usage: zelko-mon [options] DEVICE\n", ""},
        {{"zelko-mon"}, 2, "", "zelko-mon: no DEVICE given"},
        {{"zelko-mon", "/nonexistent/tty"}, 1, "", "zelko-mon: cannot open /nonexistent/tty at 115200 baud\n"},
        {{"zelko-record", "--help"}, 0, "usage: zelko-record [options] DEVICE FILE\n", ""},
        {{"zelko-nmea", "--pty", "--output", err, noise}, 2, "", "zelko-nmea: --output and --pty exclude each other"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.command.back());
        const tooltest::RunResult r =
            tooltest::Run(c.command[0], {c.command.begin() + 1, c.command.end()}, {"", false, err});
        EXPECT_EQ(r.status, c.status);
        EXPECT_EQ(r.out.substr(0, c.out.size()), c.out);
        const std::string diagnostics = tooltest::ReadText(err);
        EXPECT_NE(diagnostics.find(c.err), std::string::npos) << diagnostics;
        EXPECT_EQ(diagnostics.empty(), c.err.empty()) << diagnostics;
    }
    EXPECT_EQ(tooltest::ReadText(noise), random) << "the simulator wrote into a capture";

    // The readers of captures refuse what is not one: a message naming the input, exit 1 (3: the
    // decoder's status for input without anything to decode), nothing written, never a hang.
    const std::string missing = TempFile("missing.cap"), text = TempFile("track.gpx"), cut = TempFile("cut.cap"),
                      out = TempFile("out.cap");
    std::ofstream(text) << "<?xml version=\"1.0\"?>\n<gpx version=\"1.1\"></gpx>\n";
    ASSERT_EQ(tooltest::Run("zelko-sim", {"--capture", cut, "--duration", "3"}).status, 0);
    ASSERT_EQ(truncate(cut.c_str(), static_cast<off_t>(tooltest::ReadText(cut).size() - 5)), 0);
    for (std::vector<std::string> reader : std::vector<std::vector<std::string>>{
             {"zelko-sim", "--replay"}, {"zelko-nmea"}, {"zelko-decode", "--nmea"}, {"zelko-record"}}) {
        for (const std::string& input : {missing, text, cut, noise}) {
            std::vector<std::string> args(reader.begin() + 1, reader.end());
            args.push_back(input);
            if (reader[0] == "zelko-record") args.push_back(out);
            const tooltest::RunResult r = tooltest::Run(reader[0], args, {"", false, err}, std::chrono::seconds(10));
            const std::string diagnostics = tooltest::ReadText(err);
            SCOPED_TRACE(reader[0] + " " + input + ": " + diagnostics);
            EXPECT_TRUE(r.status == 1 || r.status == 3) << r.status;
            EXPECT_NE(diagnostics.find(reader[0] + ": "), std::string::npos);
            EXPECT_NE(diagnostics.find(input), std::string::npos);
            EXPECT_TRUE(r.out.empty()) << r.out;
            EXPECT_NE(access(out.c_str(), F_OK), 0) << "wrote " << out;
        }
    }
    for (const std::string& f : {empty, noise, err, text, cut}) std::remove(f.c_str());
}

// SIGINT and SIGTERM end the tools whatever their input: one that never blocks, one that never
// comes, a pseudo-terminal; the decoder still prints its summary.
TEST(ZelkoTools, StopSignalsEndEveryInput)
{
    struct Case {
        std::vector<std::string> command;
        tooltest::Io io;
        int signal;
        int status;
    };
    const Case cases[] = {
        {{"zelko-decode", "/dev/zero"}, {}, SIGTERM, 3},
        {{"zelko-decode"}, {"", true}, SIGINT, 3},
        {{"zelko-sim", "--rate", "10"}, {}, SIGINT, 0},
        {{"zelko-nmea", "/dev/zero"}, {}, SIGTERM, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.command.back());
        const auto deadline = tooltest::Clock::now() + std::chrono::seconds(5);
        tooltest::Child child = tooltest::Spawn(c.command[0], {c.command.begin() + 1, c.command.end()}, c.io);
        usleep(300000);  // past the start-up, into the reading
        kill(child.pid, c.signal);
        const std::vector<std::string> lines = Lines(tooltest::ReadUntil(child.out, deadline));
        EXPECT_EQ(tooltest::Reap(child, deadline), c.status);
        EXPECT_LT(tooltest::Clock::now(), deadline);
        if (c.command[0] == "zelko-decode") {
            ASSERT_FALSE(lines.empty());
            EXPECT_EQ(lines.back().rfind("{\"class\":\"SUMMARY\"", 0), 0u) << lines.back();
        }
    }
}

}  // namespace
