#include "analytics_reporting/Dimensions.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "tests/analytics_reporting/DimensionNames.h"

namespace
{
using NamedNumbers = std::vector<std::pair<int, std::wstring>>;

TEST(DimensionsTests, All_HaveTheirNumbersAndWhatTheLogCallsThem)
{
    NamedNumbers dimensions;
    for (const KVAnalyticsReporting::Dimension& dimension : KVAnalyticsReporting::Dimensions::kAll)
    {
        dimensions.emplace_back(static_cast<int>(dimension.number), dimension.name);
    }
    EXPECT_EQ(dimensions, NamedNumbers(std::begin(KVTest::kDimensionNames), std::end(KVTest::kDimensionNames)));
}
} // namespace
