#include <windows.h>

#include <cwchar>

// A library that reports that its code has run: it creates an empty file beside itself, named after it with ".run".
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID)
{
    constexpr wchar_t kEnding[] = L".run";
    wchar_t path[MAX_PATH + 8] = {};
    if (reason == DLL_PROCESS_ATTACH && ::GetModuleFileNameW(module, path, MAX_PATH) != 0)
    {
        std::wcscat(path, kEnding);
        ::CloseHandle(::CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    }
    return TRUE;
}
