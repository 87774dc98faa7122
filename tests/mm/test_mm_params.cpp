// Parameters and input data kinds.
#include <string>
#include <vector>

#include "tests/mm/MMCallerFixture.h"

using mmt::LogCapture;

namespace {

struct SwitchCase {
    unsigned short id;
    std::string name, off, on;
};

const SwitchCase kSwitches[] = {
    {MM_PARAM_ALTITUDEMM, "MM_PARAM_ALTITUDEMM", "MM_ALTITUDEMM_INVALID", "MM_ALTITUDEMM_VALID"},
    {MM_PARAM_MMFEEDBACK, "MM_PARAM_MMFEEDBACK", "MM_MMFEEDBACK_NOUSE", "MM_MMFEEDBACK_USE"},
    {MM_PARAM_MOUNTANGLEPROFILEUSE, "MM_PARAM_MOUNTANGLEPROFILEUSE", "MM_MOUNTANGLEPROFILEUSE_DISABLE",
     "MM_MOUNTANGLEPROFILEUSE_ENABLE"},
};

const std::string kSetParam = "[LIB_DBG][CMM::SetParam] ";

}  // namespace

TEST_F(MMCaller, OnOffParametersStoreZeroOrOneAndRefuseTheRest)
{
    for (const SwitchCase& c : kSwitches) {
        SCOPED_TRACE(c.name);
        const long before = s_mm->GetParam(c.id);
        LogCapture log;
        EXPECT_EQ(s_mm->SetParam(c.id, 1), 1);
        EXPECT_EQ(s_mm->GetParam(c.id), 1);
        EXPECT_EQ(s_mm->SetParam(c.id, 2), 0);
        EXPECT_EQ(s_mm->SetParam(c.id, -1), 0);
        EXPECT_EQ(s_mm->GetParam(c.id), 1);
        EXPECT_EQ(s_mm->SetParam(c.id, 0), 1);
        EXPECT_EQ(s_mm->GetParam(c.id), 0);
        EXPECT_EQ(log.Lines(), (std::vector<std::string>{
                                   kSetParam + c.name + " Changed " + c.on + "\n",
                                   kSetParam + c.name + " No Match lValue(2)\n",
                                   kSetParam + c.name + " No Match lValue(-1)\n",
                                   kSetParam + c.name + " Changed " + c.off + "\n",
                               }));
        s_mm->SetParam(c.id, before);
    }
}

TEST_F(MMCaller, DataKindSetsSilenceLimitAndDRType)
{
    LogCapture log;
    // The value is cut to 8 bits: 0x101 selects the module protocol.
    EXPECT_EQ(s_mm->SetParam(MM_PARAM_DATATYPE, 0x101), 1);
    EXPECT_EQ(s_mm->GetParam(MM_PARAM_DATATYPE), 1);
    EXPECT_EQ(s_mm->GetParam(MM_PARAM_PORTREADERRSTANDARD), 1000);
    EXPECT_EQ(s_mm->GetParam(MM_PARAM_DRTYPE), 2);

    // The silence limit must stay above the 100 ms data sleep; equal is not enough.
    EXPECT_EQ(s_mm->SetParam(MM_PARAM_PORTREADERRSTANDARD, 100), 0);
    EXPECT_EQ(s_mm->SetParam(MM_PARAM_PORTREADERRSTANDARD, 101), 1);
    EXPECT_EQ(s_mm->GetParam(MM_PARAM_PORTREADERRSTANDARD), 101);

    // Another kind restores its own limit, discarding the one set above.
    EXPECT_EQ(s_mm->SetParam(MM_PARAM_DATATYPE, 3), 1);
    EXPECT_EQ(s_mm->GetParam(MM_PARAM_PORTREADERRSTANDARD), 5000);
    EXPECT_EQ(s_mm->GetParam(MM_PARAM_DRTYPE), 0);
    EXPECT_EQ(s_mm->SetDataType(2), 1);
    EXPECT_EQ(s_mm->GetParam(MM_PARAM_DRTYPE), 1);
    EXPECT_EQ(s_mm->SetDataType(4), 1);
    EXPECT_EQ(s_mm->SetDataType(0), 1);

    EXPECT_EQ(log.Lines(), (std::vector<std::string>{
                               "[LIB_DBG][CMM::SetDRType] Set DR Type (2)\n",
                               "[LIB_DBG][CMM::SetDataType] Set Data Kind ZELKO (100)\n",
                               kSetParam + "MM_PARAM_PORTREADERRSTANDARD Request Standard(100) is low(or same) "
                                           "then DataSleepTime(100)\n",
                               "[LIB_DBG][CMM::SetDRType] Set DR Type (0)\n",
                               "[LIB_DBG][CMM::SetDataType] Set Data Kind mGpsDataEx Structure\n",
                               "[LIB_DBG][CMM::SetDRType] Set DR Type (1)\n",
                               "[LIB_DBG][CMM::SetDataType] Set Data Kind NMEA with DR\n",
                               "[LIB_DBG][CMM::SetDRType] Set DR Type (2)\n",
                               "[LIB_DBG][CMM::SetDataType] Set Data Kind FS Structure\n",
                               "[LIB_DBG][CMM::SetDRType] Set DR Type (0)\n",
                               "[LIB_DBG][CMM::SetDataType] Set Data Kind NMEA\n",
                           }));
}

TEST_F(MMCaller, UndefinedOrUnparsedKindsRefuseEveryInput)
{
    mmt::Fix fix;
    const mmt::Bytes frame = mmt::Fix3002(fix);
    for (unsigned char kind : {7, 0, 2}) {
        SCOPED_TRACE(static_cast<int>(kind));
        LogCapture log;
        // An undefined kind is refused but stays selected.
        EXPECT_EQ(s_mm->SetDataType(kind), kind == 7 ? 0 : 1);
        EXPECT_EQ(s_mm->GetParam(MM_PARAM_DATATYPE), kind);
        log.Clear();
        EXPECT_EQ(Push(frame), 0);
        EXPECT_EQ(log.Lines(), std::vector<std::string>{"[MM-Err][CMM::ParsingPosData] Not Define Type : " +
                                                        std::to_string(kind) + "\n"});
    }
    LogCapture log;
    EXPECT_EQ(s_mm->SetDataType(7), 0);
    EXPECT_EQ(log.Lines(), std::vector<std::string>{"[MM-Err][CMM::SetDataType] Data Kind is NOT Defined : 7\n"});
}

TEST_F(MMCaller, DRTypeAndUnknownIds)
{
    LogCapture log;
    EXPECT_EQ(s_mm->SetParam(MM_PARAM_DRTYPE, 3), 0);
    EXPECT_EQ(s_mm->GetParam(MM_PARAM_DRTYPE), 2);
    EXPECT_EQ(s_mm->SetParam(MM_PARAM_DRTYPE, 0x101), 1);  // cut to 8 bits
    EXPECT_EQ(s_mm->GetParam(MM_PARAM_DRTYPE), 1);
    // The frame-drive byte is read only.
    EXPECT_EQ(s_mm->SetParam(MM_PARAM_FRAMEDRIVE, 1), 0);
    EXPECT_EQ(s_mm->GetParam(MM_PARAM_FRAMEDRIVE), 0);
    EXPECT_EQ(s_mm->SetParam(1, 1), 0);
    EXPECT_EQ(s_mm->GetParam(1), -1);
    EXPECT_EQ(log.Lines(), (std::vector<std::string>{
                               "[MM-Err][CMM::SetDRType] DR Type is NOT Defined : 3\n",
                               "[LIB_DBG][CMM::SetDRType] Set DR Type (1)\n",
                               kSetParam + "No Match wPid(48)\n",
                               kSetParam + "No Match wPid(1)\n",
                           }));

    EXPECT_EQ(s_mm->SetUserDataPath(nullptr), 0);
    std::vector<unsigned short> longPath(400, 'a');  // longer than the field: must stay inside it
    longPath.push_back(0);
    EXPECT_EQ(s_mm->SetUserDataPath(longPath.data()), 1);
}
