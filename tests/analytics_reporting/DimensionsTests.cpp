#include "analytics_reporting/Dimensions.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <map>
#include <string>

#include "tests/analytics_reporting/DimensionNames.h"

namespace
{
TEST(DimensionsTests, GetName_OfEachNumber_IsWhatTheLogCallsIt)
{
    const std::map<int, std::wstring> names(std::begin(KVTest::kDimensionNames), std::end(KVTest::kDimensionNames));
    for (int dimension = 0; dimension < 20; ++dimension)
    {
        const auto name = names.find(dimension);
        EXPECT_EQ(KVAnalyticsReporting::Dimensions::GetName(static_cast<std::uint32_t>(dimension)),
                  name != names.end() ? name->second : L"Unknown")
            << dimension;
    }
}
} // namespace
