#include <windows.h>

#include <cwchar>

// kv_bench_modules MILLISECONDS DLL...: an otherwise empty program that loads these, and stays for so long.
int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR commandLine, int)
{
    wchar_t* rest = nullptr;
    const DWORD stayMs = std::wcstoul(commandLine, &rest, 10);
    for (const wchar_t* dll = ::wcstok_s(rest, L" ", &rest); dll != nullptr; dll = ::wcstok_s(nullptr, L" ", &rest))
    {
        ::LoadLibraryW(dll);
    }
    if (stayMs != 0)
    {
        ::Sleep(stayMs);
    }
    return 0;
}
