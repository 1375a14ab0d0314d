#include <windows.h>

#include <cwchar>

namespace
{
constexpr DWORD kLookedAtMs = 50; // long enough to read its working set
} // namespace

// kv_bench_modules DLL...: an otherwise empty program that loads these.
int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR commandLine, int)
{
    wchar_t* rest = nullptr;
    for (const wchar_t* dll = ::wcstok_s(commandLine, L" ", &rest); dll != nullptr;
         dll = ::wcstok_s(nullptr, L" ", &rest))
    {
        ::LoadLibraryW(dll);
    }
    ::Sleep(kLookedAtMs);
    return 0;
}
