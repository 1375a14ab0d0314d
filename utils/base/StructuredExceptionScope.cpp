#include "utils/base/StructuredExceptionScope.h"

#include "utils/base/AccessViolation.h"

namespace
{
constexpr DWORD kMsvcCppException = 0xE06D7363;

// "GCC" in three bytes, with a variant in the low nibble of the first: throw, unwind, forced unwind.
bool IsGccCppException(DWORD code) noexcept
{
    return (code & 0xF0FFFFFF) == 0x20474343;
}

bool IsInformational(DWORD code) noexcept
{
    return (code & 0xC0000000) == ERROR_SEVERITY_INFORMATIONAL;
}

bool IsTranslated(DWORD code) noexcept
{
    return code != kMsvcCppException && !IsGccCppException(code) && !IsInformational(code);
}
} // namespace

namespace KVUtils
{
void TranslateStructuredException([[maybe_unused]] unsigned int code, EXCEPTION_POINTERS* pointers)
{
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (code == EXCEPTION_ACCESS_VIOLATION)
    {
        throw CAccessViolation(record);
    }
    throw CWin32Exception(record);
}
} // namespace KVUtils

#if defined(_MSC_VER)

#include <eh.h>

namespace
{
// The runtime asks for every structured exception. If the function returns, the search for a handler goes on.
void TranslateFault(unsigned int code, EXCEPTION_POINTERS* pointers)
{
    if (IsTranslated(code))
    {
        KVUtils::TranslateStructuredException(code, pointers);
    }
}
} // namespace

namespace KVUtils
{
CStructuredExceptionScope::CStructuredExceptionScope() noexcept : m_previous(_set_se_translator(&TranslateFault))
{
}

CStructuredExceptionScope::~CStructuredExceptionScope()
{
    _set_se_translator(m_previous);
}

void CStructuredExceptionScope::Call(void (*function)(void*), void* argument)
{
    function(argument);
}
} // namespace KVUtils

#else

#include <cxxabi.h>
#include <unwind.h>

#include <cstddef>
#include <cstdint>
#include <typeinfo>

// g++ has no translator: its frames let structured exceptions pass. The scope therefore puts a frame of its own, with a
// structured exception handler, between itself and the code that it runs. The handler is asked in its turn, after the
// frames nearer the fault have declined, so what they handle themselves never gets here. It notes the exception,
// unwinds the stack to its own frame and lets the call return normally; only then is the C++ exception thrown. Throwing
// from a handler instead would end in std::terminate whenever a frame on the way is held to throw nothing, as memcpy's
// and wcslen's are.

namespace
{
struct Fault
{
    EXCEPTION_RECORD record;
    // The last C++ exception whose handler was looked for beyond the guard's frame. If a fault follows, the exception
    // was still on its way there.
    _Unwind_Exception* leaving;
};

// The frame of KvGuardedCall at and above its stack pointer. The handler is given its address.
struct GuardFrame
{
    std::uint64_t homeOfCallee[4];
    Fault* fault;
};
static_assert(offsetof(GuardFrame, fault) == 32, "the assembly below stores the pointer at this offset");

constexpr DWORD kGccThrow = 0x20474343; // its argument is the _Unwind_Exception
} // namespace

extern "C"
{
    // Calls function(argument). Returns 0 when that returned, 1 when it was left by a fault, which is then noted in
    // *fault. C++ exceptions pass through.
    int KvGuardedCall(void (*function)(void*), void* argument, Fault* fault);

    // Where KvGuardedCall goes on after a fault.
    extern const char KvGuardedCallFaulted[];

    [[gnu::used]] EXCEPTION_DISPOSITION KvGuardedCallHandler(EXCEPTION_RECORD* record, void* frame, CONTEXT* context,
                                                             DISPATCHER_CONTEXT* dispatcher)
    {
        const bool isUnwinding = (record->ExceptionFlags & (EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND)) != 0;
        Fault& fault = *static_cast<GuardFrame*>(frame)->fault;
        if (!isUnwinding && record->ExceptionCode == kGccThrow)
        {
            fault.leaving = reinterpret_cast<_Unwind_Exception*>(record->ExceptionInformation[0]);
        }
        if (isUnwinding || !IsTranslated(record->ExceptionCode))
        {
            return ExceptionContinueSearch;
        }
        fault.record = *record;
        fault.record.ExceptionRecord = nullptr; // a nested record lies in a frame that is about to be unwound
        RtlUnwindEx(frame, const_cast<char*>(KvGuardedCallFaulted), record, nullptr, context, dispatcher->HistoryTable);
        return ExceptionContinueSearch; // not reached: the unwind goes on at KvGuardedCallFaulted
    }
}

__asm__(R"(
    .text
    .p2align 4
    .globl KvGuardedCall
    .globl KvGuardedCallFaulted
    .def KvGuardedCall; .scl 2; .type 32; .endef
    .seh_proc KvGuardedCall
KvGuardedCall:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    movq %r8, 32(%rsp)
    movq %rcx, %rax
    movq %rdx, %rcx
    call *%rax
    xorl %eax, %eax
    addq $40, %rsp
    ret
KvGuardedCallFaulted:
    cld
    movl $1, %eax
    addq $40, %rsp
    ret
    .seh_handler KvGuardedCallHandler, @except
    .seh_endproc
)");

// For each thread g++'s runtime keeps the exceptions that are caught and the number of those in flight. Code at the
// start and end of each catch block updates both. A fault skips that code: the exceptions of the catch blocks that it
// leaves would stay caught for ever, and one whose unwinding it interrupts would stay in flight. The guard therefore
// notes the state and restores it after a fault.
//
// <cxxabi.h> declares the access without the fields. Their layout is fixed by the C++ ABI for Itanium, "Exception
// Handling", 2.2.1 and 2.2.2, which g++ and clang follow on this processor too.
namespace
{
// __cxa_exception; of an exception thrown by rethrow_exception, __cxa_dependent_exception, which has these fields at
// the same places.
struct ExceptionHeader
{
    void* type;
    void* destructor;
    void* unexpectedHandler;
    void* terminateHandler;
    ExceptionHeader* next; // caught before this one, and still in its catch block
    int handlerCount;      // catch blocks that hold it, negative while it is thrown again, 0 before the first
    int handlerSwitchValue;
    const void* actionRecord;
    const void* languageSpecificData;
    _Unwind_Ptr catchTemp;
    void* adjustedPointer;
    _Unwind_Exception unwindHeader;
};

// __cxa_eh_globals
struct ThreadExceptions
{
    ExceptionHeader* caught; // the innermost catch block's
    unsigned int uncaughtCount;
};

class CExceptionState
{
public:
    CExceptionState() noexcept
        : m_thread(reinterpret_cast<ThreadExceptions*>(abi::__cxa_get_globals())), m_found(*m_thread),
          m_handlerCount(m_found.caught != nullptr ? m_found.caught->handlerCount : 0)
    {
    }

    // leaving: see Fault.
    void Restore(_Unwind_Exception* leaving) noexcept
    {
        m_leaving = leaving != nullptr && IsUncaught(*leaving) ? leaving : nullptr;
        // The destructor of an abandoned exception may fault too. Each is called only once, so the loop ends.
        Fault ignored;
        while (KvGuardedCall(&ReleaseAbandoned, this, &ignored) != 0)
        {
        }
        m_thread->uncaughtCount = m_found.uncaughtCount;
        if (m_found.caught != nullptr)
        {
            m_found.caught->handlerCount = m_handlerCount; // changed if it was thrown again inside the guard
        }
    }

private:
    // One that has been caught before is released by the catch block that holds it.
    static bool IsUncaught(const _Unwind_Exception& exception) noexcept
    {
        const auto* const header = reinterpret_cast<const ExceptionHeader*>(reinterpret_cast<const char*>(&exception) -
                                                                            offsetof(ExceptionHeader, unwindHeader));
        return header->handlerCount == 0;
    }

    static void ReleaseAbandoned(void* state)
    {
        CExceptionState& self = *static_cast<CExceptionState*>(state);
        while (self.m_thread->caught != self.m_found.caught && self.m_thread->caught != nullptr)
        {
            self.m_thread->caught->handlerCount = 1; // no matter what it was: the fault has left all its catch blocks
            abi::__cxa_end_catch();
        }
        if (_Unwind_Exception* const leaving = self.m_leaving)
        {
            self.m_leaving = nullptr;
            _Unwind_DeleteException(leaving);
        }
    }

    ThreadExceptions* m_thread;
    ThreadExceptions m_found;
    int m_handlerCount;
    _Unwind_Exception* m_leaving = nullptr;
};
} // namespace

namespace KVUtils
{
CStructuredExceptionScope::CStructuredExceptionScope() noexcept = default;

CStructuredExceptionScope::~CStructuredExceptionScope() = default;

void CStructuredExceptionScope::Call(void (*function)(void*), void* argument)
{
    CExceptionState exceptions;
    Fault fault;
    fault.leaving = nullptr;
    if (KvGuardedCall(function, argument, &fault) != 0)
    {
        exceptions.Restore(fault.leaving);
        EXCEPTION_POINTERS pointers{&fault.record, nullptr};
        TranslateStructuredException(fault.record.ExceptionCode, &pointers);
    }
}
} // namespace KVUtils

#endif
