#include "utils/OSVersion.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/ScopedSubstitute.h"
#include "winapi/KernelApi.h"

namespace
{
constexpr DWORD kMaskFor8Point1OrGreater = 0x23;
constexpr DWORD kMaskFor8Point1 = 0x3;

void WINAPI ReportArchitecture(LPSYSTEM_INFO information);

// A system of any version and architecture, which records its calls.
class AnySystem : public KVWinApi::CKernelApi
{
public:
    AnySystem(DWORD major, DWORD minor, WORD architecture = PROCESSOR_ARCHITECTURE_AMD64)
    {
        reported.dwMajorVersion = major;
        reported.dwMinorVersion = minor;
        reported.dwPlatformId = VER_PLATFORM_WIN32_NT;
        actualMajor = major;
        actualMinor = minor;
        s_architecture = architecture;
    }

    BOOL GetVersionExW(LPOSVERSIONINFOW information) override
    {
        calls += "E";
        EXPECT_EQ(information->dwOSVersionInfoSize, 284u);
        OSVERSIONINFOEXW asked{};
        std::memcpy(&asked, information, sizeof(asked));
        OSVERSIONINFOEXW zeroes{};
        zeroes.dwOSVersionInfoSize = sizeof(zeroes);
        EXPECT_EQ(std::memcmp(&asked, &zeroes, sizeof(asked)), 0);
        if (isGetVersionFailing)
        {
            return FALSE;
        }
        information->dwMajorVersion = reported.dwMajorVersion;
        information->dwMinorVersion = reported.dwMinorVersion;
        information->dwPlatformId = reported.dwPlatformId;
        return TRUE;
    }

    BOOL VerifyVersionInfoW(LPOSVERSIONINFOEXW information, DWORD typeMask, DWORDLONG conditionMask) override
    {
        lastRecord = *information;
        lastConditions = conditionMask;
        calls += typeMask == kMaskFor8Point1OrGreater ? "G" : typeMask == kMaskFor8Point1 ? "8" : "?";
        if (isVerifyFailing)
        {
            ::SetLastError(ERROR_OLD_WIN_VERSION);
            return FALSE;
        }
        const bool isGreater = actualMajor > 6 || (actualMajor == 6 && actualMinor >= 3);
        const bool isEqual = actualMajor == 6 && actualMinor == 3;
        return typeMask == kMaskFor8Point1OrGreater ? isGreater : isEqual;
    }

    HMODULE LoadLibraryW(LPCWSTR name) override
    {
        loadedName = name;
        return module;
    }
    FARPROC GetProcAddress(HMODULE from, LPCSTR name) override
    {
        ++lookUps;
        lookedUpIn = from;
        lookedUpName = name;
        return hasGetNativeSystemInfo ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&ReportArchitecture))
                                      : nullptr;
    }
    BOOL FreeLibrary(HMODULE freed) override
    {
        freedModules.push_back(freed);
        return TRUE;
    }

    OSVERSIONINFOW reported{}; // by GetVersionExW
    DWORD actualMajor;         // for VerifyVersionInfoW
    DWORD actualMinor;
    bool isGetVersionFailing = false;
    bool isVerifyFailing = false;
    bool hasGetNativeSystemInfo = true;
    HMODULE module = reinterpret_cast<HMODULE>(static_cast<ULONG_PTR>(0x12340000));

    std::string calls; // E: GetVersionExW; G, 8: VerifyVersionInfoW for 8.1 or greater, for 8.1
    OSVERSIONINFOEXW lastRecord{};
    DWORDLONG lastConditions = 0;
    std::wstring loadedName;
    std::string lookedUpName;
    HMODULE lookedUpIn = nullptr;
    int lookUps = 0;
    std::vector<HMODULE> freedModules;

    static WORD s_architecture;
    static bool s_sawZeroedRecord;
};

WORD AnySystem::s_architecture = 0;
bool AnySystem::s_sawZeroedRecord = false;

void WINAPI ReportArchitecture(LPSYSTEM_INFO information)
{
    const SYSTEM_INFO zeroes{};
    AnySystem::s_sawZeroedRecord = std::memcmp(information, &zeroes, sizeof(zeroes)) == 0;
    information->wProcessorArchitecture = AnySystem::s_architecture;
}

unsigned ConditionOf(DWORDLONG conditions, unsigned typeBit)
{
    constexpr unsigned kBitsPerCondition = 3;
    return static_cast<unsigned>(conditions >> (typeBit * kBitsPerCondition)) & 7u;
}

void ExpectZeroBeyond(OSVERSIONINFOEXW record)
{
    record.dwOSVersionInfoSize = 0;
    record.dwMajorVersion = 0;
    record.dwMinorVersion = 0;
    record.dwPlatformId = 0;
    const OSVERSIONINFOEXW zeroes{};
    EXPECT_EQ(std::memcmp(&record, &zeroes, sizeof(record)), 0);
}

TEST(OSVersionTests, IsWindows8Point1OrGreater_AsksForVersion6Point3OrGreater)
{
    AnySystem system(6, 3);
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
    EXPECT_TRUE(KVUtils::IsWindows8Point1OrGreater());
    EXPECT_EQ(system.calls, "G");
    EXPECT_EQ(system.lastRecord.dwOSVersionInfoSize, 284u);
    EXPECT_EQ(system.lastRecord.dwMajorVersion, 6u);
    EXPECT_EQ(system.lastRecord.dwMinorVersion, 3u);
    EXPECT_EQ(system.lastRecord.dwPlatformId, 2u);
    ExpectZeroBeyond(system.lastRecord);
    EXPECT_EQ(ConditionOf(system.lastConditions, 0), 3u); // minor: greater or equal
    EXPECT_EQ(ConditionOf(system.lastConditions, 1), 3u); // major
    EXPECT_EQ(ConditionOf(system.lastConditions, 5), 3u); // service pack major
    EXPECT_EQ(ConditionOf(system.lastConditions, 3), 0u); // the platform is not compared
}

TEST(OSVersionTests, IsWindows8Point1_AsksForExactlyVersion6Point3)
{
    AnySystem system(6, 3);
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
    EXPECT_TRUE(KVUtils::IsWindows8Point1());
    EXPECT_EQ(system.calls, "8");
    EXPECT_EQ(system.lastRecord.dwOSVersionInfoSize, 284u);
    EXPECT_EQ(system.lastRecord.dwMajorVersion, 6u);
    EXPECT_EQ(system.lastRecord.dwMinorVersion, 3u);
    EXPECT_EQ(system.lastRecord.dwPlatformId, 0u);
    ExpectZeroBeyond(system.lastRecord);
    EXPECT_EQ(ConditionOf(system.lastConditions, 0), 1u); // minor: equal
    EXPECT_EQ(ConditionOf(system.lastConditions, 1), 1u); // major
    EXPECT_EQ(ConditionOf(system.lastConditions, 5), 0u); // the service pack is not compared
}

TEST(OSVersionTests, VersionTests_FailingCalls_AreFalse)
{
    AnySystem system(6, 3);
    system.isVerifyFailing = true;
    system.isGetVersionFailing = true;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
    EXPECT_FALSE(KVUtils::IsWindows8Point1OrGreater());
    EXPECT_FALSE(KVUtils::IsWindows8Point1());
    EXPECT_FALSE(KVUtils::IsWindowsXP());
}

TEST(OSVersionTests, IsWindowsXP_OnlyVersion5Point1OfPlatform2)
{
    AnySystem system(5, 1);
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
    EXPECT_TRUE(KVUtils::IsWindowsXP());
    EXPECT_EQ(system.calls, "GE");
    system.reported.dwMinorVersion = 2;
    EXPECT_FALSE(KVUtils::IsWindowsXP());
    system.reported.dwMinorVersion = 1;
    system.reported.dwMajorVersion = 6;
    EXPECT_FALSE(KVUtils::IsWindowsXP());
    system.reported.dwMajorVersion = 5;
    system.reported.dwPlatformId = VER_PLATFORM_WIN32_WINDOWS;
    EXPECT_FALSE(KVUtils::IsWindowsXP());
}

TEST(OSVersionTests, IsWindowsXP_From8Point1On_IsFalseWithoutAskingForTheVersion)
{
    AnySystem system(6, 3);
    system.reported.dwMajorVersion = 5; // as in a compatibility mode
    system.reported.dwMinorVersion = 1;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
    EXPECT_FALSE(KVUtils::IsWindowsXP());
    EXPECT_EQ(system.calls, "G");
}

TEST(OSVersionTests, GetNativeProcessorArchitecture_AsksKernel32AndFreesIt)
{
    AnySystem system(6, 1, PROCESSOR_ARCHITECTURE_IA64);
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
    EXPECT_EQ(KVUtils::GetNativeProcessorArchitecture(), 6);
    EXPECT_EQ(system.loadedName, L"Kernel32.dll");
    EXPECT_EQ(system.lookedUpName, "GetNativeSystemInfo");
    EXPECT_EQ(system.lookedUpIn, system.module);
    EXPECT_TRUE(AnySystem::s_sawZeroedRecord);
    EXPECT_EQ(system.freedModules, std::vector<HMODULE>{system.module});
    AnySystem::s_architecture = PROCESSOR_ARCHITECTURE_INTEL;
    EXPECT_EQ(KVUtils::GetNativeProcessorArchitecture(), 0);
    AnySystem::s_architecture = PROCESSOR_ARCHITECTURE_AMD64;
    EXPECT_EQ(KVUtils::GetNativeProcessorArchitecture(), 9);
}

TEST(OSVersionTests, GetNativeProcessorArchitecture_FunctionMissing_IsUnknownAndTheLibraryFreed)
{
    AnySystem system(5, 1);
    system.hasGetNativeSystemInfo = false;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
    EXPECT_EQ(KVUtils::GetNativeProcessorArchitecture(), 0xFFFF);
    EXPECT_EQ(system.freedModules, std::vector<HMODULE>{system.module});
}

TEST(OSVersionTests, GetNativeProcessorArchitecture_LoadingFailed_FreesTheNullHandleOnBothPaths)
{
    AnySystem system(6, 1);
    system.module = nullptr;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
    EXPECT_EQ(KVUtils::GetNativeProcessorArchitecture(), 9);
    system.hasGetNativeSystemInfo = false;
    EXPECT_EQ(KVUtils::GetNativeProcessorArchitecture(), 0xFFFF);
    EXPECT_EQ(system.freedModules, (std::vector<HMODULE>{nullptr, nullptr}));
}

TEST(OSVersionTests, GetNativeProcessorArchitecture_RealSystem_IsWhatTheSystemTells)
{
    SYSTEM_INFO information{};
    ::GetNativeSystemInfo(&information);
    EXPECT_EQ(KVUtils::GetNativeProcessorArchitecture(), information.wProcessorArchitecture);
}

struct NameCase
{
    const char* name;
    DWORD major, minor;
    const wchar_t* expected;
    const char* expectedCalls;
};

void PrintTo(const NameCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class OSNameTests : public testing::TestWithParam<NameCase>
{
};

TEST_P(OSNameTests, IsThisAfterTheseQuestions)
{
    AnySystem system(GetParam().major, GetParam().minor);
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
    EXPECT_EQ(KVUtils::GetOSName(), GetParam().expected);
    EXPECT_EQ(system.calls, GetParam().expectedCalls); // 8.1 or greater is asked again before each test
}

INSTANTIATE_TEST_SUITE_P(OSVersionTests, OSNameTests,
                         testing::Values(NameCase{"Windows8Point1", 6, 3, L"Microsoft Windows 8.1 64 bit", "8"},
                                         NameCase{"Windows8", 6, 2, L"Microsoft Windows 8 64 bit", "8GE"},
                                         NameCase{"Windows7", 6, 1, L"Microsoft Windows 7 64 bit", "8GEGE"},
                                         NameCase{"Vista", 6, 0, L"Microsoft Windows Vista 64 bit", "8GEGEGE"},
                                         NameCase{"XP", 5, 1, L"Microsoft Windows XP 64 bit", "8GEGEGEGE"},
                                         NameCase{"Older", 5, 2, L"Unsupported OS 64 bit", "8GEGEGEGE"},
                                         NameCase{"Newer", 10, 0, L"Unsupported OS 64 bit", "8GGGG"}),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(OSVersionTests, GetOSName_NewerSystemThatReportsAnOldVersion_IsStillUnsupported)
{
    AnySystem system(10, 0);
    system.reported.dwMajorVersion = 6;
    system.reported.dwMinorVersion = 1;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
    EXPECT_EQ(KVUtils::GetOSName(), L"Unsupported OS 64 bit");
}

TEST(OSVersionTests, GetOSName_OtherPlatform_IsUnsupported)
{
    AnySystem system(6, 1);
    system.reported.dwPlatformId = VER_PLATFORM_WIN32_WINDOWS;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
    EXPECT_EQ(KVUtils::GetOSName(), L"Unsupported OS 64 bit");
}

TEST(OSVersionTests, GetOSName_AllCallsFail_IsUnsupported)
{
    AnySystem system(6, 1);
    system.isVerifyFailing = true;
    system.isGetVersionFailing = true;
    system.hasGetNativeSystemInfo = false;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
    EXPECT_EQ(KVUtils::GetOSName(), L"Unsupported OS");
}

TEST(OSVersionTests, GetOSName_OtherArchitectures_GetNoSuffix)
{
    AnySystem system(6, 1, PROCESSOR_ARCHITECTURE_INTEL);
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
    EXPECT_EQ(KVUtils::GetOSName(), L"Microsoft Windows 7");
}

TEST(OSVersionTests, GetOSName_UnknownArchitecture_GetsNoSuffix)
{
    AnySystem system(6, 0);
    system.hasGetNativeSystemInfo = false;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
    EXPECT_EQ(KVUtils::GetOSName(), L"Microsoft Windows Vista");
}

TEST(OSVersionTests, GetOSName_SecondCall_AsksNothing)
{
    {
        AnySystem system(6, 1);
        const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, system);
        EXPECT_EQ(KVUtils::GetOSName(), L"Microsoft Windows 7 64 bit");
    }
    AnySystem other(6, 3);
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, other);
    EXPECT_EQ(KVUtils::GetOSName(), L"Microsoft Windows 7 64 bit");
    EXPECT_EQ(other.calls, "");
    EXPECT_EQ(other.lookUps, 0);
}
} // namespace
