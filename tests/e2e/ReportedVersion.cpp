// kv_reported_version and kv_manifested_version, which has the manifest of the product's program: print the version of
// Windows that GetVersionExW reports, and the newest of 6.1, 6.3 and 10.0 that VerifyVersionInfoW accepts.

#include <windows.h>

#include <cstdio>

namespace
{
bool IsAtLeast(DWORD major, DWORD minor)
{
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    version.dwMajorVersion = major;
    version.dwMinorVersion = minor;
    DWORDLONG mask = ::VerSetConditionMask(0, VER_MAJORVERSION, VER_GREATER_EQUAL);
    mask = ::VerSetConditionMask(mask, VER_MINORVERSION, VER_GREATER_EQUAL);
    return ::VerifyVersionInfoW(&version, VER_MAJORVERSION | VER_MINORVERSION, mask) != FALSE;
}
} // namespace

int wmain()
{
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    ::GetVersionExW(&version);
    const char* const newest = IsAtLeast(10, 0) ? "10.0" : IsAtLeast(6, 3) ? "6.3" : IsAtLeast(6, 1) ? "6.1" : "none";
    std::printf("%lu.%lu %s\n", static_cast<unsigned long>(version.dwMajorVersion),
                static_cast<unsigned long>(version.dwMinorVersion), newest);
    return 0;
}
