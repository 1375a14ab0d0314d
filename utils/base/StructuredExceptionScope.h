#pragma once

#include <windows.h>

namespace KVUtils
{
/// Throws the structured exception as a C++ exception: CAccessViolation for an access violation, CWin32Exception for
/// any other code. Never returns. The signature is the one that `_set_se_translator` expects; only the exception record
/// is read.
[[noreturn]] void TranslateStructuredException(unsigned int code, EXCEPTION_POINTERS* pointers);

/// Makes faults in the code that it runs arrive as C++ exceptions (CAccessViolation, CWin32Exception):
///
///     KVUtils::CStructuredExceptionScope translator;
///     try { translator.Run([&] { MayFault(); }); }
///     catch (const KVUtils::CWin32Exception& fault) { ... }
///
/// The translator is installed on the calling thread when the object is made, and what was there before is in force
/// again when it is destroyed, however the scope is left. Scopes nest; the innermost one that runs the faulting code
/// translates. Other threads are not affected. Use it on the thread that made it.
///
/// C++ exceptions, informational structured exceptions (`OutputDebugStringW` raises one) and faults that a function
/// between the scope and the fault handles itself (`lstrlenW` answers 0 for a bad pointer) pass untouched.
///
/// Only code inside Run is covered with every compiler, and with Visual C++ only if it is compiled with /EHa. A fault
/// inside a catch block ends that catch: afterwards `std::current_exception` and `std::uncaught_exceptions` are as they
/// were when Run was called, and exceptions caught inside Run are destroyed.
///
/// The fault may come at any instruction, even in the middle of an operation of the standard library. An object that is
/// changed at that moment, such as a string during its own `append` or an assignment to it, is inconsistent afterwards:
/// copy what may fault into an object of its own first, and use the copy.
///
/// The compilers differ in these points:
///
/// - Destructors of objects between the fault and Run do not run with g++, whose frames cannot be unwound by a
///   structured exception; with Visual C++ they run. So inside Run take no lock, hold nothing else that a fault must
///   not leave behind, and rely on neither.
/// - A function between the fault and Run that is `noexcept` makes no difference with g++. With Visual C++ the
///   translated exception must not leave such a function, or the program ends.
/// - A destructor that unwinding calls is such a function. With g++ a fault in it is translated, and the exception in
///   flight is destroyed if its handler lies outside Run. If the handler lies inside Run, the exception is leaked and
///   its destructor never runs, because the runtime keeps no reference to it before it is caught; a CWin32Exception
///   stays in the live count.
/// - A call of an invalid address is translated with g++. With Visual C++ and control flow guard (/guard:cf) the
///   program ends before the call.
///
/// As always on Windows, a thread that survives a stack overflow calls `_resetstkoflw` before it can survive another.
class CStructuredExceptionScope
{
public:
    CStructuredExceptionScope() noexcept;
    ~CStructuredExceptionScope(); // NOLINT(performance-trivially-destructible): not trivial with every compiler
    CStructuredExceptionScope(const CStructuredExceptionScope&) = delete;
    CStructuredExceptionScope& operator=(const CStructuredExceptionScope&) = delete;

    /// Calls body once, on this thread. What body throws, or the translated fault, leaves Run as a C++ exception.
    template <typename Body> void Run(Body&& body) const
    {
        auto call = [&body] { body(); };
        Call([](void* argument) { (*static_cast<decltype(call)*>(argument))(); }, &call);
    }

private:
    static void Call(void (*function)(void*), void* argument);

#if defined(_MSC_VER) // other compilers have no translator that could be restored
    void (*m_previous)(unsigned int, EXCEPTION_POINTERS*);
#endif
};
} // namespace KVUtils
