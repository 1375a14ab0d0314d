#include "device_manager/PrintResults.h"

#include <gtest/gtest.h>

namespace
{
using namespace KVDeviceManager;

TEST(PrintResultsTests, Values_AreThoseOfTheProgramsFacility)
{
    EXPECT_EQ(static_cast<unsigned>(PRINT_S_OK), 0u);
    EXPECT_EQ(static_cast<unsigned>(PRINT_E_FAILED), 0x83E8FAFFu);
    EXPECT_EQ(static_cast<unsigned>(PRINT_E_INVALID_PARAMETER), 0x83E8FAF7u);
    EXPECT_EQ(static_cast<unsigned>(PRINT_E_ACCESS_DENIED), 0x83E8FAFAu);
    EXPECT_EQ(static_cast<unsigned>(PRINT_E_VALUE_NOT_FOUND), 0x83E8FAF3u);
    EXPECT_EQ(static_cast<unsigned>(PRINT_E_NOT_A_STRING), 0x83E8FAF4u);
    EXPECT_EQ(static_cast<unsigned>(PRINT_E_OUT_OF_MEMORY), 0x83E8FAFEu);
}

TEST(PrintResultsTests, AllButZero_AreFailures)
{
    EXPECT_TRUE(SUCCEEDED(PRINT_S_OK));
    for (const HRESULT result : {PRINT_E_FAILED, PRINT_E_INVALID_PARAMETER, PRINT_E_ACCESS_DENIED,
                                 PRINT_E_VALUE_NOT_FOUND, PRINT_E_NOT_A_STRING, PRINT_E_OUT_OF_MEMORY})
    {
        EXPECT_TRUE(FAILED(result)) << result;
        EXPECT_EQ(HRESULT_FACILITY(result), 0x3E8) << result;
    }
}
} // namespace
