#include "analytics_reporting/ProgramLogModule.h"

#include <gmock/gmock.h>

#include "tests/support/LogHeader.h"

namespace
{
TEST(ProgramLogModuleTests, Name_IsTheProgramsWithoutExtension)
{
    EXPECT_EQ(KVAnalyticsReporting::g_logModule.GetName(), L"analytics_reporting_tests");
}

TEST(ProgramLogModuleTests, LogModule_TellsItsBuildTime)
{
    EXPECT_THAT(KVTest::GetLogHeader(KVAnalyticsReporting::g_logModule),
                testing::HasSubstr(L"(++)         Built on: Aug 22 2014 04:50:00\r\n"));
}
} // namespace
