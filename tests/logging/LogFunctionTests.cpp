#include "logging/LogFunction.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <thread>
#include <type_traits>

#include "logging/LogModule.h"
#include "logging/Trace.h"
#include "tests/logging/LogTest.h"
#include "tests/logging/SystemCallPatches.h"
#include "tests/support/Faults.h"
#include "tests/support/Narrow.h"
#include "utils/base/StructuredExceptionScope.h"
#include "utils/base/Win32Exception.h"
#include "winapi/base/SystemHandles.h"

namespace
{
using namespace KVLogging;
using KVTest::Lines;
using KVWinApi::CUniqueSystemHandle;

constexpr DWORD kEntryAndExit = 0xC00;
constexpr DWORD kCounterAndLine = 0x20000000;

const CLogSourceFile s_logFunctionTests(L"LogFunctionTests.cpp");

class LogFunctionTests : public KVTest::LogTest
{
protected:
    void RunScope(const wchar_t* fullName = L"NS::Class::Method")
    {
        const CLogFunction scope(&Module(), s_logFunctionTests, fullName, 17);
    }

    // A scope with the full initialiser and arguments for the entry format.
    void RunScopeWithArguments(std::uint32_t errorCode, bool isException, const wchar_t* entryFormat, ...)
    {
        va_list arguments;
        va_start(arguments, entryFormat);
        {
            const CLogFunction scope(&Module(), s_logFunctionTests, L"NS::Class::Method", 17, errorCode, isException,
                                     entryFormat, &arguments);
        }
        va_end(arguments);
    }

    void RunScopeWithText(const wchar_t* entryFormat)
    {
        const CLogFunction scope(&Module(), s_logFunctionTests, L"NS::Class::Method", 17, 0, false, entryFormat,
                                 nullptr);
    }

    static std::wstring SystemText(DWORD code)
    {
        wchar_t text[512] = {};
        const DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0x400, text, 512, nullptr);
        return std::wstring(text, length > 2 ? length - 2 : 0);
    }
};

TEST_F(LogFunctionTests, NormalReturn_GivesEntryAndExitLine)
{
    UseFile(kEntryAndExit);
    RunScope();
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method", L"(<-) Class::Method"}));
}

TEST_F(LogFunctionTests, LineNumbers_EntryHasItsOwnExitHasSixBlanks)
{
    UseFile(kEntryAndExit, kCounterAndLine);
    RunScope();
    EXPECT_TRUE(KVTest::Matches(ReadLog(), "\\d{10} 0017: \\(->\\) Class::Method\r\n"
                                           "\\d{10}       \\(<-\\) Class::Method\r\n"))
        << KVTest::Narrow(ReadLog());
}

TEST_F(LogFunctionTests, NameWithOneComponent_IsLoggedWhole)
{
    UseFile(kEntryAndExit);
    RunScope(L"wWinMain");
    EXPECT_EQ(ReadLog(), Lines({L"(->) wWinMain", L"(<-) wWinMain"}));
}

TEST_F(LogFunctionTests, NameWithTemplateArguments_LosesThem)
{
    UseFile(kEntryAndExit);
    RunScope(L"NS::Tpl<int>::Run");
    EXPECT_EQ(ReadLog(), Lines({L"(->) Tpl::Run", L"(<-) Tpl::Run"}));
}

TEST_F(LogFunctionTests, NameThatSplitsIntoNothing_IsLoggedInFull)
{
    UseFile(kEntryAndExit);
    RunScope(L"<lambda>");
    EXPECT_EQ(ReadLog(), Lines({L"(->) <lambda>", L"(<-) <lambda>"}));
}

TEST_F(LogFunctionTests, EntryAndExit_AreCategoriesOfTheirOwn)
{
    UseFile(0x400);
    RunScope();
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method"}));
    SetBase(L"LogCategories", 0x800);
    EndModule();
    RunScope();
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method", L"(<-) Class::Method"}));
}

TEST_F(LogFunctionTests, LinesOfTheScope_CarryTheirOwnNumbers)
{
    UseFile(0xC10, kCounterAndLine);
    {
        CLogFunction scope(&Module(), s_logFunctionTests, L"Class::Method", 17);
        scope.LogString(kLogInfo, 18, L"plain");
        scope.LogFormattedString(kLogInfo, 19, L"%s is %d", L"number", 5);
    }
    EXPECT_TRUE(KVTest::Matches(ReadLog(), "\\d{10} 0017: \\(->\\) Class::Method\r\n"
                                           "\\d{10} 0018: \\(I0\\) plain\r\n"
                                           "\\d{10} 0019: \\(I0\\) number is 5\r\n"
                                           "\\d{10}       \\(<-\\) Class::Method\r\n"))
        << KVTest::Narrow(ReadLog());
}

TEST_F(LogFunctionTests, TextWithoutEndOfLine_WaitsForTheRest)
{
    const std::wstring path = UseFile(0x10, kCounterAndLine);
    {
        CLogFunction scope(&Module(), s_logFunctionTests, L"Class::Method", 17);
        scope.LogString(kLogInfo, 18, L"first, ", false);
        scope.LogString(kLogInfo, 19, L"second, ", false);
        EXPECT_EQ(ReadLog(), L""); // opened, not written
        EXPECT_TRUE(KVTest::FileExists(path));
        scope.LogString(kLogInfo, 20, L"third");
        scope.LogString(kLogInfo, 21, L"next line");
    }
    EXPECT_TRUE(KVTest::Matches(ReadLog(), "\\d{10} 0020: \\(I0\\) first, second, third\r\n"
                                           "\\d{10} 0021: \\(I0\\) next line\r\n"))
        << KVTest::Narrow(ReadLog());
}

TEST_F(LogFunctionTests, EntryText_WithoutArguments_FollowsTheNameDirectly)
{
    UseFile(kEntryAndExit | 0x4000000);
    RunScopeWithText(L" 100%d");
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method 100%d", L"(<-) Class::Method"}));
}

TEST_F(LogFunctionTests, EntryFormat_WithArguments_IsFormattedAndTagged)
{
    UseFile(kEntryAndExit | 0x4000000);
    RunScopeWithArguments(0, false, L"path = %s, %d", L"C:\\x", 5);
    EXPECT_EQ(ReadLog(), Lines({L"(->) (IP) Class::Method, path = C:\\x, 5", L"(<-) Class::Method"}));
}

TEST_F(LogFunctionTests, EntryFormat_TagOnlyWhereItsCategoryIsOn)
{
    UseFile(kEntryAndExit);
    RunScopeWithArguments(0, false, L"%d", 5);
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method, 5", L"(<-) Class::Method"}));
}

TEST_F(LogFunctionTests, EntryFormat_Empty_CountsAsNone)
{
    UseFile(kEntryAndExit | 0x4000000);
    RunScopeWithArguments(0, false, L"", 5);
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method", L"(<-) Class::Method"}));
}

TEST_F(LogFunctionTests, EntryFormat_EntryLineNotWanted_DoesNotGetIntoTheNextLine)
{
    UseFile(0x10);
    CLogFunction scope(&Module(), s_logFunctionTests, L"Class::Method", 17, 0, false, L"text", nullptr);
    scope.LogString(kLogInfo, 18, L"line");
    EXPECT_EQ(ReadLog(), Lines({L"(I0) line"}));
}

TEST_F(LogFunctionTests, Duration_IsAppendedToTheExitLineOnly)
{
    UseFile(kEntryAndExit, 0x400000);
    {
        const CLogFunction scope(&Module(), s_logFunctionTests, L"Class::Method", 17);
        ::Sleep(2);
    }
    const std::wstring log = ReadLog();
    ASSERT_TRUE(KVTest::Matches(log, "\\(->\\) Class::Method\r\n\\(<-\\) Class::Method \\(Dur: \\d+ us\\) \r\n"))
        << KVTest::Narrow(log);
    const std::int64_t duration = std::stoll(log.substr(log.find(L"Dur: ") + 5));
    EXPECT_GE(duration, 1000);
    EXPECT_LT(duration, 30000000);
}

TEST_F(LogFunctionTests, Duration_IsInMicroseconds)
{
    const KVTest::FrozenPerformanceCounter counter;
    UseFile(0x800, 0x400000);
    {
        const CLogFunction scope(&Module(), s_logFunctionTests, L"Class::Method", 17);
        KVTest::FrozenPerformanceCounter::Advance(2345678);
    }
    EXPECT_EQ(ReadLog(), Lines({L"(<-) Class::Method (Dur: 2345678 us) "}));
}

TEST_F(LogFunctionTests, ExceptionStates_AreNotedOnTheExitLine)
{
    UseFile(0x800);
    {
        CLogFunction scope(&Module(), s_logFunctionTests, L"Class::Method", 17);
        scope.SetExceptionState(ExceptionState::kHandled);
    }
    {
        CLogFunction scope(&Module(), s_logFunctionTests, L"Class::Method", 17);
        scope.SetExceptionState(ExceptionState::kUnhandled);
    }
    RunScopeWithArguments(0, true, nullptr);
    EXPECT_EQ(ReadLog(),
              Lines({L"(<-) Class::Method(handled exception) ", L"(<-) Class::Method(*unhandled exception*) ",
                     L"(<-) Class::Method(*unhandled exception*) "}));
}

TEST_F(LogFunctionTests, DurationAndExceptionNote_DurationComesFirst)
{
    UseFile(0x800, 0x400000);
    RunScopeWithArguments(0, true, nullptr);
    EXPECT_TRUE(
        KVTest::Matches(ReadLog(), "\\(<-\\) Class::Method \\(Dur: \\d+ us\\) \\(\\*unhandled exception\\*\\) \r\n"))
        << KVTest::Narrow(ReadLog());
}

TEST_F(LogFunctionTests, StateNumbers_AreTheFixedOnes)
{
    EXPECT_EQ(static_cast<int>(ExceptionState::kNone), 0);
    EXPECT_EQ(static_cast<int>(ExceptionState::kHandled), 2);
    EXPECT_EQ(static_cast<int>(ExceptionState::kUnhandled), 3);
}

TEST_F(LogFunctionTests, LeftByATranslatedFault_TheExitLineTellsSo)
{
    UseFile(kEntryAndExit);
    const KVTest::ForbiddenPage page;
    EXPECT_THROW(
        {
            const CLogFunction scope(&Module(), s_logFunctionTests, L"Class::Method", 17);
            const KVUtils::CStructuredExceptionScope translator;
            translator.Run([&] { static_cast<void>(*page.GetChars()); });
        },
        KVUtils::CWin32Exception);
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method", L"(<-) Class::Method   *** UNHANDLED EXCEPTION PENDING ***"}));
}

TEST_F(LogFunctionTests, FaultPendingElsewhere_SuffixComesAfterTheWords)
{
    UseFile(0x800, 0x400000);
    const KVUtils::CWin32Exception pending(EXCEPTION_RECORD{});
    RunScopeWithArguments(0, true, nullptr);
    EXPECT_TRUE(KVTest::Matches(ReadLog(), "\\(<-\\) Class::Method   \\*\\*\\* UNHANDLED EXCEPTION PENDING \\*\\*\\* "
                                           "\\(Dur: \\d+ us\\) \\(\\*unhandled exception\\*\\) \r\n"))
        << KVTest::Narrow(ReadLog());
}

TEST_F(LogFunctionTests, LeftByACppException_IsAnOrdinaryExitLine)
{
    UseFile(kEntryAndExit);
    EXPECT_THROW(
        {
            const CLogFunction scope(&Module(), s_logFunctionTests, L"Class::Method", 17);
            throw std::runtime_error("left");
        },
        std::runtime_error);
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method", L"(<-) Class::Method"}));
}

TEST_F(LogFunctionTests, ErrorCode_GivesASecondExitLine)
{
    UseFile(0x800 | 0x20000000, kCounterAndLine);
    {
        CLogFunction scope(&Module(), s_logFunctionTests, L"Class::Method", 17);
        scope.SetErrorCode(ERROR_ACCESS_DENIED);
        ::SetLastError(ERROR_ACCESS_DENIED);
    }
    EXPECT_TRUE(KVTest::Matches(ReadLog(), "\\d{10}       \\(<-\\) Class::Method\r\n"
                                           "\\d{10}       \\(\\*\\*\\) \\[Err: 0x00000005\\] .+\r\n"))
        << KVTest::Narrow(ReadLog());
}

TEST_F(LogFunctionTests, ErrorCode_TheLastErrorIsTheTracedFunctions)
{
    UseFile(0x800 | 0x20000000);
    {
        CLogFunction scope(&Module(), s_logFunctionTests, L"Class::Method", 17);
        scope.SetErrorCode(ERROR_ACCESS_DENIED);
        ::SetLastError(ERROR_FILE_NOT_FOUND);
    }
    EXPECT_EQ(ReadLog(),
              Lines({L"(<-) Class::Method", L"(**) [Err: 0x00000005] " + SystemText(ERROR_ACCESS_DENIED) +
                                                L", [GLE: 0x00000002] " + SystemText(ERROR_FILE_NOT_FOUND) + L"\r"}));
}

TEST_F(LogFunctionTests, ErrorCode_CategoryOff_TheLineHasNoTag)
{
    UseFile(0x800);
    ::SetLastError(ERROR_ACCESS_DENIED);
    RunScopeWithArguments(ERROR_ACCESS_DENIED, false, nullptr);
    EXPECT_EQ(ReadLog(), Lines({L"(<-) Class::Method", L"[Err: 0x00000005] " + SystemText(ERROR_ACCESS_DENIED)}));
}

TEST_F(LogFunctionTests, ErrorCode_ExitLineNotWanted_NoErrorLineEither)
{
    UseFile(0x20000010);
    RunScopeWithArguments(ERROR_ACCESS_DENIED, false, nullptr);
    EXPECT_EQ(ReadLog(), L"");
}

TEST_F(LogFunctionTests, ErrorCode_ModulesFormatterIsAsked)
{
    UseFile(0x800 | 0x20000000);
    Module().SetErrorTextFormatter([](std::uint32_t errorCode, wchar_t* buffer, std::uint32_t length) {
        return static_cast<std::uint32_t>(_snwprintf(buffer, length, L"own text of %u", errorCode));
    });
    RunScopeWithArguments(4711, false, nullptr);
    EXPECT_EQ(ReadLog(), Lines({L"(<-) Class::Method", L"(**) [Err: 0x00001267] own text of 4711"}));
}

TEST_F(LogFunctionTests, Indentation_EntryAndExitLineUp)
{
    UseFile(0xC10, 0x200000);
    {
        CLogFunction outer(&Module(), s_logFunctionTests, L"Class::Outer", 1);
        outer.LogString(kLogInfo, 2, L"in outer");
        {
            CLogFunction inner(&Module(), s_logFunctionTests, L"Class::Inner", 3);
            inner.LogString(kLogInfo, 4, L"in inner");
        }
        Log(0x10, L"without scope");
    }
    Log(0x10, L"outside");
    EXPECT_EQ(ReadLog(),
              Lines({L"(->) Class::Outer", L"(I0)   in outer", L"(->)   Class::Inner", L"(I0)     in inner",
                     L"(<-)   Class::Inner", L"(I0)   without scope", L"(<-) Class::Outer", L"(I0) outside"}));
}

TEST_F(LogFunctionTests, Indentation_ErrorLineIsAtTheLevelOfTheExitLine)
{
    UseFile(0xC00, 0x200000);
    {
        const CLogFunction outer(&Module(), s_logFunctionTests, L"Class::Outer", 1);
        ::SetLastError(ERROR_ACCESS_DENIED);
        RunScopeWithArguments(ERROR_ACCESS_DENIED, false, nullptr);
    }
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Outer", L"(->)   Class::Method", L"(<-)   Class::Method",
                                L"  [Err: 0x00000005] " + SystemText(ERROR_ACCESS_DENIED), L"(<-) Class::Outer"}));
}

TEST_F(LogFunctionTests, Indentation_ExitWithoutEntry_StaysEmpty)
{
    UseFile(0x810, 0x200000);
    RunScope();
    Log(0x10, L"line");
    EXPECT_EQ(ReadLog(), Lines({L"(<-) Class::Method", L"(I0) line"}));
}

// Where destructors do not run, the nested scopes write no exit lines.
TEST_F(LogFunctionTests, Indentation_AfterAFaultInNestedScopes_IsThatOfTheScopeThatSurvives)
{
    UseFile(0xC10, 0x200000);
    const KVTest::ForbiddenPage page;
    for (int i = 0; i < 2; ++i)
    {
        const CLogFunction outer(&Module(), s_logFunctionTests, L"Class::Outer", 1);
        const KVUtils::CStructuredExceptionScope translator;
        EXPECT_THROW(translator.Run([&] {
            const CLogFunction inner(&Module(), s_logFunctionTests, L"Class::Inner", 2);
            const CLogFunction innermost(&Module(), s_logFunctionTests, L"Class::Innermost", 3);
            static_cast<void>(*page.GetChars());
        }),
                     KVUtils::CWin32Exception);
    }
    Log(0x10, L"outside");
    const std::wstring log = ReadLog();
    const std::wstring end = Lines({L"(<-) Class::Outer", L"(I0) outside"});
    ASSERT_GE(log.size(), end.size());
    EXPECT_EQ(log.substr(log.size() - end.size()), end);
    const std::wstring second = Lines({L"(<-) Class::Outer", L"(->) Class::Outer", L"(->)   Class::Inner"});
    EXPECT_NE(log.find(second), std::wstring::npos) << KVTest::Narrow(log);
}

TEST_F(LogFunctionTests, Indentation_OfTwoThreads_IsOne)
{
    UseFile(0xC10, 0x200000);
    const CUniqueSystemHandle entered(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const CUniqueSystemHandle mayLeave(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    std::thread other;
    {
        const CLogFunction outer(&Module(), s_logFunctionTests, L"Class::First", 1);
        other = std::thread([&] {
            const CLogFunction scope(&Module(), s_logFunctionTests, L"Class::Second", 1);
            ::SetEvent(entered.Get());
            ::WaitForSingleObject(mayLeave.Get(), 20000);
        });
        EXPECT_EQ(::WaitForSingleObject(entered.Get(), 20000), WAIT_OBJECT_0);
    }
    Log(0x10, L"between");
    ::SetEvent(mayLeave.Get());
    other.join();
    Log(0x10, L"after");
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::First", L"(->)   Class::Second", L"(<-)   Class::First",
                                L"(I0)   between", L"(<-) Class::Second", L"(I0) after"}));
}

TEST_F(LogFunctionTests, Indentation_InnerScopeWithoutExitLine_StaysDeeper)
{
    static const CLogSourceFile s_entriesOnly(L"EntriesOnly.cpp");
    UseFile(0xC10, 0x200000);
    const std::wstring key = KVTest::ModuleKey() + L"\\EntriesOnly.cpp";
    m_registry.SetDword(key, L"LogCategories", 0x400);
    m_registry.SetDword(key, L"LogOptions", 0x200000);
    {
        const CLogFunction outer(&Module(), s_logFunctionTests, L"Class::Outer", 1);
        const CLogFunction inner(&Module(), s_entriesOnly, L"Class::Inner", 2);
    }
    Log(0x10, L"outside");
    EXPECT_EQ(ReadLog(),
              Lines({L"(->) Class::Outer", L"(->)   Class::Inner", L"(<-)   Class::Outer", L"(I0)   outside"}));
}

TEST_F(LogFunctionTests, Indentation_OptionOff_None)
{
    UseFile(0xC10);
    CLogFunction scope(&Module(), s_logFunctionTests, L"Class::Method", 1);
    scope.LogString(kLogInfo, 2, L"line");
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method", L"(I0) line"}));
}

TEST_F(LogFunctionTests, LastError_SurvivesEveryCallLoggingOnAndOff)
{
    for (const DWORD categories : {0u, 0xC10u})
    {
        UseFile(categories);
        EndModule();
        ::SetLastError(4711);
        {
            CLogFunction scope(&Module(), s_logFunctionTests, L"Class::Method", 1, 5, false, nullptr, nullptr);
            EXPECT_EQ(::GetLastError(), 4711u);
            scope.LogString(kLogInfo, 2, L"line");
            EXPECT_EQ(::GetLastError(), 4711u);
            scope.LogFormattedString(kLogInfo, 3, L"%d", 5);
            EXPECT_EQ(::GetLastError(), 4711u);
        }
        EXPECT_EQ(::GetLastError(), 4711u);
        Log(0x10, L"line");
        EXPECT_EQ(::GetLastError(), 4711u);
        Module().FormatErrorText(5);
        EXPECT_EQ(::GetLastError(), 4711u);
    }
    EXPECT_NE(ReadLog(), L"");
}

TEST_F(LogFunctionTests, NoModule_LogsNothing)
{
    UseFile(0xFFFF);
    CLogFunction scope(nullptr, s_logFunctionTests, L"Class::Method", 1);
    scope.LogString(kLogInfo, 2, L"line");
    scope.LogFormattedString(kLogInfo, 3, L"%d", 5);
    EXPECT_EQ(scope.GetLineNumber(), 3);
    EXPECT_EQ(ReadLog(), L"");
}

TEST_F(LogFunctionTests, BadFullName_TheLinesAreDroppedAndTheCallerGoesOn)
{
    UseFile(kEntryAndExit | 0x10);
    const KVTest::ForbiddenPage page;
    {
        CLogFunction scope(&Module(), s_logFunctionTests, page.GetText(), 1);
        scope.LogString(kLogInfo, 2, L"line");
    }
    EXPECT_EQ(ReadLog(), Lines({L"(I0) line"}));
    EXPECT_EQ(KVUtils::CWin32Exception::GetLiveCount(), 0);
}

// A program that survives the fault of an operation runs whole operations, their scopes included, in a guard of its
// own.
TEST_F(LogFunctionTests, BadSourceFile_InAGuardOfTheCaller_TheLocksAreFreeAfterwards)
{
    UseFile(kEntryAndExit | 0x10);
    const KVTest::ForbiddenPage page;
    bool hasGoneOn = false;
    try
    {
        const KVUtils::CStructuredExceptionScope translator;
        translator.Run([&] {
            const CLogFunction scope(&Module(), *static_cast<const CLogSourceFile*>(page.GetAddress()),
                                     L"Class::Method", 1);
            hasGoneOn = true;
        });
    }
    catch (const KVUtils::CWin32Exception&)
    {
        ADD_FAILURE() << "the fault has left the scope";
    }
    EXPECT_TRUE(hasGoneOn);
    const CUniqueSystemHandle isLogged(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    std::thread other([&] {
        Log(0x10, L"line");
        ::SetEvent(isLogged.Get());
    });
    const DWORD wait = ::WaitForSingleObject(isLogged.Get(), 5000);
    if (wait != WAIT_OBJECT_0)
    {
        other.detach();
        FAIL() << "the module's lock is held";
    }
    other.join();
    EXPECT_EQ(ReadLog(), Lines({L"(I0) line"}));
    EXPECT_EQ(KVUtils::CWin32Exception::GetLiveCount(), 0);
}

TEST_F(LogFunctionTests, Class_HasAVirtualDestructor)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<CLogFunction>);
}
} // namespace
