#include "logging/file/LogFile.h"

#include <windows.h>

#include <shlobj.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <set>
#include <sstream>
#include <thread>

#include "logging/line/HeaderBlock.h"
#include "logging/system/ModulePath.h"
#include "tests/logging/LogTest.h"
#include "tests/logging/SystemCallPatches.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/DebugOutputCapture.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/LoaderPatch.h"
#include "tests/support/Narrow.h"
#include "winapi/base/SystemHandles.h"

namespace
{
using namespace KVLogging;
using KVTest::FileExists;
using KVTest::HeldFile;
using KVTest::Lines;
using KVWinApi::CUniqueSystemHandle;
using testing::IsEmpty;

const CLogSourceFile s_logFileTests(L"LogFileTests.cpp");

constexpr wchar_t kQueueStart[] = L"--- Queued Lines Start ---";
constexpr wchar_t kQueueEnd[] = L"--- Queued Lines End ---";
constexpr wchar_t kLimitReached[] = L"*** FILE SIZE LIMIT REACHED, LOGGING DISABLED FOR Test MODULE ***";

class LogFileTests : public KVTest::LogTest
{
protected:
    void LogInScope(const wchar_t* text)
    {
        CLogFunction scope(&Module(), s_logFileTests, L"Class::Method", 1);
        scope.LogString(kLogInfo, 2, text);
    }

    // "(I0) xxx..." with its line end takes that many bytes.
    static std::wstring TextOfLine(std::size_t lineBytes)
    {
        constexpr std::size_t kTagAndLineEnd = 7;
        return std::wstring(lineBytes / sizeof(wchar_t) - kTagAndLineEnd, L'x');
    }

    std::vector<std::wstring> FilesInFolder() const
    {
        std::vector<std::wstring> names;
        WIN32_FIND_DATAW found{};
        const HANDLE search = ::FindFirstFileW(m_folder.PathOf(L"*").c_str(), &found);
        for (BOOL more = search != INVALID_HANDLE_VALUE; more != FALSE; more = ::FindNextFileW(search, &found))
        {
            if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            {
                names.emplace_back(found.cFileName);
            }
        }
        ::FindClose(search);
        return names;
    }
};

// What a file holds.

TEST_F(LogFileTests, File_IsUtf16WithoutByteOrderMarkAndWithCrLf)
{
    const std::wstring path = UseFile(0x10);
    Log(0x10, L"A\u0416");
    EXPECT_EQ(KVTest::ReadFileBytes(path), std::string("(\0I\0000\0)\0 \0A\0\x16\x04\r\0\n\0", 18));
}

TEST_F(LogFileTests, File_ExistingText_IsAppendedTo)
{
    m_folder.WriteFile(L"trace.log", std::string("o\0l\0d\0\r\0\n\0", 10));
    UseFile(0x10);
    LogInScope(L"new");
    EXPECT_EQ(ReadLog(), L"old\r\n(I0) new\r\n");
}

TEST_F(LogFileTests, File_IsClosedBetweenLines)
{
    const std::wstring path = UseFile(0x10);
    LogInScope(L"one");
    EXPECT_NE(::DeleteFileW(path.c_str()), FALSE);
    LogInScope(L"two");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) two"}));
}

TEST_F(LogFileTests, File_IsNotSharedWhileALineIsWritten)
{
    class OpeningSink : public ILineSink
    {
    public:
        explicit OpeningSink(std::wstring path) : m_path(std::move(path)) {}
        void WriteLine(const wchar_t*, const wchar_t*, const wchar_t*) override
        {
            // Called before the file is opened: now it must be free.
            const HANDLE file = ::CreateFileW(m_path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
            wasFree = file != INVALID_HANDLE_VALUE;
            ::CloseHandle(file);
        }
        bool wasFree = false;

    private:
        std::wstring m_path;
    };
    const std::wstring path = UseFile(0x10);
    LogInScope(L"one");
    OpeningSink sink(path);
    Module().AttachLineSink(&sink);
    Log(0x10, L"two");
    EXPECT_TRUE(sink.wasFree);
    const CLogFile file(path, OPEN_ALWAYS);
    ASSERT_TRUE(file.IsOpen());
    for (const DWORD access : std::initializer_list<DWORD>{GENERIC_READ, GENERIC_WRITE})
    {
        EXPECT_EQ(
            ::CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr),
            INVALID_HANDLE_VALUE)
            << access;
    }
}

TEST_F(LogFileTests, EmptyMessage_HasNoLineEnd)
{
    UseFile(0x10);
    LogInScope(L"");
    LogInScope(L"line");
    EXPECT_EQ(ReadLog(), L"(I0) (I0) line\r\n");
}

// Opening it.

TEST_F(LogFileTests, Open_RetriesASharingViolationUntilTheFileIsFree)
{
    const std::wstring path = m_folder.WriteFile(L"held.log", "");
    HeldFile held(path);
    std::thread releaser([&] {
        ::Sleep(45);
        held.Release();
    });
    const CLogFile file(path, OPEN_ALWAYS);
    releaser.join();
    EXPECT_TRUE(file.IsOpen());
}

TEST_F(LogFileTests, Open_GivesUpASharingViolationAfter120Ms)
{
    const std::wstring path = m_folder.WriteFile(L"held.log", "");
    const HeldFile held(path);
    const DWORD start = ::GetTickCount();
    const CLogFile file(path, OPEN_ALWAYS);
    const DWORD elapsed = ::GetTickCount() - start;
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.GetOpenError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    EXPECT_GE(elapsed, 100u); // 120 ms, less the granularity of the count
    EXPECT_LT(elapsed, 2000u);
}

TEST_F(LogFileTests, Open_WaitsThirtyMillisecondsBetweenTwoTries)
{
    const std::wstring path = m_folder.WriteFile(L"held.log", "");
    const HeldFile held(path);
    const KVTest::SleepPatch time;
    const CLogFile file(path, OPEN_ALWAYS);
    EXPECT_FALSE(file.IsOpen());
    EXPECT_THAT(KVTest::SleepPatch::GetSleeps(), testing::ElementsAre(30u, 30u, 30u, 30u));
}

TEST_F(LogFileTests, Open_AnyOtherFailure_EndsTheAttemptAtOnce)
{
    const std::wstring path = m_folder.MakeFolder(L"folder.log");
    const DWORD start = ::GetTickCount();
    const CLogFile file(path, OPEN_ALWAYS);
    EXPECT_FALSE(file.IsOpen());
    EXPECT_LT(::GetTickCount() - start, 100u);
    EXPECT_EQ(file.GetOpenError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST_F(LogFileTests, Size_IsTheEndPositionAndGrowsByWhatIsWritten)
{
    CLogFile file(m_folder.WriteFile(L"some.log", "12345"), OPEN_ALWAYS);
    EXPECT_EQ(file.GetSize(), 5u);
    file.Write(L"xy");
    EXPECT_EQ(file.GetSize(), 9u);
    file.Write(L"");
    EXPECT_EQ(file.GetSize(), 9u);
}

TEST_F(LogFileTests, Write_ThatFails_AddsNothingToTheSize)
{
    constexpr wchar_t kFullDevice[] = L"Z:\\dev\\full"; // there is one under Wine
    CLogFile file(kFullDevice, OPEN_EXISTING);
    if (!file.IsOpen())
    {
        GTEST_SKIP() << "no device that is always full: " << file.GetOpenError();
    }
    const std::uint64_t size = file.GetSize();
    file.Write(L"text");
    EXPECT_EQ(file.GetSize(), size);
}

// A link in place of the file. The emulator has no links that its functions report.

TEST_F(LogFileTests, Link_IsNeitherFollowedNorEmptiedAndTheLinesWait)
{
    const std::string oldText("o\0l\0d\0", 6);
    const std::wstring path = m_folder.WriteFile(L"trace.log", oldText);
    UseFile(0x10, 0x10000);
    {
        const KVTest::LinkPatch link(L"trace.log");
        LogInScope(L"one");
        Log(0x10, L"two");
        EXPECT_EQ(KVTest::ReadFileBytes(path), oldText);
    }
    Log(0x10, L"three");
    EXPECT_EQ(ReadLog(), L"old" + Lines({kQueueStart, L"(I0) one", L"(I0) two", kQueueEnd, L"(I0) three"}));
}

// The emulator follows a link whatever the flags, so the test looks at how the file is opened.
TEST_F(LogFileTests, File_IsOpenedItselfAtEachLine)
{
    UseFile(0x10, 0x10000);
    const KVTest::OpeningPatch opening(L"trace.log");
    LogInScope(L"one");
    Log(0x10, L"two");
    const std::vector<KVTest::OpeningPatch::Opening>& openings = KVTest::OpeningPatch::GetOpenings();
    ASSERT_EQ(openings.size(), 3U);
    EXPECT_EQ(openings[0].disposition, static_cast<DWORD>(CREATE_ALWAYS));
    EXPECT_EQ(openings[0].flags, static_cast<DWORD>(FILE_ATTRIBUTE_NORMAL)); // the two exclude each other
    for (std::size_t line = 1; line < openings.size(); ++line)
    {
        EXPECT_EQ(openings[line].disposition, static_cast<DWORD>(OPEN_ALWAYS));
        EXPECT_EQ(openings[line].flags, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT);
    }
}

// A link that takes the place of the file between two lines.
TEST_F(LogFileTests, Link_AfterTheFirstLine_TheLinesWait)
{
    UseFile(0x10);
    LogInScope(L"one");
    {
        const KVTest::LinkPatch link(L"trace.log");
        Log(0x10, L"two");
        EXPECT_EQ(ReadLog(), Lines({L"(I0) one"}));
    }
    Log(0x10, L"three");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) one", kQueueStart, L"(I0) two", kQueueEnd, L"(I0) three"}));
}

TEST_F(LogFileTests, Link_IsReportedAsWhatCannotBeOpened)
{
    const std::wstring path = m_folder.WriteFile(L"linked.log", "");
    const KVTest::LinkPatch link(L"linked.log");
    for (const DWORD disposition : std::initializer_list<DWORD>{OPEN_ALWAYS, CREATE_ALWAYS})
    {
        const CLogFile file(path, disposition);
        EXPECT_FALSE(file.IsOpen());
        EXPECT_EQ(file.GetOpenError(), static_cast<DWORD>(ERROR_CANT_ACCESS_FILE));
    }
}

TEST_F(LogFileTests, SymbolicLinkOfTheSystem_IsNotFollowed)
{
    constexpr DWORD kWithoutPrivilege = 0x2;
    const std::wstring target = m_folder.WriteFile(L"target.txt", "kept");
    const std::wstring path = UseFile(0x10, 0x10000);
    if (::CreateSymbolicLinkW(path.c_str(), target.c_str(), kWithoutPrivilege) == 0 ||
        (::GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
    {
        GTEST_SKIP() << "no symbolic links: " << ::GetLastError();
    }
    LogInScope(L"line");
    EXPECT_EQ(KVTest::ReadFileBytes(target), "kept");
}

// The queue.

TEST_F(LogFileTests, FileHeldByAnotherProcess_LinesWaitFramedInTheQueue)
{
    const std::wstring path = m_folder.WriteFile(L"trace.log", "");
    UseFile(0x10);
    LogInScope(L"before");
    const std::wstring name = L"KVTestHold" + std::to_wstring(::GetCurrentProcessId());
    const CUniqueSystemHandle held(::CreateEventW(nullptr, TRUE, FALSE, (name + L"Held").c_str()));
    const CUniqueSystemHandle release(::CreateEventW(nullptr, TRUE, FALSE, (name + L"Release").c_str()));
    const KVTest::ChildProcess holder(L"\"" + KVTest::PathBesideTest(L"kv_log_writer.exe") + L"\" hold \"" + path +
                                      L"\" " + name);
    ASSERT_EQ(::WaitForSingleObject(held.Get(), 20000), WAIT_OBJECT_0);
    LogInScope(L"one");
    Log(0x10, L"two");
    LogInScope(L"three");
    ::SetEvent(release.Get());
    ASSERT_EQ(holder.WaitForExit(20000), 0u);
    EXPECT_EQ(ReadLog(), Lines({L"(I0) before"}));
    LogInScope(L"after");
    LogInScope(L"last");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) before", kQueueStart, L"(I0) one", L"(I0) two", L"(I0) three", kQueueEnd,
                                L"(I0) after", L"(I0) last"}));
}

TEST_F(LogFileTests, QueuedLine_TellsTheDebugger)
{
    const std::wstring path = m_folder.WriteFile(L"trace.log", "");
    UseFile(0x10);
    LogInScope(L"before");
    const HeldFile held(path);
    KVTest::DebugOutputCapture debugOutput;
    Log(0x10, L"waits");
    // What the module's error text for that code is when the last error is the same code.
    ::SetLastError(ERROR_SHARING_VIOLATION);
    const std::string errorText = KVTest::Narrow(Module().FormatErrorText(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(errorText.substr(0, 18), "[Err: 0x00000020] ");
    std::wstring name = m_folder.PathOf(L"trace.log");
    std::string expected = KVTest::Narrow(name);
    std::string actual = debugOutput.GetText();
    const auto lower = [](char& character) { character = static_cast<char>(::tolower(character)); };
    expected = "Unable to open log file:\r\n<" + expected + ">\r\n" + errorText + "\r\n";
    std::for_each(expected.begin(), expected.end(), lower);
    std::for_each(actual.begin(), actual.end(), lower);
    EXPECT_EQ(actual, expected);
}

TEST_F(LogFileTests, Queue_SeveralTimes_IsFramedEachTime)
{
    const std::wstring path = m_folder.WriteFile(L"trace.log", "");
    UseFile(0x10);
    LogInScope(L"before");
    for (const wchar_t* text : {L"one", L"two"})
    {
        HeldFile held(path);
        Log(0x10, text);
        held.Release();
        Log(0x10, L"drain");
    }
    EXPECT_EQ(ReadLog(), Lines({L"(I0) before", kQueueStart, L"(I0) one", kQueueEnd, L"(I0) drain", kQueueStart,
                                L"(I0) two", kQueueEnd, L"(I0) drain"}));
}

TEST_F(LogFileTests, QueuedEmptyMessage_HasALineEnd)
{
    const std::wstring path = m_folder.WriteFile(L"trace.log", "");
    UseFile(0x10);
    LogInScope(L"before");
    HeldFile held(path);
    Log(0x10, L"");
    held.Release();
    Log(0x10, L"after");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) before", kQueueStart, L"(I0) ", kQueueEnd, L"(I0) after"}));
}

TEST_F(LogFileTests, Queue_AtTheModulesEnd_IsDiscarded)
{
    const std::wstring path = m_folder.WriteFile(L"trace.log", "");
    UseFile(0x10);
    LogInScope(L"before");
    HeldFile held(path);
    Log(0x10, L"discarded");
    held.Release();
    EndModule();
    EXPECT_EQ(ReadLog(), Lines({L"(I0) before"}));
}

TEST_F(LogFileTests, FileHeldAtTheFirstOpening_HeaderAndLinesWaitInTheQueue)
{
    const std::wstring path = m_folder.WriteFile(L"trace.log", "");
    UseFile(0x40000010);
    HeldFile held(path);
    LogInScope(L"one");
    held.Release();
    LogInScope(L"two");
    EXPECT_TRUE(KVTest::Matches(ReadLog(), "--- Queued Lines Start ---\r\n(\\(\\+\\+\\) .*\r\n){6}\\(I0\\) one\r\n"
                                           "--- Queued Lines End ---\r\n\\(I0\\) two\r\n"))
        << KVTest::Narrow(ReadLog());
}

TEST_F(LogFileTests, PathThatCannotBeCreated_LinesWaitAndTheProgramGoesOn)
{
    const std::wstring folder = m_folder.PathOf(L"missing");
    m_registry.SetString(KVTest::BaseKey(), L"LogFileName", folder + L"\\trace.log");
    SetBase(L"LogCategories", 0x10);
    LogInScope(L"one");
    m_folder.MakeFolder(L"missing");
    LogInScope(L"two");
    EXPECT_EQ(ReadLog(L"missing\\trace.log"), Lines({kQueueStart, L"(I0) one", kQueueEnd, L"(I0) two"}));
}

TEST_F(LogFileTests, AbsurdFileNames_TheProgramGoesOnAndAUsableNameIsUsedAgain)
{
    const std::wstring tooLong = L"c:\\" + std::wstring(5000, L'x');
    for (const wchar_t* name : {L"<>|?*", L"\\\\.\\", L"Q:\\x\\y", L"\\\\?\\", L"::", tooLong.c_str()})
    {
        m_registry.SetString(KVTest::BaseKey(), L"LogFileName", name);
        SetBase(L"LogCategories", 0x40000010);
        for (const DWORD options : {0u, 0x30000u})
        {
            SetBase(L"LogOptions", options);
            ::SetLastError(4711);
            LogInScope(L"waits, and is discarded");
            EXPECT_EQ(::GetLastError(), 4711u);
            EndModule();
        }
    }
    UseFile(0x10);
    LogInScope(L"line");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) line"}));
}

// The size limit: bits 0-15 of the options in KiB.

TEST_F(LogFileTests, Limit_LineBelow_IsFollowedByTheNext)
{
    UseFile(0x10, 1);
    LogInScope(TextOfLine(1022).c_str());
    EXPECT_EQ(ReadLog(), Lines({L"(I0) " + TextOfLine(1022)}));
    LogInScope(L"next");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) " + TextOfLine(1022), L"(I0) next"}) + kLimitReached);
}

TEST_F(LogFileTests, Limit_LineThatReachesItExactly_IsTheLast)
{
    UseFile(0x10, 1);
    LogInScope(TextOfLine(1024).c_str());
    LogInScope(L"lost");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) " + TextOfLine(1024)}) + kLimitReached);
}

TEST_F(LogFileTests, Limit_LineAcross_IsWrittenWhole)
{
    UseFile(0x10, 1);
    LogInScope(TextOfLine(1000).c_str());
    LogInScope(TextOfLine(3000).c_str());
    LogInScope(L"lost");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) " + TextOfLine(1000), L"(I0) " + TextOfLine(3000)}) + kLimitReached);
}

TEST_F(LogFileTests, Limit_FileOneByteShortAtFirst_TakesOneLine)
{
    m_folder.WriteFile(L"trace.log", std::string(1023, 'x'));
    const std::wstring path = UseFile(0x10, 1);
    LogInScope(L"last");
    LogInScope(L"lost");
    const std::size_t limitLine = std::size(kLimitReached) - 1;
    EXPECT_EQ(KVTest::ReadFileBytes(path).size(), 1023 + (11 + limitLine) * sizeof(wchar_t));
}

TEST_F(LogFileTests, Limit_FileFullAtFirst_IsLeftAlone)
{
    const std::wstring path = m_folder.WriteFile(L"trace.log", std::string(1024, 'x'));
    UseFile(0x10, 1);
    LogInScope(L"lost");
    LogInScope(L"lost");
    EXPECT_EQ(KVTest::ReadFileBytes(path), std::string(1024, 'x'));
}

TEST_F(LogFileTests, Limit_Reached_NoOutputToASinkEither)
{
    UseFile(0x10, 1);
    LogInScope(TextOfLine(1024).c_str());
    KVTest::RecordingSink sink;
    Module().AttachLineSink(&sink);
    LogInScope(L"lost");
    EXPECT_THAT(sink.lines, IsEmpty());
}

TEST_F(LogFileTests, Limit_Reached_HoldsForAllModulesOfTheFile)
{
    UseFile(0x10, 1);
    LogInScope(TextOfLine(1024).c_str());
    CLogModule other("Other", "");
    other.LogString(nullptr, 0x10, L"lost", true);
    EXPECT_EQ(ReadLog(), Lines({L"(I0) " + TextOfLine(1024)}) + kLimitReached);
}

TEST_F(LogFileTests, Limit_QueuedLinesCount)
{
    const std::wstring path = m_folder.WriteFile(L"trace.log", "");
    UseFile(0x10, 1);
    LogInScope(L"before");
    HeldFile held(path);
    Log(0x10, TextOfLine(1000).c_str());
    held.Release();
    Log(0x10, L"after");
    Log(0x10, L"lost");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) before", kQueueStart, L"(I0) " + TextOfLine(1000), kQueueEnd, L"(I0) after"}) +
                             kLimitReached);
}

TEST_F(LogFileTests, Limit_Zero_IsNone)
{
    UseFile(0x10, 0);
    LogInScope(TextOfLine(100000).c_str());
    LogInScope(L"next");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) " + TextOfLine(100000), L"(I0) next"}));
}

TEST_F(LogFileTests, Limit_AllSixteenBitsCount)
{
    // 0xFFFF KiB is more than the file holds; 0x7FFF would be less.
    const std::wstring path = m_folder.WriteFile(L"trace.log", "");
    {
        const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        LARGE_INTEGER size{};
        size.QuadPart = 0xFFFF * 1024LL - 2;
        ::SetFilePointerEx(file, size, nullptr, FILE_BEGIN);
        ::SetEndOfFile(file);
        ::CloseHandle(file);
    }
    UseFile(0x10, 0xFFFF);
    LogInScope(L"last");
    LogInScope(L"lost");
    WIN32_FILE_ATTRIBUTE_DATA attributes{};
    ::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &attributes);
    EXPECT_EQ(attributes.nFileSizeLow, 0xFFFF * 1024 - 2 + (11 + std::size(kLimitReached) - 1) * sizeof(wchar_t));
}

TEST_F(LogFileTests, Limit_OneRestartBitAlone_DoesNotRestart)
{
    UseFile(0x10, 0x10001);
    LogInScope(TextOfLine(1024).c_str());
    LogInScope(L"lost");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) " + TextOfLine(1024)}) + kLimitReached);
}

TEST_F(LogFileTests, Limit_BothRestartBits_AFreshUniqueFileFollows)
{
    UseFile(0x10, 0x30001);
    LogInScope(TextOfLine(1024).c_str());
    LogInScope(L"next");
    const std::vector<std::wstring> files = FilesInFolder();
    ASSERT_EQ(files.size(), 2u);
    const bool firstIsFull = ReadLog(files[0]).size() > 100;
    EXPECT_EQ(ReadLog(files[firstIsFull ? 0 : 1]), Lines({L"(I0) " + TextOfLine(1024)}) + kLimitReached);
    EXPECT_EQ(ReadLog(files[firstIsFull ? 1 : 0]), Lines({L"(I0) next"}));
    for (const std::wstring& file : files)
    {
        // The configured name gives the first three letters, also of the second file.
        EXPECT_TRUE(KVTest::Matches(file, "(?:[tT][rR][aA])[0-9a-fA-F]+\\.(?:tmp|TMP)")) << KVTest::Narrow(file);
    }
}

TEST_F(LogFileTests, Limit_HeaderThatReachesItAlone_DoesNotMakeAFileForEveryLine)
{
    // The header of six lines with the list of modules is longer than one KiB.
    UseFile(0x40000010, 0x130001);
    for (int i = 0; i < 5; ++i)
    {
        LogInScope(L"line");
    }
    EXPECT_EQ(FilesInFolder().size(), 1u);
}

// The first opening.

TEST_F(LogFileTests, Truncate_EmptiesTheFileAtTheFirstOpeningOnly)
{
    m_folder.WriteFile(L"trace.log", "old text");
    UseFile(0x10, 0x10000);
    LogInScope(L"one");
    LogInScope(L"two");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) one", L"(I0) two"}));
}

TEST_F(LogFileTests, LineWithoutScope_DoesNotOpenFirst)
{
    m_folder.WriteFile(L"trace.log", std::string("o\0l\0d\0", 6));
    UseFile(0x40000010, 0x10000);
    Log(0x10, L"one");
    EXPECT_EQ(ReadLog(), L"old(I0) one\r\n"); // neither truncated nor headed
    LogInScope(L"two");
    EXPECT_TRUE(KVTest::Matches(ReadLog(), "(\\(\\+\\+\\) .*\r\n){6}\\(I0\\) two\r\n")) << KVTest::Narrow(ReadLog());
}

TEST_F(LogFileTests, LineNotEnabled_DoesNotOpenFirst)
{
    const std::wstring path = UseFile(0x40000020);
    LogInScope(L"line");
    EXPECT_FALSE(FileExists(path));
}

TEST_F(LogFileTests, UniqueName_IsMadeFromTheConfiguredOne)
{
    UseFile(0x40000010, 0x20000);
    LogInScope(L"one");
    LogInScope(L"two");
    const std::vector<std::wstring> files = FilesInFolder();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_TRUE(KVTest::Matches(files[0], "(?:[tT][rR][aA])[0-9a-fA-F]+\\.(?:tmp|TMP)")) << KVTest::Narrow(files[0]);
    const std::wstring log = ReadLog(files[0]);
    EXPECT_NE(log.find(L"\\" + files[0] + L">\r\n"), std::wstring::npos) << KVTest::Narrow(log);
    EXPECT_NE(log.find(L"(I0) one\r\n(I0) two\r\n"), std::wstring::npos);
}

TEST_F(LogFileTests, UniqueName_IsTheLongOne)
{
    const KVTest::LongPathPatch longPath(m_folder.PathOf(L"the long name of it.tmp"));
    UseFile(0x10, 0x20000);
    LogInScope(L"line");
    EXPECT_EQ(ReadLog(L"the long name of it.tmp"), Lines({L"(I0) line"}));
}

TEST_F(LogFileTests, UniqueName_FolderMissing_TheConfiguredNameIsUsed)
{
    m_registry.SetString(KVTest::BaseKey(), L"LogFileName", m_folder.PathOf(L"missing\\trace.log"));
    SetBase(L"LogCategories", 0x10);
    SetBase(L"LogOptions", 0x20000);
    LogInScope(L"one");
    m_folder.MakeFolder(L"missing");
    LogInScope(L"two");
    EXPECT_EQ(ReadLog(L"missing\\trace.log"), Lines({kQueueStart, L"(I0) one", kQueueEnd, L"(I0) two"}));
}

TEST_F(LogFileTests, BareName_IsOpenedInTheCommonDataFolder)
{
    wchar_t commonData[MAX_PATH] = {};
    ASSERT_EQ(::SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, SHGFP_TYPE_CURRENT, commonData), S_OK);
    const std::wstring name = L"kvtest-" + std::to_wstring(::GetCurrentProcessId()) + L".log";
    const std::wstring path = std::wstring(commonData) + L"\\" + name;
    ::DeleteFileW(path.c_str());
    m_registry.SetString(KVTest::BaseKey(), L"LogFileName", name);
    SetBase(L"LogCategories", 0x40000010);
    LogInScope(L"scope");
    Log(0x10, L"no scope"); // the record holds the full path by now
    ASSERT_TRUE(FileExists(path));
    const std::wstring log = KVTest::ReadUtf16File(path);
    ::DeleteFileW(path.c_str());
    EXPECT_NE(log.find(L"(I0) scope\r\n(I0) no scope\r\n"), std::wstring::npos);
    EXPECT_NE(log.find(L"   Log File Name: <"), std::wstring::npos);
    EXPECT_NE(log.find(L"\\" + name + L">"), std::wstring::npos);
    EXPECT_FALSE(FileExists(name));
}

TEST_F(LogFileTests, BareName_LineWithoutScope_LandsInTheCurrentFolder)
{
    wchar_t previous[MAX_PATH] = {};
    ::GetCurrentDirectoryW(MAX_PATH, previous);
    ASSERT_NE(::SetCurrentDirectoryW(m_folder.GetPath().c_str()), FALSE);
    m_registry.SetString(KVTest::BaseKey(), L"LogFileName", L"bare.log");
    SetBase(L"LogCategories", 0x10);
    Log(0x10, L"line");
    ::SetCurrentDirectoryW(previous);
    EXPECT_EQ(ReadLog(L"bare.log"), Lines({L"(I0) line"}));
}

TEST_F(LogFileTests, RelativePath_BecomesTheFullPathOfTheOpenedFile)
{
    wchar_t previous[MAX_PATH] = {};
    ::GetCurrentDirectoryW(MAX_PATH, previous);
    m_folder.MakeFolder(L"logs");
    ASSERT_NE(::SetCurrentDirectoryW(m_folder.GetPath().c_str()), FALSE);
    m_registry.SetString(KVTest::BaseKey(), L"LogFileName", L"logs\\trace.log");
    SetBase(L"LogCategories", 0x10);
    LogInScope(L"one");
    ::SetCurrentDirectoryW(previous);
    LogInScope(L"two");
    EXPECT_EQ(ReadLog(L"logs\\trace.log"), Lines({L"(I0) one", L"(I0) two"}));
}

// The header block.

TEST_F(LogFileTests, Header_IsWrittenOnceBeforeTheFirstLine)
{
    const std::wstring path = UseFile(0x40000010, 0x20000000);
    LogInScope(L"one");
    LogInScope(L"two");
    const std::wstring executable = KVLogging::GetModulePath(nullptr);
    WIN32_FILE_ATTRIBUTE_DATA attributes{};
    ASSERT_NE(::GetFileAttributesExW(executable.c_str(), GetFileExInfoStandard, &attributes), FALSE);
    const std::wstring expected[] = {
        L"(++) Module File Name: " + executable + L" (" + std::to_wstring(attributes.nFileSizeLow) + L" bytes)\r\n",
        std::wstring(L"(++)     Command Line: ") + ::GetCommandLineW() + L"\r\n",
        L"(++)     File Version: <no version info>\r\n",
        L"(++)       Process ID: [" + std::to_wstring(::GetCurrentProcessId()) + L"] \r\n",
        L"(++)         Built on: Aug 22 2014 12:34:56\r\n",
    };
    std::wstring log = ReadLog();
    for (const std::wstring& line : expected)
    {
        ASSERT_TRUE(KVTest::Matches(log.substr(0, 17), R"(\d{10} {7})")); // counter, no line number
        EXPECT_EQ(log.substr(17, line.size()), line);
        log = log.substr(17 + line.size());
    }
    EXPECT_TRUE(KVTest::Matches(log, "\\d{10}       \\(\\+\\+\\)    Log File Name: <.*trace\\.log>\r\n"
                                     "\\d{10} 0002: \\(I0\\) one\r\n\\d{10} 0002: \\(I0\\) two\r\n"))
        << KVTest::Narrow(log);
}

TEST_F(LogFileTests, Header_CategoryOff_IsNotWrittenNorAreTheModules)
{
    UseFile(0x10, 0x100000);
    LogInScope(L"one");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) one"}));
}

TEST_F(LogFileTests, Header_ModuleOption_ListsTheModulesOfTheProcess)
{
    UseFile(0x40000010, 0x100000);
    LogInScope(L"one");
    const std::wstring log = ReadLog();
    const std::size_t name = log.find(L"Log File Name: <");
    ASSERT_NE(name, std::wstring::npos);
    const std::size_t list = log.find(L"\r\n", name) + 2;
    const std::wstring first = L"(++) " + KVLogging::GetModulePath(nullptr) + L"\r\n";
    EXPECT_EQ(log.substr(list, first.size()), first);
    const std::wstring kernel = L"(++) " + KVLogging::GetModulePath(::GetModuleHandleW(L"kernel32.dll")) + L"\r\n";
    EXPECT_NE(log.find(kernel, list), std::wstring::npos);
    EXPECT_EQ(log.substr(log.size() - 10), L"(I0) one\r\n");
}

BOOL WINAPI EnumerateThreeHundredModules(HANDLE, HMODULE* modules, DWORD room, DWORD* needed)
{
    constexpr DWORD kModules = 300;
    std::fill_n(modules, std::min<std::size_t>(room / sizeof(HMODULE), kModules), ::GetModuleHandleW(nullptr));
    *needed = kModules * sizeof(HMODULE);
    return TRUE;
}

TEST(HeaderBlockTests, ListProcessModules_ListsTwoHundredAndFiftySixAtMost)
{
    const KVTest::ImportPatch patch(__imp_K32EnumProcessModules,
                                    reinterpret_cast<void*>(&EnumerateThreeHundredModules));
    EXPECT_THAT(ListProcessModules(),
                testing::AllOf(testing::SizeIs(256), testing::Each(KVLogging::GetModulePath(nullptr))));
}

TEST_F(LogFileTests, Header_ModuleOption_ListsEachModuleOnce)
{
    UseFile(0x40000010, 0x100000);
    LogInScope(L"one");
    std::wistringstream log(ReadLog());
    std::set<std::wstring> lines;
    for (std::wstring line; std::getline(log, line);)
    {
        EXPECT_TRUE(lines.insert(line).second) << KVTest::Narrow(line);
    }
}

TEST_F(LogFileTests, Header_OfASecondFile_IsWrittenThereToo)
{
    UseFile(0x40000010);
    m_registry.SetString(KVTest::ModuleKey(L"Other"), L"LogFileName", m_folder.PathOf(L"other.log"));
    LogInScope(L"one");
    CLogModule other("Other", "");
    {
        CLogFunction scope(&other, s_logFileTests, L"Class::Method", 1);
        scope.LogString(kLogInfo, 2, L"two");
    }
    for (const wchar_t* file : {L"trace.log", L"other.log"})
    {
        EXPECT_TRUE(KVTest::Matches(ReadLog(file), "(\\(\\+\\+\\) .*\r\n){6}\\(I0\\) (one|two)\r\n"));
    }
}

TEST_F(LogFileTests, Header_ProgramWithAVersion_ShowsIt)
{
    const std::wstring path = m_folder.PathOf(L"trace.log");
    ASSERT_EQ(KVTest::RunBesideTest(L"kv_log_writer.exe", L"header \"" + path + L"\""), 0u);
    const std::wstring log = ReadLog();
    EXPECT_NE(log.find(L"(++)     File Version: 1.2.3.4\r\n"), std::wstring::npos) << KVTest::Narrow(log);
}

// System libraries that the first opening of a file would need are missing.

TEST_F(LogFileTests, WithoutThePathFunctions_TheConfiguredNameIsUsed)
{
    KVTest::LoaderPatch loader;
    loader.LackLibraries(L"shlwapi.dll");
    UseFile(0x10, 0x20000); // which would be unique
    LogInScope(L"one");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) one"}));
}

TEST_F(LogFileTests, BareName_WithoutTheShell_LandsInTheCurrentFolder)
{
    KVTest::LoaderPatch loader;
    loader.LackLibraries(L"shell32.dll");
    wchar_t previous[MAX_PATH] = {};
    ::GetCurrentDirectoryW(MAX_PATH, previous);
    ASSERT_NE(::SetCurrentDirectoryW(m_folder.GetPath().c_str()), FALSE);
    m_registry.SetString(KVTest::BaseKey(), L"LogFileName", L"bare.log");
    SetBase(L"LogCategories", 0x10);
    LogInScope(L"one");
    ::SetCurrentDirectoryW(previous);
    EXPECT_EQ(ReadLog(L"bare.log"), Lines({L"(I0) one"}));
}

BOOL WINAPI RefuseToEnumerateModules(HANDLE, HMODULE*, DWORD, DWORD*)
{
    return FALSE;
}

TEST_F(LogFileTests, Header_WithoutWhatItAsks_HasTheRest)
{
    const KVTest::ImportPatch patch(__imp_K32EnumProcessModules, reinterpret_cast<void*>(&RefuseToEnumerateModules));
    KVTest::LoaderPatch loader;
    loader.LackFunctions();
    const std::wstring path = UseFile(0x40000010, 0x100000);
    LogInScope(L"one");
    const std::wstring log = ReadLog();
    EXPECT_NE(log.find(L"(++)     File Version: <no version info>\r\n"), std::wstring::npos);
    EXPECT_TRUE(KVTest::Matches(log, "(\\(\\+\\+\\) .*\r\n){6}\\(I0\\) one\r\n")) << KVTest::Narrow(log);
}
} // namespace
