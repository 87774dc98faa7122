// One initialised manager shared by the tests that drive it from the caller's thread (inputs
// pushed in, outputs read back, the port used without a data thread): every manager's stop
// costs a fixed second, so the suite makes only one.
#ifndef GPSDR_TESTS_MM_MMCALLERFIXTURE_H
#define GPSDR_TESTS_MM_MMCALLERFIXTURE_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "module/MM/MM.h"
#include "tests/mm/MMTestSupport.h"

class MMCaller : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        setenv("TZ", "UTC", 1);  // calendar normalisation without daylight-saving shifts
        tzset();
        s_mm = new CMM;
        ASSERT_EQ(s_mm->Initialize(MM_DATAKIND_ZELKO, 1), 1);
    }
    static void TearDownTestSuite() { delete s_mm; }
    void SetUp() override { ASSERT_EQ(s_mm->SetParam(MM_PARAM_DATATYPE, MM_DATAKIND_ZELKO), 1); }

    // Input pushed in as a caller does: parsed and matched at once.
    static int Push(mmt::Bytes bytes)
    {
        return s_mm->DoMapMatching(reinterpret_cast<char*>(bytes.data()), static_cast<unsigned short>(bytes.size()));
    }
    static int Push(_mGpsDataEx rec, unsigned short len = sizeof(_mGpsDataEx))
    {
        return s_mm->DoMapMatching(reinterpret_cast<char*>(&rec), len);
    }
    static void Kind(int kind) { ASSERT_EQ(s_mm->SetParam(MM_PARAM_DATATYPE, kind), 1); }

    inline static CMM* s_mm = nullptr;
};

#endif
