// The serial link on a real pseudo-terminal, driven from the caller's thread (no data thread).
#include <termios.h>

#include "tests/mm/MMTestSupport.h"

using mmt::Bytes;
using mmt::FakeModule;
using mmt::LogCapture;

namespace {

const std::string kRefusedByTerminal =
    "[MM-Err][CMM::OpenSerialPort] mSerial: if (tcsetattr(m_nDataHandle, TCSANOW, &tty) < 0) fail, Error(22)\n";

// Everything written since the last call, in order: a marker sent now arrives after all of it.
std::vector<Bytes> Written(CMM* mm, FakeModule& module)
{
    Bytes marker = {0x81, 0x7E, 0x7E, 0x04, 0x82};
    EXPECT_EQ(mm->DataSend(marker.data(), marker.size()), 1);
    std::vector<Bytes> f;
    EXPECT_TRUE(mmt::WaitUntil(
        [&] { return !(f = module.Frames()).empty() && f.back().size() >= 4 && f.back().end()[-4] == 0x7E; }, 2000));
    module.Clear();
    if (!f.empty() && f.back() == marker) f.pop_back();  // kept when it came without its preamble
    return f;
}

}  // namespace

TEST_F(MMCaller, OpenSetsTheTerminalExactlyOrRefusesWithItsMessage)
{
    FakeModule module;
    const std::string ok = "[LIB_DBG][CMM::OpenSerialPort] Com Port Open Success!! (" + module.Path() + ", ";
    const std::string err = "[MM-Err][CMM::OpenSerialPort] ";
    enum { kRefused, kOpened, kOpenedOrRefusedByPty };
    const struct {
        const char* device;  // null: the module's port
        unsigned long baud;
        unsigned char bits, parity, stop;
        int outcome;
        tcflag_t cflag;  // besides CREAD | CLOCAL; 0 when a pty cannot show it
        std::string line;
        bool leftOpen = false;  // a refusal that keeps the descriptor
    } cases[] = {
        {nullptr, 115200, 8, 0, 0, kOpened, B115200 | CS8, ok + "115200, 8)\n"},
        {nullptr, 115200, 8, 0, 2, kOpened, B115200 | CS8, ok + "115200, 8)\n"},  // always one stop bit
        {nullptr, 2400, 8, 0, 0, kOpened, B2400 | CS8, ok + "2400, 8)\n"},
        {nullptr, 4800, 8, 0, 0, kOpened, B4800 | CS8, ok + "4800, 8)\n"},
        {nullptr, 9600, 8, 0, 0, kOpened, B9600 | CS8, ok + "9600, 8)\n"},
        {nullptr, 38400, 8, 0, 0, kOpened, B38400 | CS8, ok + "38400, 8)\n"},
        {nullptr, 230400, 8, 0, 0, kOpened, B230400 | CS8, ok + "230400, 8)\n"},
        {nullptr, 460800, 8, 0, 0, kOpened, B460800 | CS8, ok + "460800, 8)\n"},
        // A pty keeps 8 bits without parity, and the C library reports a set-up that asked for
        // parity or a smaller size as refused: here only acceptance of the request shows.
        {nullptr, 115200, 8, 1, 0, kOpenedOrRefusedByPty, 0, ok + "115200, 8)\n"},
        {nullptr, 115200, 8, 2, 0, kOpenedOrRefusedByPty, 0, ok + "115200, 8)\n"},
        {nullptr, 9600, 5, 0, 0, kOpenedOrRefusedByPty, 0, ok + "9600, 5)\n"},
        {nullptr, 9600, 6, 0, 0, kOpenedOrRefusedByPty, 0, ok + "9600, 6)\n"},
        {nullptr, 9600, 7, 0, 0, kOpenedOrRefusedByPty, 0, ok + "9600, 7)\n"},
        {nullptr, 57600, 8, 0, 0, kRefused, 0, err + "unsupported baudrate (57600)\n", true},
        {nullptr, 19200, 8, 0, 0, kRefused, 0, err + "unsupported baudrate (19200)\n", true},
        {nullptr, 115200, 9, 0, 0, kRefused, 0, err + "unsupported bytesize (9)\n", true},
        {nullptr, 115200, 4, 0, 0, kRefused, 0, err + "unsupported bytesize (4)\n", true},
        {"", 115200, 8, 0, 0, kRefused, 0, err + "szDeviceName is Invalid ()"},
        {"/nonexistent/ttyGPS1", 115200, 8, 0, 0, kRefused, 0,
         err + "mSerial: /nonexistent/ttyGPS1 open failed, Error(2)\n"},
    };
    LogCapture log;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        std::vector<unsigned short> device = mmt::W(c.device ? c.device : module.Path());
        const int opened = s_mm->OpenSerialPort(device.data(), c.baud, c.bits, c.parity, c.stop);
        if (opened == 1) {
            EXPECT_NE(c.outcome, kRefused);
            termios tty = {};
            ASSERT_EQ(tcgetattr(static_cast<int>(s_mm->GetDataHandle()), &tty), 0);
            EXPECT_EQ(tty.c_iflag, static_cast<tcflag_t>(IGNBRK));
            EXPECT_EQ(tty.c_oflag, static_cast<tcflag_t>(OPOST));
            if (c.cflag) {
                EXPECT_EQ(tty.c_cflag, c.cflag | CREAD | CLOCAL);
            }
            EXPECT_EQ(tty.c_lflag, 0u);
            EXPECT_EQ(tty.c_cc[VTIME] * 1000 + tty.c_cc[VMIN], 10001);
            EXPECT_EQ(log.Take(), std::vector<std::string>{c.line});
        } else if (c.outcome == kOpenedOrRefusedByPty) {
            EXPECT_EQ(log.Take(), std::vector<std::string>{kRefusedByTerminal});
            EXPECT_EQ(s_mm->GetDataHandle(), 0u);
        } else {
            EXPECT_EQ(c.outcome, kRefused);
            EXPECT_EQ(log.Take(), std::vector<std::string>{c.line});
            EXPECT_EQ(s_mm->GetDataHandle() != 0, c.leftOpen);
        }
        EXPECT_EQ(s_mm->CloseSerialPort(), 1);
        EXPECT_EQ(s_mm->GetDataHandle(), 0u);
        EXPECT_EQ(s_mm->CheckSerialPortError(), MM_PORT_CLOSED);
    }

    // A refusal that kept the descriptor counts as an open port: the next start is refused.
    EXPECT_EQ(s_mm->OpenSerialPort(module.Path16(), 57600, 8, 0, 0), 0);
    log.Clear();
    EXPECT_EQ(s_mm->CreateDataThread(module.Path16(), 115200, 8, 0, 0, 360, 0), 0);
    EXPECT_EQ(log.Take(),
              std::vector<std::string>{"[MM-Err][CMM::CreateDataThread] Data Thread Handle Already Exist\n"});
    s_mm->CloseSerialPort();
}

TEST_F(MMCaller, CommandsOnTheWire)
{
    FakeModule module;
    ASSERT_EQ(s_mm->OpenSerialPort(module.Path16(), 115200, 8, 0, 0), 1);
    s_mm->PauseDataThread(0);
    LogCapture log;

    // A reset starts the fix-time measurement; the first 3-D fix ends it.
    EXPECT_EQ(s_mm->SendZelkoCommand(3), 1);
    EXPECT_EQ(Written(s_mm, module), std::vector<Bytes>{Bytes({0x81, 0x03, 0x07, 0xF3, 0x82})});
    unsigned char command = 0;
    unsigned long ms = 0;
    EXPECT_EQ(s_mm->GetZelkoResetTime(command, ms), 0);
    Push(ZelkoStuff(ZelkoSampleGpsFix(127.0, 37.5, 0, 0)));
    EXPECT_EQ(s_mm->GetZelkoResetTime(command, ms), 1);
    EXPECT_EQ(command, 3);
    EXPECT_LT(ms, 2000ul);

    EXPECT_EQ(s_mm->SendZelkoCommand(4), 0);
    EXPECT_EQ(s_mm->SetZelkoMountAngle(4, 0, 0), 0);
    EXPECT_EQ(s_mm->SetZelkoMountAngle(3, 0, 0), 1);
    EXPECT_EQ(s_mm->SetZelkoMountAngle(0, 0, 0), 1);
    EXPECT_EQ(s_mm->DoZelkoStartQuery(1), 1);  // a reset instead of the queries
    std::vector<Bytes> frames = Written(s_mm, module);
    ASSERT_EQ(frames.size(), 3u);
    ASSERT_EQ(frames[0].size(), 44u);  // type 3: no float, nothing to escape
    EXPECT_EQ(Bytes(frames[0].begin(), frames[0].begin() + 6), (Bytes{0x81, 0x01, 0x70, 0x60, 0x02, 0x03}));
    EXPECT_EQ(frames[1].size(), 45u);  // type 0 at level: the float 1.0 carries an escaped 0x80
    EXPECT_EQ(frames[2], (Bytes{0x81, 0x03, 0x01, 0xF9, 0x82}));

    // The start queries ask for the mount angle only from module version 2.2 on.
    const struct {
        uint8_t major, minor;
        bool asksAngle;
    } versions[] = {{0, 0, false}, {2, 1, false}, {2, 2, true}, {3, 0, true}, {1, 9, false}};
    for (const auto& v : versions) {
        Push(mmt::Version(v.major, v.minor));
        EXPECT_EQ(s_mm->DoZelkoStartQuery(0), 1);
        std::vector<Bytes> expected = {mmt::kQueryVersion, mmt::kQueryProduct, mmt::kQueryHardware};
        if (v.asksAngle) expected.push_back(mmt::kQueryMountAngle);
        EXPECT_EQ(Written(s_mm, module), expected) << int(v.major) << "." << int(v.minor);
    }

    // Paused: nothing at all is written, not even the preamble.
    s_mm->PauseDataThread(1);
    unsigned char frame[] = {0x81, 0x03, 0x01, 0xF9, 0x82};
    EXPECT_EQ(s_mm->DataSend(frame, sizeof frame), 0);
    EXPECT_EQ(s_mm->SendZelkoCommand(0) + s_mm->SetZelkoMountAngle(0, 0, 0), 0);
    s_mm->PauseDataThread(0);
    EXPECT_EQ(s_mm->DataSend(nullptr, 5) + s_mm->DataSend(frame, 0), 0);
    EXPECT_EQ(Written(s_mm, module), std::vector<Bytes>{});

    // Commands belong to the module protocol only.
    ASSERT_EQ(s_mm->SetParam(MM_PARAM_DATATYPE, MM_DATAKIND_GPSDATAEX), 1);
    EXPECT_EQ(s_mm->SendZelkoCommand(0), 0);
    EXPECT_EQ(s_mm->GetZelkoResetTime(command, ms), 0);
    EXPECT_EQ(s_mm->SetZelkoMountAngle(0, 0, 0), 0);
    EXPECT_EQ(log.Take(), (std::vector<std::string>{
                              "[LIB_DBG][CMM::SendZelkoCommand] Send Zelko Command Reset (3)\n",
                              "[LIB_DBG][CMM::SendZelkoCommand] Make Zelko Command Packet FAIL (4)\n",
                              "[MM-Err][CMM::SetZelkoMountAngle] Request Type is Invalid(4)\n",
                              "[LIB_DBG][CMM::SetZelkoMountAngle] Send Mount Angle Calibration Set : Type(3)\n",
                              "[LIB_DBG][CMM::SetZelkoMountAngle] Send Mount Angle Calibration Set : Type(0), "
                              "Pitch(0), Roll(0)\n",
                              "[LIB_DBG][CMM::SendZelkoCommand] Send Zelko Command Reset (0)\n",
                              "[MM-Dbg][ZelkoVerReport] App 0.0.0\n",
                              "[MM-Dbg][ZelkoVerReport] App 2.1.0\n",
                              "[MM-Dbg][ZelkoVerReport] App 2.2.0\n",
                              "[MM-Dbg][ZelkoVerReport] App 3.0.0\n",
                              "[MM-Dbg][ZelkoVerReport] App 1.9.0\n",
                              "[LIB_DBG][CMM::PauseDataThread] Pause Data Thread!! (1)\n",
                              // No data thread and paused: refused, naming the (empty) handle.
                              "[LIB_DBG][SendZelkoCommand] Check Data Thread State : Handle(0x00000000), "
                              "PauseState(1)\n",
                              "[LIB_DBG][CMM::SetZelkoMountAngle] Send Mount Angle Calibration FAIL\n",
                              "[LIB_DBG][CMM::PauseDataThread] Pause Data Thread!! (0)\n",
                              "[LIB_DBG][CMM::SetDRType] Set DR Type (0)\n",
                              "[LIB_DBG][CMM::SetDataType] Set Data Kind mGpsDataEx Structure\n",
                              "[LIB_DBG][SendZelkoCommand] Current Data Type is NOT Zelko (3)\n",
                              "[LIB_DBG][GetZelkoResetTime] Current Data Type is NOT Zelko (3)\n",
                          }));

    s_mm->CloseSerialPort();
}
