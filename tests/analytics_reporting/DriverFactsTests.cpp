#include "analytics_reporting/DriverFacts.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <deque>
#include <initializer_list>
#include <ostream>
#include <stdexcept>
#include <string>

#include "tests/analytics_reporting/FakeSystem.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/TemporaryFolder.h"

namespace
{
using KVAnalyticsReporting::GetDriverType;
using KVAnalyticsReporting::GetDriverVersion;
using KVTest::Calls;
using KVTest::Number;
using KVTest::RegistryValue;
using KVTest::String;
using KVTest::Unterminated;

const std::wstring kZero(1, L'\0');
const std::wstring kEnvironments = L"System\\ControlSet001\\Control\\Print\\Environments\\";
const std::wstring kVersion3 = kEnvironments + L"Windows x64\\Drivers\\Version-3\\Acme Laser";
const std::wstring kVersion4 = kEnvironments + L"Windows x64\\Drivers\\Version-4\\Acme Laser";

std::wstring Open(const std::wstring& key)
{
    return L"RegOpenKeyExW HKLM\\" + key + L", query value";
}

std::wstring Close(int key)
{
    return L"RegCloseKey " + std::to_wstring(key);
}

std::wstring ReadType(int key)
{
    return L"RegQueryValueExW " + std::to_wstring(key) + L", Version, buffer of 4";
}

std::wstring ReadVersion(int key)
{
    return L"RegQueryValueExW " + std::to_wstring(key) + L", DriverVersion, buffer of 520";
}

// A machine with a registry of its own, x64 unless a test chooses otherwise.
class DriverFactsTests : public testing::Test
{
protected:
    std::wstring TypeOf(const RegistryValue& version3)
    {
        m_registry.keys[kVersion3][L"Version"] = version3;
        return GetDriverType(L"Acme Laser");
    }
    std::wstring VersionOf(const RegistryValue& version3)
    {
        m_registry.keys[kVersion3][L"DriverVersion"] = version3;
        return GetDriverVersion(L"Acme Laser");
    }

    Calls m_calls;
    KVTest::FakeMachine m_machine{m_calls, {PROCESSOR_ARCHITECTURE_AMD64}};
    KVTest::FakeRegistry m_registry{m_calls};

private:
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_machineSwap{KVWinApi::g_kernelApi, m_machine};
    KVTest::ScopedSubstitute<KVWinApi::IRegistryApi> m_registrySwap{KVWinApi::g_registryApi, m_registry};
};

struct EnvironmentCase
{
    const char* name;
    std::deque<WORD> architectures; // first and second answer
    std::size_t expectedQuestions;
    const wchar_t* expectedEnvironment; // null: none
};

void PrintTo(const EnvironmentCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class DriverEnvironmentTests : public DriverFactsTests, public testing::WithParamInterface<EnvironmentCase>
{
protected:
    static Calls ExpectedCalls()
    {
        Calls calls(GetParam().expectedQuestions, L"GetNativeSystemInfo");
        if (GetParam().expectedEnvironment != nullptr)
        {
            const std::wstring drivers = kEnvironments + GetParam().expectedEnvironment + L"\\Drivers\\";
            calls.push_back(Open(drivers + L"Version-3\\Acme Laser"));
            calls.push_back(Open(drivers + L"Version-4\\Acme Laser"));
        }
        return calls;
    }
};

TEST_P(DriverEnvironmentTests, IsWhereTheTypeIsLookedFor)
{
    KVTest::FakeMachine::SetArchitectures(GetParam().architectures);
    EXPECT_EQ(GetDriverType(L"Acme Laser"), L"Unknown");
    EXPECT_EQ(m_calls, ExpectedCalls());
}

TEST_P(DriverEnvironmentTests, IsWhereTheVersionIsLookedFor)
{
    KVTest::FakeMachine::SetArchitectures(GetParam().architectures);
    EXPECT_EQ(GetDriverVersion(L"Acme Laser"), L"Unknown");
    EXPECT_EQ(m_calls, ExpectedCalls());
}

INSTANTIATE_TEST_SUITE_P(DriverFactsTests, DriverEnvironmentTests,
                         testing::Values(EnvironmentCase{"X64", {9, 0}, 1, L"Windows x64"},
                                         EnvironmentCase{"IA64", {6, 9}, 1, L"Windows IA64"},
                                         EnvironmentCase{"X86", {0}, 2, L"Windows NT x86"},
                                         EnvironmentCase{"Arm", {5}, 2, L"Windows NT x86"},
                                         EnvironmentCase{"X86ThenX64", {0, 9}, 2, L"Windows x64"},
                                         EnvironmentCase{"ArmThenX64", {5, 9}, 2, L"Windows x64"},
                                         EnvironmentCase{"X86ThenIA64", {0, 6}, 2, L"Windows NT x86"},
                                         EnvironmentCase{"ArmThenUnknown", {5, 0xFFFF}, 2, L"Windows NT x86"},
                                         EnvironmentCase{"Mips", {1}, 1, nullptr},
                                         EnvironmentCase{"Msil", {8}, 1, nullptr},
                                         EnvironmentCase{"X86OnX64", {10}, 1, nullptr},
                                         EnvironmentCase{"Arm64", {12}, 1, nullptr},
                                         EnvironmentCase{"Unknown", {0xFFFF}, 1, nullptr}),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(DriverFactsTests, OtherArchitecture_IsUnknownWhateverTheRegistryHolds)
{
    KVTest::FakeMachine::SetArchitectures({12});
    m_registry.keys[kVersion3] = {{L"Version", Number(3)}, {L"DriverVersion", String(L"1.0")}};
    EXPECT_EQ(GetDriverType(L"Acme Laser"), L"Unknown");
    EXPECT_EQ(GetDriverVersion(L"Acme Laser"), L"Unknown");
}

TEST_F(DriverFactsTests, DriverName_IsTakenAsItIs)
{
    m_registry.keys[kEnvironments + L"Windows x64\\Drivers\\Version-3\\ Acme \u00E4 Class "][L"Version"] = Number(3);
    EXPECT_EQ(GetDriverType(L" Acme \u00E4 Class "), L"V3");
    EXPECT_EQ(GetDriverType(L"Acme \u00E4 Class"), L"Unknown");
}

TEST_F(DriverFactsTests, GetDriverType_Version3_EndsTheWalk)
{
    m_registry.keys[kVersion3][L"Version"] = Number(3);
    m_registry.keys[kVersion4][L"Version"] = Number(4);
    EXPECT_EQ(GetDriverType(L"Acme Laser"), L"V3");
    EXPECT_EQ(m_calls, (Calls{L"GetNativeSystemInfo", Open(kVersion3), ReadType(1), Close(1)}));
}

TEST_F(DriverFactsTests, GetDriverType_OneFolderOnly_IsFoundInEither)
{
    m_registry.keys[kVersion3][L"Version"] = Number(3);
    EXPECT_EQ(GetDriverType(L"Acme Laser"), L"V3");
    m_registry.keys.clear();
    m_calls.clear();
    m_registry.keys[kVersion4][L"Version"] = Number(4);
    EXPECT_EQ(GetDriverType(L"Acme Laser"), L"V4");
    EXPECT_EQ(m_calls, (Calls{L"GetNativeSystemInfo", Open(kVersion3), Open(kVersion4), ReadType(2), Close(2)}));
}

TEST_F(DriverFactsTests, GetDriverType_TheValueCountsAndNotTheFolder)
{
    m_registry.keys[kVersion3][L"Version"] = Number(4);
    m_registry.keys[kVersion4][L"Version"] = Number(3);
    EXPECT_EQ(GetDriverType(L"Acme Laser"), L"V4");
    m_registry.keys.erase(kVersion3);
    EXPECT_EQ(GetDriverType(L"Acme Laser"), L"V3");
}

TEST_F(DriverFactsTests, GetDriverType_OtherNumber_GoesOnToTheNextFolder)
{
    m_registry.keys[kVersion4][L"Version"] = Number(4);
    for (const std::uint32_t other : {0u, 1u, 2u, 5u, 0x103u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(TypeOf(Number(other)), L"V4") << other;
    }
    m_registry.keys[kVersion4][L"Version"] = Number(2);
    m_calls.clear();
    EXPECT_EQ(TypeOf(Number(2)), L"Unknown");
    EXPECT_EQ(m_calls.size(), 7u);
    EXPECT_EQ(m_calls, (Calls{L"GetNativeSystemInfo", Open(kVersion3), ReadType(13), Close(13), Open(kVersion4),
                              ReadType(14), Close(14)}));
}

TEST_F(DriverFactsTests, GetDriverType_AnythingButANumber_GoesOnToTheNextFolder)
{
    m_registry.keys[kVersion4][L"Version"] = Number(4);
    const std::string three = Number(3).bytes;
    for (const DWORD type :
         std::initializer_list<DWORD>{REG_NONE, REG_SZ, REG_EXPAND_SZ, REG_BINARY, REG_DWORD_BIG_ENDIAN, REG_QWORD})
    {
        EXPECT_EQ(TypeOf({type, three}), L"V4") << type;
    }
    EXPECT_EQ(TypeOf(String(L"3")), L"V4");
    EXPECT_EQ(TypeOf({REG_QWORD, three + std::string(4, '\0')}), L"V4"); // does not fit
    EXPECT_EQ(TypeOf({REG_DWORD, three + "x"}), L"V4");
}

TEST_F(DriverFactsTests, GetDriverType_FewerBytesThanANumberHas_GoesOnToTheNextFolder)
{
    m_registry.keys[kVersion4][L"Version"] = Number(4);
    for (const std::size_t size : {0u, 1u, 2u, 3u})
    {
        EXPECT_EQ(TypeOf({REG_DWORD, Number(3).bytes.substr(0, size)}), L"V4") << size;
    }
}

TEST_F(DriverFactsTests, GetDriverType_MoreBytesToldThanANumberHas_GoesOnToTheNextFolder)
{
    m_registry.keys[kVersion4][L"Version"] = Number(4);
    RegistryValue value = Number(3);
    value.extraBytesTold = 4;
    EXPECT_EQ(TypeOf(value), L"V4");
}

TEST_F(DriverFactsTests, GetDriverType_ReadFails_GoesOnToTheNextFolder)
{
    m_registry.keys[kVersion4][L"Version"] = Number(4);
    RegistryValue denied = Number(3); // although the bytes are delivered
    denied.error = ERROR_ACCESS_DENIED;
    EXPECT_EQ(TypeOf(denied), L"V4");
    EXPECT_EQ(m_calls, (Calls{L"GetNativeSystemInfo", Open(kVersion3), ReadType(1), Close(1), Open(kVersion4),
                              ReadType(2), Close(2)}));
}

TEST_F(DriverFactsTests, GetDriverType_NoValue_IsUnknownAndTheKeysAreClosed)
{
    m_registry.keys[kVersion3][L"DriverVersion"] = String(L"1.0");
    m_registry.keys[kVersion4] = {};
    EXPECT_EQ(GetDriverType(L"Acme Laser"), L"Unknown");
    EXPECT_EQ(m_calls, (Calls{L"GetNativeSystemInfo", Open(kVersion3), ReadType(1), Close(1), Open(kVersion4),
                              ReadType(2), Close(2)}));
}

TEST_F(DriverFactsTests, KeysThatCannotBeOpened_AreNeitherReadNorClosed)
{
    m_registry.openError = ERROR_ACCESS_DENIED;
    EXPECT_EQ(GetDriverType(L"Acme Laser"), L"Unknown");
    EXPECT_EQ(m_calls, (Calls{L"GetNativeSystemInfo", Open(kVersion3), Open(kVersion4)}));
}

TEST_F(DriverFactsTests, GetDriverVersion_FirstFolder_EndsTheWalk)
{
    m_registry.keys[kVersion3][L"DriverVersion"] = String(L"6.1.7600.16385");
    m_registry.keys[kVersion4][L"DriverVersion"] = String(L"10.0.0.1");
    EXPECT_EQ(GetDriverVersion(L"Acme Laser"), L"6.1.7600.16385");
    EXPECT_EQ(m_calls, (Calls{L"GetNativeSystemInfo", Open(kVersion3), ReadVersion(1), Close(1)}));
}

TEST_F(DriverFactsTests, GetDriverVersion_SecondFolder_IsTakenWhenTheFirstTellsNone)
{
    m_registry.keys[kVersion4][L"DriverVersion"] = String(L"10.0.0.1");
    EXPECT_EQ(GetDriverVersion(L"Acme Laser"), L"10.0.0.1");
    m_registry.keys[kVersion3] = {{L"Version", Number(3)}};
    m_calls.clear();
    EXPECT_EQ(GetDriverVersion(L"Acme Laser"), L"10.0.0.1");
    EXPECT_EQ(m_calls, (Calls{L"GetNativeSystemInfo", Open(kVersion3), ReadVersion(2), Close(2), Open(kVersion4),
                              ReadVersion(3), Close(3)}));
}

struct VersionTextCase
{
    const char* name;
    std::wstring stored;
    std::wstring expected;
};

void PrintTo(const VersionTextCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class DriverVersionTextTests : public DriverFactsTests, public testing::WithParamInterface<VersionTextCase>
{
};

TEST_P(DriverVersionTextTests, GoesUpToTheFirstZero)
{
    m_registry.keys[kVersion4][L"DriverVersion"] = String(L"not this one");
    EXPECT_EQ(VersionOf(Unterminated(GetParam().stored)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    DriverFactsTests, DriverVersionTextTests,
    testing::Values(VersionTextCase{"Terminated", L"1.0" + kZero, L"1.0"},
                    VersionTextCase{"NotTerminated", L"1.0", L"1.0"},
                    VersionTextCase{"TextBehindTheZero", L"1.0" + kZero + L"secret" + kZero, L"1.0"},
                    VersionTextCase{"ZeroFirst", kZero + L"secret", L""}, VersionTextCase{"NoBytes", L"", L""},
                    VersionTextCase{"OneCharacter", L"1", L"1"},
                    VersionTextCase{"FillsTheBufferWithItsZero", std::wstring(259, L'9') + kZero,
                                    std::wstring(259, L'9')},
                    VersionTextCase{"FillsTheBufferNotTerminated", std::wstring(260, L'9'), std::wstring(260, L'9')},
                    VersionTextCase{"BlanksStay", L" 1.0 ", L" 1.0 "}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(DriverFactsTests, GetDriverVersion_BeyondTheBuffer_GoesOnToTheNextFolder)
{
    m_registry.keys[kVersion4][L"DriverVersion"] = String(L"10.0.0.1");
    EXPECT_EQ(VersionOf(Unterminated(std::wstring(261, L'9'))), L"10.0.0.1");
    EXPECT_EQ(VersionOf(String(std::wstring(260, L'9'))), L"10.0.0.1");
    EXPECT_EQ(VersionOf({REG_SZ, std::string(521, '9')}), L"10.0.0.1");
    m_registry.keys.erase(kVersion4);
    EXPECT_EQ(GetDriverVersion(L"Acme Laser"), L"Unknown");
}

TEST_F(DriverFactsTests, GetDriverVersion_HalfACharacterAtTheEnd_IsDropped)
{
    EXPECT_EQ(VersionOf({REG_SZ, Unterminated(L"1.0").bytes + "x"}), L"1.0");
    EXPECT_EQ(VersionOf({REG_SZ, "x"}), L"");
}

TEST_F(DriverFactsTests, GetDriverVersion_MoreBytesToldThanThereIsRoomFor_AreNotRead)
{
    for (const DWORD extra : {1u, 2u, 4096u, 0xFFFFFFFFu - 520u})
    {
        RegistryValue value = Unterminated(std::wstring(260, L'9'));
        value.extraBytesTold = extra;
        EXPECT_EQ(VersionOf(value), std::wstring(260, L'9')) << extra;
    }
}

TEST_F(DriverFactsTests, GetDriverVersion_AnythingButAString_GoesOnToTheNextFolder)
{
    m_registry.keys[kVersion4][L"DriverVersion"] = String(L"10.0.0.1");
    for (const DWORD type :
         std::initializer_list<DWORD>{REG_NONE, REG_EXPAND_SZ, REG_BINARY, REG_DWORD, REG_MULTI_SZ, REG_QWORD})
    {
        EXPECT_EQ(VersionOf({type, String(L"1.0").bytes}), L"10.0.0.1") << type;
    }
}

TEST_F(DriverFactsTests, GetDriverVersion_Number_IsUnknown)
{
    EXPECT_EQ(VersionOf(Number(7)), L"Unknown");
    EXPECT_EQ(m_calls, (Calls{L"GetNativeSystemInfo", Open(kVersion3), ReadVersion(1), Close(1), Open(kVersion4)}));
}

TEST_F(DriverFactsTests, GetDriverVersion_ReadFails_GoesOnToTheNextFolder)
{
    m_registry.keys[kVersion4][L"DriverVersion"] = String(L"10.0.0.1");
    RegistryValue denied = String(L"1.0"); // although the bytes are delivered
    denied.error = ERROR_ACCESS_DENIED;
    EXPECT_EQ(VersionOf(denied), L"10.0.0.1");
    EXPECT_EQ(m_calls, (Calls{L"GetNativeSystemInfo", Open(kVersion3), ReadVersion(1), Close(1), Open(kVersion4),
                              ReadVersion(2), Close(2)}));
}

TEST_F(DriverFactsTests, ExceptionOfTheRegistry_PassesOnAndTheKeyIsClosed)
{
    RegistryValue failing;
    failing.exception = std::make_exception_ptr(std::runtime_error("of the registry"));
    EXPECT_THROW(TypeOf(failing), std::runtime_error);
    EXPECT_EQ(m_calls, (Calls{L"GetNativeSystemInfo", Open(kVersion3), ReadType(1), Close(1)}));
    m_calls.clear();
    EXPECT_THROW(VersionOf(failing), std::runtime_error);
    EXPECT_EQ(m_calls, (Calls{L"GetNativeSystemInfo", Open(kVersion3), ReadVersion(2), Close(2)}));
}

TEST_F(DriverFactsTests, BothFacts_OpenTheirScopes)
{
    const KVTest::TemporaryFolder folder;
    const KVTest::RegistrySandbox settings;
    const std::wstring key = L"Software\\Norvik\\KV\\Logging";
    settings.SetString(key, L"LogFileName", folder.PathOf(L"log.txt"));
    settings.SetDword(key + L"\\analytics_reporting_tests.exe\\driverfacts.cpp", L"LogCategories", 0xFF0);
    m_registry.keys[kVersion3] = {{L"Version", Number(3)}, {L"DriverVersion", String(L"1.0")}};
    GetDriverType(L"Acme Laser");
    GetDriverVersion(L"Acme Laser");
    EXPECT_EQ(KVTest::ReadUtf16File(folder.PathOf(L"log.txt")), L"(->) KVAnalyticsReporting::GetDriverType\r\n"
                                                                L"(<-) KVAnalyticsReporting::GetDriverType\r\n"
                                                                L"(->) KVAnalyticsReporting::GetDriverVersion\r\n"
                                                                L"(<-) KVAnalyticsReporting::GetDriverVersion\r\n");
}
} // namespace
