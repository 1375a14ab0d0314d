#include "winapi/base/SystemHandles.h"

#include <windows.h>

#include <oleauto.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <thread>
#include <vector>

#include "tests/support/ImportPatch.h"
#include "winapi/base/Bstr.h"
#include "winapi/base/LocalMemory.h"

KV_DECLARE_IMPORT(LocalFree)
KV_DECLARE_IMPORT(ReleaseMutex)
KV_DECLARE_IMPORT(UnmapViewOfFile)

namespace
{
using namespace KVWinApi;

constexpr DWORD kSignalledInTimeMs = 20000;

// Notes what a system function of one argument is given, and does not call it.
class ClosePatch
{
public:
    explicit ClosePatch(void*& place) : m_patch(place, reinterpret_cast<void*>(&Close)) { s_closed.clear(); }
    static const std::vector<const void*>& GetClosed() { return s_closed; }

private:
    static std::intptr_t WINAPI Close(const void* handle)
    {
        s_closed.push_back(handle);
        ::SetLastError(ERROR_INVALID_HANDLE);
        return 0;
    }

    inline static std::vector<const void*> s_closed;
    KVTest::ImportPatch m_patch;
};

TEST(SystemHandlesTests, Handle_IsClosedWithItsOwner)
{
    HANDLE event = nullptr;
    {
        const CUniqueSystemHandle owner(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
        event = owner.Get();
        DWORD flags = 0;
        EXPECT_NE(::GetHandleInformation(event, &flags), FALSE);
    }
    DWORD flags = 0;
    EXPECT_EQ(::GetHandleInformation(event, &flags), FALSE);
}

TEST(SystemHandlesTests, File_FailureIsTheInvalidHandle)
{
    const CUniqueSystemFile none;
    EXPECT_EQ(none.Get(), INVALID_HANDLE_VALUE);
    EXPECT_FALSE(CUniqueSystemFile(INVALID_HANDLE_VALUE).IsValid());
}

TEST(SystemHandlesTests, Key_IsClosedWithItsOwner)
{
    HKEY key = nullptr;
    ASSERT_EQ(::RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &key), ERROR_SUCCESS);
    {
        const CUniqueSystemKey owner(key);
    }
    EXPECT_EQ(::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, nullptr),
              ERROR_INVALID_HANDLE);
}

TEST(SystemHandlesTests, View_IsUnmappedAndTheLastErrorStays)
{
    char memory = 0;
    const ClosePatch patch(__imp_UnmapViewOfFile);
    ::SetLastError(4711);
    {
        const CUniqueView view(&memory);
    }
    EXPECT_EQ(ClosePatch::GetClosed(), std::vector<const void*>{&memory});
    EXPECT_EQ(::GetLastError(), 4711u);
}

TEST(SystemHandlesTests, LocalMemory_IsFreedAndTheLastErrorStays)
{
    wchar_t text[] = L"text";
    const ClosePatch patch(__imp_LocalFree);
    ::SetLastError(4711);
    {
        const CUniqueLocalMemory<wchar_t> memory(text);
        EXPECT_EQ(memory.Get(), text);
        const CUniqueLocalMemory<wchar_t*> none;
        EXPECT_FALSE(none.IsValid());
    }
    EXPECT_EQ(ClosePatch::GetClosed(), std::vector<const void*>{text});
    EXPECT_EQ(::GetLastError(), 4711u);
}

TEST(SystemHandlesTests, MutexHold_EndsWithItsOwnerAndLeavesTheMutexOpen)
{
    const CUniqueSystemHandle mutex(::CreateMutexW(nullptr, FALSE, nullptr));
    const auto isFree = [&] {
        bool isHeld = false;
        std::thread([&] { isHeld = HoldMutex(mutex.Get(), 0).IsValid(); }).join();
        return isHeld;
    };
    {
        const CUniqueMutexHold hold = HoldMutex(mutex.Get(), 0);
        EXPECT_TRUE(hold.IsValid());
        EXPECT_FALSE(isFree());
    }
    EXPECT_TRUE(isFree());
}

TEST(SystemHandlesTests, MutexHold_NoMutexOrNotInTime_IsEmptyAndReleasesNothing)
{
    EXPECT_FALSE(HoldMutex(nullptr, 0).IsValid());
    const CUniqueSystemHandle mutex(::CreateMutexW(nullptr, TRUE, nullptr));
    const ClosePatch patch(__imp_ReleaseMutex);
    bool isHeld = true;
    std::thread([&] { isHeld = HoldMutex(mutex.Get(), 1).IsValid(); }).join();
    EXPECT_FALSE(isHeld);
    EXPECT_TRUE(ClosePatch::GetClosed().empty());
}

TEST(SystemHandlesTests, MutexHold_OwnerDied_IsObtained)
{
    const CUniqueSystemHandle mutex(::CreateMutexW(nullptr, FALSE, nullptr));
    std::thread([&] { ::WaitForSingleObject(mutex.Get(), kSignalledInTimeMs); }).join();
    EXPECT_TRUE(HoldMutex(mutex.Get(), 0).IsValid());
}

TEST(BstrTests, MakeBstr_CopiesTheText)
{
    wchar_t text[] = L"text";
    const CUniqueBstr copy = MakeBstr(text);
    text[0] = L'x';
    ASSERT_TRUE(copy.IsValid());
    EXPECT_STREQ(copy.Get(), L"text");
    EXPECT_EQ(::SysStringLen(copy.Get()), 4u);
}

TEST(BstrTests, MakeBstr_NoText_IsEmpty)
{
    EXPECT_FALSE(MakeBstr(nullptr).IsValid());
    EXPECT_TRUE(MakeBstr(L"").IsValid());
}
} // namespace
