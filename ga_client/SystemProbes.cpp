#include "ga_client/SystemProbes.h"

#include <windows.h>

#include "utils/base/Decimal.h"
#include "winapi/WinApi.h"

namespace GAClient
{
namespace
{
// Owns the device context of a window. Not a CUniqueHandle, since ReleaseDC takes the window as well.
class CWindowDeviceContext
{
public:
    CWindowDeviceContext(HWND window, HDC context) noexcept : m_window(window), m_context(context) {}
    ~CWindowDeviceContext()
    {
        if (m_context != nullptr)
        {
            KVWinApi::g_winApi->ReleaseDC(m_window, m_context);
        }
    }
    CWindowDeviceContext(const CWindowDeviceContext&) = delete;
    CWindowDeviceContext& operator=(const CWindowDeviceContext&) = delete;

    bool IsValid() const noexcept { return m_context != nullptr; }
    std::wstring Capability(int index) const
    {
        return KVUtils::ToDecimal(KVWinApi::g_winApi->GetDeviceCaps(m_context, index));
    }

private:
    HWND m_window;
    HDC m_context;
};

// Empty if the user's locale has no such information.
std::wstring UserLocaleInformation(LCTYPE type)
{
    const int size = KVWinApi::g_winApi->GetLocaleInfoW(LOCALE_USER_DEFAULT, type, nullptr, 0);
    if (size <= 0)
    {
        return {};
    }
    std::wstring text(static_cast<std::size_t>(size), L'\0');
    if (KVWinApi::g_winApi->GetLocaleInfoW(LOCALE_USER_DEFAULT, type, text.data(), size) <= 0)
    {
        return {};
    }
    return text.c_str(); // without the terminator, which the size includes
}

bool IsVersion(OSVERSIONINFOEXW version, DWORD parts, BYTE comparison)
{
    DWORDLONG conditions = 0;
    constexpr DWORD kParts[] = {VER_MAJORVERSION, VER_MINORVERSION, VER_SERVICEPACKMAJOR};
    for (const DWORD part : kParts)
    {
        if ((parts & part) != 0)
        {
            conditions = ::VerSetConditionMask(conditions, part, comparison);
        }
    }
    version.dwOSVersionInfoSize = sizeof(version);
    return KVWinApi::g_winApi->VerifyVersionInfoW(&version, parts, conditions) != FALSE;
}

OSVERSIONINFOEXW Version63()
{
    OSVERSIONINFOEXW version{};
    version.dwMajorVersion = 6;
    version.dwMinorVersion = 3;
    return version;
}

bool IsAtLeast63()
{
    return IsVersion(Version63(), VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
}

bool IsExactly63()
{
    return IsVersion(Version63(), VER_MAJORVERSION | VER_MINORVERSION, VER_EQUAL);
}

std::wstring ReportedVersion()
{
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    // The extended record begins with the plain one, and the size selects which of them the system fills.
    if (KVWinApi::g_winApi->GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version)) == FALSE)
    {
        return {};
    }
    return KVUtils::ToDecimal(version.dwMajorVersion) + L"." + KVUtils::ToDecimal(version.dwMinorVersion);
}
} // namespace

std::wstring GetScreenResolution()
{
    const HWND desktop = KVWinApi::g_winApi->GetDesktopWindow();
    const CWindowDeviceContext context(desktop, KVWinApi::g_winApi->GetWindowDC(desktop));
    return context.IsValid() ? context.Capability(HORZRES) + L"x" + context.Capability(VERTRES) : std::wstring();
}

std::wstring GetColourDepth()
{
    const CWindowDeviceContext context(nullptr, KVWinApi::g_winApi->GetDC(nullptr));
    return context.IsValid() ? context.Capability(BITSPIXEL) + L"-bit" : std::wstring();
}

std::wstring GetUserLanguage()
{
    const std::wstring language = UserLocaleInformation(LOCALE_SISO639LANGNAME);
    const std::wstring country = UserLocaleInformation(LOCALE_SISO3166CTRYNAME);
    return !language.empty() && !country.empty() ? language + L"-" + country : std::wstring();
}

std::wstring GetOsVersion()
{
    if (IsAtLeast63())
    {
        return IsExactly63() ? L"6.3" : L"";
    }
    return ReportedVersion();
}

std::wstring GetUserAgent()
{
    // The architecture is that of this program, which exists only as a 64-bit build.
    return L"Statlet/1.0 (Windows NT " + GetOsVersion() + L"; x64)";
}
} // namespace GAClient
