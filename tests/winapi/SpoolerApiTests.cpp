#include "winapi/SpoolerApi.h"

#include <gtest/gtest.h>

#include "tests/support/ScopedSubstitute.h"
#include "tests/winapi/Forwarding.h"

#define KV_INTERFACE KVWinApi::ISpoolerApi

// In slot order. SAME operations forward to the system function of their name, OWN ones have tests of their own below.
#define KV_OPERATIONS(SAME, OWN)                                                                                       \
    SAME(OpenPrinterW)                                                                                                 \
    SAME(ClosePrinter)                                                                                                 \
    SAME(AddPrinterW)                                                                                                  \
    SAME(DeletePrinter)                                                                                                \
    SAME(EnumPrintersW)                                                                                                \
    SAME(GetPrinterDataExW)                                                                                            \
    SAME(SetPrinterDataExW)                                                                                            \
    SAME(GetPrinterDriverW)                                                                                            \
    SAME(AddPrinterDriverW)                                                                                            \
    SAME(XcvDataW)                                                                                                     \
    SAME(GetPrinterW)                                                                                                  \
    SAME(DeletePrinterDriverExW)                                                                                       \
    SAME(GetPrinterDriverDirectoryW)                                                                                   \
    SAME(EnumPrinterDriversW)                                                                                          \
    SAME(SetPrinterW)                                                                                                  \
    SAME(SetJobW)                                                                                                      \
    SAME(GetJobW)                                                                                                      \
    SAME(EnumJobsW)                                                                                                    \
    SAME(SetDefaultPrinterW)                                                                                           \
    SAME(GetDefaultPrinterW)                                                                                           \
    SAME(AddMonitorW)                                                                                                  \
    SAME(DeleteMonitorW)                                                                                               \
    SAME(EnumMonitorsW)                                                                                                \
    SAME(EnumPortsW)                                                                                                   \
    SAME(StartDocPrinterW)                                                                                             \
    SAME(StartPagePrinter)                                                                                             \
    SAME(WritePrinter)                                                                                                 \
    SAME(EndPagePrinter)                                                                                               \
    SAME(EndDocPrinter)                                                                                                \
    SAME(FindFirstPrinterChangeNotification)                                                                           \
    SAME(FindNextPrinterChangeNotification)                                                                            \
    SAME(FindClosePrinterChangeNotification)                                                                           \
    SAME(DocumentPropertiesW)

KV_OPERATIONS(KV_DECLARE_IMPORT, KV_IGNORE)

namespace
{
TEST(SpoolerApiTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    std::size_t expectedSlot = 0;
    KV_OPERATIONS(KV_EXPECT_NEXT_SLOT, KV_EXPECT_NEXT_SLOT)
    EXPECT_EQ(expectedSlot, 33u);
    EXPECT_EQ(KVTest::SlotCountOf<KV_INTERFACE>(), expectedSlot + 2); // the destructor comes last
    static_assert(std::has_virtual_destructor_v<KV_INTERFACE>);
}

TEST(SpoolerApiTests, EachOperation_ForwardsArgumentsAndResult)
{
    KV_INTERFACE* const api = KVWinApi::g_spoolerApi;
    KV_OPERATIONS(KV_EXPECT_FORWARDS, KV_IGNORE)
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
