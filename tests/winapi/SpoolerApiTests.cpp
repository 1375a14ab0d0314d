#include "winapi/SpoolerApi.h"

#include <gtest/gtest.h>

#include "tests/support/ScopedSubstitute.h"
#include "tests/winapi/Forwarding.h"

#define KV_INTERFACE KVWinApi::ISpoolerApi

// In slot order, see Forwarding.h. OWN operations have tests of their own below.
#define KV_OPERATIONS(SAME, LATE, OWN)                                                                                 \
    LATE(L"winspool.drv", OpenPrinterW, FALSE)                                                                         \
    LATE(L"winspool.drv", ClosePrinter, FALSE)                                                                         \
    LATE(L"winspool.drv", AddPrinterW, nullptr)                                                                        \
    LATE(L"winspool.drv", DeletePrinter, FALSE)                                                                        \
    LATE(L"winspool.drv", EnumPrintersW, FALSE)                                                                        \
    LATE(L"winspool.drv", GetPrinterDataExW, error)                                                                    \
    LATE(L"winspool.drv", SetPrinterDataExW, error)                                                                    \
    LATE(L"winspool.drv", GetPrinterDriverW, FALSE)                                                                    \
    LATE(L"winspool.drv", AddPrinterDriverW, FALSE)                                                                    \
    LATE(L"winspool.drv", XcvDataW, FALSE)                                                                             \
    LATE(L"winspool.drv", GetPrinterW, FALSE)                                                                          \
    LATE(L"winspool.drv", DeletePrinterDriverExW, FALSE)                                                               \
    LATE(L"winspool.drv", GetPrinterDriverDirectoryW, FALSE)                                                           \
    LATE(L"winspool.drv", EnumPrinterDriversW, FALSE)                                                                  \
    LATE(L"winspool.drv", SetPrinterW, FALSE)                                                                          \
    LATE(L"winspool.drv", SetJobW, FALSE)                                                                              \
    LATE(L"winspool.drv", GetJobW, FALSE)                                                                              \
    LATE(L"winspool.drv", EnumJobsW, FALSE)                                                                            \
    LATE(L"winspool.drv", SetDefaultPrinterW, FALSE)                                                                   \
    LATE(L"winspool.drv", GetDefaultPrinterW, FALSE)                                                                   \
    LATE(L"winspool.drv", AddMonitorW, FALSE)                                                                          \
    LATE(L"winspool.drv", DeleteMonitorW, FALSE)                                                                       \
    LATE(L"winspool.drv", EnumMonitorsW, FALSE)                                                                        \
    LATE(L"winspool.drv", EnumPortsW, FALSE)                                                                           \
    LATE(L"winspool.drv", StartDocPrinterW, 0)                                                                         \
    LATE(L"winspool.drv", StartPagePrinter, FALSE)                                                                     \
    LATE(L"winspool.drv", WritePrinter, FALSE)                                                                         \
    LATE(L"winspool.drv", EndPagePrinter, FALSE)                                                                       \
    LATE(L"winspool.drv", EndDocPrinter, FALSE)                                                                        \
    LATE(L"winspool.drv", FindFirstPrinterChangeNotification, INVALID_HANDLE_VALUE)                                    \
    LATE(L"winspool.drv", FindNextPrinterChangeNotification, FALSE)                                                    \
    LATE(L"winspool.drv", FindClosePrinterChangeNotification, FALSE)                                                   \
    LATE(L"winspool.drv", DocumentPropertiesW, -1)

KV_OPERATIONS(KV_DECLARE_IMPORT, KV_DECLARE_LATE, KV_IGNORE)

namespace
{
TEST(SpoolerApiTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    std::size_t expectedSlot = 0;
    KV_OPERATIONS(KV_EXPECT_NEXT_SLOT, KV_EXPECT_NEXT_SLOT_LATE, KV_EXPECT_NEXT_SLOT)
    EXPECT_EQ(expectedSlot, 33u);
    EXPECT_EQ(KVTest::SlotCountOf<KV_INTERFACE>(), expectedSlot + KVTest::kDestructorSlots); // which comes last
    static_assert(std::has_virtual_destructor_v<KV_INTERFACE>);
}

TEST(SpoolerApiTests, EachOperation_ForwardsArgumentsAndResult)
{
    KV_INTERFACE* const api = KVWinApi::g_spoolerApi;
    KV_OPERATIONS(KV_EXPECT_FORWARDS, KV_EXPECT_FORWARDS_LATE, KV_IGNORE)
}

TEST(SpoolerApiTests, EachLateOperation_WithoutItsLibraryOrFunction_FailsByItsOwnConvention)
{
    KV_INTERFACE* const api = KVWinApi::g_spoolerApi;
    KV_EXPECT_FAILURES(KV_OPERATIONS)
}

class RecordingSpoolerApi : public KVWinApi::CSpoolerApi
{
public:
    BOOL OpenPrinterW(LPWSTR pPrinterName, LPHANDLE phPrinter, LPPRINTER_DEFAULTSW pDefault) override
    {
        name = pPrinterName;
        handle = phPrinter;
        defaults = pDefault;
        ::SetLastError(ERROR_INVALID_PRINTER_NAME);
        return FALSE;
    }
    LPWSTR name = nullptr;
    LPHANDLE handle = nullptr;
    LPPRINTER_DEFAULTSW defaults = nullptr;
};

TEST(SpoolerApiTests, Substitute_ReceivesTheCallWithTheVeryArguments)
{
    RecordingSpoolerApi substitute;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_spoolerApi, substitute);
    wchar_t name[] = L"printer";
    HANDLE printer = nullptr;
    PRINTER_DEFAULTSW defaults{};
    EXPECT_EQ(KVWinApi::g_spoolerApi->OpenPrinterW(name, &printer, &defaults), FALSE);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_PRINTER_NAME));
    EXPECT_EQ(substitute.name, name);
    EXPECT_EQ(substitute.handle, &printer);
    EXPECT_EQ(substitute.defaults, &defaults);
}

TEST(SpoolerApiTests, RealClass_GivesTheSystemsFailure)
{
    wchar_t name[] = L"no such printer";
    HANDLE printer = nullptr;
    EXPECT_EQ(KVWinApi::g_spoolerApi->OpenPrinterW(name, &printer, nullptr), FALSE);
    const DWORD error = ::GetLastError();
    EXPECT_EQ(::OpenPrinterW(name, &printer, nullptr), FALSE);
    EXPECT_EQ(error, ::GetLastError());
    EXPECT_EQ(KVWinApi::g_spoolerApi->ClosePrinter(nullptr), FALSE);
}
} // namespace

#undef KV_OPERATIONS
#undef KV_INTERFACE
