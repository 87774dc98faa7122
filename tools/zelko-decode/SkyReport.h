// The satellites of one epoch as a SKY object, as GPS clients know it from gpsd: the module
// reports one channel message per satellite in view, one run of them per epoch.
#ifndef GPSDR_TOOLS_ZELKO_DECODE_SKYREPORT_H
#define GPSDR_TOOLS_ZELKO_DECODE_SKYREPORT_H

#include <cstdint>
#include <string>
#include <vector>

#include "module/MM/MMTypes.h"

class SkyEpoch {
public:
    // A channel message for satellite prn was accepted.
    void Add(uint16_t prn);
    bool Empty() const { return m_prns.empty(); }
    // {"class":"SKY",...} for the satellites added since the last call, as the library's
    // satellite table (all its entries) holds them, with the record's DOPs and UTC; starts the next epoch.
    std::string Take(const _mSatelView* table, const _mGpsDataEx& pos);

private:
    std::vector<uint16_t> m_prns;  // in the order reported
};

#endif
