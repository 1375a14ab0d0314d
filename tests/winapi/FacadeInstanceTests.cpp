#include <gtest/gtest.h>

#include "tests/support/ChildProcess.h"

// A static object that is constructed before and destroyed after all ordinary ones calls every facade from its
// constructor and its destructor.
TEST(FacadeInstanceTests, Facades_WorkInConstructorsAndDestructorsOfStaticObjects)
{
    EXPECT_EQ(KVTest::RunBesideTest(L"kv_static_user.exe", L""), 22u);
}
