#include "analytics_reporting/Dimensions.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>

namespace
{
using namespace KVAnalyticsReporting;

TEST(DimensionsTests, GetName_OfEachNumber_IsWhatTheLogCallsIt)
{
    const std::map<std::uint32_t, std::wstring> names = {{1, L"ModelName"},
                                                         {2, L"Manufacturer"},
                                                         {3, L"ConnectionType"},
                                                         {4, L"DriverType"},
                                                         {5, L"DriverVersion"},
                                                         {6, L"Count"},
                                                         {8, L"ProcessorArchitecture"},
                                                         {9, L"Battery"},
                                                         {10, L"OSVersion"},
                                                         {12, L"Installed"},
                                                         {13, L"Selected"},
                                                         {14, L"Enabled"}};
    for (std::uint32_t dimension = 0; dimension < 20; ++dimension)
    {
        const auto name = names.find(dimension);
        EXPECT_EQ(Dimensions::GetName(dimension), name != names.end() ? name->second : L"Unknown") << dimension;
    }
}
} // namespace
