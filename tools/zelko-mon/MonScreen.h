// The monitor's terminal: panels laid out for 80x24 and growing with the window, drawn from
// one snapshot per refresh.
#ifndef GPSDR_TOOLS_ZELKO_MON_MONSCREEN_H
#define GPSDR_TOOLS_ZELKO_MON_MONSCREEN_H

#include <curses.h>

#include <string>

#include "tools/zelko-mon/MonSession.h"

// What the keys leave on the screen.
struct MonUi {
    std::string device;
    bool prompting = false;  // the mount-angle entry is open
    std::string entry;
    std::string status;  // the outcome of the last key
};

class MonScreen {
public:
    MonScreen() = default;
    ~MonScreen() { Close(); }
    MonScreen(const MonScreen&) = delete;
    MonScreen& operator=(const MonScreen&) = delete;

    bool Open();
    // Restores the terminal; harmless when it is not open.
    void Close();
    void Draw(const MonSnapshot& s, const MonUi& ui);
    // The next key, or -1 after waitMs without one.
    int Key(int waitMs);

private:
    SCREEN* m_screen = nullptr;
};

#endif
