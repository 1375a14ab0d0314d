#include "ga_client/RequestQueueFile.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>

#include "tests/support/ClientTestSupport.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/ScopedSubstitute.h"
#include "winapi/KernelApi.h"

KV_DECLARE_IMPORT(GetFileInformationByHandleEx)
KV_DECLARE_IMPORT(ReadFile)
KV_DECLARE_IMPORT(SetEndOfFile)
KV_DECLARE_IMPORT(SetFilePointerEx)

using GAClient::CRequestQueueFile;
using Requests = std::list<std::wstring>;

namespace
{
constexpr std::int32_t kDefaultLimit = 500;
constexpr std::size_t kFullSize = 1048576;

// Records the calls for the mutex, and returns the wait result that the test chooses.
class MutexApi : public KVTest::LocalFolderApi
{
public:
    HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name) override
    {
        calls.push_back(L"create " + std::wstring(name) + L" " + std::to_wstring(initialOwner));
        if (createFails || failingCreations-- > 0)
        {
            ::SetLastError(ERROR_INVALID_HANDLE);
            return nullptr;
        }
        const DWORD earlierError = ::GetLastError();
        const HANDLE mutex = CWinApi::CreateMutexW(attributes, initialOwner, name);
        if (exists)
        {
            ::SetLastError(ERROR_ALREADY_EXISTS);
        }
        else if (::GetLastError() != ERROR_ALREADY_EXISTS)
        {
            ::SetLastError(earlierError); // as a system may that does not clear it for a new mutex
        }
        return mutex;
    }
    DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) override
    {
        calls.push_back(L"wait " + std::to_wstring(milliseconds));
        if (failingWaits-- > 0)
        {
            return WAIT_FAILED;
        }
        return waitResult == WAIT_OBJECT_0 ? CWinApi::WaitForSingleObject(handle, milliseconds) : waitResult;
    }
    BOOL ReleaseMutex(HANDLE mutex) override
    {
        calls.push_back(L"release");
        return CWinApi::ReleaseMutex(mutex);
    }
    BOOL CloseHandle(HANDLE handle) override
    {
        calls.push_back(L"close");
        return CWinApi::CloseHandle(handle);
    }

    bool createFails = false;
    int failingCreations = 0; // so many of the next ones
    int failingWaits = 0;
    bool exists = false;
    DWORD waitResult = WAIT_OBJECT_0;
    std::vector<std::wstring> calls;
};

// A disk that takes only some bytes of a write, and a file system that refuses some calls or some ways of opening.
class BadDiskApi : public KVWinApi::CKernelApi
{
public:
    BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) override
    {
        ++writes;
        lastBytes += static_cast<const char*>(buffer)[size - 1];
        const DWORD room = fullWrites-- <= 0 && shortWrites-- > 0 ? roomOfShortWrites : size;
        const DWORD taken = size < room ? size : room;
        const BOOL done = CKernelApi::WriteFile(file, buffer, taken, written, overlapped);
        if (taken < size && failsWhenFull)
        {
            ::SetLastError(ERROR_DISK_FULL);
            return FALSE;
        }
        return done;
    }
    HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES attributes, DWORD disposition,
                       DWORD flags, HANDLE model) override
    {
        opened.push_back({name, disposition, flags});
        if (disposition == refusedDisposition || failingOpenings-- > 0)
        {
            ::SetLastError(openError);
            return INVALID_HANDLE_VALUE;
        }
        return CKernelApi::CreateFileW(name, access, share, attributes, disposition, flags, model);
    }
    BOOL GetFileSizeEx(HANDLE file, PLARGE_INTEGER size) override
    {
        return failingSizes-- > 0 ? FALSE : CKernelApi::GetFileSizeEx(file, size);
    }
    // Time passes by sleeping only.
    DWORD GetTickCount() override { return m_now; }
    void Sleep(DWORD milliseconds) override
    {
        sleeps.push_back(milliseconds);
        m_now += milliseconds;
    }

    static constexpr int kAlways = 1000;
    int fullWrites = 0;  // so many of the next ones are no short ones
    int shortWrites = 0; // so many of those that follow take no more than these bytes
    DWORD roomOfShortWrites = 0;
    bool failsWhenFull = false;
    int failingSizes = 0;
    int failingOpenings = 0;
    DWORD openError = ERROR_ACCESS_DENIED;
    DWORD refusedDisposition = 0;
    int writes = 0;
    std::string lastBytes; // of each write
    struct Opening
    {
        std::wstring name;
        DWORD disposition;
        DWORD flags;
    };
    std::vector<Opening> opened;
    std::vector<DWORD> sleeps;

private:
    DWORD m_now = 0xFFFFFFC0; // it wraps within the first retries
};

// Lets some calls of a system function fail that is no operation of the facade. One object for each type of function at
// a time.
template <typename Function> class FailingImport;
template <typename... Arguments> class FailingImport<BOOL WINAPI(Arguments...)>
{
public:
    FailingImport(void*& place, int failures) : m_patch(place, reinterpret_cast<void*>(&Answer))
    {
        s_failures = failures;
        s_original = reinterpret_cast<BOOL(WINAPI*)(Arguments...)>(m_patch.GetOriginal());
    }
    static int GetFailuresLeft() noexcept { return s_failures; }

private:
    static BOOL WINAPI Answer(Arguments... arguments)
    {
        if (s_failures > 0)
        {
            --s_failures;
            ::SetLastError(ERROR_GEN_FAILURE);
            return FALSE;
        }
        return s_original(arguments...);
    }

    static inline int s_failures = 0;
    static inline BOOL(WINAPI* s_original)(Arguments...) = nullptr;
    KVTest::ImportPatch m_patch;
};

// Reports every file that is opened as a link.
class LinkPatch
{
public:
    LinkPatch() : m_patch(__imp_GetFileInformationByHandleEx, reinterpret_cast<void*>(&Answer)) {}

private:
    static BOOL WINAPI Answer(HANDLE, FILE_INFO_BY_HANDLE_CLASS kind, void* information, DWORD size)
    {
        if (kind != FileBasicInfo || size < sizeof(FILE_BASIC_INFO))
        {
            return FALSE;
        }
        auto* const basic = static_cast<FILE_BASIC_INFO*>(information);
        *basic = {};
        basic->FileAttributes = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_REPARSE_POINT;
        return TRUE;
    }
    KVTest::ImportPatch m_patch;
};

class RequestQueueFileTests : public testing::Test
{
protected:
    std::wstring FolderPath() const { return m_winApi.DataFolder(m_name, KVTest::kSampleVersion); }
    std::wstring FilePath() const { return FolderPath() + L"Statlet_RequestQueue.txt"; }
    bool FileExists() const { return ::GetFileAttributesW(FilePath().c_str()) != INVALID_FILE_ATTRIBUTES; }
    std::string Bytes() const { return KVTest::ReadFileBytes(FilePath()); }
    void MakeFolder() { (void)m_file.Save({}); }
    void WriteBytes(const std::string& bytes)
    {
        MakeFolder();
        KVTest::TemporaryFolder content;
        ASSERT_TRUE(::CopyFileW(content.WriteFile(L"queue", bytes).c_str(), FilePath().c_str(), FALSE));
        m_winApi.calls.clear();
    }
    Requests Load(std::int32_t limit = kDefaultLimit)
    {
        Requests queue;
        m_file.Load(queue, limit);
        return queue;
    }

    MutexApi m_winApi;
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> m_swap{KVWinApi::g_winApi, m_winApi};
    std::wstring m_name = KVTest::UniqueApplicationName();
    CRequestQueueFile m_file{m_name, KVTest::kSampleVersion};
};
} // namespace

// Format.

TEST_F(RequestQueueFileTests, Save_WritesOneLineAnEntryOldestFirstWithLineFeedsOnly)
{
    EXPECT_TRUE(m_file.Save({L"/collect?v=1&z=1#10", L"/collect?v=1&z=2#11"}));
    EXPECT_EQ(Bytes(), "/collect?v=1&z=1#10\n/collect?v=1&z=2#11\n");
}

TEST_F(RequestQueueFileTests, Save_Appends)
{
    EXPECT_TRUE(m_file.Save({L"a", L"b"}));
    EXPECT_TRUE(m_file.Save({L"c"}));
    EXPECT_EQ(Bytes(), "a\nb\nc\n");
}

TEST_F(RequestQueueFileTests, Save_OfNothing_MakesTheFile)
{
    EXPECT_TRUE(m_file.Save({}));
    EXPECT_EQ(Bytes(), "");
}

TEST_F(RequestQueueFileTests, Save_KeepsTheLowByteOfEachCharacter)
{
    EXPECT_TRUE(m_file.Save({L"A\u00E9\u20AC\u0141\uFF80"}));
    EXPECT_EQ(Bytes(), "A\xE9\xAC\x41\x80\n");
}

TEST_F(RequestQueueFileTests, Load_WidensBytesWithTheirSign)
{
    WriteBytes("A\x7F\x80\xE9\xFF\n");
    EXPECT_EQ(Load(), Requests({L"A\u007F\uFF80\uFFE9\uFFFF"}));
}

TEST_F(RequestQueueFileTests, Load_TakesTheLinesInOrderAndEmptiesTheFile)
{
    WriteBytes("first\nsecond\nthird\n");
    EXPECT_EQ(Load(), Requests({L"first", L"second", L"third"}));
    EXPECT_EQ(Bytes(), "");
}

TEST_F(RequestQueueFileTests, Load_AppendsToTheQueue)
{
    WriteBytes("old\n");
    Requests queue = {L"new"};
    m_file.Load(queue, kDefaultLimit);
    EXPECT_EQ(queue, Requests({L"new", L"old"}));
}

TEST_F(RequestQueueFileTests, Load_SkipsEmptyLines)
{
    WriteBytes("\n\na\n\n\nb\n\n");
    EXPECT_EQ(Load(), Requests({L"a", L"b"}));
}

TEST_F(RequestQueueFileTests, Load_KeepsCarriageReturns)
{
    WriteBytes("a\r\n\r\nb\rc\n");
    EXPECT_EQ(Load(), Requests({L"a\r", L"\r", L"b\rc"}));
}

TEST_F(RequestQueueFileTests, Load_TakesALastLineWithoutLineFeed)
{
    WriteBytes("a\nb");
    EXPECT_EQ(Load(), Requests({L"a", L"b"}));
    EXPECT_EQ(Bytes(), "");
}

TEST_F(RequestQueueFileTests, Load_KeepsZerosAndControlCharacters)
{
    WriteBytes(std::string("a\0b\x1A\x01\n", 6));
    EXPECT_EQ(Load(), Requests({std::wstring(L"a\0b\x1A\x01", 5)}));
}

TEST_F(RequestQueueFileTests, Save_AfterHalfALine_StartsALineOfItsOwn)
{
    WriteBytes("a\nhalf");
    EXPECT_TRUE(m_file.Save({L"b"}));
    EXPECT_EQ(Bytes(), "a\nhalf\nb\n");
}

TEST_F(RequestQueueFileTests, Save_OfNothingAfterHalfALine_LeavesTheFile)
{
    WriteBytes("half");
    EXPECT_TRUE(m_file.Save({}));
    EXPECT_EQ(Bytes(), "half");
}

// Limits.

TEST_F(RequestQueueFileTests, Load_OfSixHundredLines_TakesFiveHundredAndEmptiesTheFile)
{
    std::string bytes;
    Requests expected;
    for (int i = 0; i < 600; ++i)
    {
        bytes += "hit" + std::to_string(i) + "\n";
        if (i < 500)
        {
            expected.push_back(L"hit" + std::to_wstring(i));
        }
    }
    WriteBytes(bytes);
    EXPECT_EQ(Load(), expected);
    EXPECT_EQ(Bytes(), "");
}

TEST_F(RequestQueueFileTests, Load_CountsWhatTheQueueHoldsAlready)
{
    WriteBytes("a\nb\nc\n");
    Requests queue = {L"x", L"y"};
    m_file.Load(queue, 3);
    EXPECT_EQ(queue, Requests({L"x", L"y", L"a"}));
    EXPECT_EQ(Bytes(), "");
}

TEST_F(RequestQueueFileTests, Load_IntoAFullQueue_DiscardsAll)
{
    WriteBytes("a\nb\n");
    Requests queue = {L"x"};
    m_file.Load(queue, 1);
    EXPECT_EQ(queue, Requests({L"x"}));
    EXPECT_EQ(Bytes(), "");
}

TEST_F(RequestQueueFileTests, Load_WithoutRoom_TakesNothing)
{
    WriteBytes("a\n");
    EXPECT_EQ(Load(-1), Requests());
    EXPECT_EQ(Bytes(), "");
}

TEST_F(RequestQueueFileTests, Save_ToAFileOfOneMebibyte_WritesNothing)
{
    const std::string before = std::string(kFullSize - 1, 'x') + "\n";
    WriteBytes(before);
    EXPECT_FALSE(m_file.Save({L"a"}));
    EXPECT_EQ(Bytes(), before);
}

TEST_F(RequestQueueFileTests, Save_ToAFileOfOneByteLess_AppendsAllHoweverMuch)
{
    const std::string before = std::string(kFullSize - 2, 'x') + "\n";
    WriteBytes(before);
    const std::wstring large(kFullSize, L'y');
    EXPECT_TRUE(m_file.Save({L"a", large}));
    EXPECT_EQ(Bytes(), before + "a\n" + std::string(kFullSize, 'y') + "\n");
}

TEST_F(RequestQueueFileTests, Load_OfLinesOfOneMebibyte)
{
    WriteBytes(std::string(kFullSize, 'x') + "\n" + std::string(kFullSize, 'y') + "\n");
    EXPECT_EQ(Load(), Requests({std::wstring(kFullSize, L'x'), std::wstring(kFullSize, L'y')}));
}

TEST_F(RequestQueueFileTests, Load_OfManyLines)
{
#if defined(_GLIBCXX_DEBUG) // a checked build also checks its heap, which takes minutes for so many blocks
    constexpr int kLines = 2000;
#else
    constexpr int kLines = 100000;
#endif
    std::string bytes;
    for (int i = 0; i < kLines; ++i)
    {
        bytes += std::to_string(i) + "\n";
    }
    WriteBytes(bytes);
    const Requests queue = Load(kLines);
    ASSERT_EQ(queue.size(), static_cast<std::size_t>(kLines));
    int expected = 0;
    for (const std::wstring& entry : queue)
    {
        ASSERT_EQ(entry, std::to_wstring(expected++));
    }
    EXPECT_EQ(Bytes(), "");
}

// Names and mutex.

TEST_F(RequestQueueFileTests, Mutex_NewOne_IsOwnedFromTheStartReleasedAndClosed)
{
    (void)m_file.Save({L"a"});
    EXPECT_EQ(m_winApi.calls, std::vector<std::wstring>({L"create Statlet_" + m_name + KVTest::kSampleVersion + L" 1",
                                                         L"release", L"close"}));
    m_winApi.calls.clear();
    Load();
    EXPECT_EQ(m_winApi.calls, std::vector<std::wstring>({L"create Statlet_" + m_name + KVTest::kSampleVersion + L" 1",
                                                         L"release", L"close"}));
}

TEST_F(RequestQueueFileTests, Mutex_ExistingOne_IsWaitedForThirtySeconds)
{
    m_winApi.exists = true;
    EXPECT_TRUE(m_file.Save({L"a"}));
    EXPECT_EQ(m_winApi.calls, std::vector<std::wstring>({L"create Statlet_" + m_name + KVTest::kSampleVersion + L" 1",
                                                         L"wait 30000", L"release", L"close"}));
}

TEST_F(RequestQueueFileTests, Mutex_AnEarlierLastError_IsNotTakenForAnExistingOne)
{
    // The last call before the mutex is made.
    class DisturbingApi : public KVWinApi::CKernelApi
    {
    public:
        int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR text, int size, LPWSTR wide, int wideSize) override
        {
            const int length = CKernelApi::MultiByteToWideChar(codePage, flags, text, size, wide, wideSize);
            ::SetLastError(ERROR_ALREADY_EXISTS);
            return length;
        }
    };
    DisturbingApi kernelApi;
    const KVTest::ScopedSubstitute<KVWinApi::IKernelApi> swap{KVWinApi::g_kernelApi, kernelApi};
    EXPECT_TRUE(m_file.Save({L"a"}));
    EXPECT_EQ(m_winApi.calls.size(), 3U);
}

TEST_F(RequestQueueFileTests, Mutex_ThatCannotBeCreated_LeavesTheFile)
{
    WriteBytes("a\n");
    m_winApi.createFails = true;
    EXPECT_FALSE(m_file.Save({L"b"}));
    EXPECT_EQ(Load(), Requests());
    EXPECT_EQ(Bytes(), "a\n");
    EXPECT_EQ(std::count(m_winApi.calls.begin(), m_winApi.calls.end(), L"close"), 0);
}

TEST_F(RequestQueueFileTests, Mutex_HeldByAnother_LeavesTheFileAndIsClosedUnreleased)
{
    WriteBytes("a\n");
    m_winApi.exists = true;
    m_winApi.waitResult = WAIT_TIMEOUT;
    EXPECT_FALSE(m_file.Save({L"b"}));
    EXPECT_EQ(m_winApi.calls, std::vector<std::wstring>({L"create Statlet_" + m_name + KVTest::kSampleVersion + L" 1",
                                                         L"wait 30000", L"close"}));
    EXPECT_EQ(Load(), Requests());
    EXPECT_EQ(Bytes(), "a\n");
}

TEST_F(RequestQueueFileTests, Mutex_WaitThatFails_LeavesTheFile)
{
    WriteBytes("a\n");
    m_winApi.exists = true;
    m_winApi.waitResult = WAIT_FAILED;
    EXPECT_FALSE(m_file.Save({L"b"}));
    EXPECT_EQ(Load(), Requests());
    EXPECT_EQ(Bytes(), "a\n");
}

TEST_F(RequestQueueFileTests, Mutex_AbandonedByADeadThread_CountsAsObtained)
{
    WriteBytes("a\n");
    const std::wstring name = L"Statlet_" + m_name + KVTest::kSampleVersion;
    const HANDLE keepsItAlive = ::CreateMutexW(nullptr, FALSE, name.c_str());
    std::thread([keepsItAlive] { ::WaitForSingleObject(keepsItAlive, INFINITE); }).join();
    EXPECT_TRUE(m_file.Save({L"b"}));
    std::thread([keepsItAlive] { ::WaitForSingleObject(keepsItAlive, INFINITE); }).join();
    EXPECT_EQ(Load(), Requests({L"a", L"b"}));
    ::CloseHandle(keepsItAlive);
}

TEST_F(RequestQueueFileTests, Mutex_HeldByAnotherThread_IsWaitedForUntilItIsFree)
{
    const std::wstring name = L"Statlet_" + m_name + KVTest::kSampleVersion;
    const HANDLE mutex = ::CreateMutexW(nullptr, TRUE, name.c_str());
    bool saved = false;
    std::thread saver([this, &saved] { saved = m_file.Save({L"a"}); });
    ::Sleep(50); // so that the other thread usually waits; the outcome does not depend on it
    EXPECT_FALSE(FileExists());
    ::ReleaseMutex(mutex);
    saver.join();
    EXPECT_TRUE(saved);
    EXPECT_EQ(Bytes(), "a\n");
    ::CloseHandle(mutex);
}

TEST_F(RequestQueueFileTests, NoNameOrNoVersion_UsesNoFile)
{
    Requests queue;
    EXPECT_FALSE(CRequestQueueFile(L"", KVTest::kSampleVersion).Save({L"a"}));
    EXPECT_FALSE(CRequestQueueFile(m_name, L"").Save({L"a"}));
    CRequestQueueFile(L"", KVTest::kSampleVersion).Load(queue, kDefaultLimit);
    CRequestQueueFile(m_name, L"").Load(queue, kDefaultLimit);
    EXPECT_TRUE(queue.empty());
    EXPECT_EQ(::GetFileAttributesW(m_winApi.localFolder.PathOf(L"Norvik").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(RequestQueueFileTests, Folder_IsLookedForOnce)
{
    EXPECT_TRUE(m_file.Save({L"a"}));
    EXPECT_EQ(Load(), Requests({L"a"}));
    EXPECT_TRUE(m_file.Save({L"b"}));
    EXPECT_EQ(m_winApi.shellCalls, 1);
}

TEST_F(RequestQueueFileTests, FolderThatTheShellDoesNotKnowYet_IsLookedForAgain)
{
    m_winApi.shellAnswers = false;
    EXPECT_FALSE(m_file.Save({L"a"}));
    m_winApi.shellAnswers = true;
    EXPECT_TRUE(m_file.Save({L"b"}));
    EXPECT_EQ(Bytes(), "b\n");
}

TEST_F(RequestQueueFileTests, FolderThatHasGone_IsMadeAgainBySave)
{
    EXPECT_TRUE(m_file.Save({L"a"}));
    ASSERT_TRUE(::DeleteFileW(FilePath().c_str()));
    ASSERT_TRUE(::RemoveDirectoryW(FolderPath().c_str()));
    EXPECT_EQ(Load(), Requests());
    EXPECT_TRUE(m_file.Save({L"b"}));
    EXPECT_EQ(Bytes(), "b\n");
}

TEST_F(RequestQueueFileTests, Path_IsNarrowedToLowBytes)
{
    BadDiskApi kernelApi;
    KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernelApi);
    // U+0141 has the low byte of "A".
    EXPECT_FALSE(CRequestQueueFile(m_name + L"\u0141", KVTest::kSampleVersion).Save({L"a"}));
    ASSERT_FALSE(kernelApi.opened.empty());
    for (const BadDiskApi::Opening& opening : kernelApi.opened)
    {
        EXPECT_EQ(opening.name,
                  m_winApi.DataFolder(m_name + L"A", KVTest::kSampleVersion) + L"Statlet_RequestQueue.txt");
    }
}

// Damaged surroundings.

TEST_F(RequestQueueFileTests, Load_OfAMissingFile_TakesNothingAndMakesNone)
{
    EXPECT_EQ(Load(), Requests());
    EXPECT_FALSE(FileExists());
}

TEST_F(RequestQueueFileTests, Load_OfAnEmptyFile_TakesNothing)
{
    WriteBytes("");
    EXPECT_EQ(Load(), Requests());
}

TEST_F(RequestQueueFileTests, FolderInPlaceOfTheFile_IsNoFile)
{
    MakeFolder();
    ASSERT_TRUE(::DeleteFileW(FilePath().c_str()));
    ASSERT_TRUE(::CreateDirectoryW(FilePath().c_str(), nullptr));
    EXPECT_FALSE(m_file.Save({L"a"}));
    EXPECT_EQ(Load(), Requests());
}

TEST_F(RequestQueueFileTests, FileHeldExclusively_StaysAsItIs)
{
    WriteBytes("a\n");
    const HANDLE holder =
        ::CreateFileW(FilePath().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(holder, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(m_file.Save({L"b"}));
    EXPECT_EQ(Load(), Requests());
    ::CloseHandle(holder);
    EXPECT_EQ(Bytes(), "a\n");
}

TEST_F(RequestQueueFileTests, FileThatCanBeReadButNotEmptied_LoadsNothingAndStays)
{
    WriteBytes("a\n");
    const HANDLE holder = ::CreateFileW(FilePath().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(holder, INVALID_HANDLE_VALUE);
    EXPECT_EQ(Load(), Requests());
    EXPECT_FALSE(m_file.Save({L"b"}));
    ::CloseHandle(holder);
    EXPECT_EQ(Bytes(), "a\n");
}

TEST_F(RequestQueueFileTests, ReadOnlyFile_LoadsNothingAndStays)
{
    WriteBytes("a\n");
    BadDiskApi kernelApi;
    KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernelApi);
    kernelApi.refusedDisposition = OPEN_EXISTING;
    EXPECT_EQ(Load(), Requests());
    kernelApi.refusedDisposition = OPEN_ALWAYS;
    EXPECT_FALSE(m_file.Save({L"b"}));
    EXPECT_EQ(Bytes(), "a\n");
}

TEST_F(RequestQueueFileTests, SizeThatCannotBeMeasured_WritesNothing)
{
    WriteBytes("a\n");
    BadDiskApi kernelApi;
    kernelApi.failingSizes = BadDiskApi::kAlways;
    KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernelApi);
    EXPECT_FALSE(m_file.Save({L"b"}));
    EXPECT_EQ(Bytes(), "a\n");
}

TEST_F(RequestQueueFileTests, Save_IsOneWrite)
{
    BadDiskApi kernelApi;
    KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernelApi);
    EXPECT_TRUE(m_file.Save(Requests(500, std::wstring(400, L'x'))));
    EXPECT_EQ(kernelApi.writes, 1);
}

// 500 hits of 2000 characters: more than three pieces of 256 KiB.
TEST_F(RequestQueueFileTests, Save_OfALargeQueue_WritesWholeLinesAtATime)
{
    BadDiskApi kernelApi;
    KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernelApi);
    WriteBytes("half");
    Requests queue;
    std::string expected = "half\n";
    for (int i = 0; i < 500; ++i)
    {
        queue.push_back(std::to_wstring(i) + std::wstring(2000, L'x'));
        expected += std::to_string(i) + std::string(2000, 'x') + "\n";
    }
    EXPECT_TRUE(m_file.Save(queue));
    EXPECT_TRUE(Bytes() == expected); // no megabyte of text in a failure
    EXPECT_EQ(kernelApi.lastBytes, "\n\n\n\n");
}

TEST_F(RequestQueueFileTests, Save_OfALineLongerThanAPiece_IsOneWriteForTheLine)
{
    BadDiskApi kernelApi;
    KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernelApi);
    WriteBytes("half");
    EXPECT_TRUE(m_file.Save({std::wstring(300000, L'x'), L"a", L"b", std::wstring(300000, L'y')}));
    EXPECT_TRUE(Bytes() == "half\n" + std::string(300000, 'x') + "\na\nb\n" + std::string(300000, 'y') + "\n");
    EXPECT_EQ(kernelApi.lastBytes, "\n\n\n");
}

TEST_F(RequestQueueFileTests, FullDisk_LeavesTheFileAsItWas)
{
    WriteBytes("a\n");
    BadDiskApi kernelApi;
    KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernelApi);
    kernelApi.shortWrites = BadDiskApi::kAlways;
    kernelApi.roomOfShortWrites = 3;
    EXPECT_FALSE(m_file.Save({L"torn line"}));
    EXPECT_EQ(Bytes(), "a\n");
    kernelApi.failsWhenFull = true;
    EXPECT_FALSE(m_file.Save({L"torn line"}));
    EXPECT_EQ(Bytes(), "a\n");
}

// What fails some times in a row. Measured by three: no system call that fails so often loses a hit.

namespace
{
constexpr int kFailures = 3;

class QueueFileRetryTests : public RequestQueueFileTests
{
protected:
    QueueFileRetryTests() { WriteBytes("a\nhalf"); }
    void ExpectSaves()
    {
        EXPECT_TRUE(m_file.Save({L"b", L"c"}));
        EXPECT_EQ(Bytes(), "a\nhalf\nb\nc\n");
    }

    BadDiskApi m_kernelApi;
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_swapKernelApi{KVWinApi::g_kernelApi, m_kernelApi};
};
} // namespace

TEST_F(QueueFileRetryTests, Save_WithAMutexThatCannotBeMade)
{
    m_winApi.failingCreations = kFailures;
    ExpectSaves();
}

TEST_F(QueueFileRetryTests, Save_WithAMutexThatCannotBeWaitedFor)
{
    m_winApi.exists = true;
    m_winApi.failingWaits = kFailures;
    ExpectSaves();
}

TEST_F(QueueFileRetryTests, Save_WithAFileThatCannotBeOpened)
{
    m_kernelApi.failingOpenings = kFailures;
    ExpectSaves();
    EXPECT_TRUE(m_kernelApi.sleeps.empty());
}

TEST_F(QueueFileRetryTests, Save_WithAFolderThatWasRemovedAndCannotBeNamedAtOnce)
{
    ASSERT_TRUE(::DeleteFileW(FilePath().c_str()));
    ASSERT_TRUE(::RemoveDirectoryW(FolderPath().c_str()));
    m_winApi.failingShellCalls = kFailures;
    EXPECT_TRUE(m_file.Save({L"b"}));
    EXPECT_EQ(Bytes(), "b\n");
}

TEST_F(QueueFileRetryTests, Save_WithAFolderThatIsFoundLate)
{
    m_winApi.failingShellCalls = kFailures;
    EXPECT_TRUE(CRequestQueueFile(m_name, KVTest::kSampleVersion).Save({L"b"}));
    EXPECT_EQ(Bytes(), "a\nhalf\nb\n");
}

TEST_F(QueueFileRetryTests, Save_WithAFileThatCannotBeMeasured)
{
    m_kernelApi.failingSizes = kFailures;
    ExpectSaves();
}

TEST_F(QueueFileRetryTests, Save_WithAFileThatCannotBeLookedAt)
{
    const FailingImport<decltype(::GetFileInformationByHandleEx)> patch(__imp_GetFileInformationByHandleEx, kFailures);
    ExpectSaves();
    EXPECT_EQ(patch.GetFailuresLeft(), 0);
}

TEST_F(QueueFileRetryTests, Save_WithAPositionThatCannotBeSet)
{
    const FailingImport<decltype(::SetFilePointerEx)> patch(__imp_SetFilePointerEx, kFailures);
    EXPECT_TRUE(m_file.Save({L"b", L"c"}));
    EXPECT_EQ(Bytes(), "a\nhalf\nb\nc\n");
    EXPECT_EQ(patch.GetFailuresLeft(), 0);
}

TEST_F(QueueFileRetryTests, Save_WithALastByteThatCannotBeRead)
{
    const FailingImport<decltype(::ReadFile)> patch(__imp_ReadFile, kFailures);
    ExpectSaves();
}

TEST_F(QueueFileRetryTests, Save_WithWritesThatFail)
{
    m_kernelApi.shortWrites = kFailures;
    m_kernelApi.failsWhenFull = true;
    ExpectSaves();
    EXPECT_EQ(m_kernelApi.writes, kFailures + 1);
}

TEST_F(QueueFileRetryTests, Save_WithALaterPieceThatFails_TakesTheEarlierOnesBack)
{
    m_kernelApi.fullWrites = 2;
    m_kernelApi.shortWrites = BadDiskApi::kAlways;
    EXPECT_FALSE(m_file.Save(Requests(500, std::wstring(2000, L'x'))));
    EXPECT_EQ(Bytes(), "a\nhalf");
}

TEST_F(QueueFileRetryTests, Save_WithALaterPieceThatFailsAtFirst_WritesAllOnce)
{
    m_kernelApi.fullWrites = 2;
    m_kernelApi.shortWrites = 1;
    EXPECT_TRUE(m_file.Save({std::wstring(300000, L'x'), std::wstring(300000, L'y'), L"a"}));
    EXPECT_TRUE(Bytes() == "a\nhalf\n" + std::string(300000, 'x') + "\n" + std::string(300000, 'y') + "\na\n");
}

TEST_F(QueueFileRetryTests, Save_WithHalfAWriteThatCannotBeTakenBack_WritesOverIt)
{
    m_kernelApi.shortWrites = 1;
    m_kernelApi.roomOfShortWrites = 2;
    const FailingImport<decltype(::SetEndOfFile)> patch(__imp_SetEndOfFile, BadDiskApi::kAlways);
    ExpectSaves();
}

TEST_F(QueueFileRetryTests, Save_WithHalfAWriteOnly_TakesItBackThoughThatFailsAtFirst)
{
    m_kernelApi.shortWrites = BadDiskApi::kAlways;
    m_kernelApi.roomOfShortWrites = 2;
    const FailingImport<decltype(::SetEndOfFile)> patch(__imp_SetEndOfFile, kFailures);
    EXPECT_FALSE(m_file.Save({L"b"}));
    EXPECT_EQ(Bytes(), "a\nhalf");
}

TEST_F(QueueFileRetryTests, SharingViolation_IsTriedAgainEveryThirtyMilliseconds)
{
    m_kernelApi.failingOpenings = kFailures;
    m_kernelApi.openError = ERROR_SHARING_VIOLATION;
    ExpectSaves();
    EXPECT_EQ(m_kernelApi.sleeps, std::vector<DWORD>({30, 30, 30}));
}

TEST_F(QueueFileRetryTests, SharingViolation_OfALoad_IsTriedAgainFor120Milliseconds)
{
    m_kernelApi.openError = ERROR_SHARING_VIOLATION;
    m_kernelApi.failingOpenings = BadDiskApi::kAlways;
    EXPECT_EQ(Load(), Requests());
    EXPECT_EQ(m_kernelApi.sleeps, std::vector<DWORD>({30, 30, 30, 30}));
    m_kernelApi.failingOpenings = 4;
    EXPECT_EQ(Load(), Requests({L"a", L"half"}));
    EXPECT_EQ(Bytes(), "");
}

TEST_F(QueueFileRetryTests, SharingViolation_OfASave_IsTriedAgainForBoundedTime)
{
    m_kernelApi.openError = ERROR_SHARING_VIOLATION;
    m_kernelApi.failingOpenings = BadDiskApi::kAlways;
    EXPECT_FALSE(m_file.Save({L"b"}));
    EXPECT_GE(m_kernelApi.sleeps.size(), 4U);
    EXPECT_LE(m_kernelApi.sleeps.size(), 16U);
    EXPECT_EQ(Bytes(), "a\nhalf");
}

// Whatever fails while the file is loaded: the hits are in the file or in the queue, never in neither and never in
// both.
TEST_F(QueueFileRetryTests, Load_WithACallThatFails_LeavesTheFileOrTakesTheHits)
{
    const auto expectKept = [this] {
        const Requests queue = Load();
        EXPECT_EQ(Bytes(), queue.empty() ? "a\nhalf" : "");
        EXPECT_EQ(queue, queue.empty() ? Requests() : Requests({L"a", L"half"}));
    };
    {
        const FailingImport<decltype(::GetFileInformationByHandleEx)> patch(__imp_GetFileInformationByHandleEx, 1);
        expectKept();
    }
    {
        const FailingImport<decltype(::ReadFile)> patch(__imp_ReadFile, 1);
        expectKept();
    }
    {
        const FailingImport<decltype(::SetFilePointerEx)> patch(__imp_SetFilePointerEx, 1);
        expectKept();
    }
    {
        const FailingImport<decltype(::SetEndOfFile)> patch(__imp_SetEndOfFile, 1);
        expectKept();
    }
    EXPECT_EQ(Bytes(), "a\nhalf"); // none of them could take the hits
    EXPECT_EQ(Load(), Requests({L"a", L"half"}));
}

// Zeros, which a power failure leaves in place of the bytes written last.

TEST_F(RequestQueueFileTests, Load_SkipsLinesThatBeginWithZero)
{
    using namespace std::string_literals;
    WriteBytes("a\n\0\0\0\n\0rest of a hit\nb\n\0"s);
    EXPECT_EQ(Load(), Requests({L"a", L"b"}));
    EXPECT_EQ(Bytes(), "");
}

TEST_F(RequestQueueFileTests, Load_SkipsZerosLongerThanWhatIsReadAtATime)
{
    WriteBytes("a\n" + std::string(200000, '\0') + "rest\nb\n" + std::string(70000, '\0'));
    EXPECT_EQ(Load(), Requests({L"a", L"b"}));
}

TEST_F(RequestQueueFileTests, Load_CountsNoLineOfZeros)
{
    using namespace std::string_literals;
    WriteBytes("\0\na\n\0\nb\n"s);
    EXPECT_EQ(Load(2), Requests({L"a", L"b"}));
}

// Links. The system that the tests run on may follow a link whatever the flags, so both halves are tested: how the file
// is opened, and what happens to a file that turns out to be a link.

TEST_F(RequestQueueFileTests, File_IsOpenedItselfAndNeverEmptiedByOpening)
{
    WriteBytes("a\n");
    BadDiskApi kernelApi;
    KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernelApi);
    EXPECT_EQ(Load(), Requests({L"a"}));
    EXPECT_TRUE(m_file.Save({L"b"}));
    ASSERT_EQ(kernelApi.opened.size(), 2U);
    EXPECT_EQ(kernelApi.opened[0].disposition, static_cast<DWORD>(OPEN_EXISTING));
    EXPECT_EQ(kernelApi.opened[1].disposition, static_cast<DWORD>(OPEN_ALWAYS));
    for (const BadDiskApi::Opening& opening : kernelApi.opened)
    {
        EXPECT_NE(opening.flags & FILE_FLAG_OPEN_REPARSE_POINT, 0U);
    }
}

TEST_F(RequestQueueFileTests, Link_IsNeitherLoadedNorEmptiedNorWritten)
{
    WriteBytes("a\n");
    {
        const LinkPatch patch;
        EXPECT_EQ(Load(), Requests());
        EXPECT_EQ(Bytes(), "a\n");
        EXPECT_FALSE(m_file.Save({L"b"}));
        EXPECT_EQ(Bytes(), "a\n");
    }
    EXPECT_EQ(Load(), Requests({L"a"}));
}

// The turn at the file.

namespace
{
// Notes when the file is opened and closed, among the calls of the mutex.
class FileOrderApi : public KVWinApi::CKernelApi
{
public:
    explicit FileOrderApi(std::vector<std::wstring>& calls) : m_calls(calls) {}

    HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES attributes, DWORD disposition,
                       DWORD flags, HANDLE model) override
    {
        m_calls.emplace_back(L"open file");
        return CKernelApi::CreateFileW(name, access, share, attributes, disposition, flags, model);
    }
    BOOL CloseHandle(HANDLE handle) override
    {
        m_calls.emplace_back(L"close file");
        return CKernelApi::CloseHandle(handle);
    }

private:
    std::vector<std::wstring>& m_calls;
};
} // namespace

TEST_F(RequestQueueFileTests, Mutex_IsHeldAsLongAsTheFileIsOpen)
{
    FileOrderApi kernelApi(m_winApi.calls);
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> swap(KVWinApi::g_kernelApi, kernelApi);
    const std::vector<std::wstring> expected = {L"create Statlet_" + m_name + KVTest::kSampleVersion + L" 1",
                                                L"open file", L"close file", L"release", L"close"};
    EXPECT_TRUE(m_file.Save({L"a"}));
    EXPECT_EQ(m_winApi.calls, expected);
    m_winApi.calls.clear();
    EXPECT_EQ(Load(), Requests({L"a"}));
    EXPECT_EQ(m_winApi.calls, expected);
}

// Against a model written in the simplest way.

namespace
{
struct ModelFile
{
    bool exists = false;
    std::string bytes;

    bool Save(const Requests& requests)
    {
        exists = true;
        if (bytes.size() >= kFullSize)
        {
            return false;
        }
        std::string added;
        for (const std::wstring& request : requests)
        {
            for (const wchar_t unit : request)
            {
                added.push_back(static_cast<char>(unit % 256));
            }
            added.push_back('\n');
        }
        if (!added.empty() && !bytes.empty() && bytes.back() != '\n')
        {
            bytes.push_back('\n');
        }
        bytes += added;
        return true;
    }

    void Load(Requests& queue, std::int32_t limit)
    {
        std::wstring line;
        const auto endLine = [&] {
            if (!line.empty() && line[0] != 0 && static_cast<std::int64_t>(queue.size()) < limit)
            {
                queue.push_back(line);
            }
            line.clear();
        };
        for (const char byte : bytes)
        {
            if (byte == '\n')
            {
                endLine();
                continue;
            }
            const int value = static_cast<unsigned char>(byte);
            line.push_back(static_cast<wchar_t>(value < 128 ? value : 65536 - 256 + value));
        }
        endLine();
        bytes.clear();
    }
};

class Dice
{
public:
    explicit Dice(unsigned seed) : m_engine(seed) {}
    unsigned Below(unsigned count) { return static_cast<unsigned>(m_engine() % count); }

private:
    std::mt19937 m_engine; // the same everywhere, unlike the distributions
};

std::wstring RandomRequest(Dice& dice)
{
    static constexpr wchar_t kOdd[] = {L'\n', L'\r', L'\0',  L'#',   L'&',   0x7F,   0x80,
                                       0xFF,  0x10A, 0x20AC, 0xFF80, 0xFFFF, 0xD83D, L'='};
    std::wstring request;
    const unsigned kind = dice.Below(100);
    const unsigned length = kind < 5 ? 0 : kind < 98 ? dice.Below(60) : dice.Below(70000);
    for (unsigned i = 0; i < length; ++i)
    {
        request += dice.Below(4) == 0 ? kOdd[dice.Below(std::size(kOdd))] : static_cast<wchar_t>(L' ' + dice.Below(95));
    }
    return request;
}

std::string RandomBytes(Dice& dice)
{
    std::string bytes;
    const unsigned kind = dice.Below(100);
    const std::size_t size = kind < 1 ? kFullSize - 2 + dice.Below(4) : kind < 5 ? dice.Below(200000) : dice.Below(300);
    while (bytes.size() < size)
    {
        bytes.push_back(dice.Below(8) == 0 ? '\n' : static_cast<char>(static_cast<unsigned char>(dice.Below(256))));
    }
    return bytes;
}

class RequestQueueFileModelTests : public RequestQueueFileTests, public testing::WithParamInterface<unsigned>
{
};
} // namespace

// 1250 steps for each of eight seeds: saves, loads with any limit, and files of other writers.
TEST_P(RequestQueueFileModelTests, RandomHistory_IsThatOfTheModel)
{
    constexpr int kSteps = 1250;
    Dice dice(GetParam());
    ModelFile model;
    KVTest::TemporaryFolder content;
    for (int step = 0; step < kSteps; ++step)
    {
        SCOPED_TRACE(step);
        const unsigned action = dice.Below(10);
        if (action == 0)
        {
            model.bytes = RandomBytes(dice);
            model.exists = true;
            MakeFolder();
            ASSERT_TRUE(::CopyFileW(content.WriteFile(L"f", model.bytes).c_str(), FilePath().c_str(), FALSE));
        }
        else if (action < 6)
        {
            Requests requests;
            for (unsigned count = dice.Below(6); count > 0; --count)
            {
                requests.push_back(RandomRequest(dice));
            }
            ASSERT_EQ(m_file.Save(requests), model.Save(requests));
        }
        else
        {
            Requests queue(dice.Below(3), L"queued");
            Requests expected = queue;
            const auto limit = static_cast<std::int32_t>(dice.Below(2) == 0 ? 500 : dice.Below(8));
            m_file.Load(queue, limit);
            model.Load(expected, limit);
            ASSERT_EQ(queue, expected);
        }
        ASSERT_EQ(FileExists(), model.exists);
        if (model.exists)
        {
            ASSERT_TRUE(Bytes() == model.bytes); // no megabytes of text in a failure
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RequestQueueFileModelTests, testing::Range(1U, 9U));
