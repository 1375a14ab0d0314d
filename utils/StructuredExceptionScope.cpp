#include "utils/StructuredExceptionScope.h"

#include "utils/AccessViolation.h"

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

namespace KVUtils
{
CStructuredExceptionScope::CStructuredExceptionScope() noexcept
    : m_previous(_set_se_translator(&TranslateStructuredException))
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

#include <cstddef>
#include <cstdint>

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
    CONTEXT context;
};

// The frame of KvGuardedCall at and above its stack pointer. The handler is given its address.
struct GuardFrame
{
    std::uint64_t homeOfCallee[4];
    Fault* fault;
};
static_assert(offsetof(GuardFrame, fault) == 32, "the assembly below stores the pointer at this offset");

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
        if (isUnwinding || !IsTranslated(record->ExceptionCode))
        {
            return ExceptionContinueSearch;
        }
        Fault& fault = *static_cast<GuardFrame*>(frame)->fault;
        fault.record = *record;
        fault.record.ExceptionRecord = nullptr; // a nested record lies in a frame that is about to go
        fault.context = *context;
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

namespace KVUtils
{
CStructuredExceptionScope::CStructuredExceptionScope() noexcept = default;

CStructuredExceptionScope::~CStructuredExceptionScope() = default;

void CStructuredExceptionScope::Call(void (*function)(void*), void* argument)
{
    Fault fault;
    if (KvGuardedCall(function, argument, &fault) != 0)
    {
        EXCEPTION_POINTERS pointers{&fault.record, &fault.context};
        TranslateStructuredException(fault.record.ExceptionCode, &pointers);
    }
}
} // namespace KVUtils

#endif
