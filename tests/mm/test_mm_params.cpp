// Parameters and input data kinds: every case with the value it leaves and its exact message.
#include <utility>

#include "tests/mm/MMTestSupport.h"

TEST_F(MMCaller, EveryParameterCaseAndItsMessage)
{
    enum : unsigned short {
        kAlt = MM_PARAM_ALTITUDEMM,
        kFeedback = MM_PARAM_MMFEEDBACK,
        kProfile = MM_PARAM_MOUNTANGLEPROFILEUSE,
        kKind = MM_PARAM_DATATYPE,
        kSilence = MM_PARAM_PORTREADERRSTANDARD,
        kDR = MM_PARAM_DRTYPE,
    };
    const std::string set = "[LIB_DBG][CMM::SetParam] ";
    const std::string dr = "[LIB_DBG][CMM::SetDRType] Set DR Type (";
    const std::string kind = "[LIB_DBG][CMM::SetDataType] Set Data Kind ";
    const std::string unparsed = "[MM-Err][CMM::ParsingPosData] Not Define Type : ";
    const struct {
        unsigned short id;
        long value;
        int result;
        std::vector<std::pair<unsigned short, long>> after;  // GetParam(id) == value
        std::vector<std::string> lines;
        bool inputRefused = false;  // a module frame pushed next is refused by the router
    } cases[] = {
        {kAlt, 1, 1, {{kAlt, 1}}, {set + "MM_PARAM_ALTITUDEMM Changed MM_ALTITUDEMM_VALID\n"}},
        {kAlt, 2, 0, {{kAlt, 1}}, {set + "MM_PARAM_ALTITUDEMM No Match lValue(2)\n"}},
        {kAlt, -1, 0, {{kAlt, 1}}, {set + "MM_PARAM_ALTITUDEMM No Match lValue(-1)\n"}},
        {kAlt, 0, 1, {{kAlt, 0}}, {set + "MM_PARAM_ALTITUDEMM Changed MM_ALTITUDEMM_INVALID\n"}},
        {kFeedback, 0, 1, {{kFeedback, 0}}, {set + "MM_PARAM_MMFEEDBACK Changed MM_MMFEEDBACK_NOUSE\n"}},
        {kFeedback, 2, 0, {{kFeedback, 0}}, {set + "MM_PARAM_MMFEEDBACK No Match lValue(2)\n"}},
        {kFeedback, 1, 1, {{kFeedback, 1}}, {set + "MM_PARAM_MMFEEDBACK Changed MM_MMFEEDBACK_USE\n"}},
        {kProfile, 1, 1, {{kProfile, 1}},
         {set + "MM_PARAM_MOUNTANGLEPROFILEUSE Changed MM_MOUNTANGLEPROFILEUSE_ENABLE\n"}},
        {kProfile, -1, 0, {{kProfile, 1}}, {set + "MM_PARAM_MOUNTANGLEPROFILEUSE No Match lValue(-1)\n"}},
        {kProfile, 0, 1, {{kProfile, 0}},
         {set + "MM_PARAM_MOUNTANGLEPROFILEUSE Changed MM_MOUNTANGLEPROFILEUSE_DISABLE\n"}},
        // The kind is cut to 8 bits; the module's kind shortens the silence limit and sets DR type 2.
        {kKind, 0x101, 1, {{kKind, 1}, {kSilence, 1000}, {kDR, 2}}, {dr + "2)\n", kind + "ZELKO (100)\n"}},
        // The silence limit must stay above the 100 ms data sleep; equal is not enough.
        {kSilence, 100, 0, {{kSilence, 1000}},
         {set + "MM_PARAM_PORTREADERRSTANDARD Request Standard(100) is low(or same) then DataSleepTime(100)\n"}},
        {kSilence, 101, 1, {{kSilence, 101}}, {}},
        // Another kind restores its own limit, discarding the one set above.
        {kKind, 3, 1, {{kSilence, 5000}, {kDR, 0}}, {dr + "0)\n", kind + "mGpsDataEx Structure\n"}},
        {kKind, 4, 1, {{kSilence, 5000}, {kDR, 2}}, {dr + "2)\n", kind + "FS Structure\n"}},
        // NMEA can be selected, but is not parsed: every input is refused.
        {kKind, 2, 1, {{kDR, 1}}, {dr + "1)\n", kind + "NMEA with DR\n", unparsed + "2\n"}, true},
        {kKind, 0, 1, {{kDR, 0}}, {dr + "0)\n", kind + "NMEA\n", unparsed + "0\n"}, true},
        // An undefined kind is refused but stays selected.
        {kKind, 7, 0, {{kKind, 7}, {kDR, 0}},
         {"[MM-Err][CMM::SetDataType] Data Kind is NOT Defined : 7\n", unparsed + "7\n"}, true},
        {kDR, 3, 0, {{kDR, 0}}, {"[MM-Err][CMM::SetDRType] DR Type is NOT Defined : 3\n"}},
        {kDR, 0x101, 1, {{kDR, 1}}, {dr + "1)\n"}},  // cut to 8 bits
        {MM_PARAM_FRAMEDRIVE, 1, 0, {{MM_PARAM_FRAMEDRIVE, 0}}, {set + "No Match wPid(48)\n"}},  // read only
        {1, 1, 0, {{1, -1}}, {set + "No Match wPid(1)\n"}},
    };
    mmt::LogCapture log;
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.id) + " = " + std::to_string(c.value));
        EXPECT_EQ(s_mm->SetParam(c.id, c.value), c.result);
        for (const auto& [id, value] : c.after) EXPECT_EQ(s_mm->GetParam(id), value) << id;
        if (c.inputRefused) {
            EXPECT_EQ(Push(mmt::Fix(0x15, 127.0, 37.5)), 0);
        }
        EXPECT_EQ(log.Take(), c.lines);
    }

    // The stores nothing reads back answer 1, as callers check.
    EXPECT_EQ(s_mm->SetSimulState(1) + s_mm->SetReciveSavePosInfo(1) + s_mm->SetShowMMDebugMsg(1), 3);
    EXPECT_EQ(s_mm->SetUserDataPath(nullptr), 0);
    EXPECT_EQ(s_mm->SetUserDataPath(mmt::W(std::string(400, 'a')).data()), 1);  // longer than the field: kept inside
}
