#include <windows.h>

#include <string>
#include <thread>

#include "tests/support/Faults.h"
#include "utils/base/StructuredExceptionScope.h"
#include "utils/base/Win32Exception.h"

namespace
{
using KVUtils::CStructuredExceptionScope;
using KVUtils::CWin32Exception;

// The exit code when a fault arrives as a C++ exception.
constexpr int kTranslated = 77;

void Fault()
{
    const KVTest::ForbiddenPage page;
    *page.GetChars() = 1;
}

void FaultAfterScope()
{
    {
        const CStructuredExceptionScope scope;
        scope.Run([] {});
    }
    Fault();
}

void FaultOnThreadWithoutScope()
{
    const CStructuredExceptionScope scope;
    scope.Run([] { std::thread([] { Fault(); }).join(); });
}

void RaiseInformational()
{
    const CStructuredExceptionScope scope;
    scope.Run([] { ::RaiseException(0x41234567, 0, 0, nullptr); });
}
} // namespace

// kv_faulting none|inside|after|thread|informational: faults where the name says. Ends with 77 when the fault came as a
// C++ exception, with 0 when there was none, and by the fault itself otherwise.
int wmain(int argc, wchar_t** argv)
{
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    const std::wstring kind = argc > 1 ? argv[1] : L"";
    try
    {
        if (kind == L"none")
        {
            Fault();
        }
        if (kind == L"inside")
        {
            CStructuredExceptionScope().Run(Fault);
        }
        if (kind == L"after")
        {
            FaultAfterScope();
        }
        if (kind == L"thread")
        {
            FaultOnThreadWithoutScope();
        }
        if (kind == L"informational")
        {
            RaiseInformational();
        }
    }
    catch (const CWin32Exception&)
    {
        return kTranslated;
    }
    return 0;
}
