#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "logging/LogModule.h"
#include "tests/logging/LogTest.h"
#include "tests/logging/SystemCallPatches.h"
#include "tests/support/DebugOutputCapture.h"
#include "tests/support/Narrow.h"
#include "winapi/base/SystemHandles.h"

// Modules that are in one another's way: no line may be lost, and none may stop a thread of another module for long.
namespace
{
using namespace KVLogging;
using KVTest::Lines;
using KVWinApi::CUniqueSystemHandle;

constexpr DWORD kLongestStopMs = 200;
constexpr DWORD kLongestRetriesMs = 120; // of a file that another process holds
constexpr DWORD kLongestTestMs = 20000;
constexpr wchar_t kStartOfQueue[] = L"--- Queued Lines Start ---";
constexpr wchar_t kEndOfQueue[] = L"--- Queued Lines End ---";

const CLogSourceFile s_logModuleLoadTests(L"LogModuleLoadTests.cpp");

// Each line waits in it until it is released.
class PatientSink : public ILineSink
{
public:
    void WriteLine(const wchar_t*, const wchar_t*, const wchar_t*) override
    {
        ::SetEvent(isInside.Get());
        ::WaitForSingleObject(mayLeave.Get(), kLongestTestMs);
    }
    const CUniqueSystemHandle isInside{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    const CUniqueSystemHandle mayLeave{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};

class LogModuleLoadTests : public KVTest::LogTest
{
protected:
    // Returns how long the call took, in milliseconds.
    static DWORD TimeLine(CLogModule& module, const wchar_t* text)
    {
        const DWORD start = ::GetTickCount();
        module.LogString(nullptr, 0x10, text, true);
        return ::GetTickCount() - start;
    }

    void LogInScope(const wchar_t* text)
    {
        CLogFunction scope(&Module(), s_logModuleLoadTests, L"Class::Method", 1);
        scope.LogString(kLogInfo, 2, text);
    }
};

TEST_F(LogModuleLoadTests, SlowSink_LinesOfAnotherModulePassIt)
{
    UseFile(0x10);
    CLogModule other("Other", "");
    Log(0x10, L"first");
    PatientSink sink;
    Module().AttachLineSink(&sink);
    std::thread slow([this] { Log(0x10, L"slow"); });
    EXPECT_EQ(::WaitForSingleObject(sink.isInside.Get(), kLongestTestMs), WAIT_OBJECT_0);
    EXPECT_LT(TimeLine(other, L"quick"), kLongestStopMs);
    EXPECT_EQ(ReadLog(), Lines({L"(I0) first", L"(I0) quick"}));
    ::SetEvent(sink.mayLeave.Get());
    slow.join();
    EXPECT_EQ(ReadLog(), Lines({L"(I0) first", L"(I0) quick", L"(I0) slow"}));
}

TEST_F(LogModuleLoadTests, SlowSinkAtTheHeader_LinesOfAnotherModulePassIt)
{
    UseFile(0x40000010);
    CLogModule other("Other", "");
    PatientSink sink;
    Module().AttachLineSink(&sink);
    std::thread slow([this] { LogInScope(L"slow"); });
    EXPECT_EQ(::WaitForSingleObject(sink.isInside.Get(), kLongestTestMs), WAIT_OBJECT_0);
    EXPECT_LT(TimeLine(other, L"quick"), kLongestStopMs);
    EXPECT_EQ(ReadLog(), Lines({L"(I0) quick"}));
    ::SetEvent(sink.mayLeave.Get());
    slow.join();
    EXPECT_TRUE(KVTest::Matches(ReadLog(), "\\(I0\\) quick\r\n(\\(\\+\\+\\) .*\r\n){6}\\(I0\\) slow\r\n"))
        << KVTest::Narrow(ReadLog());
}

TEST_F(LogModuleLoadTests, FileHeldDuringALongHeader_LinesOfAnotherModuleWaitInItsQueue)
{
    const std::wstring path = m_folder.WriteFile(L"trace.log", "");
    UseFile(0x40000010);
    CLogModule other("Other", "");
    other.LogString(nullptr, 0x10, L"first", true);
    KVTest::HeldFile held(path);
    const KVTest::SlowOpeningPatch opening(L"trace.log");
    std::atomic<bool> isDone = false;
    std::thread header([&] {
        LogInScope(L"headed");
        isDone = true;
    });
    EXPECT_TRUE(KVTest::SlowOpeningPatch::WaitUntilInside());
    int count = 0;
    while (!isDone)
    {
        EXPECT_LT(TimeLine(other, (L"line " + std::to_wstring(count++)).c_str()), kLongestStopMs + kLongestRetriesMs);
        KVTest::SlowOpeningPatch::Release();
    }
    header.join();
    held.Release();
    Log(0x10, L"after");
    other.LogString(nullptr, 0x10, L"last", true);
    std::string expected = "\\(I0\\) first\r\n--- Queued Lines Start ---\r\n(\\(\\+\\+\\) .*\r\n){6}\\(I0\\) headed\r\n"
                           "--- Queued Lines End ---\r\n\\(I0\\) after\r\n--- Queued Lines Start ---\r\n";
    for (int i = 0; i < count; ++i)
    {
        expected += "\\(I0\\) line " + std::to_string(i) + "\r\n";
    }
    expected += "--- Queued Lines End ---\r\n\\(I0\\) last\r\n";
    EXPECT_TRUE(KVTest::Matches(ReadLog(), expected)) << KVTest::Narrow(ReadLog());
}

TEST_F(LogModuleLoadTests, FileBusyWithAnotherModule_LinesWaitInOrderAndTheDebuggerIsTold)
{
    const std::wstring path = UseFile(0x10);
    CLogModule other("Other", "");
    const KVTest::SlowOpeningPatch opening(L"trace.log");
    std::thread slow([this] { Log(0x10, L"slow"); });
    EXPECT_TRUE(KVTest::SlowOpeningPatch::WaitUntilInside());
    KVTest::DebugOutputCapture debugOutput;
    EXPECT_LT(TimeLine(other, L"one"), kLongestStopMs);
    const std::string oneLine = debugOutput.GetText();
    EXPECT_LT(TimeLine(other, L"two"), kLongestStopMs);
    KVTest::SlowOpeningPatch::Release();
    slow.join();
    other.LogString(nullptr, 0x10, L"three", true);
    EXPECT_EQ(ReadLog(), Lines({L"(I0) slow", kStartOfQueue, L"(I0) one", L"(I0) two", kEndOfQueue, L"(I0) three"}));
    ::SetLastError(ERROR_BUSY);
    std::wstring name = path;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](wchar_t c) { return static_cast<wchar_t>(::towlower(c)); });
    EXPECT_EQ(oneLine, "Unable to open log file:\r\n<" + KVTest::Narrow(name) + ">\r\n" +
                           KVTest::Narrow(other.FormatErrorText(ERROR_BUSY)) + "\r\n");
}

TEST_F(LogModuleLoadTests, FileBusyWithAnotherModule_ForAMoment_LinesFollowWithoutTheQueue)
{
    UseFile(0x10);
    CLogModule other("Other", "");
    const KVTest::PatientConditionPatch patience;
    const KVTest::SlowOpeningPatch opening(L"trace.log");
    std::thread slow([this] { Log(0x10, L"slow"); });
    EXPECT_TRUE(KVTest::SlowOpeningPatch::WaitUntilInside());
    std::thread waiter([&] { other.LogString(nullptr, 0x10, L"waited", true); });
    for (DWORD start = ::GetTickCount();
         KVTest::PatientConditionPatch::GetLastTimeout() == 0 && ::GetTickCount() - start < kLongestTestMs;)
    {
        ::Sleep(1);
    }
    EXPECT_LE(KVTest::PatientConditionPatch::GetLastTimeout(), 50u);
    KVTest::SlowOpeningPatch::Release();
    slow.join();
    waiter.join();
    EXPECT_EQ(ReadLog(), Lines({L"(I0) slow", L"(I0) waited"}));
}

// A module in memory that outlives it, as a static one.
class StaticModule
{
public:
    StaticModule() : m_module(new (s_memory) CLogModule("Static", "")) {}
    ~StaticModule() { Destroy(); }
    StaticModule(const StaticModule&) = delete;
    StaticModule& operator=(const StaticModule&) = delete;

    CLogModule& Get() const { return *m_module; }
    void Destroy()
    {
        if (!m_isDestroyed)
        {
            m_isDestroyed = true;
            m_module->~CLogModule();
        }
    }

private:
    alignas(CLogModule) inline static std::byte s_memory[sizeof(CLogModule)];
    CLogModule* m_module;
    bool m_isDestroyed = false;
};

TEST_F(LogModuleLoadTests, ModuleDestroyedDuringALine_TheLineIsWrittenBefore)
{
    UseFile(0x10);
    StaticModule module;
    const CUniqueSystemHandle hasLeft(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const CUniqueSystemHandle isDestroyed(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    std::thread logging([&] {
        // The destructor runs while this thread has left the critical section and is still in its call.
        const KVTest::LeavePatch leaving(::GetCurrentThreadId(), [&] {
            ::SetEvent(hasLeft.Get());
            ::WaitForSingleObject(isDestroyed.Get(), 100);
        });
        module.Get().LogString(nullptr, 0x10, L"line", true);
    });
    EXPECT_EQ(::WaitForSingleObject(hasLeft.Get(), kLongestTestMs), WAIT_OBJECT_0);
    module.Destroy();
    const std::wstring log = ReadLog();
    ::SetEvent(isDestroyed.Get());
    logging.join();
    EXPECT_EQ(log, Lines({L"(I0) line"}));
    EXPECT_EQ(ReadLog(), log);
}

TEST_F(LogModuleLoadTests, ModuleDestroyedWhileALineIsAboutToEnter_TheLineIsNotLogged)
{
    UseFile(0x10);
    StaticModule module;
    const KVTest::EnterPatch entering([&] { module.Destroy(); });
    module.Get().LogString(nullptr, 0x10, L"line", true);
    EXPECT_EQ(ReadLog(), L"");
}

TEST_F(LogModuleLoadTests, ModuleDestroyedUnderLoad_LinesBeforeAreWrittenAndNoneAfter)
{
    constexpr int kRounds = 10;
    constexpr int kLeastLines = 3;
    UseFile(0x10);
    std::array<std::atomic<int>, 3> counts{};
    for (int round = 0; round < kRounds; ++round)
    {
        StaticModule module;
        std::atomic<bool> isEnough = false;
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < counts.size(); ++i)
        {
            counts.at(i) = 0;
            threads.emplace_back([&, i] {
                while (!isEnough)
                {
                    module.Get().LogString(nullptr, 0x10, (L"thread " + std::to_wstring(i)).c_str(), true);
                    ++counts.at(i);
                }
            });
        }
        for (const DWORD start = ::GetTickCount(); *std::min_element(counts.begin(), counts.end()) < kLeastLines &&
                                                   ::GetTickCount() - start < kLongestTestMs;)
        {
            ::Sleep(1);
        }
        std::array<int, 3> logged{};
        for (std::size_t i = 0; i < counts.size(); ++i)
        {
            logged.at(i) = counts.at(i);
        }
        module.Destroy();
        const std::wstring after = ReadLog();
        ::Sleep(2);
        EXPECT_EQ(ReadLog(), after);
        isEnough = true;
        for (std::thread& thread : threads)
        {
            thread.join();
        }
        for (std::size_t i = 0; i < counts.size(); ++i)
        {
            const std::wstring line = L"(I0) thread " + std::to_wstring(i) + L"\r\n";
            int found = 0;
            for (std::size_t at = 0; (at = after.find(line, at)) != std::wstring::npos; at += line.size())
            {
                ++found;
            }
            EXPECT_GE(found, logged.at(i));
        }
        ::DeleteFileW(m_folder.PathOf(L"trace.log").c_str());
    }
}
} // namespace
