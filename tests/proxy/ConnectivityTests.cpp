#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <utility>

#include "proxy/AnalyticsProxy.h"
#include "tests/support/TraceCapture.h"

namespace
{
struct Row
{
    const wchar_t* connection;
    const wchar_t* network;
    int connectionKind;
    int networkKind;
};
void PrintTo(const Row& row, std::ostream* stream)
{
    *stream << row.connectionKind << ", " << row.networkKind;
}

class ConnectivityTests : public testing::TestWithParam<Row>
{
};

TEST_P(ConnectivityTests, Texts_BecomeKinds)
{
    std::pair<int, int> kinds = {-1, -1};
    KVAnalyticsProxy::CAnalyticsProxy().TranslateConnectivityType(GetParam().connection, GetParam().network,
                                                                  kinds.first, kinds.second);
    EXPECT_EQ(kinds, std::make_pair(GetParam().connectionKind, GetParam().networkKind));
}

INSTANTIATE_TEST_SUITE_P(Row, ConnectivityTests,
                         testing::Values(Row{L"NW", L"Network_Ethernet", 2, 1}, Row{L"NW", L"Network_Wireless", 2, 2},
                                         Row{L"NW", L"", 2, 0}, Row{L"NW", L"network_wireless", 2, 0},
                                         Row{L"NW", L"Network_Wireless ", 2, 0}, Row{L"USB", L"", 1, 0},
                                         Row{L"USB", L"Network_Wireless", 1, 0}, Row{L"BT", L"", 4, 0},
                                         Row{L"BT", L"Network_Ethernet", 4, 0}, Row{L"*", L"Network_Ethernet", 7, 0},
                                         Row{L"*", L"", 7, 0}, Row{L"nw", L"Network_Ethernet", 0, 0},
                                         Row{L"usb", L"", 0, 0}, Row{L"bt", L"", 0, 0},
                                         Row{L"", L"Network_Ethernet", 0, 0}, Row{L"", L"", 0, 0},
                                         Row{L"NW ", L"Network_Ethernet", 0, 0}, Row{L"Bluetooth", L"", 0, 0}));

TEST(ConnectivityTraceTests, Translation_IsTracedByItsName)
{
    const KVTest::TraceCapture trace;
    trace.EnableAll();
    int connectionKind = 0;
    int networkKind = 0;
    KVAnalyticsProxy::CAnalyticsProxy().TranslateConnectivityType(L"NW", L"", connectionKind, networkKind);
    EXPECT_EQ(trace.GetText(), L"(->) CAnalyticsProxy::TranslateConnectivityType\r\n"
                               L"(<-) CAnalyticsProxy::TranslateConnectivityType\r\n");
}
} // namespace
