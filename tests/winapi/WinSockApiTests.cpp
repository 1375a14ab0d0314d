#include "winapi/WinSockApi.h"

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/ScopedSubstitute.h"
#include "tests/winapi/Forwarding.h"

#define KV_INTERFACE KVWinApi::IWinSockApi

// In slot order, see Forwarding.h. OWN operations have tests of their own below.
#define KV_OPERATIONS(SAME, LATE, OWN)                                                                                 \
    LATE(L"ws2_32.dll", WSAStartup, error)                                                                             \
    LATE(L"ws2_32.dll", WSAStringToAddressW, SOCKET_ERROR)                                                             \
    LATE(L"ws2_32.dll", WSACleanup, SOCKET_ERROR)                                                                      \
    LATE(L"ws2_32.dll", WSASocketW, INVALID_SOCKET)                                                                    \
    LATE(L"ws2_32.dll", setsockopt, SOCKET_ERROR)                                                                      \
    LATE(L"ws2_32.dll", WSACreateEvent, WSA_INVALID_EVENT)                                                             \
    LATE(L"ws2_32.dll", WSAEventSelect, SOCKET_ERROR)                                                                  \
    LATE(L"ws2_32.dll", WSAConnect, SOCKET_ERROR)                                                                      \
    LATE(L"ws2_32.dll", WSAEnumNetworkEvents, SOCKET_ERROR)                                                            \
    LATE(L"ws2_32.dll", WSAResetEvent, FALSE)                                                                          \
    LATE(L"ws2_32.dll", shutdown, SOCKET_ERROR)                                                                        \
    LATE(L"ws2_32.dll", closesocket, SOCKET_ERROR)                                                                     \
    LATE(L"ws2_32.dll", WSACloseEvent, FALSE)                                                                          \
    LATE(L"ws2_32.dll", WSADuplicateSocketW, SOCKET_ERROR)                                                             \
    LATE(L"ws2_32.dll", bind, SOCKET_ERROR)                                                                            \
    LATE(L"ws2_32.dll", listen, SOCKET_ERROR)                                                                          \
    LATE(L"ws2_32.dll", accept, INVALID_SOCKET)                                                                        \
    LATE(L"ws2_32.dll", recv, SOCKET_ERROR)                                                                            \
    LATE(L"ws2_32.dll", send, SOCKET_ERROR)                                                                            \
    LATE(L"ws2_32.dll", getaddrinfo, error)                                                                            \
    LATE(L"ws2_32.dll", freeaddrinfo, KVTest::kNothing)                                                                \
    LATE(L"ws2_32.dll", WSAAddressToStringW, SOCKET_ERROR)                                                             \
    LATE(L"ws2_32.dll", WSAGetLastError, error)

KV_OPERATIONS(KV_DECLARE_IMPORT, KV_DECLARE_LATE, KV_IGNORE)

namespace
{
TEST(WinSockApiTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    std::size_t expectedSlot = 0;
    KV_OPERATIONS(KV_EXPECT_NEXT_SLOT, KV_EXPECT_NEXT_SLOT_LATE, KV_EXPECT_NEXT_SLOT)
    EXPECT_EQ(expectedSlot, 23u);
    EXPECT_EQ(KVTest::SlotCountOf<KV_INTERFACE>(), expectedSlot + KVTest::kDestructorSlots); // which comes last
    static_assert(std::has_virtual_destructor_v<KV_INTERFACE>);
}

TEST(WinSockApiTests, EachOperation_ForwardsArgumentsAndResult)
{
    KV_INTERFACE* const api = KVWinApi::g_winSockApi;
    KV_OPERATIONS(KV_EXPECT_FORWARDS, KV_EXPECT_FORWARDS_LATE, KV_IGNORE)
}

TEST(WinSockApiTests, EachLateOperation_WithoutItsLibraryOrFunction_FailsByItsOwnConvention)
{
    KV_INTERFACE* const api = KVWinApi::g_winSockApi;
    KV_EXPECT_FAILURES(KV_OPERATIONS)
}

class RecordingWinSockApi : public KVWinApi::CWinSockApi
{
public:
    int send(SOCKET s, const char* buf, int len, int flags) override
    {
        socket = s;
        buffer = buf;
        numbers = {len, flags};
        return SOCKET_ERROR;
    }
    SOCKET socket = INVALID_SOCKET;
    const char* buffer = nullptr;
    std::pair<int, int> numbers;
};

TEST(WinSockApiTests, Substitute_ReceivesTheCallWithTheVeryArguments)
{
    RecordingWinSockApi substitute;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_winSockApi, substitute);
    const char data[] = "data";
    EXPECT_EQ(KVWinApi::g_winSockApi->send(4711, data, 4, MSG_OOB), SOCKET_ERROR);
    EXPECT_EQ(substitute.socket, 4711u);
    EXPECT_EQ(substitute.buffer, data);
    EXPECT_EQ(substitute.numbers, std::make_pair(4, MSG_OOB));
}

TEST(WinSockApiTests, RealClass_StartsSocketsAndTellsTheirErrors)
{
    KVWinApi::IWinSockApi& api = *KVWinApi::g_winSockApi;
    EXPECT_EQ(api.closesocket(INVALID_SOCKET), SOCKET_ERROR);
    EXPECT_EQ(api.WSAGetLastError(), ::WSAGetLastError());
    EXPECT_NE(api.WSAGetLastError(), 0);
    WSADATA data{};
    ASSERT_EQ(api.WSAStartup(MAKEWORD(2, 2), &data), 0);
    const SOCKET socket = api.WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, 0);
    EXPECT_NE(socket, INVALID_SOCKET);
    EXPECT_EQ(api.closesocket(socket), 0);
    EXPECT_EQ(api.closesocket(socket), SOCKET_ERROR);
    EXPECT_EQ(api.WSAGetLastError(), WSAENOTSOCK);
    EXPECT_EQ(api.WSACleanup(), 0);
}
} // namespace

#undef KV_OPERATIONS
#undef KV_INTERFACE
