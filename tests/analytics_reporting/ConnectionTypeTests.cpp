#include "analytics_reporting/ConnectionType.h"

#include <gtest/gtest.h>

namespace
{
using KVAnalyticsReporting::GetConnectionTypeText;

TEST(ConnectionTypeTests, ConnectionKind_GivesItsText)
{
    EXPECT_EQ(GetConnectionTypeText(1, 0), L"USB");
    EXPECT_EQ(GetConnectionTypeText(2, 0), L"Network");
    EXPECT_EQ(GetConnectionTypeText(4, 0), L"Bluetooth");
    EXPECT_EQ(GetConnectionTypeText(7, 0), L"All");
}

TEST(ConnectionTypeTests, AnyOtherConnectionKind_IsUnknown)
{
    for (const int kind : {-1, 0, 3, 5, 6, 8, 100})
    {
        EXPECT_EQ(GetConnectionTypeText(kind, 0), L"Unknown") << kind;
    }
}

TEST(ConnectionTypeTests, NetworkKind_IsAppendedWhenItIsKnown)
{
    EXPECT_EQ(GetConnectionTypeText(2, 1), L"Network-Wired");
    EXPECT_EQ(GetConnectionTypeText(2, 2), L"Network-Wireless");
    EXPECT_EQ(GetConnectionTypeText(2, 3), L"Network");
    EXPECT_EQ(GetConnectionTypeText(2, -1), L"Network");
}

TEST(ConnectionTypeTests, NetworkKind_CountsForNetworkConnectionsOnly)
{
    EXPECT_EQ(GetConnectionTypeText(1, 2), L"USB");
    EXPECT_EQ(GetConnectionTypeText(4, 1), L"Bluetooth");
    EXPECT_EQ(GetConnectionTypeText(7, 1), L"All");
    EXPECT_EQ(GetConnectionTypeText(0, 1), L"Unknown");
}
} // namespace
