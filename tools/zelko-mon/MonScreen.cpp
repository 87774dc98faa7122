#include "tools/zelko-mon/MonScreen.h"

#include <curses.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "module/position/ZELKOParser.h"
#include "platform/mCharset.h"
#include "tools/common/PortState.h"
#include "tools/common/ZelkoText.h"

namespace {

const int kMinSatRows = 1;
const int kMinMessageRows = 3;
const int16_t kNoAngle = 360;  // the module has not reported its mount angle

struct Area {
    int y, x, w, h;
};

// One line of an area, clipped to its width; rows past its height are dropped.
void Row(const Area& a, int row, const char* fmt, ...) __attribute__((format(printf, 3, 4)));
void Row(const Area& a, int row, const char* fmt, ...)
{
    if (row < 0 || row >= a.h || a.w <= 0) return;
    char text[512];
    va_list args;
    va_start(args, fmt);
    std::vsnprintf(text, sizeof text, fmt, args);
    va_end(args);
    mvaddnstr(a.y + row, a.x, text, a.w);
}

void Title(const Area& a, const char* name)
{
    attron(A_BOLD);
    Row(a, 0, "-- %s %s", name, std::string(static_cast<size_t>(std::max(a.w, 0)), '-').c_str());
    attroff(A_BOLD);
}

// The manager keeps its coordinates in unit kind 2, unsigned 1/1024 arc-second; headings come in
// 0.1 degree and speeds in 0.1 km/h.
double Degrees(int32_t units) { return static_cast<uint32_t>(units) / 3686400.0; }
double Tenths(long v) { return v / 10.0; }

void Coordinates(const Area& a, int row, const char* label, int32_t lat, int32_t lon)
{
    Row(a, row, "%s Lat %10.6f  Lon %11.6f", label, Degrees(lat), Degrees(lon));
}

void DrawPosition(const Area& a, const MonSnapshot& s)
{
    const _mGpsDataEx& p = s.pos;
    Title(a, "Position");
    Coordinates(a, 1, "GPS", p.lLat, p.lLon);
    Row(a, 2, "Alt %d m  Hdg %5.1f deg  Spd %5.1f km/h", p.sAltitude, Tenths(p.wHeading), Tenths(p.sSpeed));
    const char* mode = p.ucPosMode == 8 ? "GPS" : p.ucPosMode == 6 ? "DR" : "--";
    const char* fix = p.ucFixValid ? "fix valid" : "no fix";
    if (s.timeValid)
        Row(a, 3, "UTC %04u-%02u-%02u %02u:%02u:%02u  %s  %s", s.utc.wYear, s.utc.wMonth, s.utc.wDay, s.utc.wHour,
            s.utc.wMinute, s.utc.wSecond, mode, fix);
    else
        Row(a, 3, "UTC ----------  --:--:--  %s  %s", mode, fix);
    Row(a, 4, "DOP %.1f %.1f %.1f  sats used %u", Tenths(p.sDop1), Tenths(p.sDop2), Tenths(p.sDop3), p.ucSatUsed);
}

// One field of a record as "name value unit"; scaled values keep the catalogue's raw units.
std::string FieldText(const unsigned char* record, const ZelkoField& f)
{
    const long long v = ZelkoFieldValue(record, f);
    char text[64];
    switch (f.unit) {
        case ZelkoUnit::Hex: std::snprintf(text, sizeof text, "%s 0x%02llX", f.name, v); break;
        case ZelkoUnit::Low4: std::snprintf(text, sizeof text, "%s %lld", f.name, v & 0x0F); break;
        case ZelkoUnit::Millisecond: std::snprintf(text, sizeof text, "%s %lld ms", f.name, v); break;
        case ZelkoUnit::Metres: std::snprintf(text, sizeof text, "%s %lld m", f.name, v); break;
        case ZelkoUnit::Float:
            std::snprintf(text, sizeof text, "%s %.4f", f.name, ZelkoGetLE<float>(record + f.offset));
            break;
        case ZelkoUnit::Text16: return std::string(f.name) + " " + ZelkoNameText(record + f.offset);
        default: std::snprintf(text, sizeof text, "%s %lld", f.name, v); break;
    }
    return text;
}

std::vector<std::string> FieldTexts(const ZelkoKind& kind, const MonRecord& r)
{
    std::vector<std::string> texts;
    for (const ZelkoField& f : kind.fields)
        if (r.size) texts.push_back(FieldText(r.bytes, f));
    return texts;
}

// Joins texts, two spaces apart, while they fit in width; takes what it joined off the front.
std::string Join(std::vector<std::string>& texts, int width)
{
    std::string line;
    size_t n = 0;
    for (; n < texts.size(); ++n) {
        if (!line.empty() && static_cast<int>(line.size() + 2 + texts[n].size()) > width) break;
        line += (line.empty() ? "" : "  ") + texts[n];
    }
    texts.erase(texts.begin(), texts.begin() + static_cast<long>(n));
    return line;
}
std::string Join(std::vector<std::string>&& texts, int width) { return Join(texts, width); }

// The fields of a record, as many to a row as the width allows, from row `first` on.
void FieldRows(const Area& a, int first, const ZelkoKind& kind, const MonRecord& r)
{
    if (r.size == 0) return Row(a, first, "%s: none yet", kind.name);
    for (std::vector<std::string> texts = FieldTexts(kind, r); !texts.empty();)
        Row(a, first++, "%s", Join(texts, a.w).c_str());
}

void DrawDeadReckoning(const Area& a, const MonSnapshot& s)
{
    const _mGPSDREngineerInfo& e = s.eng;
    Title(a, "Dead reckoning and sensors");
    Coordinates(a, 1, "DR ", e.lDRLat, e.lDRLon);
    Row(a, 2, "DR hdg %5.1f deg  spd %5.1f km/h", Tenths(e.wDRHeading), Tenths(e.sDRSpeed));
    Row(a, 3, "Gyro hdg %5.1f deg  rate %ld  flags %02X %02X", Tenths(s.engEx.sGyroHeading),
        static_cast<long>(s.engEx.lGyroRate), e.ucStatusBits1, e.ucStatusBits2);
    FieldRows(a, 4, *ZelkoKindById(ZELKO_ID_DR_SENSOR), s.sensor);
}

const char* FixStateName(uint8_t state)
{
    switch (state) {
        case 2: return "none";
        case 3: return "3-D";
        case 4: return "2-D";
    }
    return "--";
}

void DrawModule(const Area& a, const MonSnapshot& s)
{
    const _mGPSDREngineerInfo& e = s.eng;
    Title(a, "Module");
    unsigned short name[ZELKO_PRODUCT_NAME_LEN + 1] = {};
    std::copy(e.wszProductName, e.wszProductName + ZELKO_PRODUCT_NAME_LEN, name);
    unsigned char product[ZELKO_PRODUCT_NAME_LEN * 3 + 1] = {};
    UtilWideToUtf8(name, product);
    Row(a, 1, "App %u.%u.%u  %s %u.%u.%u", e.ucAppVerMajor, e.ucAppVerMinor, e.ucAppVerPatch,
        reinterpret_cast<const char*>(product), e.wProductVer3, e.ucProductVer2, e.ucProductVer1);
    const std::string hardware = s.hardware.size ? ZelkoNameText(s.hardware.bytes + ZelkoHardware::kName.offset) : "--";
    Row(a, 2, "HW %s  fix %s", hardware.c_str(), FixStateName(e.ucFixState));
    if (e.sPitch == kNoAngle || e.sRoll == kNoAngle)
        Row(a, 3, "Mount angle --  calib %u%%", e.ucMountAngleProgress);
    else
        Row(a, 3, "Mount pitch %d roll %d deg  calib %u%%", e.sPitch, e.sRoll, e.ucMountAngleProgress);
    // Five 3-bit event levels, 0 = nothing reported; the events are 62, 63, 65, 74 and 92.
    const unsigned w = s.diag.wEventLevels;
    Row(a, 4, "Health 62:%u 63:%u 65:%u 74:%u 92:%u", w & 7, (w >> 3) & 7, (w >> 6) & 7, (w >> 9) & 7,
        (w >> 12) & 7);
    if (s.resetTimed)
        Row(a, 5, "Reset %u: first fix after %lu ms", s.resetCommand, s.resetMs);
    else if (s.measuring)
        Row(a, 5, "Reset sent: no fix for %u s", s.measuringMs / 1000);
    else
        Row(a, 5, "Reset: none measured");
}

void DrawLink(const Area& a, const MonSnapshot& s)
{
    Title(a, "Link");
    const ZelkoParseStats& t = s.stats;
    uint32_t frames = 0;
    for (uint32_t n : t.ulAccepted) frames += n;
    Row(a, 1, "Port %s (%d)  bytes %u", PortStateName(s.portState), s.portState, t.ulBytes);
    Row(a, 2, "Frames %u  bad cs %u  bad esc %u", frames, t.ulChecksumFailures, t.ulEscapeFailures);
    Row(a, 3, "Resets %u  refused %u  unknown %u",
        t.ulResetOverflow + t.ulResetNoStart + t.ulResetTooMany + t.ulResetTrailing, t.ulRefusedLengths,
        t.ulUnknownKinds);
}

// Newest at the bottom; older ones scroll off the top.
void DrawMessages(const Area& a, const MonSnapshot& s)
{
    Title(a, "Messages");
    const int room = a.h - 1, n = static_cast<int>(s.messages.size());
    for (int i = std::max(0, n - room); i < n; ++i) Row(a, 1 + i - std::max(0, n - room), "%s", s.messages[i].c_str());
}

void DrawSatellites(const Area& a, const MonSnapshot& s)
{
    int used = 0;
    for (int i = 0; i < s.satCount; ++i) used += s.sats[i].ucUsed ? 1 : 0;
    char title[64];
    std::snprintf(title, sizeof title, "Satellites: %d listed, %d used", s.satCount, used);
    Title(a, title);
    Row(a, 1, " PRN  Elev  Azim  SNR dB-Hz  Used");
    const int room = a.h - 2;
    const int shown = s.satCount > room ? room - 1 : s.satCount;
    for (int i = 0; i < shown; ++i) {
        const _mSatelView& v = s.sats[i];
        Row(a, 2 + i, " %3u  %4u  %4d  %9u  %s", v.wSatID, v.wElevation, v.sAzimuth, v.wSNR, v.ucUsed ? "yes" : "no");
    }
    if (shown < s.satCount) Row(a, 2 + shown, " ... %d more", s.satCount - shown);
}

void DrawBottom(int y, int w, const MonSnapshot& s, const MonUi& ui)
{
    const Area line{y, 0, w, 2};
    if (s.ackId == 0)
        Row(line, 0, "Ack: --");
    else
        Row(line, 0, "Ack: %s  %s", ZelkoKindById(s.ackId)->name, Join(FieldTexts(*ZelkoKindById(s.ackId), s.ack), w).c_str());
    attron(A_REVERSE);
    if (ui.prompting)
        Row(line, 1, "Mount angle: pitch roll (deg), Enter sends, Esc cancels: %s_%*s", ui.entry.c_str(), w, "");
    else
        Row(line, 1, "s queries  0-3 reset  m mount angle  q quit | %s%*s", ui.status.c_str(), w, "");
    attroff(A_REVERSE);
}

}  // namespace

bool MonScreen::Open()
{
    // newterm rather than initscr, which would end the process on an unknown terminal.
    m_screen = newterm(nullptr, stdout, stdin);
    if (!m_screen) return false;
    set_term(m_screen);
    cbreak();  // keeps Ctrl-C a signal
    noecho();
    keypad(stdscr, TRUE);
    curs_set(0);
    set_escdelay(25);
    return true;
}

void MonScreen::Close()
{
    if (!m_screen) return;
    endwin();
    delscreen(m_screen);
    m_screen = nullptr;
}

void MonScreen::Draw(const MonSnapshot& s, const MonUi& ui)
{
    erase();
    int h = 0, w = 0;
    getmaxyx(stdscr, h, w);
    const int left = w / 2, right = w - left;
    attron(A_REVERSE);
    Row(Area{0, 0, w, 1}, 0, "zelko-mon  %s  port %s%*s", ui.device.c_str(), PortStateName(s.portState), w, "");
    attroff(A_REVERSE);

    // Left: position, dead reckoning, module, link, top down.
    int y = 1;
    for (auto panel : {std::make_pair(DrawPosition, 5), std::make_pair(DrawDeadReckoning, 6),
                       std::make_pair(DrawModule, 6), std::make_pair(DrawLink, 4)}) {
        panel.first(Area{y, 0, left - 1, panel.second}, s);
        y += panel.second;
    }
    // Right: the satellites take what they need, the message list the rest.
    const int height = h - 3;
    const int satRows = std::clamp(s.satCount, kMinSatRows, std::max(kMinSatRows, height - 2 - kMinMessageRows - 1));
    DrawSatellites(Area{1, left, right, satRows + 2}, s);
    DrawMessages(Area{satRows + 3, left, right, height - satRows - 2}, s);
    DrawBottom(h - 2, w, s, ui);
    refresh();
}

int MonScreen::Key(int waitMs)
{
    timeout(waitMs);
    const int c = getch();
    return c == ERR ? -1 : c;
}
