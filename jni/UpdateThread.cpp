#include <cstdint>

#include "jni/GpsDRInterface.h"
#include "jni/NativeCall.h"
#include "platform/mString16.h"
#include "platform/mThread.h"
#include "platform/mTrace.h"

void* UpdateThread(void* arg)
{
    mSetThreadName("Update_Thread");
    GpsDRInterface* dr = static_cast<GpsDRInterface*>(arg);
    if (!dr) {
        mTraceW(W16("[MM-Dbg][UpdateThread] pGpsDRInter NULL\n"));
        return nullptr;
    }
    while (dr->m_ucUpdateRun.load(std::memory_order_relaxed)) {
        _mMMPosition pos{};
        _mGpsInfo info{};
        dr->GetCarPos(&pos);
        dr->GetGPSInfo(&info, 0);
        // Another facade has freed the manager: what was just read is empty, and once the
        // module is started again it would run as a second, blank stream beside the new one.
        if (dr->LeaveLostManager()) break;

        SendGISArgs args = MakeSendGISArgs(pos, info);
        // %lu prints the coordinates as unsigned 32-bit values, west and south included.
        mTraceW(W16("[LIB_DBG] call sendGISInfo (%lu,%lu), (%f,%f)\n"), static_cast<uint32_t>(pos.lLon),
                static_cast<uint32_t>(pos.lLat), args.lat, args.lon);
        // Sent every cycle, fix or not; the callback itself stays silent unless started.
        Call_Java_NativeCall_SendGISInfo(args.lat, args.lon, args.alt, args.a, args.b, args.heading,
                                         args.reserved, args.time);
        mSleepMs(1000);
    }
    VMdetachingThread();
    return nullptr;
}
