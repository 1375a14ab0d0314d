#include "analytics_reporting/SystemFacts.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/analytics_reporting/KnownSystem.h"
#include "tests/support/BuiltFiles.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ScopedSubstitute.h"
#include "winapi/KernelApi.h"

namespace
{
using namespace KVAnalyticsReporting;

WORD s_architecture = 0;

void WINAPI GetChosenSystemInfo(LPSYSTEM_INFO information)
{
    *information = SYSTEM_INFO{};
    information->wProcessorArchitecture = s_architecture;
}

class ChosenArchitecture : public KVWinApi::CKernelApi
{
public:
    FARPROC GetProcAddress(HMODULE module, LPCSTR name) override
    {
        if (std::string(name) != "GetNativeSystemInfo")
        {
            return CKernelApi::GetProcAddress(module, name);
        }
        return isKnown ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&GetChosenSystemInfo)) : nullptr;
    }

    bool isKnown = true;
};

TEST(SystemFactsTests, ProcessorArchitecture_BecomesItsText)
{
    ChosenArchitecture kernel;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    const std::vector<std::pair<WORD, const wchar_t*>> architectures = {
        {WORD{0}, L"x86"},      {WORD{5}, L"ARM"},     {WORD{6}, L"IA64"},        {WORD{9}, L"x64"},
        {WORD{12}, L"Unknown"}, {WORD{1}, L"Unknown"}, {WORD{0xFFFF}, L"Unknown"}};
    for (const auto& [architecture, text] : architectures)
    {
        s_architecture = architecture;
        EXPECT_EQ(GetProcessorArchitectureText(), text) << architecture;
    }
}

TEST(SystemFactsTests, ProcessorArchitecture_OfASystemThatCannotTell_IsUnknown)
{
    ChosenArchitecture kernel;
    kernel.isKnown = false;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    EXPECT_EQ(GetProcessorArchitectureText(), L"Unknown");
}

// A process determines the name of the system once, hence one system per test.
std::wstring GetOSVersionTextOf(DWORD major, DWORD minor, WORD architecture)
{
    KVTest::KnownSystem system(major, minor, architecture);
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
    return GetOSVersionText();
}

TEST(SystemFactsTests, OSVersion_OfWindows7_HasTheWidthOfItsProcessor)
{
    EXPECT_EQ(GetOSVersionTextOf(6, 1, PROCESSOR_ARCHITECTURE_AMD64), L"Microsoft Windows 7 64 bit");
}

TEST(SystemFactsTests, OSVersion_OfAnotherProcessor_IsTheNameAlone)
{
    EXPECT_EQ(GetOSVersionTextOf(6, 3, PROCESSOR_ARCHITECTURE_INTEL), L"Microsoft Windows 8.1");
}

TEST(SystemFactsTests, OSVersion_OfALaterSystem_IsUnsupported)
{
    EXPECT_EQ(GetOSVersionTextOf(10, 0, PROCESSOR_ARCHITECTURE_AMD64), L"Unsupported OS 64 bit");
}

class ProgramElsewhere : public KVWinApi::CKernelApi
{
public:
    explicit ProgramElsewhere(std::wstring path) : m_path(std::move(path)) {}
    DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size) override
    {
        EXPECT_EQ(module, nullptr);
        sizes.push_back(size);
        const auto length = static_cast<DWORD>(m_path.copy(buffer, size));
        if (length < size)
        {
            buffer[length] = L'\0';
        }
        return length;
    }

    std::vector<DWORD> sizes;

private:
    std::wstring m_path;
};

std::wstring GetVersionOf(const std::wstring& path)
{
    ProgramElsewhere kernel(path);
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    return GetApplicationVersion();
}

TEST(SystemFactsTests, ApplicationVersion_IsTheProductVersionOfTheProgram)
{
    EXPECT_EQ(GetVersionOf(KVTest::PathOfBuiltProgram()), KV_TEST_VERSION);
    // Its file version is different.
    EXPECT_EQ(GetVersionOf(KVTest::PathBesideTest(L"kv_version_product_version.dll")), L"7.8 beta");
}

TEST(SystemFactsTests, ApplicationVersion_OfAProgramWithoutResource_IsUnknown)
{
    EXPECT_EQ(GetVersionOf(KVTest::PathBesideTest(L"kv_ending.exe")), L"Unknown");
    EXPECT_EQ(GetVersionOf(L"C:\\missing.exe"), L"Unknown");
    EXPECT_EQ(GetVersionOf(L""), L"Unknown");
}

TEST(SystemFactsTests, ApplicationVersion_OfAProgramWithAnEmptyOne_IsUnknown)
{
    EXPECT_EQ(GetVersionOf(KVTest::PathBesideTest(L"kv_version_empty_product_version.dll")), L"Unknown");
}

TEST(SystemFactsTests, ApplicationVersion_AsksForALongPathWithRoomForIt)
{
    ProgramElsewhere kernel(L"C:\\" + std::wstring(300, L'x') + L"\\program.exe");
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    EXPECT_EQ(GetApplicationVersion(), L"Unknown");
    EXPECT_EQ(kernel.sizes, (std::vector<DWORD>{260, 32768}));
}
} // namespace
