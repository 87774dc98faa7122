// The serial link on a real pseudo-terminal, driven from the caller's thread (no data thread).
#include <termios.h>

#include <string>
#include <vector>

#include "tests/mm/MMCallerFixture.h"

using mmt::Bytes;
using mmt::FakeModule;
using mmt::LogCapture;

namespace {

termios PortSettings(CMM* mm)
{
    termios tty = {};
    EXPECT_EQ(tcgetattr(static_cast<int>(mm->GetDataHandle()), &tty), 0);
    return tty;
}

bool SameSettings(const termios& a, const termios& b)
{
    return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag &&
           a.c_lflag == b.c_lflag && std::equal(a.c_cc, a.c_cc + NCCS, b.c_cc);
}

// The frames the module has received, once there are count of them.
std::vector<Bytes> FramesOnWire(const FakeModule& module, size_t count)
{
    mmt::WaitUntil([&] { return module.Frames().size() >= count; }, 2000);
    EXPECT_FALSE(module.Malformed());  // each frame behind eight zero bytes
    return module.Frames();
}

const std::string kSetUpRefused =
    "[MM-Err][CMM::OpenSerialPort] mSerial: if (tcsetattr(m_nDataHandle, TCSANOW, &tty) < 0) fail, Error(22)\n";

// Recent kernels keep a pseudo-terminal free of parity, and the C library then reports the
// setting as refused: either the port takes the control flags, or the open fails with the
// set-up message and leaves the port closed.
void ExpectLineSettingOrRefusal(CMM* mm, FakeModule& module, unsigned char bits, unsigned char parity, tcflag_t cflag)
{
    LogCapture log;
    if (mm->OpenSerialPort(module.Path16(), 115200, bits, parity, 0) == 1) {
        EXPECT_EQ(PortSettings(mm).c_cflag, cflag);
        mm->CloseSerialPort();
        return;
    }
    EXPECT_EQ(log.Lines(), std::vector<std::string>{kSetUpRefused});
    EXPECT_EQ(mm->GetDataHandle(), 0u);
}

}  // namespace

TEST_F(MMCaller, OpenConfiguresTheTerminalExactly)
{
    FakeModule module;
    LogCapture log;
    ASSERT_EQ(s_mm->OpenSerialPort(module.Path16(), 115200, 8, 0, 0), 1);
    EXPECT_EQ(log.Lines(), std::vector<std::string>{"[LIB_DBG][CMM::OpenSerialPort] Com Port Open Success!! (" +
                                                    module.Path() + ", 115200, 8)\n"});
    EXPECT_NE(s_mm->GetDataHandle(), 0u);
    const termios base = PortSettings(s_mm);
    EXPECT_EQ(base.c_iflag, static_cast<tcflag_t>(IGNBRK));
    EXPECT_EQ(base.c_oflag, static_cast<tcflag_t>(OPOST));
    EXPECT_EQ(base.c_cflag, static_cast<tcflag_t>(B115200 | CREAD | CLOCAL | CS8));
    EXPECT_EQ(base.c_lflag, 0u);
    EXPECT_EQ(base.c_cc[VTIME], 10);
    EXPECT_EQ(base.c_cc[VMIN], 1);
    EXPECT_EQ(s_mm->CloseSerialPort(), 1);
    EXPECT_EQ(s_mm->GetDataHandle(), 0u);
    EXPECT_EQ(s_mm->CheckSerialPortError(), MM_PORT_CLOSED);

    // Two stop bits are ignored; any parity request is even parity.
    ASSERT_EQ(s_mm->OpenSerialPort(module.Path16(), 115200, 8, 0, 2), 1);
    EXPECT_TRUE(SameSettings(PortSettings(s_mm), base));
    s_mm->CloseSerialPort();
    for (unsigned char parity : {1, 2}) {
        SCOPED_TRACE(static_cast<int>(parity));
        ExpectLineSettingOrRefusal(s_mm, module, 8, parity, base.c_cflag | PARENB);
    }
    const struct {
        unsigned long baud;
        speed_t speed;
    } bauds[] = {{2400, B2400}, {4800, B4800}, {9600, B9600}, {38400, B38400},
                 {115200, B115200}, {230400, B230400}, {460800, B460800}};
    for (const auto& b : bauds) {
        ASSERT_EQ(s_mm->OpenSerialPort(module.Path16(), b.baud, 8, 0, 0), 1);
        const termios tty = PortSettings(s_mm);
        EXPECT_EQ(cfgetospeed(&tty), b.speed) << b.baud;
        s_mm->CloseSerialPort();
    }
    // A pseudo-terminal always runs 8 bits, so of the smaller sizes only their acceptance shows:
    // set up (or refused by the terminal), never refused as unsupported.
    for (unsigned char bits = 5; bits <= 7; ++bits) {
        SCOPED_TRACE(static_cast<int>(bits));
        LogCapture sizeLog;
        const std::vector<std::string> accepted = {"[LIB_DBG][CMM::OpenSerialPort] Com Port Open Success!! (" +
                                                   module.Path() + ", 9600, " + std::to_string(bits) + ")\n"};
        if (s_mm->OpenSerialPort(module.Path16(), 9600, bits, 0, 0) == 1)
            EXPECT_EQ(sizeLog.Lines(), accepted);
        else
            EXPECT_EQ(sizeLog.Lines(), std::vector<std::string>{kSetUpRefused});
        s_mm->CloseSerialPort();
    }
}

TEST_F(MMCaller, RefusedOpensAndTheirMessages)
{
    FakeModule module;
    LogCapture log;
    // An unsupported rate or byte size leaves the port open: the next start is refused.
    EXPECT_EQ(s_mm->OpenSerialPort(module.Path16(), 57600, 8, 0, 0), 0);
    EXPECT_NE(s_mm->GetDataHandle(), 0u);
    EXPECT_EQ(s_mm->CreateDataThread(module.Path16(), 115200, 8, 0, 0, 360, 0), 0);
    s_mm->CloseSerialPort();
    EXPECT_EQ(s_mm->OpenSerialPort(module.Path16(), 19200, 8, 0, 0), 0);
    s_mm->CloseSerialPort();
    EXPECT_EQ(s_mm->OpenSerialPort(module.Path16(), 115200, 9, 0, 0), 0);
    EXPECT_NE(s_mm->GetDataHandle(), 0u);
    s_mm->CloseSerialPort();
    EXPECT_EQ(s_mm->OpenSerialPort(module.Path16(), 115200, 4, 0, 0), 0);
    EXPECT_NE(s_mm->GetDataHandle(), 0u);
    s_mm->CloseSerialPort();

    unsigned short empty[] = {0};
    EXPECT_EQ(s_mm->OpenSerialPort(empty, 115200, 8, 0, 0), 0);
    EXPECT_EQ(s_mm->OpenSerialPort(mmt::W("/nonexistent/ttyGPS1").data(), 115200, 8, 0, 0), 0);
    EXPECT_EQ(s_mm->GetDataHandle(), 0u);
    EXPECT_EQ(log.Lines(), (std::vector<std::string>{
                               "[MM-Err][CMM::OpenSerialPort] unsupported baudrate (57600)\n",
                               "[MM-Err][CMM::CreateDataThread] Data Thread Handle Already Exist\n",
                               "[MM-Err][CMM::OpenSerialPort] unsupported baudrate (19200)\n",
                               "[MM-Err][CMM::OpenSerialPort] unsupported bytesize (9)\n",
                               "[MM-Err][CMM::OpenSerialPort] unsupported bytesize (4)\n",
                               "[MM-Err][CMM::OpenSerialPort] szDeviceName is Invalid ()",
                               "[MM-Err][CMM::OpenSerialPort] mSerial: /nonexistent/ttyGPS1 open failed, Error(2)\n",
                           }));
}

TEST_F(MMCaller, CommandsOnTheWire)
{
    FakeModule module;
    ASSERT_EQ(s_mm->OpenSerialPort(module.Path16(), 115200, 8, 0, 0), 1);
    s_mm->PauseDataThread(0);
    LogCapture log;

    EXPECT_EQ(s_mm->SendZelkoCommand(3), 1);
    EXPECT_EQ(FramesOnWire(module, 1), std::vector<Bytes>{Bytes({0x81, 0x03, 0x07, 0xF3, 0x82})});
    unsigned char command = 0;
    unsigned long ms = 0;
    EXPECT_EQ(s_mm->GetZelkoResetTime(command, ms), 0);  // measuring until the first 3-D fix

    // The first 3-D fix ends the measurement.
    Bytes fixBody(28, 0);
    fixBody[4] = 0x11 | 0x40;
    Push(mmt::ModuleFrame(0x31, 0x01, fixBody));  // GPS fix
    EXPECT_EQ(s_mm->GetZelkoResetTime(command, ms), 1);
    EXPECT_EQ(command, 3);
    EXPECT_LT(ms, 2000ul);

    EXPECT_EQ(s_mm->SendZelkoCommand(4), 0);
    EXPECT_EQ(s_mm->SetZelkoMountAngle(4, 0, 0), 0);

    module.Clear();
    EXPECT_EQ(s_mm->SetZelkoMountAngle(3, 0, 0), 1);
    EXPECT_EQ(s_mm->SetZelkoMountAngle(0, 0, 0), 1);
    EXPECT_EQ(s_mm->DoZelkoStartQuery(0), 1);  // no mount-angle query: no version known
    EXPECT_EQ(s_mm->DoZelkoStartQuery(1), 1);  // a reset instead
    const std::vector<Bytes> frames = FramesOnWire(module, 6);
    ASSERT_EQ(frames.size(), 6u);
    ASSERT_EQ(frames[0].size(), 44u);  // type 3: no float, nothing to escape
    EXPECT_EQ(Bytes(frames[0].begin(), frames[0].begin() + 6), (Bytes{0x81, 0x01, 0x70, 0x60, 0x02, 0x03}));
    EXPECT_EQ(frames[1].size(), 45u);  // type 0 at level: the float 1.0 carries an escaped 0x80
    EXPECT_EQ(frames[2], mmt::kQueryVersion);
    EXPECT_EQ(frames[3], mmt::kQueryProduct);
    EXPECT_EQ(frames[4], mmt::kQueryHardware);
    EXPECT_EQ(frames[5], (Bytes{0x81, 0x03, 0x01, 0xF9, 0x82}));

    // Paused: nothing at all is written, not even the preamble.
    module.Clear();
    s_mm->PauseDataThread(1);
    unsigned char frame[] = {0x81, 0x03, 0x01, 0xF9, 0x82};
    EXPECT_EQ(s_mm->DataSend(frame, sizeof frame), 0);
    EXPECT_EQ(s_mm->SendZelkoCommand(0), 0);
    s_mm->PauseDataThread(0);
    EXPECT_EQ(s_mm->DataSend(nullptr, 5), 0);
    EXPECT_EQ(s_mm->DataSend(frame, 0), 0);
    EXPECT_EQ(s_mm->DataSend(frame, sizeof frame), 1);
    EXPECT_EQ(FramesOnWire(module, 1), std::vector<Bytes>{Bytes(frame, frame + sizeof frame)});

    std::vector<std::string> lines = log.Lines();
    ASSERT_EQ(lines.size(), 9u);
    const std::vector<std::string> head(lines.begin(), lines.begin() + 7);
    EXPECT_EQ(head, (std::vector<std::string>{
                        "[LIB_DBG][CMM::SendZelkoCommand] Send Zelko Command Reset (3)\n",
                        "[LIB_DBG][CMM::SendZelkoCommand] Make Zelko Command Packet FAIL (4)\n",
                        "[MM-Err][CMM::SetZelkoMountAngle] Request Type is Invalid(4)\n",
                        "[LIB_DBG][CMM::SetZelkoMountAngle] Send Mount Angle Calibration Set : Type(3)\n",
                        "[LIB_DBG][CMM::SetZelkoMountAngle] Send Mount Angle Calibration Set : Type(0), Pitch(0), "
                        "Roll(0)\n",
                        "[LIB_DBG][CMM::SendZelkoCommand] Send Zelko Command Reset (0)\n",
                        "[LIB_DBG][CMM::PauseDataThread] Pause Data Thread!! (1)\n",
                    }));
    // No data thread and paused: refused, naming the (empty) handle.
    EXPECT_EQ(lines[7].rfind("[LIB_DBG][SendZelkoCommand] Check Data Thread State : Handle(", 0), 0u) << lines[7];
    EXPECT_NE(lines[7].find("), PauseState(1)\n"), std::string::npos) << lines[7];
    EXPECT_EQ(lines[8], "[LIB_DBG][CMM::PauseDataThread] Pause Data Thread!! (0)\n");

    // Commands belong to the module protocol only.
    log.Clear();
    ASSERT_EQ(s_mm->SetParam(MM_PARAM_DATATYPE, MM_DATAKIND_GPSDATAEX), 1);
    log.Clear();
    EXPECT_EQ(s_mm->SendZelkoCommand(0), 0);
    EXPECT_EQ(s_mm->GetZelkoResetTime(command, ms), 0);
    EXPECT_EQ(s_mm->SetZelkoMountAngle(0, 0, 0), 0);
    EXPECT_EQ(log.Lines(), (std::vector<std::string>{
                               "[LIB_DBG][SendZelkoCommand] Current Data Type is NOT Zelko (3)\n",
                               "[LIB_DBG][GetZelkoResetTime] Current Data Type is NOT Zelko (3)\n",
                           }));

    s_mm->CloseSerialPort();
    EXPECT_EQ(s_mm->DataSend(frame, sizeof frame), 0);
}
