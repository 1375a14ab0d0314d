#include "utils/StructuredExceptionScope.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstring>
#include <cwchar>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/DebugOutputCapture.h"
#include "tests/utils/Faults.h"
#include "utils/AccessViolation.h"

namespace
{
using KVTest::ForbiddenPage;
using KVUtils::CAccessViolation;
using KVUtils::CStructuredExceptionScope;
using KVUtils::CWin32Exception;

// What a fault in body arrived as; fails the test when nothing or something else came.
template <typename Exception, typename Body> Exception CatchFrom(const Body& body)
{
    const CStructuredExceptionScope scope;
    try
    {
        scope.Run(body);
    }
    catch (const Exception& exception)
    {
        return exception;
    }
    throw std::logic_error("the body returned without a fault");
}

// Keeps the optimiser from finding out what a pointer is.
template <typename T> T* Opaque(T* pointer)
{
    T* volatile hidden = pointer;
    return hidden;
}

TEST(StructuredExceptionScopeTests, Read_IsAnAccessViolationWithAddressAndWithoutWriteFlag)
{
    const ForbiddenPage page;
    const auto fault = CatchFrom<CAccessViolation>([&] { static_cast<void>(page.GetChars()[5]); });
    EXPECT_STREQ(fault.GetMessageText(), L"Access violation");
    EXPECT_EQ(fault.GetExceptionCode(), 0xC0000005u);
    EXPECT_FALSE(fault.IsWriteAccess());
    EXPECT_EQ(fault.GetInaccessibleAddress(), static_cast<char*>(page.GetAddress()) + 5);
}

TEST(StructuredExceptionScopeTests, Write_HasTheWriteFlag)
{
    const ForbiddenPage page;
    const auto fault = CatchFrom<CAccessViolation>([&] { page.GetChars()[7] = 1; });
    EXPECT_TRUE(fault.IsWriteAccess());
    EXPECT_EQ(fault.GetInaccessibleAddress(), static_cast<char*>(page.GetAddress()) + 7);
}

// The instruction that faults lies in a function of its own, whose code is compared with the address reported.
void WriteTo(volatile char* place)
{
    *place = 1;
}

TEST(StructuredExceptionScopeTests, ExceptionAddress_LiesInTheFaultingFunction)
{
    const ForbiddenPage page;
    void (*volatile function)(volatile char*) = &WriteTo;
    const auto fault = CatchFrom<CAccessViolation>([&] { function(page.GetChars()); });
    const auto start = reinterpret_cast<std::uintptr_t>(&WriteTo);
    const auto address = reinterpret_cast<std::uintptr_t>(fault.GetExceptionAddress());
    EXPECT_GE(address, start);
    EXPECT_LT(address, start + 256);
}

TEST(StructuredExceptionScopeTests, AccessViolation_IsAlsoCaughtAsWin32Exception)
{
    const ForbiddenPage page;
    const auto fault = CatchFrom<CWin32Exception>([&] { page.GetChars()[0] = 1; });
    EXPECT_STREQ(fault.GetMessageText(), L"Access violation");
    EXPECT_EQ(fault.GetExceptionCode(), 0xC0000005u);
}

TEST(StructuredExceptionScopeTests, DivisionByZero_IsAWin32ExceptionWithItsText)
{
    volatile int zero = 0;
    const auto fault = CatchFrom<CWin32Exception>([&] { KVTest::Divide(1, zero); });
    EXPECT_STREQ(fault.GetMessageText(), L"Division by zero");
    EXPECT_EQ(fault.GetExceptionCode(), 0xC0000094u);
    EXPECT_NE(fault.GetExceptionAddress(), nullptr);
}

TEST(StructuredExceptionScopeTests, DivisionByZero_IsNoAccessViolation)
{
    volatile int zero = 0;
    const CStructuredExceptionScope scope;
    bool wasPlain = false;
    try
    {
        scope.Run([&] { KVTest::Divide(1, zero); });
    }
    catch (const CAccessViolation&)
    {
        FAIL();
    }
    catch (const CWin32Exception&)
    {
        wasPlain = true;
    }
    EXPECT_TRUE(wasPlain);
}

TEST(StructuredExceptionScopeTests, OtherCode_IsAWin32Exception)
{
    const auto raised = CatchFrom<CWin32Exception>([] { ::RaiseException(0xE0001234, 0, 0, nullptr); });
    EXPECT_STREQ(raised.GetMessageText(), L"Win32 exception");
    EXPECT_EQ(raised.GetExceptionCode(), 0xE0001234u);
}

TEST(StructuredExceptionScopeTests, LiveCount_BeforeDuringAndAfter)
{
    const ForbiddenPage page;
    const auto before = CWin32Exception::GetLiveCount();
    const CStructuredExceptionScope scope;
    try
    {
        scope.Run([&] { page.GetChars()[0] = 1; });
        FAIL();
    }
    catch (const CWin32Exception&)
    {
        EXPECT_EQ(CWin32Exception::GetLiveCount(), before + 1);
    }
    EXPECT_EQ(CWin32Exception::GetLiveCount(), before);
}

TEST(StructuredExceptionScopeTests, FaultInsideWcslen_IsTranslated)
{
    const ForbiddenPage page;
    volatile std::size_t length = 0;
    const auto fault = CatchFrom<CAccessViolation>([&] { length = std::wcslen(Opaque(page.GetText())); });
    EXPECT_EQ(fault.GetInaccessibleAddress(), page.GetAddress());
}

TEST(StructuredExceptionScopeTests, FaultInsideMemcpy_IsTranslated)
{
    const ForbiddenPage page;
    std::vector<char> source(512, 'x');
    const std::size_t volatile size = source.size();
    CatchFrom<CAccessViolation>([&] { std::memcpy(Opaque(page.GetAddress()), Opaque(source.data()), size); });
    CatchFrom<CAccessViolation>([&] { std::memcpy(Opaque(source.data()), Opaque(page.GetAddress()), size); });
}

TEST(StructuredExceptionScopeTests, FaultInsideWcscpy_IsTranslated)
{
    const ForbiddenPage page;
    wchar_t target[16];
    CatchFrom<CAccessViolation>([&] { std::wcscpy(Opaque(target), Opaque(page.GetText())); });
}

TEST(StructuredExceptionScopeTests, FaultInsideStringFunctions_IsTranslated)
{
    const ForbiddenPage page;
    std::wstring text = L"text";
    CatchFrom<CAccessViolation>([&] { text = std::wstring(Opaque(page.GetText())); });
    CatchFrom<CAccessViolation>([&] { text.append(Opaque(page.GetText()), 100); });
    CatchFrom<CAccessViolation>([&] { text.insert(1, Opaque(page.GetText())); });
    EXPECT_EQ(text.substr(0, 1), L"t");
}

TEST(StructuredExceptionScopeTests, FaultInsideFormatting_IsTranslated)
{
    const ForbiddenPage page;
    wchar_t target[16];
    CatchFrom<CAccessViolation>([&] { _snwprintf(target, 16, L"%ls", Opaque(page.GetText())); });
}

void FaultAtOnce(volatile char* place)
{
    *place = 1;
}

TEST(StructuredExceptionScopeTests, FaultInTheBodyItself_IsTranslated)
{
    static volatile char* s_place = nullptr;
    const ForbiddenPage page;
    s_place = page.GetChars();
    CatchFrom<CAccessViolation>([] { *s_place = 1; });
    CatchFrom<CAccessViolation>([] { FaultAtOnce(s_place); });
}

// A frame that is held to throw nothing, between the fault and the scope.
void FaultInNoexcept(volatile char* place) noexcept
{
    *place = 1;
}

TEST(StructuredExceptionScopeTests, FaultBelowANoexceptFunction_IsTranslated)
{
    const ForbiddenPage page;
    CatchFrom<CAccessViolation>([&] { FaultInNoexcept(page.GetChars()); });
}

struct Cleanup
{
    explicit Cleanup(int& count) noexcept : m_count(count) {}
    ~Cleanup() { ++m_count; }
    Cleanup(const Cleanup&) = delete;
    Cleanup& operator=(const Cleanup&) = delete;
    int& m_count;
};

TEST(StructuredExceptionScopeTests, FaultBelowFramesWithDestructorsAndHandlers_IsTranslated)
{
    const ForbiddenPage page;
    int cleanups = 0;
    bool caughtBetween = false;
    CatchFrom<CAccessViolation>([&] {
        const Cleanup cleanup(cleanups);
        try
        {
            const Cleanup inner(cleanups);
            page.GetChars()[0] = 1;
        }
        catch (const std::logic_error&)
        {
            caughtBetween = true;
        }
    });
    EXPECT_FALSE(caughtBetween);
}

TEST(StructuredExceptionScopeTests, FaultInsideACatchBlock_IsTranslated)
{
    const ForbiddenPage page;
    CatchFrom<CAccessViolation>([&] {
        try
        {
            throw std::runtime_error("first");
        }
        catch (const std::runtime_error&)
        {
            page.GetChars()[0] = 1;
        }
    });
}

TEST(StructuredExceptionScopeTests, BodyWithoutFault_RunsOnceAndReturns)
{
    int calls = 0;
    const CStructuredExceptionScope scope;
    scope.Run([&] { ++calls; });
    EXPECT_EQ(calls, 1);
}

TEST(StructuredExceptionScopeTests, CppException_PassesUntouchedAndDestructorsRun)
{
    int cleanups = 0;
    const CStructuredExceptionScope scope;
    EXPECT_THROW(scope.Run([&] {
        const Cleanup cleanup(cleanups);
        throw std::out_of_range("ordinary");
    }),
                 std::out_of_range);
    EXPECT_EQ(cleanups, 1);
    EXPECT_THROW(scope.Run([] { throw 5; }), int);
    EXPECT_EQ(CWin32Exception::GetLiveCount(), 0);
}

TEST(StructuredExceptionScopeTests, CppExceptionCaughtInside_DoesNotDisturb)
{
    int caught = 0;
    const CStructuredExceptionScope scope;
    scope.Run([&] {
        try
        {
            throw std::runtime_error("inside");
        }
        catch (const std::runtime_error&)
        {
            ++caught;
        }
    });
    EXPECT_EQ(caught, 1);
}

TEST(StructuredExceptionScopeTests, DebugOutput_PassesUntouched)
{
    KVTest::DebugOutputCapture capture;
    const CStructuredExceptionScope scope;
    bool returned = false;
    scope.Run([&] {
        ::OutputDebugStringW(L"wide");
        ::OutputDebugStringA("narrow");
        returned = true;
    });
    EXPECT_TRUE(returned);
    EXPECT_THAT(capture.GetLines(), testing::ElementsAre("wide", "narrow"));
}

TEST(StructuredExceptionScopeTests, DebugOutputWithoutAReader_PassesUntouched)
{
    bool returned = false;
    const CStructuredExceptionScope scope;
    scope.Run([&] {
        ::OutputDebugStringW(L"nobody reads this");
        returned = true;
    });
    EXPECT_TRUE(returned);
}

TEST(StructuredExceptionScopeTests, InformationalException_IsNotTranslated)
{
    EXPECT_EQ(KVTest::RunBesideTest(L"kv_faulting.exe", L"informational"), 0x41234567u);
}

TEST(StructuredExceptionScopeTests, FaultThatTheSystemHandlesItself_PassesUntouched)
{
    const ForbiddenPage page;
    int length = -1;
    const CStructuredExceptionScope scope;
    scope.Run([&] { length = ::lstrlenW(Opaque(page.GetText())); });
    EXPECT_EQ(length, 0);
}

TEST(StructuredExceptionScopeTests, NestedScopes_TheInnermostTranslatesAndTheOuterWorksAfterwards)
{
    const ForbiddenPage page;
    int innerFaults = 0;
    const auto outerFault = CatchFrom<CAccessViolation>([&] {
        const CStructuredExceptionScope inner;
        try
        {
            inner.Run([&] { page.GetChars()[1] = 1; });
        }
        catch (const CAccessViolation& fault)
        {
            innerFaults += fault.GetInaccessibleAddress() == page.GetChars() + 1 ? 1 : 0;
        }
        page.GetChars()[2] = 1;
    });
    EXPECT_EQ(innerFaults, 1);
    EXPECT_EQ(outerFault.GetInaccessibleAddress(), page.GetChars() + 2);
    EXPECT_EQ(CWin32Exception::GetLiveCount(), 1); // the copy returned by CatchFrom
}

TEST(StructuredExceptionScopeTests, InnerFault_PassesThroughTheOuterScopeAsTheSameException)
{
    const ForbiddenPage page;
    const auto fault = CatchFrom<CAccessViolation>([&] {
        const CStructuredExceptionScope inner;
        inner.Run([&] { page.GetChars()[3] = 1; });
    });
    EXPECT_EQ(fault.GetInaccessibleAddress(), page.GetChars() + 3);
}

TEST(StructuredExceptionScopeTests, Scope_IsUsableAgainAfterAFaultAndAfterAnotherScope)
{
    const ForbiddenPage page;
    const CStructuredExceptionScope reused;
    int faults = 0;
    for (int i = 0; i < 200; ++i)
    {
        try
        {
            reused.Run([&] { page.GetChars()[i] = 1; });
        }
        catch (const CAccessViolation& fault)
        {
            faults += fault.GetInaccessibleAddress() == page.GetChars() + i ? 1 : 0;
        }
        CatchFrom<CAccessViolation>([&] { page.GetChars()[i] = 1; });
    }
    EXPECT_EQ(faults, 200);
    EXPECT_EQ(CWin32Exception::GetLiveCount(), 0);
}

TEST(StructuredExceptionScopeTests, TwoThreads_EachGetsItsOwnFaults)
{
    std::atomic<int> right = 0;
    const auto faultOften = [&right] {
        const ForbiddenPage page;
        for (int i = 0; i < 200; ++i)
        {
            const auto fault = CatchFrom<CAccessViolation>([&] { page.GetChars()[i] = 1; });
            right += fault.GetInaccessibleAddress() == page.GetChars() + i ? 1 : 0;
        }
    };
    std::thread one(faultOften);
    std::thread other(faultOften);
    one.join();
    other.join();
    EXPECT_EQ(right, 400);
    EXPECT_EQ(CWin32Exception::GetLiveCount(), 0);
}

TEST(StructuredExceptionScopeTests, FaultInsideAScope_OfAnotherProgram_IsTranslated)
{
    EXPECT_EQ(KVTest::RunBesideTest(L"kv_faulting.exe", L"inside"), 77u);
}

TEST(StructuredExceptionScopeTests, FaultWithoutAScope_IsNotTranslated)
{
    EXPECT_EQ(KVTest::RunBesideTest(L"kv_faulting.exe", L"none"), 0xC0000005u);
}

TEST(StructuredExceptionScopeTests, FaultAfterTheScope_IsNotTranslated)
{
    EXPECT_EQ(KVTest::RunBesideTest(L"kv_faulting.exe", L"after"), 0xC0000005u);
}

TEST(StructuredExceptionScopeTests, FaultOnAThreadWithoutScope_IsNotTranslated)
{
    EXPECT_EQ(KVTest::RunBesideTest(L"kv_faulting.exe", L"thread"), 0xC0000005u);
}
} // namespace
