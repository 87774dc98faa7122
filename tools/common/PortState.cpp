#include "tools/common/PortState.h"

#include "module/MM/MM.h"

const char* PortStateName(int state)
{
    switch (state) {
        case MM_PORT_OK: return "ok";
        case MM_PORT_CLOSED: return "closed";
        case MM_PORT_PAUSED: return "paused";
        case MM_PORT_OPENING: return "opening";
        case MM_PORT_NO_DATA: return "no data";
        case MM_PORT_DATA_STOPPED: return "data stopped";
    }
    return "unknown";
}
