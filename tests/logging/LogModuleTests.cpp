#include "logging/LogModule.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <stdexcept>
#include <thread>
#include <type_traits>

#include "logging/settings/SettingsAccess.h"
#include "logging/system/PerformanceClock.h"
#include "tests/logging/LogTest.h"
#include "tests/logging/SystemCallPatches.h"
#include "tests/support/AllocationHook.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/DebugOutputCapture.h"
#include "tests/support/Faults.h"
#include "tests/support/Narrow.h"
#include "tests/support/VirtualSlots.h"
#include "utils/base/Win32Exception.h"

namespace
{
using namespace KVLogging;
using KVTest::BaseKey;
using KVTest::Lines;
using KVTest::ModuleKey;
using KVTest::ProcessKey;
using testing::ElementsAre;
using testing::IsEmpty;

const CLogSourceFile s_logModuleTests(L"LogModuleTests.cpp");
const CLogSourceFile s_otherSourceFile(L"Other.cpp");

class LogModuleTests : public KVTest::LogTest
{
protected:
    void LogFormatted(std::uint32_t flags, const wchar_t* format, ...)
    {
        va_list arguments;
        va_start(arguments, format);
        Module().LogFormattedString(nullptr, flags, format, arguments);
        va_end(arguments);
    }

    // A line of a scope, whose own entry and exit lines are not enabled.
    void LogInScope(const CLogSourceFile& sourceFile, std::uint32_t flags, const wchar_t* text)
    {
        CLogFunction scope(&Module(), sourceFile, L"Class::Method", 1);
        scope.LogString(flags, 2, text);
    }

    // The settings must have been found in another's place or time, since nothing was written.
    void ExpectSilence(const std::vector<std::string>& debugLines) const
    {
        EXPECT_THAT(debugLines, IsEmpty());
        EXPECT_EQ(ReadLog(), L"");
    }
};

TEST_F(LogModuleTests, NoKey_NothingIsWrittenAnywhere)
{
    KVTest::DebugOutputCapture debugOutput;
    Log(0xFFFFFFFF & ~kLogDetailLevelMask, L"line");
    LogInScope(s_logModuleTests, 0xFFFFFFFF & ~kLogDetailLevelMask, L"line");
    ExpectSilence(debugOutput.GetLines());
    EXPECT_FALSE(m_registry.KeyExists(BaseKey()));
}

TEST_F(LogModuleTests, FirstLine_SeesTheSettings)
{
    UseFile(0x10);
    Log(0x10, L"first");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) first"}));
}

struct CategoryRow
{
    const char* name;
    DWORD categories;
    DWORD detailLevel;
    std::uint32_t flags;
    const wchar_t* line; // null for none
};

class LogModuleCategoryTests : public LogModuleTests, public testing::WithParamInterface<CategoryRow>
{
};

TEST_P(LogModuleCategoryTests, Line_IsWrittenWithTheTagsOfTheSharedBits)
{
    UseFile(GetParam().categories);
    SetBase(L"LogInfoDetailLevel", GetParam().detailLevel);
    Log(GetParam().flags, L"x");
    EXPECT_EQ(ReadLog(), GetParam().line != nullptr ? Lines({GetParam().line}) : L"");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, LogModuleCategoryTests,
    testing::Values(
        CategoryRow{"Info", 0x10, 0, 0x10, L"(I0) x"}, CategoryRow{"InfoOff", 0x20, 0, 0x10, nullptr},
        CategoryRow{"InfoLevel1AboveDetail0", 0x10, 0, 0x11, nullptr},
        CategoryRow{"InfoLevel1", 0x10, 1, 0x11, L"(I1) x"},
        CategoryRow{"InfoLevel3AtDetail3", 0x10, 3, 0x13, L"(I3) x"},
        CategoryRow{"InfoLevel4AtDetail3", 0x10, 3, 0x14, nullptr}, CategoryRow{"InfoLevel7", 0x10, 15, 23, L"(I7) x"},
        CategoryRow{"InfoLevel15", 0x10, 15, 0x1F, L"(I15) x"},
        // The low four bits are always enabled: only the detail level filters these.
        CategoryRow{"InfoLevel1WithInfoOff", 0, 1, 0x11, L"x"},
        CategoryRow{"InfoLevel0WithInfoOff", 0, 15, 0x10, nullptr},
        CategoryRow{"InfoLevel2WithInfoOffAboveDetail", 0, 1, 0x12, nullptr},
        // No information line, hence no detail level to compare.
        CategoryRow{"LevelBitsWithWarning", 0x40, 0, 0x45, L"(WN) x"},
        CategoryRow{"Exception", 0x20, 0, 0x20, L"(EX) x"}, CategoryRow{"ExceptionOff", ~0x20u, 0, 0x20, nullptr},
        CategoryRow{"Warning", 0x40, 0, 0x40, L"(WN) x"}, CategoryRow{"WarningOff", ~0x40u, 0, 0x40, nullptr},
        CategoryRow{"Error", 0x80, 0, 0x80, L"(##) x"}, CategoryRow{"ErrorOff", ~0x80u, 0, 0x80, nullptr},
        CategoryRow{"Status", 0x100, 0, 0x100, L"(ST) x"}, CategoryRow{"StatusOff", ~0x100u, 0, 0x100, nullptr},
        CategoryRow{"Debug", 0x200, 0, 0x200, L"(DB) x"}, CategoryRow{"DebugOff", ~0x200u, 0, 0x200, nullptr},
        CategoryRow{"Marker", 0xF000, 0, 0x5000, L"(M5) x"}, CategoryRow{"MarkerPartly", 0x4000, 0, 0x5000, L"(M4) x"},
        CategoryRow{"MarkerOff", ~0xF000u, 0, 0x5000, nullptr},
        CategoryRow{"Locking", 0x2000000, 0, 0x2000000, L"(LK) x"},
        CategoryRow{"InterProcess", 0x4000000, 0, 0x4000000, L"(IP) x"},
        CategoryRow{"ErrorCode", 0x20000000, 0, 0x20000000, L"(**) x"},
        CategoryRow{"Header", 0x40000000, 0, 0x40000000, L"(++) x"},
        CategoryRow{"OneSharedBitOfMany", 0x40, 0, 0xC0, L"(WN) x"}, CategoryRow{"NoFlags", ~0u, 15, 0, nullptr}),
    [](const auto& row) { return row.param.name; });

TEST_F(LogModuleTests, TextsMayBeAnything)
{
    UseFile(0x10);
    Log(0x10, L"100% %s %n");
    Log(0x10, L"\u0416\u00E9\xD83D\xDE00\t");
    Log(0x10, L"two\nlines");
    Log(0x10, nullptr);
    EXPECT_EQ(ReadLog(), L"(I0) 100% %s %n\r\n(I0) \u0416\u00E9\xD83D\xDE00\t\r\n(I0) two\nlines\r\n(I0) ");
}

TEST_F(LogModuleTests, FormattedText_IsFormattedByTheWideConventions)
{
    UseFile(0x10);
    LogFormatted(0x10, L"%s %d %I64d 0x%08x", L"wide", -1, std::int64_t{1} << 40, 0xABu);
    EXPECT_EQ(ReadLog(), Lines({L"(I0) wide -1 1099511627776 0x000000ab"}));
}

TEST_F(LogModuleTests, FormattedText_OfAnyLength)
{
    UseFile(0x10);
    const std::wstring text(100000, L'x');
    LogFormatted(0x10, L"%s", text.c_str());
    EXPECT_EQ(ReadLog(), Lines({L"(I0) " + text}));
}

TEST_F(LogModuleTests, FormattedText_LevelAboveDetail_ArgumentsAreNotTouched)
{
    UseFile(0x10);
    const KVTest::ForbiddenPage page;
    KVTest::DebugOutputCapture debugOutput;
    LogFormatted(0x11, L"%s", page.GetText());
    ExpectSilence(debugOutput.GetLines());
}

TEST_F(LogModuleTests, ProcessKeyThenModuleKey_Override)
{
    UseFile(0);
    m_registry.SetDword(ProcessKey(), L"LogCategories", 0x10);
    m_registry.SetDword(ModuleKey(L"Quiet"), L"LogCategories", 0);
    Log(0x10, L"process");
    CLogModule quiet("Quiet", "");
    quiet.LogString(nullptr, 0x10, L"module", true);
    EXPECT_EQ(ReadLog(), Lines({L"(I0) process"}));
}

TEST_F(LogModuleTests, SourceFileKey_OverridesForThatFileOnly)
{
    UseFile(0x10);
    m_registry.SetDword(ModuleKey() + L"\\LogModuleTests.CPP", L"LogCategories", 0x40);
    LogInScope(s_logModuleTests, 0x50, L"this");
    LogInScope(s_otherSourceFile, 0x50, L"other");
    Log(0x50, L"none");
    EXPECT_EQ(ReadLog(), Lines({L"(WN) this", L"(I0) other", L"(I0) none"}));
}

TEST_F(LogModuleTests, SourceFileKey_ItsOwnFile)
{
    UseFile(0x10);
    m_registry.SetDword(ModuleKey() + L"\\logmoduletests.cpp", L"LogCategories", 0x10);
    m_registry.SetString(ModuleKey() + L"\\logmoduletests.cpp", L"LogFileName", m_folder.PathOf(L"own.log"));
    LogInScope(s_logModuleTests, 0x10, L"this");
    LogInScope(s_otherSourceFile, 0x10, L"other");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) other"}));
    EXPECT_EQ(ReadLog(L"own.log"), Lines({L"(I0) this"}));
}

TEST_F(LogModuleTests, OpenPendingFile_ChangesAreSeenAtOnce)
{
    UseFile(0x20);
    Log(0x10, L"not wanted");
    SetBase(L"LogCategories", 0x10);
    Log(0x10, L"wanted");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) wanted"}));
}

TEST_F(LogModuleTests, OpenedFile_ChangesWaitForThePollInterval)
{
    UseFile(0x10);
    LogInScope(s_logModuleTests, 0x10, L"opens the file");
    SetBase(L"LogCategories", 0);
    Log(0x10, L"still wanted");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) opens the file", L"(I0) still wanted"}));
}

TEST_F(LogModuleTests, NoFile_ChangesWaitForThePollInterval)
{
    KVTest::DebugOutputCapture debugOutput;
    SetBase(L"LogCategories", 0x10);
    SetBase(L"LogOptions", 0x80000);
    Log(0x10, L"first");
    SetBase(L"LogCategories", 0);
    Log(0x10, L"second");
    EXPECT_EQ(debugOutput.GetText(), "(I0) first\r\n(I0) second\r\n");
}

TEST(LogIntervalTests, Interval_IsOverWhenItIsExceededAlsoAcrossTheWrap)
{
    EXPECT_FALSE(IsIntervalOver(1000, 1000, 30000));
    EXPECT_FALSE(IsIntervalOver(1000, 31000, 30000));
    EXPECT_TRUE(IsIntervalOver(1000, 31001, 30000));
    EXPECT_FALSE(IsIntervalOver(0xFFFFFF00, 0x10, 30000));
    EXPECT_TRUE(IsIntervalOver(0xFFFFFF00, 30000, 30000));
    EXPECT_FALSE(IsIntervalOver(0, 0xFFFFFFFF, 0xFFFFFFFF));
}

TEST_F(LogModuleTests, PollIntervalOver_ChangesAreSeenAndRemovedValuesFallBack)
{
    UseFile(0x10, 0x80000);
    SetBase(L"LogInfoDetailLevel", 3);
    SetBase(L"LogParmsPollTime", 1);
    LogInScope(s_logModuleTests, 0x13, L"first");
    m_registry.DeleteValue(BaseKey(), L"LogInfoDetailLevel");
    m_registry.DeleteValue(BaseKey(), L"LogOptions");
    ::Sleep(1100);
    KVTest::DebugOutputCapture debugOutput;
    Log(0x13, L"level 3");
    Log(0x10, L"level 0");
    EXPECT_EQ(ReadLog(), Lines({L"(I3) first", L"(I0) level 0"}));
    EXPECT_THAT(debugOutput.GetLines(), IsEmpty());
}

TEST_F(LogModuleTests, PollIntervalOver_FileStaysTheSameRecord)
{
    UseFile(0x40000010, 0x10000);
    SetBase(L"LogParmsPollTime", 1);
    LogInScope(s_logModuleTests, 0x10, L"first");
    ::Sleep(1100);
    LogInScope(s_logModuleTests, 0x10, L"second");
    const std::wstring log = ReadLog();
    // Neither a second truncation nor a second header.
    EXPECT_TRUE(KVTest::Matches(log, "(\\(\\+\\+\\) .*\r\n){6}\\(I0\\) first\r\n\\(I0\\) second\r\n"))
        << KVTest::Narrow(log);
}

TEST_F(LogModuleTests, KeyRemoved_LoggingStopsAfterThePollInterval)
{
    UseFile(0x10);
    SetBase(L"LogParmsPollTime", 1);
    LogInScope(s_logModuleTests, 0x10, L"first");
    m_registry.DeleteKey(BaseKey());
    ::Sleep(1100);
    Log(0x10, L"second");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) first"}));
}

TEST_F(LogModuleTests, FileNameRemoved_FallsBackToTheLevelAboveAndThenToNone)
{
    UseFile(0x10);
    m_registry.SetString(ModuleKey(), L"LogFileName", m_folder.PathOf(L"own.log"));
    Log(0x10, L"own"); // no scope: the file stays to be opened, and the settings are read at every line
    m_registry.DeleteValue(ModuleKey(), L"LogFileName");
    Log(0x10, L"base");
    m_registry.DeleteValue(BaseKey(), L"LogFileName");
    Log(0x10, L"nowhere");
    EXPECT_EQ(ReadLog(L"own.log"), Lines({L"(I0) own"}));
    EXPECT_EQ(ReadLog(), Lines({L"(I0) base"}));
}

TEST_F(LogModuleTests, ModuleThatLogsNothing_NeverReadsTheRegistry)
{
    UseFile(0xFFF);
    const KVTest::RegistryPatch registry;
    Module();
    {
        CLogModule other("Other", "");
        other.SetErrorTextFormatter(nullptr);
        other.FormatErrorText(5);
    }
    EndModule();
    EXPECT_THAT(KVTest::RegistryPatch::GetOpened(), IsEmpty());
    EXPECT_THAT(KVTest::RegistryPatch::GetCreated(), IsEmpty());
}

TEST_F(LogModuleTests, ModulesOfOneProcess_ShareTheFileRecord)
{
    UseFile(0x40000C10, 0x200000);
    CLogModule other("Other", "");
    {
        const CLogFunction scope(&Module(), s_logModuleTests, L"Class::Outer", 1);
        CLogFunction inner(&other, s_logModuleTests, L"Class::Inner", 1);
    }
    const std::wstring log = ReadLog();
    // One header, one indentation.
    EXPECT_TRUE(KVTest::Matches(log, "(\\(\\+\\+\\) .*\r\n){6}\\(->\\) Class::Outer\r\n\\(->\\)   Class::Inner\r\n"
                                     "\\(<-\\)   Class::Inner\r\n\\(<-\\) Class::Outer\r\n"))
        << KVTest::Narrow(log);
}

// The enable test of lines that are not wanted.

TEST_F(LogModuleTests, LogOff_LinesTakeNoMutexAfterTheFirst)
{
    LogInScope(s_logModuleTests, 0x50, L"reads the registry");
    const KVTest::WaitPatch waits;
    LogInScope(s_logModuleTests, 0x50, L"line");
    LogFormatted(0x50, L"%d", 5);
    EXPECT_THAT(KVTest::WaitPatch::GetTimeouts(), IsEmpty());
}

TEST_F(LogModuleTests, LineWanted_TakesTheSettingsMutexOnce)
{
    UseFile(0x10);
    LogInScope(s_logModuleTests, 0x10, L"opens the file");
    const KVTest::WaitPatch waits;
    Log(0x10, L"wanted");
    Log(0x40, L"not wanted");
    EXPECT_THAT(KVTest::WaitPatch::GetTimeouts(), ElementsAre(50));
}

TEST_F(LogModuleTests, LogOff_SourceFileKeyOfAnotherModule_IsSeen)
{
    const std::wstring key = ModuleKey(L"Other") + L"\\LogModuleTests.cpp";
    m_registry.SetDword(key, L"LogCategories", 0x10);
    m_registry.SetString(key, L"LogFileName", m_folder.PathOf(L"trace.log"));
    LogInScope(s_logModuleTests, 0x10, L"not wanted");
    CLogModule other("Other", "");
    other.LogString(nullptr, 0x10, L"reads the registry", true);
    LogInScope(s_logModuleTests, 0x10, L"wanted");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) wanted"}));
}

TEST_F(LogModuleTests, LogOff_TurnedOn_IsSeenAfterThePollInterval)
{
    const KVTest::SleepPatch clock;
    Log(0x10, L"not wanted");
    UseFile(0x10);
    ::Sleep(30000);
    Log(0x10, L"not yet wanted");
    ::Sleep(1);
    Log(0x10, L"wanted");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) wanted"}));
}

TEST_F(LogModuleTests, LogOff_WithASink_LinesTakeNoMutex)
{
    KVTest::RecordingSink sink;
    Module().AttachLineSink(&sink);
    const KVTest::SleepPatch clock;
    ::Sleep(31000); // with a sink the settings are not read again
    const KVTest::WaitPatch waits;
    Log(0x10, L"line");
    EXPECT_THAT(KVTest::WaitPatch::GetTimeouts(), IsEmpty());
    EXPECT_THAT(sink.lines, IsEmpty());
}

TEST_F(LogModuleTests, DebuggerOption_EachLineInFourCalls)
{
    UseFile(0x410, 0x280000);
    KVTest::DebugOutputCapture debugOutput;
    {
        CLogFunction scope(&Module(), s_logModuleTests, L"Class::Method", 1);
        scope.LogString(kLogInfo, 2, L"line");
    }
    EXPECT_THAT(debugOutput.GetLines(),
                ElementsAre("(->) ", "", "Class::Method", "\r\n", "(I0) ", "  ", "line", "\r\n"));
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method", L"(I0)   line"}));
}

TEST_F(LogModuleTests, DebuggerFlag_SendsThatLineOnly)
{
    UseFile(0x8000010);
    KVTest::DebugOutputCapture debugOutput;
    Log(0x10, L"file");
    Log(0x8000010, L"both");
    EXPECT_EQ(debugOutput.GetText(), "(I0) both\r\n");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) file", L"(I0) both"}));
}

TEST_F(LogModuleTests, DebuggerFlag_CategoryOff_IsIgnored)
{
    UseFile(0x10);
    KVTest::DebugOutputCapture debugOutput;
    Log(0x8000010, L"file");
    EXPECT_THAT(debugOutput.GetLines(), IsEmpty());
    EXPECT_EQ(ReadLog(), Lines({L"(I0) file"}));
}

TEST_F(LogModuleTests, DebuggerOption_WithoutFile_Suffices)
{
    SetBase(L"LogCategories", 0x10);
    SetBase(L"LogOptions", 0x80000);
    KVTest::DebugOutputCapture debugOutput;
    LogInScope(s_logModuleTests, 0x10, L"line");
    EXPECT_EQ(debugOutput.GetText(), "(I0) line\r\n");
}

TEST_F(LogModuleTests, PrefixOptions_ReachTheLine)
{
    UseFile(0x10, 0x3F000000);
    LogInScope(s_logModuleTests, 0x10, L"line");
    EXPECT_TRUE(KVTest::Matches(ReadLog(), R"(\d{4}/\d\d/\d\d \d\d:\d\d:\d\d \d{10} \(\d{6} ms\) \[)" +
                                               std::to_string(::GetCurrentProcessId()) +
                                               R"(\] \{tid: 0x[0-9A-F]{4,8}\} 0002: \(I0\) line)" + "\r\n"))
        << KVTest::Narrow(ReadLog());
}

TEST_F(LogModuleTests, SincePrevious_CountsFromConstructionAndThenFromLineToLine)
{
    const KVTest::FrozenPerformanceCounter counter;
    UseFile(0x10, 0x10000000);
    Module();
    KVTest::FrozenPerformanceCounter::Advance(40000);
    Log(0x10, L"a");
    KVTest::FrozenPerformanceCounter::Advance(7000);
    Log(0x10, L"b");
    EXPECT_EQ(ReadLog(), Lines({L"(000040 ms) (I0) a", L"(000007 ms) (I0) b"}));
}

TEST_F(LogModuleTests, SincePrevious_LinesWithoutTheOption_DoNotCount)
{
    const KVTest::FrozenPerformanceCounter counter;
    UseFile(0x10, 0x10000000);
    m_registry.SetDword(ModuleKey() + L"\\Other.cpp", L"LogCategories", 0x10);
    Log(0x10, L"a");
    KVTest::FrozenPerformanceCounter::Advance(5000);
    LogInScope(s_otherSourceFile, 0x10, L"without");
    KVTest::FrozenPerformanceCounter::Advance(7000);
    Log(0x10, L"b");
    EXPECT_EQ(ReadLog(), Lines({L"(000000 ms) (I0) a", L"(I0) without", L"(000012 ms) (I0) b"}));
}

TEST_F(LogModuleTests, LineWithoutScope_HasSixBlanksForTheLineNumber)
{
    UseFile(0x10, 0x20000000);
    Log(0x10, L"line");
    EXPECT_TRUE(KVTest::Matches(ReadLog(), "\\d{10}       \\(I0\\) line\r\n"));
}

// What goes wrong while logging stays there.

class FaultingSink : public ILineSink
{
public:
    void WriteLine(const wchar_t*, const wchar_t*, const wchar_t*) override
    {
        ++calls;
        if (isArmed)
        {
            static_cast<void>(*page.GetChars());
        }
    }
    KVTest::ForbiddenPage page;
    bool isArmed = true;
    int calls = 0;
};

class ThrowingSink : public ILineSink
{
public:
    void WriteLine(const wchar_t*, const wchar_t*, const wchar_t*) override { throw std::runtime_error("sink"); }
};

TEST_F(LogModuleTests, FaultInSink_TheLineIsDroppedAndNoted)
{
    UseFile(0x10);
    FaultingSink sink;
    Module().AttachLineSink(&sink);
    KVTest::DebugOutputCapture debugOutput;
    ::SetLastError(4711);
    Log(0x10, L"lost");
    EXPECT_EQ(::GetLastError(), 4711u);
    EXPECT_EQ(sink.calls, 1);
    EXPECT_EQ(debugOutput.GetText(), "Exception Exit: InternalLogSimpleString (Access violation)\r\n");
    EXPECT_EQ(ReadLog(), L"");
    EXPECT_EQ(KVUtils::CWin32Exception::GetLiveCount(), 0);
}

TEST_F(LogModuleTests, FaultInSink_LocksAreFreeAfterwards)
{
    UseFile(0x10);
    FaultingSink sink;
    Module().AttachLineSink(&sink);
    Log(0x10, L"lost");
    sink.isArmed = false;
    CLogModule other("Other", "");
    // On another thread: this one would get its own locks again anyway.
    std::thread([&] {
        Module().LogString(nullptr, 0x10, L"same module", true);
        other.LogString(nullptr, 0x10, L"same file", true);
    }).join();
    EXPECT_EQ(ReadLog(), Lines({L"(I0) same module", L"(I0) same file"}));
}

TEST_F(LogModuleTests, FaultInSink_TheLineDoesNotGetIntoTheNext)
{
    UseFile(0x10);
    FaultingSink sink;
    Module().AttachLineSink(&sink);
    CLogFunction scope(&Module(), s_logModuleTests, L"Class::Method", 1);
    scope.LogString(kLogInfo, 2, L"lost");
    sink.isArmed = false;
    scope.LogString(kLogInfo, 3, L"next");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) next"}));
}

TEST_F(LogModuleTests, FaultInSinkAtTheHeader_TheFileIsNotOpenedASecondTime)
{
    const std::wstring path = m_folder.WriteFile(L"trace.log", "");
    UseFile(0x40000010, 0x10000);
    FaultingSink sink;
    Module().AttachLineSink(&sink);
    LogInScope(s_logModuleTests, 0x10, L"lost");
    sink.isArmed = false;
    Log(0x10, L"one");
    LogInScope(s_logModuleTests, 0x10, L"two");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) one", L"(I0) two"}));
}

TEST_F(LogModuleTests, CppExceptionInSink_TheLineIsDroppedSilently)
{
    UseFile(0x10);
    ThrowingSink sink;
    Module().AttachLineSink(&sink);
    KVTest::DebugOutputCapture debugOutput;
    Log(0x10, L"lost");
    Module().AttachLineSink(nullptr);
    Log(0x10, L"next");
    EXPECT_THAT(debugOutput.GetLines(), IsEmpty());
    EXPECT_EQ(ReadLog(), Lines({L"(I0) next"}));
}

TEST_F(LogModuleTests, BadArgument_TheLineIsDroppedAndNoted)
{
    UseFile(0x10);
    const KVTest::ForbiddenPage page;
    KVTest::DebugOutputCapture debugOutput;
    LogFormatted(0x10, L"%s", page.GetText());
    LogFormatted(0x10, L"%d", 5);
    EXPECT_EQ(debugOutput.GetText(), "Exception Exit: InternalLogFormattedString (Access violation)\r\n");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) 5"}));
    EXPECT_EQ(KVUtils::CWin32Exception::GetLiveCount(), 0);
}

TEST_F(LogModuleTests, BadText_TheLineIsDroppedAndNoted)
{
    UseFile(0x10);
    const KVTest::ForbiddenPage page;
    KVTest::DebugOutputCapture debugOutput;
    Log(0x10, page.GetText());
    LogInScope(s_logModuleTests, 0x10, page.GetText());
    EXPECT_EQ(debugOutput.GetText(), "Exception Exit: InternalLogSimpleString (Access violation)\r\n"
                                     "Exception Exit: InternalLogSimpleString (Access violation)\r\n");
    EXPECT_EQ(ReadLog(), L"");
}

TEST_F(LogModuleTests, NoFormat_TheLineIsDropped)
{
    UseFile(0x10);
    LogFormatted(0x10, nullptr);
    LogFormatted(0x10, L"%d", 5);
    EXPECT_EQ(ReadLog(), Lines({L"(I0) 5"}));
}

TEST_F(LogModuleTests, AbsurdFormats_TheCallerGoesOn)
{
    UseFile(0x30);
    for (const wchar_t* format : {L"%", L"%%%", L"%!", L"%q%y", L"%-+#0", L"%I64", L"\xD83D%"})
    {
        LogFormatted(0x10, format, 1, 2, 3);
    }
    LogFormatted(0x20, L"%d", 5);
    const std::wstring log = ReadLog();
    EXPECT_EQ(log.substr(log.rfind(L"(EX)")), Lines({L"(EX) 5"}));
}

TEST_F(LogModuleTests, FaultInFormatter_TheErrorLineIsDroppedAndNoted)
{
    UseFile(0x800);
    Module().SetErrorTextFormatter([](std::uint32_t, wchar_t*, std::uint32_t) -> std::uint32_t {
        const KVTest::ForbiddenPage page;
        return static_cast<std::uint32_t>(*page.GetChars());
    });
    KVTest::DebugOutputCapture debugOutput;
    {
        CLogFunction scope(&Module(), s_logModuleTests, L"Class::Method", 1);
        scope.SetErrorCode(5);
    }
    EXPECT_EQ(debugOutput.GetText(), "Exception Exit: InternalLogSimpleString (Access violation)\r\n");
    EXPECT_EQ(Module().FormatErrorText(5), L"");
    EXPECT_EQ(ReadLog(), Lines({L"(<-) Class::Method"}));
    EXPECT_EQ(KVUtils::CWin32Exception::GetLiveCount(), 0);
}

// The line sink.

TEST_F(LogModuleTests, Sink_ReceivesPrefixIndentationAndMessage)
{
    UseFile(0xC10, 0x200000);
    KVTest::RecordingSink sink;
    Module().AttachLineSink(&sink);
    {
        CLogFunction scope(&Module(), s_logModuleTests, L"Class::Method", 1);
        scope.LogString(kLogInfo, 2, L"line");
    }
    Module().AttachLineSink(nullptr);
    Log(0x10, L"file only");
    EXPECT_THAT(sink.lines, ElementsAre(L"(->) ||Class::Method", L"(I0) |  |line", L"(<-) ||Class::Method"));
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method", L"(I0)   line", L"(<-) Class::Method", L"(I0) file only"}));
}

TEST_F(LogModuleTests, Sink_WithoutFile_ReceivesTheLinesAndNothingElseHappens)
{
    SetBase(L"LogCategories", 0x10);
    KVTest::RecordingSink sink;
    Module().AttachLineSink(&sink);
    KVTest::DebugOutputCapture debugOutput;
    LogInScope(s_logModuleTests, 0x10, L"line");
    EXPECT_THAT(sink.lines, ElementsAre(L"(I0) ||line"));
    EXPECT_THAT(debugOutput.GetLines(), IsEmpty());
}

TEST_F(LogModuleTests, Sink_WhileAttached_SettingsAreNotReadAgain)
{
    UseFile(0x10);
    KVTest::RecordingSink sink;
    Module().AttachLineSink(&sink);
    SetBase(L"LogCategories", 0);
    Log(0x10, L"one"); // the file is still to be opened: the settings would be read at once
    Module().AttachLineSink(nullptr);
    Log(0x10, L"two");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) one"}));
}

TEST_F(LogModuleTests, Sink_ReceivesTheHeader)
{
    UseFile(0x40000010);
    KVTest::RecordingSink sink;
    Module().AttachLineSink(&sink);
    LogInScope(s_logModuleTests, 0x10, L"line");
    ASSERT_EQ(sink.lines.size(), 7u);
    EXPECT_EQ(sink.lines[0].substr(0, 23), L"(++) ||Module File Name");
}

// The module itself.

TEST_F(LogModuleTests, Name_GivenOrTheProgramsWithoutExtension)
{
    const std::wstring executable = KVTest::GetExecutableName();
    EXPECT_EQ(CLogModule("Utils", "").GetName(), L"Utils");
    EXPECT_EQ(CLogModule(nullptr, "").GetName(), executable.substr(0, executable.rfind(L'.')));
    EXPECT_EQ(CLogModule("", "").GetName(), executable.substr(0, executable.rfind(L'.')));
    EXPECT_EQ(CLogModule("Ger\xC3\xA4te", nullptr).GetName(), L"Ger\u00E4te");
}

TEST_F(LogModuleTests, ModuleWithoutName_ReadsTheProcessKeyAndItsSourceFiles)
{
    UseFile(0);
    m_registry.SetDword(ProcessKey(), L"LogCategories", 0x10);
    m_registry.SetDword(ProcessKey() + L"\\LogModuleTests.cpp", L"LogCategories", 0x40);
    CLogModule module(nullptr, "04:50:00");
    module.LogString(nullptr, 0x10, L"module", true);
    CLogFunction scope(&module, s_logModuleTests, L"Class::Method", 1);
    scope.LogString(0x50, 2, L"source file");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) module", L"(WN) source file"}));
}

// A DLL with a copy of the logging code, of which each line makes a module and ends it unless it is to be kept.
class LogLibrary
{
public:
    explicit LogLibrary(const std::wstring& fileName)
        : m_library(::LoadLibraryW(KVTest::PathBesideTest(fileName).c_str()))
    {
        if (m_library == nullptr)
        {
            throw std::runtime_error("the library is missing");
        }
    }
    ~LogLibrary() { ::FreeLibrary(m_library); }
    LogLibrary(const LogLibrary&) = delete;
    LogLibrary& operator=(const LogLibrary&) = delete;

    void Log(const wchar_t* text) const { Call("KvLogInLibrary", text); }
    void LogInKeptModule(const wchar_t* text) const { Call("KvLogInKeptModule", text); }

private:
    void Call(const char* function, const wchar_t* text) const
    {
        // NOLINTNEXTLINE(bugprone-casting-through-void): a looked-up function has no type of its own
        reinterpret_cast<void (*)(const wchar_t*)>(reinterpret_cast<void*>(::GetProcAddress(m_library, function)))(
            text);
    }

    HMODULE m_library;
};

TEST_F(LogModuleTests, LibraryWithItsOwnCopyOfTheCode_HasItsOwnNameAndSharesTheSettings)
{
    UseFile(0x400, 0x200000);
    m_registry.SetDword(ModuleKey(L"kv_log_library"), L"LogCategories", 0x10);
    const LogLibrary library(L"kv_log_library.dll");
    {
        const CLogFunction scope(&Module(), s_logModuleTests, L"Class::Method", 1);
        library.Log(L"one");
        library.Log(L"two");
    }
    // Indented, since the file's record is the same one.
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method", L"(I0)   one", L"(I0)   two"}));
}

TEST_F(LogModuleTests, LibraryWhoseModuleOutlivesTheProgramsOwn_KeepsSettingsAndFileRecord)
{
    UseFile(0x40000010);
    const LogLibrary library(L"kv_log_library.dll");
    LogInScope(s_logModuleTests, 0x10, L"program");
    library.LogInKeptModule(L"both");
    EndModule();
    library.LogInKeptModule(L"library alone");
    LogInScope(s_logModuleTests, 0x10, L"program again");
    // One header only: the record is the same one throughout.
    EXPECT_TRUE(KVTest::Matches(ReadLog(), "(\\(\\+\\+\\) .*\r\n){6}\\(I0\\) program\r\n\\(I0\\) both\r\n"
                                           "\\(I0\\) library alone\r\n\\(I0\\) program again\r\n"))
        << KVTest::Narrow(ReadLog());
}

TEST_F(LogModuleTests, LibraryUnloadedWithItsModule_TheProgramLogsOn)
{
    UseFile(0x10);
    Log(0x10, L"program");
    {
        const LogLibrary library(L"kv_log_library.dll");
        library.LogInKeptModule(L"library");
    }
    Log(0x10, L"program again");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) program", L"(I0) library", L"(I0) program again"}));
}

TEST_F(LogModuleTests, LibraryLoadedAgain_LogsAgain)
{
    UseFile(0x10);
    for (const wchar_t* text : {L"one", L"two"})
    {
        const LogLibrary library(L"kv_log_library.dll");
        library.LogInKeptModule(text);
    }
    EXPECT_EQ(ReadLog(), Lines({L"(I0) one", L"(I0) two"}));
}

#if defined(KV_TEST_HAS_CHECKED_LIBRARY)
TEST_F(LogModuleTests, LibraryWhoseContainersHaveAnotherLayout_LogsOnlyWhereItIsAlone)
{
    UseFile(0x410, 0x200000);
    const LogLibrary library(L"kv_log_checked_library.dll");
    library.Log(L"alone");
    {
        CLogFunction scope(&Module(), s_logModuleTests, L"Class::Method", 1);
        library.Log(L"lost");
        scope.LogString(kLogInfo, 2, L"line");
        library.Log(L"lost");
    }
    Log(0x10, L"last");
    EndModule();
    library.Log(L"alone again");
    EXPECT_EQ(ReadLog(),
              Lines({L"(I0) alone", L"(->) Class::Method", L"(I0)   line", L"(I0)   last", L"(I0) alone again"}));
}
#endif

TEST_F(LogModuleTests, ResetSettings_ZeroesTheModulesOwn)
{
    UseFile(0x10);
    LogInScope(s_logModuleTests, 0x10, L"one");
    Module().ResetSettings();
    Log(0x10, L"two"); // not due: the settings are zero until they are read again
    EXPECT_EQ(ReadLog(), Lines({L"(I0) one"}));
}

class CountingModule : public CLogModule
{
public:
    CountingModule() : CLogModule("Counting", "") {}
    void ResetSettings() noexcept override
    {
        ++resets;
        CLogModule::ResetSettings();
    }
    int resets = 0;
};

TEST_F(LogModuleTests, ResetSettings_IsCalledBeforeEachReading)
{
    SetBase(L"LogCategories", 0x10);
    CountingModule module;
    EXPECT_EQ(module.resets, 0); // a process that never logs never reads the registry
    module.LogString(nullptr, 0x10, L"one", true);
    EXPECT_EQ(module.resets, 1);
    module.LogString(nullptr, 0x10, L"two", true);
    EXPECT_EQ(module.resets, 1);
}

TEST_F(LogModuleTests, VirtualOperations_DestructorThenResetSettings)
{
    EXPECT_EQ(KVTest::SlotOf(&CLogModule::ResetSettings), KVTest::kDestructorSlots);
    EXPECT_TRUE(std::has_virtual_destructor_v<CLogModule>);
}

TEST_F(LogModuleTests, ManyThreads_EveryLineIsWholeAndInItsThreadsOrder)
{
    constexpr int kThreads = 4;
    constexpr int kLines = 50;
    UseFile(0x10, 0x200000);
    CLogModule other("Other", "");
    Module();
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i)
    {
        // Two modules, so that the module's lock alone does not keep the lines of the one file apart.
        threads.emplace_back([this, &other, i] {
            CLogModule& module = i % 2 == 0 ? other : Module();
            for (int line = 0; line < kLines; ++line)
            {
                const std::wstring text = L"thread " + std::to_wstring(i) + L" line " + std::to_wstring(line) + L" end";
                module.LogString(nullptr, 0x10, text.c_str(), true);
            }
        });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    Log(0x10, L"drain"); // what waits in the queues, should a thread have been stopped for long
    other.LogString(nullptr, 0x10, L"drain", true);
    const std::wstring log = ReadLog();
    std::vector<int> next(kThreads, 0);
    std::size_t position = 0;
    for (int count = 0; count < kThreads * kLines;)
    {
        const std::size_t end = log.find(L"\r\n", position);
        ASSERT_NE(end, std::wstring::npos);
        const std::wstring line = log.substr(position, end - position);
        position = end + 2;
        if (line.starts_with(L"--- Queued Lines ") || line == L"(I0) drain")
        {
            continue;
        }
        ++count;
        ASSERT_TRUE(KVTest::Matches(line, R"(\(I0\) thread \d line \d+ end)")) << KVTest::Narrow(line);
        const std::size_t thread = static_cast<std::size_t>(std::stoi(line.substr(12)));
        EXPECT_EQ(std::stoi(line.substr(19)), next.at(thread)++);
    }
    EXPECT_EQ(log.find(L"thread", position), std::wstring::npos);
    EXPECT_TRUE(log.ends_with(L"(I0) drain\r\n"));
}

// Static objects of libraries: the program checks itself.
TEST(LogStaticTests, ScopesBeforeConstructionAndAfterDestructionOfTheModule_AreHarmless)
{
    EXPECT_EQ(KVTest::RunBesideTest(L"kv_log_static_user.exe", L""), 0u);
}

std::size_t s_allocationsLeft = 0; // before one fails
bool s_allocationHasFailed = false;

void FailOneAllocation(std::size_t)
{
    if (s_allocationHasFailed)
    {
        return;
    }
    if (s_allocationsLeft == 0)
    {
        s_allocationHasFailed = true;
        throw std::bad_alloc();
    }
    --s_allocationsLeft;
}

// True when there was an allocation of that number to fail.
bool MakeModuleWithoutMemory(std::size_t allocation)
{
    s_allocationsLeft = allocation;
    s_allocationHasFailed = false;
    const KVTest::AllocationHook hook(&FailOneAllocation);
    CLogModule module("Poor", "04:48:18");
    module.LogString(nullptr, kLogInfo, L"line", true);
    return s_allocationHasFailed;
}

TEST_F(LogModuleTests, Construction_WithoutMemory_IsSurvived)
{
    std::size_t allocation = 0;
    while (MakeModuleWithoutMemory(allocation))
    {
        ++allocation;
    }
    EXPECT_GT(allocation, 4U); // its names, its settings and the shared blocks
}
} // namespace
