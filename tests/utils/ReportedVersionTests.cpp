#include <windows.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/utils/InstalledProbe.h"

namespace
{
bool IsWine()
{
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

// Gives the system a different version for programs of one file name, as winecfg does.
class ReportedVersion
{
public:
    ReportedVersion(const std::wstring& fileName, const std::wstring& version)
        : m_key(L"Software\\Wine\\AppDefaults\\" + fileName)
    {
        const auto byteCount = static_cast<DWORD>((version.size() + 1) * sizeof(wchar_t));
        if (::RegSetKeyValueW(HKEY_CURRENT_USER, m_key.c_str(), L"Version", REG_SZ, version.c_str(), byteCount) !=
            ERROR_SUCCESS)
        {
            throw std::runtime_error("the version cannot be set");
        }
    }
    ~ReportedVersion() { ::RegDeleteTreeW(HKEY_CURRENT_USER, m_key.c_str()); }
    ReportedVersion(const ReportedVersion&) = delete;
    ReportedVersion& operator=(const ReportedVersion&) = delete;

private:
    std::wstring m_key;
};

// Tells the system that the program knows Windows 8.1 and 10.
constexpr char kManifest[] = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
                             R"(<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">)"
                             R"(<compatibility xmlns="urn:schemas-microsoft-com:compatibility.v1"><application>)"
                             R"(<supportedOS Id="{1f676c76-80e1-4239-95bb-83d0f6d0da78}"/>)"
                             R"(<supportedOS Id="{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}"/>)"
                             R"(</application></compatibility></assembly>)";

struct VersionCase
{
    const char* name;
    const wchar_t* version;
    bool hasManifest;
    const wchar_t* expected;
};

void PrintTo(const VersionCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class ReportedVersionTests : public testing::TestWithParam<VersionCase>
{
};

TEST_P(ReportedVersionTests, GetOSName_OfAProgramOnThatSystem)
{
    if (!IsWine())
    {
        GTEST_SKIP() << "only Wine can be made to be another version of Windows";
    }
    const std::wstring fileName = L"probe-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + GetParam().version +
                                  (GetParam().hasManifest ? L"-manifest.exe" : L".exe");
    const ReportedVersion version(fileName, GetParam().version);
    KVTest::InstalledProbe probe(fileName);
    if (GetParam().hasManifest)
    {
        probe.GetFolder().WriteFile(L"Product\\bin\\" + fileName + L".manifest", kManifest);
    }
    probe.Run();
    EXPECT_EQ(probe.Told(L"os"), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    OSVersionTests, ReportedVersionTests,
    testing::Values(VersionCase{"XPOf64Bits", L"winxp64", false, L"Unsupported OS 64 bit"}, // version 5.2
                    VersionCase{"Vista", L"vista", false, L"Microsoft Windows Vista 64 bit"},
                    VersionCase{"Windows7", L"win7", false, L"Microsoft Windows 7 64 bit"},
                    VersionCase{"Windows8", L"win8", false, L"Microsoft Windows 8 64 bit"},
                    // Without a manifest that names them, both say 6.2 for compatibility.
                    VersionCase{"Windows8Point1", L"win81", false, L"Microsoft Windows 8 64 bit"},
                    VersionCase{"Windows10", L"win10", false, L"Microsoft Windows 8 64 bit"},
                    VersionCase{"Windows8Point1WithManifest", L"win81", true, L"Microsoft Windows 8.1 64 bit"},
                    VersionCase{"Windows10WithManifest", L"win10", true, L"Unsupported OS 64 bit"}),
    [](const auto& instance) { return std::string(instance.param.name); });
} // namespace
