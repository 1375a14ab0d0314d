#include "doctor/findings/LogFindings.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "logging/LogFlags.h"
#include "logging/LogModule.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/TemporaryFolder.h"

namespace
{
using KVAnalyticsDoctor::FindLogSettings;
using KVAnalyticsDoctor::LogFindings;
using KVAnalyticsDoctor::LogLevel;
using KVAnalyticsDoctor::LogValue;

const std::wstring kBase = L"Software\\Norvik\\KV\\Logging";
const std::wstring kProcess = kBase + L"\\KVAnalyticsProxy.exe";

// Names and values of a key, for comparison.
std::wstring ValuesOf(const LogLevel& level)
{
    std::wstring text;
    for (const LogValue& value : level.values)
    {
        text += value.name + L"=" +
                (value.isIgnored  ? L"ignored"
                 : value.isNumber ? std::to_wstring(value.number)
                                  : value.text) +
                L"|";
    }
    return text;
}

class LogFindingsTests : public testing::Test
{
protected:
    KVTest::RegistrySandbox m_registry;
};

TEST_F(LogFindingsTests, NoKey_LogsNothing)
{
    const LogFindings findings = FindLogSettings();
    EXPECT_TRUE(findings.levels.empty());
    ASSERT_EQ(findings.modules.size(), 2U);
    EXPECT_EQ(findings.modules[0].name, L"KVAnalyticsProxy");
    EXPECT_EQ(findings.modules[1].name, L"Utils");
    EXPECT_EQ(findings.modules[0].categories, 0U);
    EXPECT_EQ(findings.modules[0].file, L"");
    EXPECT_FALSE(m_registry.KeyExists(kBase));
}

TEST_F(LogFindingsTests, EachLevel_InTheOrderOfReading)
{
    m_registry.SetDword(kBase, L"LogCategories", 0x10);
    m_registry.SetDword(kBase, L"LogParmsPollTime", 5);
    m_registry.SetString(kProcess, L"LogFileName", L"C:\\Log.txt");
    m_registry.SetString(kProcess, L"ExtMonitorCLSID", L"{x}");
    m_registry.SetDword(kProcess + L"\\Utils", L"LogInfoDetailLevel", 7);
    m_registry.SetDword(kProcess + L"\\Utils\\sxsconfig.cpp", L"LogOptions", 9);
    const LogFindings findings = FindLogSettings();
    ASSERT_EQ(findings.levels.size(), 4U);
    EXPECT_EQ(findings.levels[0].key, kBase);
    EXPECT_EQ(ValuesOf(findings.levels[0]), L"LogCategories=16|LogParmsPollTime=5|");
    EXPECT_EQ(findings.levels[1].key, kProcess);
    EXPECT_EQ(ValuesOf(findings.levels[1]), L"LogFileName=C:\\Log.txt|ExtMonitorCLSID={x}|");
    EXPECT_EQ(findings.levels[2].key, kProcess + L"\\Utils");
    EXPECT_EQ(ValuesOf(findings.levels[2]), L"LogInfoDetailLevel=7|");
    EXPECT_EQ(findings.levels[3].key, kProcess + L"\\Utils\\sxsconfig.cpp");
    EXPECT_EQ(ValuesOf(findings.levels[3]), L"LogOptions=9|");
    EXPECT_EQ(findings.modules[0].detailLevel, 0U);
    EXPECT_EQ(findings.modules[1].detailLevel, 7U);
    EXPECT_EQ(findings.modules[1].categories, 0x10U);
    EXPECT_EQ(findings.modules[1].file, L"c:\\log.txt");
    EXPECT_EQ(findings.monitorClass, L"{x}");
}

TEST_F(LogFindingsTests, ValueOfADifferentType_IsIgnored)
{
    m_registry.SetString(kBase, L"LogCategories", L"everything");
    m_registry.SetDword(kBase, L"LogFileName", 7);
    const LogFindings findings = FindLogSettings();
    EXPECT_EQ(ValuesOf(findings.levels.at(0)), L"LogCategories=ignored|LogFileName=ignored|");
    EXPECT_EQ(findings.modules[0].categories, 0U);
}

TEST_F(LogFindingsTests, CategoryThatCreatesKeys_CreatesNone)
{
    m_registry.SetDword(kBase, L"LogCategories", KVLogging::kLogCreateModuleKey);
    FindLogSettings();
    EXPECT_FALSE(m_registry.KeyExists(kProcess));
}

TEST_F(LogFindingsTests, ManyKeys_AreCut)
{
    for (int i = 0; i < 120; ++i)
    {
        m_registry.SetDword(kProcess + L"\\M" + std::to_wstring(i), L"LogOptions", 1);
    }
    const LogFindings findings = FindLogSettings();
    EXPECT_EQ(findings.levels.size(), 100U);
    EXPECT_TRUE(findings.hasMoreKeys);
}

TEST_F(LogFindingsTests, SilencedModule_WritesNothingAndReadsNoSetting)
{
    const KVTest::TemporaryFolder folder;
    m_registry.SetDword(kBase, L"LogCategories", KVLogging::kLogInfo | KVLogging::kLogCreateModuleKey);
    m_registry.SetString(kBase, L"LogFileName", folder.PathOf(L"trace.log"));
    const auto fileExists = [&] {
        return ::GetFileAttributesW(folder.PathOf(L"trace.log").c_str()) != INVALID_FILE_ATTRIBUTES;
    };
    KVLogging::CLogModule silent("Silent", "00:00:00");
    silent.Silence();
    silent.LogString(nullptr, KVLogging::kLogInfo, L"text", true);
    EXPECT_FALSE(fileExists());
    KVLogging::CLogModule loud("Loud", "00:00:00"); // otherwise the above would prove nothing
    loud.LogString(nullptr, KVLogging::kLogInfo, L"text", true);
    EXPECT_TRUE(fileExists());
}
} // namespace
