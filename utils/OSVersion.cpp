#include "utils/OSVersion.h"

#include <windows.h>

#include "winapi/KernelApi.h"

namespace KVUtils
{
namespace
{
std::wstring s_osName; // empty until determined

OSVERSIONINFOEXW MakeVersionRecord()
{
    static_assert(sizeof(OSVERSIONINFOEXW) == 284);
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    return version;
}

bool ReportsNtVersion(DWORD major, DWORD minor)
{
    OSVERSIONINFOEXW version = MakeVersionRecord();
    // The operation takes the shorter record by its type, and fills the longer one if the size says so.
    if (KVWinApi::g_kernelApi->GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version)) == FALSE)
    {
        return false;
    }
    return version.dwPlatformId == VER_PLATFORM_WIN32_NT && version.dwMajorVersion == major &&
           version.dwMinorVersion == minor;
}

// Matches no version from 8.1 on, where GetVersionExW reports a compatibility version. Asks for 8.1 each time.
bool IsWindowsVersion(DWORD major, DWORD minor)
{
    return !IsWindows8Point1OrGreater() && ReportsNtVersion(major, minor);
}

std::wstring GetBareOSName()
{
    if (IsWindows8Point1())
    {
        return L"Microsoft Windows 8.1";
    }
    if (IsWindowsVersion(6, 2))
    {
        return L"Microsoft Windows 8";
    }
    if (IsWindowsVersion(6, 1))
    {
        return L"Microsoft Windows 7";
    }
    if (IsWindowsVersion(6, 0))
    {
        return L"Microsoft Windows Vista";
    }
    if (IsWindowsXP())
    {
        return L"Microsoft Windows XP";
    }
    return L"Unsupported OS";
}
} // namespace

std::uint16_t GetNativeProcessorArchitecture()
{
    using GetNativeSystemInfoFunction = void(WINAPI*)(LPSYSTEM_INFO);
    std::uint16_t architecture = PROCESSOR_ARCHITECTURE_UNKNOWN;
    const HMODULE kernel32 = KVWinApi::g_kernelApi->LoadLibraryW(L"Kernel32.dll");
    const FARPROC found = KVWinApi::g_kernelApi->GetProcAddress(kernel32, "GetNativeSystemInfo");
    if (found != nullptr)
    {
        SYSTEM_INFO information{};
        reinterpret_cast<GetNativeSystemInfoFunction>(reinterpret_cast<void*>(found))(&information);
        architecture = information.wProcessorArchitecture;
    }
    // Deliberate: no handle owner, since FreeLibrary is called even if loading failed.
    KVWinApi::g_kernelApi->FreeLibrary(kernel32);
    return architecture;
}

bool IsWindows8Point1OrGreater()
{
    OSVERSIONINFOEXW version = MakeVersionRecord();
    version.dwMajorVersion = 6;
    version.dwMinorVersion = 3;
    version.wServicePackMajor = 0;
    version.dwPlatformId = VER_PLATFORM_WIN32_NT; // not compared: the mask below excludes it
    ULONGLONG conditions = ::VerSetConditionMask(0, VER_MAJORVERSION, VER_GREATER_EQUAL);
    conditions = ::VerSetConditionMask(conditions, VER_MINORVERSION, VER_GREATER_EQUAL);
    conditions = ::VerSetConditionMask(conditions, VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
    return KVWinApi::g_kernelApi->VerifyVersionInfoW(
               &version, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR, conditions) != FALSE;
}

bool IsWindows8Point1()
{
    OSVERSIONINFOEXW version = MakeVersionRecord();
    version.dwMajorVersion = 6;
    version.dwMinorVersion = 3;
    ULONGLONG conditions = ::VerSetConditionMask(0, VER_MAJORVERSION, VER_EQUAL);
    conditions = ::VerSetConditionMask(conditions, VER_MINORVERSION, VER_EQUAL);
    return KVWinApi::g_kernelApi->VerifyVersionInfoW(&version, VER_MAJORVERSION | VER_MINORVERSION, conditions) !=
           FALSE;
}

bool IsWindowsXP()
{
    return IsWindowsVersion(5, 1);
}

std::wstring GetOSName()
{
    if (s_osName.empty())
    {
        std::wstring name = GetBareOSName();
        if (GetNativeProcessorArchitecture() == PROCESSOR_ARCHITECTURE_AMD64)
        {
            name += L" 64 bit";
        }
        s_osName = name;
    }
    return s_osName;
}
} // namespace KVUtils
