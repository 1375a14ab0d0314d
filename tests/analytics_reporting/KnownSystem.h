#pragma once

#include <windows.h>

#include <string>

#include "winapi/KernelApi.h"

namespace KVTest
{
/// A system of that version and processor architecture, independent of the one that the test runs on.
class KnownSystem : public KVWinApi::CKernelApi
{
public:
    KnownSystem(DWORD major, DWORD minor, WORD architecture) : m_major(major), m_minor(minor)
    {
        s_architecture = architecture;
    }

    BOOL GetVersionExW(LPOSVERSIONINFOW version) override
    {
        version->dwMajorVersion = m_major;
        version->dwMinorVersion = m_minor;
        version->dwPlatformId = VER_PLATFORM_WIN32_NT;
        return TRUE;
    }
    // Called for exactly 6.3, or for 6.3 and later; the latter includes the service pack.
    BOOL VerifyVersionInfoW(LPOSVERSIONINFOEXW, DWORD parts, DWORDLONG) override
    {
        const bool isLater = m_major > 6 || (m_major == 6 && m_minor > 3);
        const bool isEqual = m_major == 6 && m_minor == 3;
        return isEqual || ((parts & VER_SERVICEPACKMAJOR) != 0 && isLater) ? TRUE : FALSE;
    }
    FARPROC GetProcAddress(HMODULE module, LPCSTR name) override
    {
        return std::string(name) == "GetNativeSystemInfo"
                   ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&ReportArchitecture))
                   : CKernelApi::GetProcAddress(module, name);
    }

private:
    static void WINAPI ReportArchitecture(LPSYSTEM_INFO information)
    {
        *information = SYSTEM_INFO{};
        information->wProcessorArchitecture = s_architecture;
    }
    static inline WORD s_architecture = 0;

    DWORD m_major;
    DWORD m_minor;
};
} // namespace KVTest
