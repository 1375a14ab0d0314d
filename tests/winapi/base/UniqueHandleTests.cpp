#include "winapi/base/UniqueHandle.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

#include "tests/support/ScopedSubstitute.h"
#include "winapi/handles/InternetHandles.h"
#include "winapi/handles/KernelHandles.h"
#include "winapi/handles/MutexHandles.h"
#include "winapi/handles/PrinterHandles.h"
#include "winapi/handles/RegistryHandles.h"

namespace
{
using namespace KVWinApi;

HANDLE MakeHandle(std::size_t number)
{
    return reinterpret_cast<HANDLE>(number);
}

// Notes what is closed and spoils the last error, as a real close may.
class ClosingKernelApi : public CKernelApi
{
public:
    BOOL CloseHandle(HANDLE hObject) override
    {
        closed.push_back(hObject);
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    BOOL FindClose(HANDLE hFindFile) override
    {
        closedSearches.push_back(hFindFile);
        return TRUE;
    }
    BOOL FreeLibrary(HMODULE hLibModule) override
    {
        freed.push_back(hLibModule);
        return TRUE;
    }
    std::vector<HANDLE> closed;
    std::vector<HANDLE> closedSearches;
    std::vector<HMODULE> freed;
};

class UniqueHandleTests : public testing::Test
{
protected:
    ClosingKernelApi m_api;
    KVTest::ScopedSubstitute<IKernelApi> m_swap{g_kernelApi, m_api};
};

TEST_F(UniqueHandleTests, Empty_ClosesNothing)
{
    {
        CUniqueKernelHandle kernelHandle;
        EXPECT_FALSE(kernelHandle.IsValid());
        EXPECT_EQ(kernelHandle.Get(), nullptr);
        const CUniqueFile file;
        EXPECT_FALSE(file.IsValid());
        EXPECT_EQ(file.Get(), INVALID_HANDLE_VALUE);
        kernelHandle.Reset();
    }
    EXPECT_TRUE(m_api.closed.empty());
}

TEST_F(UniqueHandleTests, Destruction_ClosesTheHandleOnce)
{
    {
        const CUniqueKernelHandle handle(MakeHandle(1));
        EXPECT_TRUE(handle.IsValid());
        EXPECT_EQ(handle.Get(), MakeHandle(1));
    }
    EXPECT_EQ(m_api.closed, std::vector{MakeHandle(1)});
}

TEST_F(UniqueHandleTests, Reset_ClosesTheOldHandleAndKeepsTheLastError)
{
    CUniqueKernelHandle handle(MakeHandle(1));
    ::SetLastError(4711);
    handle.Reset(MakeHandle(2));
    EXPECT_EQ(::GetLastError(), 4711u);
    EXPECT_EQ(m_api.closed, std::vector{MakeHandle(1)});
    handle.Reset();
    EXPECT_FALSE(handle.IsValid());
    EXPECT_EQ(m_api.closed, (std::vector{MakeHandle(1), MakeHandle(2)}));
}

TEST_F(UniqueHandleTests, Release_GivesTheHandleUpUnclosed)
{
    {
        CUniqueKernelHandle handle(MakeHandle(1));
        EXPECT_EQ(handle.Release(), MakeHandle(1));
        EXPECT_FALSE(handle.IsValid());
    }
    EXPECT_TRUE(m_api.closed.empty());
}

TEST_F(UniqueHandleTests, Move_PassesTheHandleOn)
{
    CUniqueKernelHandle first(MakeHandle(1));
    CUniqueKernelHandle second(std::move(first));
    EXPECT_EQ(second.Get(), MakeHandle(1));
    CUniqueKernelHandle third(MakeHandle(3));
    third = std::move(second);
    EXPECT_EQ(third.Get(), MakeHandle(1));
    EXPECT_EQ(m_api.closed, std::vector{MakeHandle(3)});
    CUniqueKernelHandle& same = third;
    third = std::move(same);
    EXPECT_EQ(third.Get(), MakeHandle(1));
    EXPECT_EQ(m_api.closed, std::vector{MakeHandle(3)});
    static_assert(!std::is_copy_constructible_v<CUniqueKernelHandle>);
    static_assert(!std::is_copy_assignable_v<CUniqueKernelHandle>);
}

TEST_F(UniqueHandleTests, Move_ByConstruction_TheHandleIsClosedOnce)
{
    {
        CUniqueKernelHandle first(MakeHandle(1));
        const CUniqueKernelHandle second(std::move(first));
    }
    EXPECT_EQ(m_api.closed, std::vector{MakeHandle(1)});
}

TEST_F(UniqueHandleTests, Move_ByAssignment_TheHandleIsClosedOnce)
{
    {
        CUniqueKernelHandle first(MakeHandle(1));
        CUniqueKernelHandle second;
        second = std::move(first);
    }
    EXPECT_EQ(m_api.closed, std::vector{MakeHandle(1)});
}

TEST_F(UniqueHandleTests, FilesSearchesAndModules_AreClosedTheirWay)
{
    {
        const CUniqueFile file(MakeHandle(1));
        const CUniqueFindHandle search(MakeHandle(2));
        const CUniqueModule module(static_cast<HMODULE>(MakeHandle(3)));
        const CUniqueFindHandle noSearch(INVALID_HANDLE_VALUE);
        const CUniqueModule noModule(nullptr);
        EXPECT_FALSE(noSearch.IsValid());
        EXPECT_FALSE(noModule.IsValid());
        EXPECT_TRUE(search.IsValid());
        EXPECT_TRUE(module.IsValid());
        EXPECT_TRUE(file.IsValid());
    }
    EXPECT_EQ(m_api.closed, std::vector{MakeHandle(1)});
    EXPECT_EQ(m_api.closedSearches, std::vector{MakeHandle(2)});
    EXPECT_EQ(m_api.freed, std::vector{static_cast<HMODULE>(MakeHandle(3))});
}

TEST_F(UniqueHandleTests, Close_GoesToTheFacadeOfThatMoment)
{
    ClosingKernelApi later;
    {
        const CUniqueKernelHandle handle(MakeHandle(1));
        g_kernelApi = &later;
    }
    g_kernelApi = &m_api;
    EXPECT_TRUE(m_api.closed.empty());
    EXPECT_EQ(later.closed, std::vector{MakeHandle(1)});
}

TEST(RegistryHandlesTests, Destruction_ClosesTheKeyThroughTheFacade)
{
    struct Recording : CRegistryApi
    {
        LONG RegCloseKey(HKEY hKey) override
        {
            closed = hKey;
            return ERROR_SUCCESS;
        }
        HKEY closed = nullptr;
    } api;
    const KVTest::ScopedSubstitute swap(g_registryApi, api);
    {
        const CUniqueRegistryKey key(static_cast<HKEY>(MakeHandle(1)));
        EXPECT_TRUE(key.IsValid());
    }
    EXPECT_EQ(api.closed, MakeHandle(1));
}

TEST(InternetHandlesTests, Destruction_ClosesTheHandleThroughTheFacade)
{
    struct Recording : CWinApi
    {
        BOOL InternetCloseHandle(HINTERNET hInternet) override
        {
            closed = hInternet;
            return TRUE;
        }
        HINTERNET closed = nullptr;
    } api;
    const KVTest::ScopedSubstitute swap(g_winApi, api);
    {
        const CUniqueInternet handle(MakeHandle(1));
        EXPECT_TRUE(handle.IsValid());
    }
    EXPECT_EQ(api.closed, MakeHandle(1));
}

TEST(MutexHandlesTests, Destruction_GivesUpTheOwnershipThenClosesTheMutexThroughTheFacade)
{
    struct Recording : CWinApi
    {
        BOOL ReleaseMutex(HANDLE hMutex) override
        {
            EXPECT_EQ(closed, nullptr);
            released = hMutex;
            return TRUE;
        }
        BOOL CloseHandle(HANDLE hObject) override
        {
            closed = hObject;
            return TRUE;
        }
        HANDLE released = nullptr;
        HANDLE closed = nullptr;
    } api;
    const KVTest::ScopedSubstitute swap(g_winApi, api);
    {
        const CUniqueMutex mutex(MakeHandle(1));
        const CUniqueMutexOwnership ownership(mutex.Get());
        EXPECT_TRUE(ownership.IsValid());
        const CUniqueMutexOwnership none;
        EXPECT_FALSE(none.IsValid());
    }
    EXPECT_EQ(api.released, MakeHandle(1));
    EXPECT_EQ(api.closed, MakeHandle(1));
}

TEST(PrinterHandlesTests, Destruction_ClosesThePrinterThroughTheFacade)
{
    struct Recording : CSpoolerApi
    {
        BOOL ClosePrinter(HANDLE hPrinter) override
        {
            closed = hPrinter;
            return TRUE;
        }
        HANDLE closed = nullptr;
    } api;
    const KVTest::ScopedSubstitute swap(g_spoolerApi, api);
    {
        const CUniquePrinter printer(MakeHandle(1));
        EXPECT_TRUE(printer.IsValid());
    }
    EXPECT_EQ(api.closed, MakeHandle(1));
}
} // namespace
