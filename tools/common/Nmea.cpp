#include "tools/common/Nmea.h"

#include <cstdlib>
#include <vector>

#include "tools/common/Format.h"

namespace {

const int64_t kUnitsPerDegree = 360000;
const int kUnitsPerMinute = 6000;
const double kKmhPerKnot = 1.852;
const unsigned kEmptySatellite = 65535;
const size_t kGsaSlots = 12;
const size_t kSatsPerGsv = 4;

// The state one epoch is written from.
struct Epoch {
    _mGpsDataEx pos{};
    _mSatelView sats[CPositionMgr::SATEL_TABLE_SIZE];
    _sZelkoStatusData status{};
    _mGPSDREngineerInfo eng{};
    bool gps = false;     // the module reports a GPS fix
    bool hasPos = false;  // it reports a position (GPS or dead reckoning)
    bool timed = false;   // it has given a date and time
};

Epoch Read(const CPositionMgr& mgr)
{
    Epoch e;
    mgr.GetPosData(&e.pos);
    mgr.GetSatelData(e.sats);
    mgr.GetZelkoStatusData(&e.status);
    mgr.GetEngineeringModeData(&e.eng);
    e.gps = e.pos.ucFixValid != 0;
    // The first status flag is the one the driver publishes positions on.
    e.hasPos = e.status.ucStatusFlag[0] != 0 && (e.pos.lLon != 0 || e.pos.lLat != 0);
    e.timed = e.pos.lDate > 0;
    return e;
}

// "ddmm.mmmmm,N" or "dddmm.mmmmm,E", from whole 1/360000 degree units without rounding the
// degrees.
std::string Angle(int32_t units, int degreeDigits, char positive, char negative)
{
    const int64_t u = std::llabs(static_cast<int64_t>(units));
    const int64_t degrees = u / kUnitsPerDegree;
    const double minutes = static_cast<double>(u % kUnitsPerDegree) / kUnitsPerMinute;
    return Format("%0*lld%08.5f,%c", degreeDigits, static_cast<long long>(degrees), minutes,
                  units < 0 ? negative : positive);
}

std::string LatLon(const Epoch& e)
{
    if (!e.hasPos) return ",,,";
    return Angle(e.pos.lLat, 2, 'N', 'S') + "," + Angle(e.pos.lLon, 3, 'E', 'W');
}

std::string Time(const Epoch& e)
{
    if (!e.timed) return "";
    return Format("%06d.%02d", e.pos.lTime / 1000, e.pos.lTime % 1000 / 10);
}

std::string Tenths(int v)
{
    return v > 0 ? Format("%.1f", v / 10.0) : "";
}

char ModeIndicator(const Epoch& e)
{
    return e.gps ? 'A' : e.hasPos ? 'E' : 'N';
}

std::string Knots(const Epoch& e)
{
    return e.hasPos ? Format("%.3f", e.pos.sSpeed / 10.0 / kKmhPerKnot) : "";
}

std::string Track(const Epoch& e)
{
    return e.hasPos ? Format("%.1f", e.pos.wHeading / 10.0) : "";
}

bool Valid(const _mSatelView& s)
{
    return s.wSatID < kEmptySatellite;
}

// The rule the manager counts usable satellites by.
bool Used(const _mSatelView& s)
{
    return Valid(s) && s.sAzimuth >= 0 && s.ucUsed != 0;
}

std::string Rmc(const Epoch& e)
{
    const std::string date = e.timed ? Format("%06d", e.pos.lDate) : "";
    return "GPRMC," + Time(e) + "," + (e.hasPos ? "A" : "V") + "," + LatLon(e) + "," + Knots(e) + "," + Track(e) +
           "," + date + ",,," + ModeIndicator(e);
}

std::string Vtg(const Epoch& e)
{
    const std::string kmh = e.hasPos ? Format("%.1f", e.pos.sSpeed / 10.0) : "";
    return "GPVTG," + Track(e) + ",T,,M," + Knots(e) + ",N," + kmh + ",K," + ModeIndicator(e);
}

std::string Gga(const Epoch& e)
{
    const int quality = e.gps ? 1 : e.hasPos ? 6 : 0;
    const std::string alt = e.hasPos ? Format("%d.0,M", e.pos.sAltitude) : ",";
    return "GPGGA," + Time(e) + "," + LatLon(e) + "," + std::to_string(quality) + "," +
           Format("%02u", e.pos.ucSatUsed) + "," + Tenths(e.pos.sDop2) + "," + alt + ",,,,";
}

std::string Gsa(const Epoch& e)
{
    // Fix state 4 is a GPS fix without the 3-D flag; a dead-reckoning position counts as 2-D,
    // as receivers with dead reckoning report it.
    const int fix = e.gps ? (e.eng.ucFixState == 4 ? 2 : 3) : e.hasPos ? 2 : 1;
    std::string body = "GPGSA,A," + std::to_string(fix);
    size_t slots = 0;
    for (const _mSatelView& s : e.sats) {
        if (Used(s) && slots < kGsaSlots) {
            body += Format(",%02u", s.wSatID);
            ++slots;
        }
    }
    for (; slots < kGsaSlots; ++slots) body += ",";
    return body + "," + Tenths(e.pos.sDop1) + "," + Tenths(e.pos.sDop2) + "," + Tenths(e.pos.sDop3);
}

std::vector<std::string> Gsv(const Epoch& e)
{
    std::vector<const _mSatelView*> seen;
    for (const _mSatelView& s : e.sats)
        if (Valid(s)) seen.push_back(&s);
    const size_t total = seen.empty() ? 1 : (seen.size() + kSatsPerGsv - 1) / kSatsPerGsv;
    std::vector<std::string> out;
    for (size_t k = 0; k < total; ++k) {
        std::string body = Format("GPGSV,%zu,%zu,%02zu", total, k + 1, seen.size());
        for (size_t i = k * kSatsPerGsv; i < seen.size() && i < (k + 1) * kSatsPerGsv; ++i) {
            const _mSatelView& s = *seen[i];
            // A satellite not being tracked has no signal to report.
            body += Format(",%02u,%02u,%03d,", s.wSatID, s.wElevation, s.sAzimuth) +
                    (s.wSNR > 0 ? Format("%02u", s.wSNR) : "");
        }
        out.push_back(body);
    }
    return out;
}

}  // namespace

std::string NmeaSentence(const std::string& body)
{
    unsigned char sum = 0;
    for (char c : body) sum ^= static_cast<unsigned char>(c);
    return "$" + body + Format("*%02X\r\n", sum);
}

std::string NmeaEpoch(const CPositionMgr& mgr)
{
    const Epoch e = Read(mgr);
    std::string out = NmeaSentence(Rmc(e)) + NmeaSentence(Vtg(e)) + NmeaSentence(Gga(e)) + NmeaSentence(Gsa(e));
    for (const std::string& gsv : Gsv(e)) out += NmeaSentence(gsv);
    return out;
}
