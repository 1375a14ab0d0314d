#include <winsock2.h>

#include <windows.h>

#include <cwchar>
#include <string>

#include "winapi/base/SystemLibraries.h"
#include "winapi/KernelApi.h"

namespace
{
using namespace KVWinApi;

// The libraries are loaded by asking for a function that each of them has, or would have.
int CountMissing()
{
    int missing = 0;
    missing += g_gdi32Dll.Find("GetDeviceCaps") == nullptr ? 1 : 0;
    missing += g_ipHlpApiDll.Find("GetAdaptersInfo") == nullptr ? 1 : 0;
    missing += g_ole32Dll.Find("CoCreateGuid") == nullptr ? 1 : 0;
    missing += g_oleAut32Dll.Find("VariantClear") == nullptr ? 1 : 0;
    missing += g_rpcRt4Dll.Find("UuidCreate") == nullptr ? 1 : 0;
    missing += g_secur32Dll.Find("GetUserNameExW") == nullptr ? 1 : 0;
    missing += g_setupApiDll.Find("SetupCloseInfFile") == nullptr ? 1 : 0;
    missing += g_shell32Dll.Find("SHGetFolderPathW") == nullptr ? 1 : 0;
    missing += g_shlwApiDll.Find("PathIsFileSpecW") == nullptr ? 1 : 0;
    missing += g_user32Dll.Find("GetDC") == nullptr ? 1 : 0;
    missing += g_versionDll.Find("VerQueryValueW") == nullptr ? 1 : 0;
    missing += g_winInetDll.Find("InternetOpenW") == nullptr ? 1 : 0;
    missing += g_winSpoolDll.Find("ClosePrinter") == nullptr ? 1 : 0;
    missing += g_ws2Dll.Find("WSAStartup") == nullptr ? 1 : 0;
    return missing;
}

// The modules of this process, itself aside, that do not come from the system folder.
int CountForeignModules()
{
    wchar_t systemFolder[MAX_PATH] = {};
    const std::size_t length = ::GetSystemDirectoryW(systemFolder, MAX_PATH);
    HMODULE modules[256] = {};
    DWORD needed = 0;
    if (g_kernelApi->EnumProcessModules(::GetCurrentProcess(), modules, sizeof(modules), &needed) == FALSE)
    {
        return 100;
    }
    int foreign = 0;
    for (DWORD i = 0; i < needed / sizeof(HMODULE); ++i)
    {
        wchar_t path[MAX_PATH] = {};
        ::GetModuleFileNameW(modules[i], path, MAX_PATH);
        const bool isOfTheSystem = ::_wcsnicmp(path, systemFolder, length) == 0 && path[length] == L'\\';
        foreign += isOfTheSystem || modules[i] == ::GetModuleHandleW(nullptr) ? 0 : 1;
    }
    return foreign;
}

// What a program does that thinks of nothing: the number of libraries that it got from its own folder.
int LoadByBareNames()
{
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring folder(program, std::wcsrchr(program, L'\\') + 1);
    int foreign = 0;
    for (const wchar_t* const name : {L"wininet.dll", L"version.dll", L"winspool.drv"})
    {
        wchar_t path[MAX_PATH] = {};
        ::GetModuleFileNameW(::LoadLibraryW(name), path, MAX_PATH);
        foreign += ::_wcsicmp(path, (folder + name).c_str()) == 0 ? 1 : 0;
    }
    return foreign;
}
} // namespace

// kv_library_user facade: loads all libraries in the product's way and ends with the number of modules that come from
// elsewhere than the system folder, and 1000 for each function that was not found.
// kv_library_user bare: loads three libraries by their bare names and ends with the number that came from its own
// folder.
int wmain(int argc, wchar_t** argv)
{
    if (argc > 1 && argv[1] == std::wstring(L"bare"))
    {
        return LoadByBareNames();
    }
    const int missing = CountMissing();
    return missing * 1000 + CountForeignModules();
}
