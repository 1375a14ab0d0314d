#include "proxy/ProxyResults.h"

#include <gtest/gtest.h>

namespace
{
using namespace KVAnalyticsProxy;

TEST(ProxyResultsTests, Codes_HaveTheirValues)
{
    EXPECT_EQ(static_cast<DWORD>(PROXY_S_DONE), 0x03E8C0FBu);
    EXPECT_EQ(static_cast<DWORD>(PROXY_S_NOT_OPTED_IN), 0x03E8C0FFu);
    EXPECT_EQ(static_cast<DWORD>(PROXY_E_INIT_FAILED), 0x83E8C0FCu);
    EXPECT_EQ(static_cast<DWORD>(PROXY_E_START_FAILED), 0x83E8C0FDu);
    EXPECT_EQ(static_cast<DWORD>(PROXY_E_NOT_CALLED_BY_LUMO), 0x83E8C0FEu);
}

TEST(ProxyResultsTests, Codes_BelongToTheProgramsFacilityAndTellSuccessFromFailure)
{
    for (const HRESULT success : {PROXY_S_DONE, PROXY_S_NOT_OPTED_IN})
    {
        EXPECT_TRUE(SUCCEEDED(success));
        EXPECT_EQ(HRESULT_FACILITY(success), 0x3E8);
    }
    for (const HRESULT failure : {PROXY_E_INIT_FAILED, PROXY_E_START_FAILED, PROXY_E_NOT_CALLED_BY_LUMO})
    {
        EXPECT_TRUE(FAILED(failure));
        EXPECT_EQ(HRESULT_FACILITY(failure), 0x3E8);
    }
}
} // namespace
