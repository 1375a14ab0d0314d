#include "utils/base/StructuredExceptionScope.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/DebugOutputCapture.h"
#include "tests/support/Faults.h"
#include "utils/base/AccessViolation.h"

#if !defined(_MSC_VER) // which has no assembly in source files

// Gives each register that a function has to keep a value of its own, calls the function and returns the number of
// registers that have another value afterwards.
extern "C" int KvCountChangedRegisters(void (*function)());

__asm__(R"(
    .macro KvCompare register, value
    cmpq $\value, \register
    setne %cl
    movzbl %cl, %ecx
    addl %ecx, %eax
    .endm
    .macro KvCompareVector register, value
    movq \register, %rdx
    KvCompare %rdx, \value
    .endm
    .text
    .p2align 4
    .globl KvCountChangedRegisters
    .def KvCountChangedRegisters; .scl 2; .type 32; .endef
    .seh_proc KvCountChangedRegisters
KvCountChangedRegisters:
    pushq %rbx
    .seh_pushreg %rbx
    pushq %rsi
    .seh_pushreg %rsi
    pushq %rdi
    .seh_pushreg %rdi
    pushq %rbp
    .seh_pushreg %rbp
    pushq %r12
    .seh_pushreg %r12
    pushq %r13
    .seh_pushreg %r13
    pushq %r14
    .seh_pushreg %r14
    pushq %r15
    .seh_pushreg %r15
    subq $200, %rsp
    .seh_stackalloc 200
    movaps %xmm6, 32(%rsp)
    .seh_savexmm %xmm6, 32
    movaps %xmm7, 48(%rsp)
    .seh_savexmm %xmm7, 48
    movaps %xmm8, 64(%rsp)
    .seh_savexmm %xmm8, 64
    movaps %xmm9, 80(%rsp)
    .seh_savexmm %xmm9, 80
    movaps %xmm10, 96(%rsp)
    .seh_savexmm %xmm10, 96
    movaps %xmm11, 112(%rsp)
    .seh_savexmm %xmm11, 112
    movaps %xmm12, 128(%rsp)
    .seh_savexmm %xmm12, 128
    movaps %xmm13, 144(%rsp)
    .seh_savexmm %xmm13, 144
    movaps %xmm14, 160(%rsp)
    .seh_savexmm %xmm14, 160
    movaps %xmm15, 176(%rsp)
    .seh_savexmm %xmm15, 176
    .seh_endprologue
    movq $1, %rbx
    movq $2, %rsi
    movq $3, %rdi
    movq $4, %rbp
    movq $5, %r12
    movq $6, %r13
    movq $7, %r14
    movq $8, %r15
    movq %rbx, %xmm6
    movq %rsi, %xmm7
    movq %rdi, %xmm8
    movq %rbp, %xmm9
    movq %r12, %xmm10
    movq %r13, %xmm11
    movq %r14, %xmm12
    movq %r15, %xmm13
    movq %rbx, %xmm14
    movq %rsi, %xmm15
    call *%rcx
    xorl %eax, %eax
    KvCompare %rbx, 1
    KvCompare %rsi, 2
    KvCompare %rdi, 3
    KvCompare %rbp, 4
    KvCompare %r12, 5
    KvCompare %r13, 6
    KvCompare %r14, 7
    KvCompare %r15, 8
    KvCompareVector %xmm6, 1
    KvCompareVector %xmm7, 2
    KvCompareVector %xmm8, 3
    KvCompareVector %xmm9, 4
    KvCompareVector %xmm10, 5
    KvCompareVector %xmm11, 6
    KvCompareVector %xmm12, 7
    KvCompareVector %xmm13, 8
    KvCompareVector %xmm14, 1
    KvCompareVector %xmm15, 2
    movaps 32(%rsp), %xmm6
    movaps 48(%rsp), %xmm7
    movaps 64(%rsp), %xmm8
    movaps 80(%rsp), %xmm9
    movaps 96(%rsp), %xmm10
    movaps 112(%rsp), %xmm11
    movaps 128(%rsp), %xmm12
    movaps 144(%rsp), %xmm13
    movaps 160(%rsp), %xmm14
    movaps 176(%rsp), %xmm15
    addq $200, %rsp
    popq %r15
    popq %r14
    popq %r13
    popq %r12
    popq %rbp
    popq %rdi
    popq %rsi
    popq %rbx
    ret
    .seh_endproc
)");

#endif

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
    EXPECT_EQ(text, L"text");
    CatchFrom<CAccessViolation>([&] { text.insert(1, Opaque(page.GetText())); });
    // A fault in the middle of a string's own change leaves it inconsistent. It keeps its memory, which is large
    // enough, and gets a new text.
    text.reserve(200);
    CatchFrom<CAccessViolation>([&] { text.append(Opaque(page.GetText()), 100); });
    text.assign(L"text");
    EXPECT_EQ(text, L"text");
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

#if !defined(_MSC_VER) // whose translated exception may not leave such a function

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

#endif

struct Cleanup
{
    explicit Cleanup(int& count) noexcept : runCount(count) {}
    ~Cleanup() { ++runCount; }
    Cleanup(const Cleanup&) = delete;
    Cleanup& operator=(const Cleanup&) = delete;
    int& runCount;
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

// An exception that counts its live objects.
struct Counted
{
    Counted() noexcept { ++s_count; }
    Counted(const Counted&) noexcept { ++s_count; }
    Counted& operator=(const Counted&) = default;
    ~Counted() { --s_count; }
    static inline int s_count = 0;
};

#if defined(_MSC_VER)
constexpr bool kExceptionsAreCopied = true; // when they are thrown from a pointer, or a pointer to them is made
#else
constexpr bool kExceptionsAreCopied = false;
#endif

// The current exception is the one of the pointer, or a copy, and as many objects are alive as with that pointer alone.
void ExpectCurrentException([[maybe_unused]] const std::exception_ptr& expected)
{
    if constexpr (!kExceptionsAreCopied)
    {
        EXPECT_EQ(std::current_exception(), expected);
    }
    EXPECT_NE(std::current_exception(), nullptr);
    EXPECT_THROW(throw, Counted);
    EXPECT_EQ(Counted::s_count, kExceptionsAreCopied ? 2 : 1);
}

// Neither a catch block nor an exception is left over.
void ExpectNoException()
{
    EXPECT_EQ(std::current_exception(), nullptr);
    EXPECT_EQ(std::uncaught_exceptions(), 0);
    EXPECT_EQ(Counted::s_count, 0);
    EXPECT_EQ(CWin32Exception::GetLiveCount(), 0);
}

// Runs the body, which faults.
template <typename Body> void Survive(const Body& body)
{
    static_cast<void>(CatchFrom<CAccessViolation>(body));
}

TEST(StructuredExceptionScopeTests, FaultInsideACatchBlock_EndsTheCatch)
{
    const ForbiddenPage page;
    Survive([&] {
        try
        {
            throw Counted();
        }
        catch (const Counted&)
        {
            page.GetChars()[0] = 1;
        }
    });
    ExpectNoException();
}

TEST(StructuredExceptionScopeTests, FaultInsideACatchBlockOfAFault_EndsTheCatch)
{
    const ForbiddenPage page;
    Survive([&] {
        try
        {
            CStructuredExceptionScope().Run([&] { page.GetChars()[0] = 1; });
        }
        catch (const CWin32Exception&)
        {
            page.GetChars()[1] = 1;
        }
    });
    ExpectNoException();
}

TEST(StructuredExceptionScopeTests, FaultInsideNestedCatchBlocks_EndsThemAll)
{
    const ForbiddenPage page;
    Survive([&] {
        try
        {
            throw Counted();
        }
        catch (const Counted&)
        {
            try
            {
                throw std::runtime_error("inner");
            }
            catch (const std::runtime_error&)
            {
                page.GetChars()[0] = 1;
            }
        }
    });
    ExpectNoException();
}

// Throws the current exception again, catches it and faults.
void FaultWithTheCurrentExceptionCaughtAgain(const ForbiddenPage& page)
{
    try
    {
        throw;
    }
    catch (const Counted&)
    {
        page.GetChars()[0] = 1;
    }
}

TEST(StructuredExceptionScopeTests, FaultWithAnExceptionCaughtTwice_EndsBothCatches)
{
    const ForbiddenPage page;
    Survive([&] {
        try
        {
            throw Counted();
        }
        catch (const Counted&)
        {
            FaultWithTheCurrentExceptionCaughtAgain(page);
        }
    });
    ExpectNoException();
}

TEST(StructuredExceptionScopeTests, FaultInsideACatchBlock_AnExceptionCaughtOutside_StaysCaught)
{
    const ForbiddenPage page;
    try
    {
        throw Counted();
    }
    catch (const Counted&)
    {
        const std::exception_ptr current = std::current_exception();
        Survive([&] { FaultWithTheCurrentExceptionCaughtAgain(page); });
        ExpectCurrentException(current);
        Survive([&] {
            try
            {
                throw std::runtime_error("inner");
            }
            catch (const std::runtime_error&)
            {
                page.GetChars()[0] = 1;
            }
        });
        ExpectCurrentException(current);
    }
    ExpectNoException();
}

TEST(StructuredExceptionScopeTests, FaultInsideACatchBlock_AnExceptionThatIsStillReferred_StaysAlive)
{
    const ForbiddenPage page;
    std::exception_ptr kept;
    Survive([&] {
        try
        {
            throw Counted();
        }
        catch (const Counted&)
        {
            kept = std::current_exception();
            page.GetChars()[0] = 1;
        }
    });
    EXPECT_EQ(std::current_exception(), nullptr);
    EXPECT_EQ(Counted::s_count, 1);
    EXPECT_THROW(std::rethrow_exception(kept), Counted);
    kept = nullptr;
    ExpectNoException();
}

TEST(StructuredExceptionScopeTests, FaultInsideACatchBlock_OfAnExceptionThrownFromAPointer_EndsTheCatch)
{
    const ForbiddenPage page;
    std::exception_ptr thrown = std::make_exception_ptr(Counted());
    Survive([&] {
        try
        {
            std::rethrow_exception(thrown);
        }
        catch (const Counted&)
        {
            page.GetChars()[0] = 1;
        }
    });
    if constexpr (!kExceptionsAreCopied)
    {
        EXPECT_EQ(Counted::s_count, 1);
    }
    thrown = nullptr;
    ExpectNoException();
}

#if !defined(_MSC_VER) // whose translated fault may not leave a destructor

struct FaultAtEnd
{
    explicit FaultAtEnd(const ForbiddenPage& page) noexcept : forbiddenPage(page) {}
    ~FaultAtEnd() { forbiddenPage.GetChars()[0] = 1; }
    FaultAtEnd(const FaultAtEnd&) = delete;
    FaultAtEnd& operator=(const FaultAtEnd&) = delete;
    const ForbiddenPage& forbiddenPage;
};

TEST(StructuredExceptionScopeTests, FaultInADestructorDuringUnwinding_EndsTheExceptionThatWasLeaving)
{
    const ForbiddenPage page;
    Survive([&] {
        const FaultAtEnd faulting(page);
        throw Counted();
    });
    ExpectNoException();
    std::exception_ptr thrown = std::make_exception_ptr(Counted());
    Survive([&] {
        const FaultAtEnd faulting(page);
        std::rethrow_exception(thrown);
    });
    thrown = nullptr;
    ExpectNoException();
}

TEST(StructuredExceptionScopeTests, FaultInADestructorDuringUnwinding_OfAFault_EndsIt)
{
    const ForbiddenPage page;
    Survive([&] {
        const FaultAtEnd faulting(page);
        CStructuredExceptionScope().Run([&] { page.GetChars()[1] = 1; });
    });
    ExpectNoException();
}

TEST(StructuredExceptionScopeTests, FaultInADestructorDuringUnwinding_OfAnExceptionThrownAgain_EndsItOnce)
{
    const ForbiddenPage page;
    Survive([&] {
        try
        {
            throw Counted();
        }
        catch (const Counted&)
        {
            const FaultAtEnd faulting(page);
            throw;
        }
    });
    ExpectNoException();
}

TEST(StructuredExceptionScopeTests, FaultInADestructorDuringUnwinding_OfAnExceptionCaughtOutside_LeavesItCaught)
{
    const ForbiddenPage page;
    try
    {
        throw Counted();
    }
    catch (const Counted&)
    {
        const std::exception_ptr current = std::current_exception();
        Survive([&] {
            const FaultAtEnd faulting(page);
            throw;
        });
        EXPECT_EQ(std::current_exception(), current);
        EXPECT_EQ(std::uncaught_exceptions(), 0);
        EXPECT_EQ(Counted::s_count, 1);
    }
    ExpectNoException();
}

TEST(StructuredExceptionScopeTests, FaultInADestructorDuringUnwinding_HandlerInside_LosesTheExceptionOnly)
{
    const ForbiddenPage page;
    Survive([&] {
        try
        {
            const FaultAtEnd faulting(page);
            throw Counted();
        }
        catch (const Counted&)
        {
        }
    });
    EXPECT_EQ(std::current_exception(), nullptr);
    EXPECT_EQ(std::uncaught_exceptions(), 0);
    EXPECT_EQ(Counted::s_count, 1); // the price that the header names
}

struct SurviveAtEnd
{
    explicit SurviveAtEnd(const ForbiddenPage& page) noexcept : forbiddenPage(page) {}
    ~SurviveAtEnd() // NOLINT(bugprone-exception-escape): then the test fails
    {
        Survive([&] {
            const FaultAtEnd faulting(forbiddenPage);
            throw std::runtime_error("inner");
        });
        EXPECT_EQ(std::uncaught_exceptions(), 1);
    }
    SurviveAtEnd(const SurviveAtEnd&) = delete;
    SurviveAtEnd& operator=(const SurviveAtEnd&) = delete;
    const ForbiddenPage& forbiddenPage;
};

TEST(StructuredExceptionScopeTests, FaultDuringAnotherExceptionsUnwinding_LeavesThatExceptionInFlight)
{
    const ForbiddenPage page;
    EXPECT_THROW(
        {
            const SurviveAtEnd surviving(page);
            throw Counted();
        },
        Counted);
    ExpectNoException();
}

// An exception whose last object faults when it is destroyed.
struct FaultingException
{
    explicit FaultingException(const ForbiddenPage& page) : faultAtEnd(std::make_shared<FaultAtEnd>(page)) {}
    std::shared_ptr<FaultAtEnd> faultAtEnd;
};

TEST(StructuredExceptionScopeTests, FaultInTheDestructorOfAnAbandonedException_IsSurvivedToo)
{
    const ForbiddenPage page;
    Survive([&] {
        try
        {
            throw Counted();
        }
        catch (const Counted&)
        {
            try
            {
                throw FaultingException(page);
            }
            catch (const FaultingException&)
            {
                page.GetChars()[1] = 1;
            }
        }
    });
    ExpectNoException();
}

#endif

#if !defined(_MSC_VER) // whose control flow guard ends the program before such a call

using Procedure = void (*)();

TEST(StructuredExceptionScopeTests, CallOfANullPointer_IsTranslated)
{
    const Procedure volatile nothing = nullptr;
    const auto fault = CatchFrom<CAccessViolation>([&] { nothing(); });
    EXPECT_EQ(fault.GetExceptionAddress(), nullptr);
    EXPECT_EQ(fault.GetInaccessibleAddress(), nullptr);
    EXPECT_FALSE(fault.IsWriteAccess());
}

TEST(StructuredExceptionScopeTests, ExecutionOfData_IsTranslated)
{
    void* const page = ::VirtualAlloc(nullptr, 4096, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    ASSERT_NE(page, nullptr);
    *static_cast<unsigned char*>(page) = 0xC3; // a return
    const Procedure volatile data = reinterpret_cast<Procedure>(page);
    const auto fault = CatchFrom<CAccessViolation>([&] { data(); });
    EXPECT_EQ(fault.GetInaccessibleAddress(), page);
    EXPECT_FALSE(fault.IsWriteAccess());
    ::VirtualFree(page, 0, MEM_RELEASE);
}

#endif

TEST(StructuredExceptionScopeTests, NonContinuableException_IsTranslated)
{
    const auto raised =
        CatchFrom<CWin32Exception>([] { ::RaiseException(0xE0001234, EXCEPTION_NONCONTINUABLE, 0, nullptr); });
    EXPECT_EQ(raised.GetExceptionCode(), 0xE0001234u);
}

const ForbiddenPage* s_pageOfCallback = nullptr;

BOOL CALLBACK FaultForLocale(LPWSTR)
{
    s_pageOfCallback->GetChars()[3] = 1;
    return FALSE;
}

int FaultForComparison(const void*, const void*)
{
    s_pageOfCallback->GetChars()[4] = 1;
    return 0;
}

TEST(StructuredExceptionScopeTests, FaultInACallbackOfTheSystemOrTheRuntime_IsTranslated)
{
    const ForbiddenPage page;
    s_pageOfCallback = &page;
    auto fault = CatchFrom<CAccessViolation>([] { ::EnumSystemLocalesW(&FaultForLocale, LCID_INSTALLED); });
    EXPECT_EQ(fault.GetInaccessibleAddress(), page.GetChars() + 3);
    int numbers[] = {2, 1};
    fault = CatchFrom<CAccessViolation>([&] { std::qsort(numbers, 2, sizeof(int), &FaultForComparison); });
    EXPECT_EQ(fault.GetInaccessibleAddress(), page.GetChars() + 4);
}

TEST(StructuredExceptionScopeTests, Body_RunsOnAnAlignedStack)
{
    std::uintptr_t place = 1;
    CStructuredExceptionScope().Run([&] {
        alignas(16) char aligned[16] = {};
        place = reinterpret_cast<std::uintptr_t>(Opaque(aligned));
    });
    EXPECT_EQ(place % 16, 0u);
}

TEST(StructuredExceptionScopeTests, TranslateStructuredException_ThrowsByTheCodeThatItIsGiven)
{
    EXCEPTION_RECORD record{};
    record.ExceptionCode = EXCEPTION_ACCESS_VIOLATION;
    record.ExceptionAddress = reinterpret_cast<void*>(0x1234);
    record.NumberParameters = 2;
    record.ExceptionInformation[0] = 1;
    record.ExceptionInformation[1] = 0xABCD;
    CONTEXT context{};
    EXCEPTION_POINTERS pointers{&record, &context};
    try
    {
        KVUtils::TranslateStructuredException(EXCEPTION_ACCESS_VIOLATION, &pointers);
    }
    catch (const CAccessViolation& violation)
    {
        EXPECT_STREQ(violation.GetMessageText(), L"Access violation");
        EXPECT_EQ(violation.GetExceptionAddress(), reinterpret_cast<void*>(0x1234));
        EXPECT_TRUE(violation.IsWriteAccess());
        EXPECT_EQ(violation.GetInaccessibleAddress(), reinterpret_cast<void*>(0xABCD));
    }
    try
    {
        KVUtils::TranslateStructuredException(EXCEPTION_INT_DIVIDE_BY_ZERO, &pointers);
    }
    catch (const CWin32Exception& fault)
    {
        EXPECT_EQ(dynamic_cast<const CAccessViolation*>(&fault), nullptr);
        EXPECT_EQ(fault.GetExceptionCode(), 0xC0000005u); // the record's
    }
}

#if !defined(_MSC_VER)

void OverwriteRegistersAndFault()
{
    volatile char* const place = s_pageOfCallback->GetChars();
    __asm__ volatile("movq $-1, %%rbx\n movq $-1, %%rsi\n movq $-1, %%rdi\n movq $-1, %%r12\n movq $-1, %%r13\n"
                     "movq $-1, %%r14\n movq $-1, %%r15\n pcmpeqd %%xmm6, %%xmm6\n pcmpeqd %%xmm7, %%xmm7\n"
                     "pcmpeqd %%xmm8, %%xmm8\n pcmpeqd %%xmm9, %%xmm9\n pcmpeqd %%xmm10, %%xmm10\n"
                     "pcmpeqd %%xmm11, %%xmm11\n pcmpeqd %%xmm12, %%xmm12\n pcmpeqd %%xmm13, %%xmm13\n"
                     "pcmpeqd %%xmm14, %%xmm14\n pcmpeqd %%xmm15, %%xmm15\n movb $1, (%0)"
                     :
                     : "a"(place)
                     : "rbx", "rsi", "rdi", "r12", "r13", "r14", "r15", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10",
                       "xmm11", "xmm12", "xmm13", "xmm14", "xmm15", "memory");
}

void SurviveOverwrittenRegisters()
{
    Survive(&OverwriteRegistersAndFault);
}

TEST(StructuredExceptionScopeTests, Fault_LeavesTheRegistersThatAFunctionHasToKeep)
{
    const ForbiddenPage page;
    s_pageOfCallback = &page;
    EXPECT_EQ(KvCountChangedRegisters([] {}), 0);
    EXPECT_EQ(KvCountChangedRegisters(&SurviveOverwrittenRegisters), 0);
}

#endif

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
