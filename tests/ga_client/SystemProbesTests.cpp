#include "ga_client/SystemProbes.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cwchar>
#include <regex>
#include <vector>

#include "tests/support/ScopedSubstitute.h"
#include "winapi/WinApi.h"

namespace
{
// A computer with a screen and a locale of the test's own.
class ScreenApi : public KVWinApi::CWinApi
{
public:
    HWND GetDesktopWindow() override { return reinterpret_cast<HWND>(0x100); }
    HDC GetWindowDC(HWND window) override
    {
        return window == GetDesktopWindow() && hasContext ? reinterpret_cast<HDC>(0x200) : nullptr;
    }
    HDC GetDC(HWND window) override { return window == nullptr && hasContext ? reinterpret_cast<HDC>(0x300) : nullptr; }
    int GetDeviceCaps(HDC context, int index) override
    {
        if (context == reinterpret_cast<HDC>(0x200))
        {
            return index == 8 ? 1920 : index == 10 ? 1080 : -1;
        }
        return context == reinterpret_cast<HDC>(0x300) && index == 12 ? 24 : -1;
    }
    int ReleaseDC(HWND window, HDC context) override
    {
        released.emplace_back(window, context);
        return 1;
    }
    int GetLocaleInfoW(LCID locale, LCTYPE type, LPWSTR text, int size) override
    {
        EXPECT_EQ(locale, static_cast<LCID>(LOCALE_USER_DEFAULT));
        EXPECT_TRUE(type == 0x59 || type == 0x5A);
        const std::wstring& value = type == 0x59 ? language : country;
        if (value == L"fail" || (failsOnRead && size != 0))
        {
            return 0;
        }
        const int needed = static_cast<int>(value.size()) + 1;
        if (size != 0)
        {
            EXPECT_EQ(size, needed);
            std::wmemcpy(text, value.c_str(), value.size() + 1);
        }
        return needed;
    }

    bool hasContext = true;
    bool failsOnRead = false;
    std::wstring language = L"de";
    std::wstring country = L"AT";
    std::vector<std::pair<HWND, HDC>> released;
};

// A Windows of a version of the test's own, which answers the plain query with at most 6.2, as later systems do.
class VersionApi : public KVWinApi::CWinApi
{
public:
    VersionApi(DWORD major, DWORD minor) : m_major(major), m_minor(minor) {}

    BOOL VerifyVersionInfoW(LPOSVERSIONINFOEXW version, DWORD parts, DWORDLONG conditions) override
    {
        EXPECT_EQ(version->dwOSVersionInfoSize, sizeof(OSVERSIONINFOEXW));
        EXPECT_EQ(version->dwMajorVersion, 6U);
        EXPECT_EQ(version->dwMinorVersion, 3U);
        EXPECT_EQ(version->wServicePackMajor, 0U);
        const DWORDLONG atLeast =
            ::VerSetConditionMask(::VerSetConditionMask(::VerSetConditionMask(0, VER_MAJORVERSION, VER_GREATER_EQUAL),
                                                        VER_MINORVERSION, VER_GREATER_EQUAL),
                                  VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
        const DWORDLONG exactly =
            ::VerSetConditionMask(::VerSetConditionMask(0, VER_MAJORVERSION, VER_EQUAL), VER_MINORVERSION, VER_EQUAL);
        if (parts == (VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR))
        {
            EXPECT_EQ(conditions, atLeast);
            return m_major > 6 || (m_major == 6 && m_minor >= 3);
        }
        EXPECT_EQ(parts, static_cast<DWORD>(VER_MAJORVERSION | VER_MINORVERSION));
        EXPECT_EQ(conditions, exactly);
        return m_major == 6 && m_minor == 3;
    }
    BOOL GetVersionExW(LPOSVERSIONINFOW version) override
    {
        ++queries;
        EXPECT_EQ(version->dwOSVersionInfoSize, sizeof(OSVERSIONINFOEXW));
        version->dwMajorVersion = m_major;
        version->dwMinorVersion = m_minor;
        return queryFails ? FALSE : TRUE;
    }

    bool queryFails = false;
    int queries = 0;

private:
    DWORD m_major;
    DWORD m_minor;
};
} // namespace

TEST(SystemProbesTests, ScreenResolution_IsThatOfTheDesktopWindow)
{
    ScreenApi winApi;
    KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, winApi);
    EXPECT_EQ(GAClient::GetScreenResolution(), L"1920x1080");
    ASSERT_EQ(winApi.released.size(), 1U);
    EXPECT_EQ(winApi.released[0], std::pair(reinterpret_cast<HWND>(0x100), reinterpret_cast<HDC>(0x200)));
}

TEST(SystemProbesTests, ColourDepth_IsThatOfTheWholeScreen)
{
    ScreenApi winApi;
    KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, winApi);
    EXPECT_EQ(GAClient::GetColourDepth(), L"24-bit");
    ASSERT_EQ(winApi.released.size(), 1U);
    EXPECT_EQ(winApi.released[0], std::pair(HWND{nullptr}, reinterpret_cast<HDC>(0x300)));
}

TEST(SystemProbesTests, ScreenFacts_WithoutDeviceContext_AreEmpty)
{
    ScreenApi winApi;
    winApi.hasContext = false;
    KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, winApi);
    EXPECT_EQ(GAClient::GetScreenResolution(), L"");
    EXPECT_EQ(GAClient::GetColourDepth(), L"");
    EXPECT_TRUE(winApi.released.empty());
}

TEST(SystemProbesTests, UserLanguage_IsLanguageAndCountryAsTheSystemSpellsThem)
{
    ScreenApi winApi;
    KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, winApi);
    EXPECT_EQ(GAClient::GetUserLanguage(), L"de-AT");
}

TEST(SystemProbesTests, UserLanguage_WithoutOneOfTheTwo_IsEmpty)
{
    ScreenApi winApi;
    KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, winApi);
    winApi.country = L"";
    EXPECT_EQ(GAClient::GetUserLanguage(), L"");
    winApi.country = L"fail";
    EXPECT_EQ(GAClient::GetUserLanguage(), L"");
    winApi.country = L"AT";
    winApi.language = L"fail";
    EXPECT_EQ(GAClient::GetUserLanguage(), L"");
    winApi.language = L"de";
    winApi.failsOnRead = true;
    EXPECT_EQ(GAClient::GetUserLanguage(), L"");
}

TEST(SystemProbesTests, OsVersion_BeforeTheSpecialCase_IsTheReportedOne)
{
    VersionApi winApi(6, 1);
    KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, winApi);
    EXPECT_EQ(GAClient::GetOsVersion(), L"6.1");
    EXPECT_EQ(GAClient::GetUserAgent(), L"Statlet/1.0 (Windows NT 6.1; x64)");
}

TEST(SystemProbesTests, OsVersion_62_IsTheReportedOne)
{
    VersionApi winApi(6, 2);
    KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, winApi);
    EXPECT_EQ(GAClient::GetOsVersion(), L"6.2");
}

TEST(SystemProbesTests, OsVersion_63_IsKnownWithoutAQuery)
{
    VersionApi winApi(6, 3);
    KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, winApi);
    EXPECT_EQ(GAClient::GetOsVersion(), L"6.3");
    EXPECT_EQ(GAClient::GetUserAgent(), L"Statlet/1.0 (Windows NT 6.3; x64)");
    EXPECT_EQ(winApi.queries, 0);
}

TEST(SystemProbesTests, OsVersion_OfALaterSystem_IsMissingInTheUserAgent)
{
    VersionApi winApi(10, 0);
    KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, winApi);
    EXPECT_EQ(GAClient::GetOsVersion(), L"");
    EXPECT_EQ(GAClient::GetUserAgent(), L"Statlet/1.0 (Windows NT ; x64)");
    EXPECT_EQ(winApi.queries, 0);
}

TEST(SystemProbesTests, OsVersion_ThatCannotBeQueried_IsEmpty)
{
    VersionApi winApi(6, 1);
    winApi.queryFails = true;
    KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, winApi);
    EXPECT_EQ(GAClient::GetOsVersion(), L"");
}

TEST(SystemProbesTests, Probes_OnThisComputer_HaveTheirForms)
{
    EXPECT_TRUE(std::regex_match(GAClient::GetScreenResolution(), std::wregex(L"[1-9][0-9]*x[1-9][0-9]*")));
    EXPECT_TRUE(std::regex_match(GAClient::GetColourDepth(), std::wregex(L"[1-9][0-9]*-bit")));
    EXPECT_TRUE(std::regex_match(GAClient::GetUserLanguage(), std::wregex(L"([a-z]{2,3}-[A-Z0-9]{2,3})?")));
    EXPECT_TRUE(std::regex_match(GAClient::GetOsVersion(), std::wregex(L"([1-9]\\.[0-9])?")));
}
