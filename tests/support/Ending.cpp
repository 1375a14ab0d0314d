#include <windows.h>

#include <cstdlib>
#include <string>

// kv_ending crash|abort|hang|CODE: ends by a fault, by abort, never, or with the given exit code (any base, 32 bits).
int wmain(int argc, wchar_t** argv)
{
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    const std::wstring kind = argc > 1 ? argv[1] : L"";
    if (kind == L"crash")
    {
        ::RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    }
    if (kind == L"abort")
    {
        std::abort();
    }
    if (kind == L"hang")
    {
        ::Sleep(INFINITE);
    }
    ::ExitProcess(std::wcstoul(kind.c_str(), nullptr, 0));
}
