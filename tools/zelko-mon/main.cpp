// zelko-mon: a live terminal monitor of the Zelko GPS/DR module, decoded by the library's own
// manager, with the module's start-up queries, resets and mount-angle calibration at a key.
#include <curses.h>

#include <cstdio>
#include <string>

#include "tools/common/StopSignal.h"
#include "tools/common/ToolCli.h"
#include "tools/zelko-mon/MonOptions.h"
#include "tools/zelko-mon/MonScreen.h"
#include "tools/zelko-mon/MonSession.h"

namespace {

// The module's fastest rate is 10 Hz; redrawing this often shows every update.
const int kRefreshMs = 100;
const int kEscape = 27;
const int kMaxPitch = 90, kMaxRoll = 180;

void SendMountAngle(MonSession& session, MonUi& ui)
{
    int pitch = 0, roll = 0;
    char extra = 0;
    if (std::sscanf(ui.entry.c_str(), "%d %d %c", &pitch, &roll, &extra) != 2 || pitch < -kMaxPitch ||
        pitch > kMaxPitch || roll < -kMaxRoll || roll > kMaxRoll) {
        ui.status = "mount angle: give pitch (-90..90) and roll (-180..180), e.g. 3 -2";
        return;
    }
    const bool sent = session.MountAngle(static_cast<short>(pitch), static_cast<short>(roll));
    ui.status = "mount angle " + std::to_string(pitch) + " " + std::to_string(roll) + (sent ? " sent" : " not sent");
}

// The mount-angle entry: digits, sign and space; Enter sends, Escape cancels.
void EntryKey(int key, MonSession& session, MonUi& ui)
{
    if (key == '\n' || key == '\r' || key == KEY_ENTER) {
        ui.prompting = false;
        SendMountAngle(session, ui);
    } else if (key == kEscape) {
        ui.prompting = false;
        ui.status = "mount angle cancelled";
    } else if ((key == KEY_BACKSPACE || key == 127 || key == 8) && !ui.entry.empty()) {
        ui.entry.pop_back();
    } else if ((key >= '0' && key <= '9') || key == '-' || key == ' ') {
        ui.entry += static_cast<char>(key);
    }
}

// False when the key asks to quit.
bool CommandKey(int key, MonSession& session, MonUi& ui)
{
    if (key == 'q' || key == 'Q') return false;
    if (key == 's') {
        ui.status = session.StartQueries() ? "start-up queries sent" : "start-up queries not sent";
    } else if (key >= '0' && key <= '3') {
        const int command = key - '0';
        ui.status = "reset " + std::to_string(command) +
                    (session.Reset(static_cast<unsigned char>(command)) ? " sent" : " not sent");
    } else if (key == 'm') {
        ui.prompting = true;
        ui.entry.clear();
    }
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    MonOptions opt;
    const int parsed = ParseMonOptions(argc, argv, opt);
    if (parsed >= 0) return parsed;
    CatchStopSignals();
    MonSession session;
    std::string error;
    if (!session.Start(opt.device, opt.baud, error)) return ToolFail(kMonTool, error);
    MonScreen screen;
    if (!screen.Open()) return ToolFail(kMonTool, "the terminal cannot be used (is TERM set?)");
    MonUi ui;
    ui.device = opt.device;
    for (bool run = true; run && !StopRequested();) {
        screen.Draw(session.Snapshot(), ui);
        const int key = screen.Key(kRefreshMs);
        if (key < 0) continue;
        if (ui.prompting)
            EntryKey(key, session, ui);
        else
            run = CommandKey(key, session, ui);
    }
    // The terminal first: stopping the library takes its fixed waits.
    screen.Close();
    session.Stop();
    return kExitOk;
}
