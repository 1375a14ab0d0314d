#include "logging/settings/SettingsReader.h"

#include <windows.h>

#include <gtest/gtest.h>

#include "logging/settings/RegistryKey.h"
#include "tests/logging/LogTest.h"
#include "tests/logging/SystemCallPatches.h"

namespace
{
using namespace KVLogging;
using KVTest::BaseKey;
using KVTest::ModuleKey;
using KVTest::ProcessKey;

// How many of this process's handles are registry keys.
int CountOpenKeys()
{
    constexpr std::uintptr_t kHandleStep = 4;
    constexpr std::uintptr_t kBehindLastHandle = 0x4000; // far more than a test opens
    int count = 0;
    for (std::uintptr_t value = kHandleStep; value < kBehindLastHandle; value += kHandleStep)
    {
        const LSTATUS status = ::RegQueryInfoKeyW(reinterpret_cast<HKEY>(value), nullptr, nullptr, nullptr, nullptr,
                                                  nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        count += status == ERROR_SUCCESS ? 1 : 0;
    }
    return count;
}

// What the registry says, read into fresh settings.
class SettingsReaderTests : public testing::Test
{
protected:
    LogModuleSettings Read(const std::wstring& moduleName = L"Test")
    {
        LogModuleSettings settings;
        ReadLogSettings(moduleName, m_block, settings, m_pollIntervalMs, m_monitorValues);
        return settings;
    }

    KVTest::RegistrySandbox m_registry;
    SettingsBlock m_block{KVTest::GetExecutableName()};
    DWORD m_pollIntervalMs = 4711;
    MonitorValues m_monitorValues;
};

TEST_F(SettingsReaderTests, NoKey_SetsNothing)
{
    const LogModuleSettings settings = Read();
    EXPECT_EQ(settings.Categories, 0u);
    EXPECT_EQ(settings.DetailLevel, 0u);
    EXPECT_EQ(settings.Options, 0u);
    EXPECT_EQ(settings.fileRecord, nullptr);
    EXPECT_EQ(m_pollIntervalMs, 4711u);
}

TEST_F(SettingsReaderTests, ProcessKeyAlone_BringsTheBaseKeyAlong)
{
    m_registry.SetDword(ProcessKey(), L"LogCategories", 0x10);
    EXPECT_EQ(Read().Categories, 0x1Fu);
}

TEST_F(SettingsReaderTests, BaseKey_FillsAllFields)
{
    m_registry.SetDword(BaseKey(), L"LogInfoDetailLevel", 3);
    m_registry.SetDword(BaseKey(), L"LogCategories", 0x70);
    m_registry.SetDword(BaseKey(), L"LogOptions", 0x80001);
    m_registry.SetString(BaseKey(), L"LogFileName", L"C:\\Logs\\Trace.LOG");
    const LogModuleSettings settings = Read();
    EXPECT_EQ(settings.DetailLevel, 3u);
    EXPECT_EQ(settings.Categories, 0x7Fu);
    EXPECT_EQ(settings.Options, 0x80001u);
    ASSERT_NE(settings.fileRecord, nullptr);
    EXPECT_EQ(settings.fileRecord->fileName, L"c:\\logs\\trace.log");
    EXPECT_TRUE(settings.fileRecord->isOpenPending);
    EXPECT_EQ(settings.fileRecord->fileSize, 0u);
    EXPECT_EQ(settings.fileRecord->indentation.GetText(), L"");
}

TEST_F(SettingsReaderTests, EmptyBaseKey_LowCategoryBitsAreOnAllTheSame)
{
    m_registry.SetDword(BaseKey(), L"Unrelated", 1);
    EXPECT_EQ(Read().Categories, 0xFu);
}

TEST_F(SettingsReaderTests, EachLevel_OverridesTheOneBefore)
{
    m_registry.SetDword(BaseKey(), L"LogOptions", 1);
    m_registry.SetDword(BaseKey(), L"LogCategories", 0x10);
    m_registry.SetDword(BaseKey(), L"LogInfoDetailLevel", 1);
    EXPECT_EQ(Read().Options, 1u);
    m_registry.SetDword(ProcessKey(), L"LogOptions", 2);
    m_registry.SetDword(ProcessKey(), L"LogCategories", 0x20);
    EXPECT_EQ(Read().Options, 2u);
    m_registry.SetDword(ModuleKey(), L"LogOptions", 3);
    const LogModuleSettings settings = Read();
    EXPECT_EQ(settings.Options, 3u);
    EXPECT_EQ(settings.Categories, 0x2Fu); // replaced, not added to
    EXPECT_EQ(settings.DetailLevel, 1u);
    EXPECT_EQ(Read(L"Other").Options, 2u);
}

TEST_F(SettingsReaderTests, FileNames_EachLevelOverridesTheOneBefore)
{
    m_registry.SetString(BaseKey(), L"LogFileName", L"base.log");
    EXPECT_EQ(Read().fileRecord->fileName, L"base.log");
    m_registry.SetString(ProcessKey(), L"LogFileName", L"process.log");
    EXPECT_EQ(Read().fileRecord->fileName, L"process.log");
    m_registry.SetString(ModuleKey(), L"LogFileName", L"module.log");
    EXPECT_EQ(Read().fileRecord->fileName, L"module.log");
    EXPECT_EQ(Read(L"Other").fileRecord->fileName, L"process.log");
}

TEST_F(SettingsReaderTests, EmptyFileName_OfProcess_SwitchesTheFileOff)
{
    m_registry.SetString(BaseKey(), L"LogFileName", L"base.log");
    m_registry.SetString(ProcessKey(), L"LogFileName", L"");
    EXPECT_EQ(Read().fileRecord, nullptr);
}

TEST_F(SettingsReaderTests, ModuleNamedLikeTheExecutable_ReadsTheProcessKey)
{
    const std::wstring executable = KVTest::GetExecutableName();
    const std::wstring moduleName = executable.substr(0, executable.rfind(L'.'));
    m_registry.SetDword(ProcessKey(), L"LogOptions", 2);
    m_registry.SetDword(ModuleKey(moduleName), L"LogOptions", 3);
    m_registry.SetDword(ProcessKey() + L"\\sxsconfig.cpp", L"LogOptions", 4);
    EXPECT_EQ(Read(moduleName).Options, 2u);
    EXPECT_EQ(m_block.sourceFiles[L"sxsconfig.cpp"].Options, 4u);
}

TEST_F(SettingsReaderTests, WrongTypes_AreIgnored)
{
    m_registry.SetString(BaseKey(), L"LogCategories", L"16");
    m_registry.SetString(BaseKey(), L"LogInfoDetailLevel", L"3");
    m_registry.SetString(BaseKey(), L"LogOptions", L"1");
    m_registry.SetDword(BaseKey(), L"LogFileName", 7);
    m_registry.SetString(BaseKey(), L"LogParmsPollTime", L"5");
    m_registry.SetDword(ProcessKey(), L"ExtMonitorCLSID", 1);
    const LogModuleSettings settings = Read();
    EXPECT_EQ(settings.Categories, 0xFu);
    EXPECT_EQ(settings.DetailLevel, 0u);
    EXPECT_EQ(settings.Options, 0u);
    EXPECT_EQ(settings.fileRecord, nullptr);
    EXPECT_EQ(m_pollIntervalMs, 4711u);
    EXPECT_EQ(m_monitorValues.classId, L"");
}

TEST_F(SettingsReaderTests, RelatedTypes_AreIgnoredToo)
{
    const std::uint64_t number = 0x10;
    m_registry.SetValue(BaseKey(), L"LogCategories", REG_QWORD, &number, sizeof(number));
    m_registry.SetValue(BaseKey(), L"LogOptions", REG_BINARY, &number, sizeof(DWORD));
    m_registry.SetValue(BaseKey(), L"LogFileName", REG_EXPAND_SZ, L"x.log", sizeof(L"x.log"));
    const LogModuleSettings settings = Read();
    EXPECT_EQ(settings.Categories, 0xFu);
    EXPECT_EQ(settings.Options, 0u);
    EXPECT_EQ(settings.fileRecord, nullptr);
}

TEST_F(SettingsReaderTests, DamagedValues_AreIgnoredOrReadAsFarAsTheyGo)
{
    const unsigned char bytes[] = {0x10, 0, 0, 0, 0, 0, 0, 0};
    m_registry.SetValue(BaseKey(), L"LogCategories", REG_DWORD, bytes, 3);
    m_registry.SetValue(BaseKey(), L"LogOptions", REG_DWORD, bytes, 8);
    m_registry.SetValue(BaseKey(), L"LogInfoDetailLevel", REG_DWORD, bytes, 0);
    m_registry.SetValue(BaseKey(), L"LogFileName", REG_SZ, L"x.log", 5 * sizeof(wchar_t)); // no terminating zero
    const LogModuleSettings settings = Read();
    EXPECT_EQ(settings.Categories, 0xFu);
    EXPECT_EQ(settings.Options, 0u);
    EXPECT_EQ(settings.DetailLevel, 0u);
    ASSERT_NE(settings.fileRecord, nullptr);
    EXPECT_EQ(settings.fileRecord->fileName, L"x.log");
}

TEST_F(SettingsReaderTests, FileNames_EmbeddedZeroOddSizeAndGreatLength)
{
    m_registry.SetValue(BaseKey(), L"LogFileName", REG_SZ, L"a.log\0b.log", 11 * sizeof(wchar_t));
    EXPECT_EQ(Read().fileRecord->fileName, L"a.log");
    m_registry.SetValue(BaseKey(), L"LogFileName", REG_SZ, L"ab", 3); // half a character
    EXPECT_EQ(Read().fileRecord->fileName.substr(0, 1), L"a");
    const std::wstring longName = L"c:\\" + std::wstring(5000, L'x');
    m_registry.SetString(BaseKey(), L"LogFileName", longName);
    EXPECT_EQ(Read().fileRecord->fileName, longName);
    m_registry.SetValue(BaseKey(), L"LogFileName", REG_SZ, L"", 0);
    EXPECT_EQ(Read().fileRecord, nullptr);
}

TEST_F(SettingsReaderTests, FileName_EnvironmentVariablesAreExpanded)
{
    ::SetEnvironmentVariableW(L"KV_TEST_LOGS", L"C:\\Some Folder");
    m_registry.SetString(BaseKey(), L"LogFileName", L"%KV_TEST_LOGS%\\Trace.log");
    EXPECT_EQ(Read().fileRecord->fileName, L"c:\\some folder\\trace.log");
    m_registry.SetString(BaseKey(), L"LogFileName", L"%KV_TEST_NO_SUCH%\\Trace.log");
    EXPECT_EQ(Read().fileRecord->fileName, L"%kv_test_no_such%\\trace.log");
}

TEST_F(SettingsReaderTests, OneFileUnderSeveralSpellings_IsOneRecord)
{
    ::SetEnvironmentVariableW(L"KV_TEST_LOGS", L"C:\\Logs");
    m_registry.SetString(ModuleKey(L"One"), L"LogFileName", L"c:\\logs\\TRACE.log");
    m_registry.SetString(ModuleKey(L"Two"), L"LogFileName", L"%KV_TEST_LOGS%\\trace.log");
    m_registry.SetString(ModuleKey(L"Three"), L"LogFileName", L"C:\\Logs\\other.log");
    const LogFileRecord* const file = Read(L"One").fileRecord;
    EXPECT_EQ(Read(L"Two").fileRecord, file);
    EXPECT_NE(Read(L"Three").fileRecord, file);
    EXPECT_EQ(m_block.files.size(), 2u);
}

TEST_F(SettingsReaderTests, FileRecord_IsFoundByItsConfiguredNameAlsoAfterItWasOpened)
{
    m_registry.SetString(BaseKey(), L"LogFileName", L"trace.log");
    LogFileRecord* const file = Read().fileRecord;
    file->fileName = L"C:\\ProgramData\\trace.log";
    file->isOpenPending = false;
    EXPECT_EQ(Read().fileRecord, file);
    EXPECT_EQ(m_block.files.size(), 1u);
    EXPECT_FALSE(file->isOpenPending);
}

struct PollRow
{
    const char* name;
    DWORD seconds;
    DWORD milliseconds;
};

class SettingsReaderPollTests : public SettingsReaderTests, public testing::WithParamInterface<PollRow>
{
};

TEST_P(SettingsReaderPollTests, PollTime_SecondsBecomeMilliseconds)
{
    m_registry.SetDword(BaseKey(), L"LogParmsPollTime", GetParam().seconds);
    Read();
    EXPECT_EQ(m_pollIntervalMs, GetParam().milliseconds);
}

INSTANTIATE_TEST_SUITE_P(Rows, SettingsReaderPollTests,
                         testing::Values(PollRow{"One", 1, 1000}, PollRow{"Zero", 0, 30000},
                                         PollRow{"LastThatFits", 4294967, 4294967000},
                                         PollRow{"MoreThanFits", 4294968, 0xFFFFFFFF},
                                         PollRow{"Greatest", 0xFFFFFFFF, 0xFFFFFFFF}),
                         [](const auto& row) { return row.param.name; });

TEST_F(SettingsReaderTests, PollTime_CountsOnTheBaseKeyOnly)
{
    m_registry.SetDword(ProcessKey(), L"LogParmsPollTime", 5);
    m_registry.SetDword(ModuleKey(), L"LogParmsPollTime", 6);
    Read();
    EXPECT_EQ(m_pollIntervalMs, 4711u);
}

TEST_F(SettingsReaderTests, MonitorValues_CountOnTheProcessKeyOnly)
{
    for (const std::wstring& key : {BaseKey(), ModuleKey()})
    {
        m_registry.SetString(key, L"ExtMonitorCLSID", L"{elsewhere}");
        m_registry.SetDword(key, L"ExtMonitorFlags", 1);
    }
    Read();
    EXPECT_EQ(m_monitorValues.classId, L"");
    m_registry.SetString(ProcessKey(), L"ExtMonitorCLSID", L"{here}");
    m_registry.SetDword(ProcessKey(), L"ExtMonitorFlags", 6);
    m_registry.SetString(ProcessKey(), L"ExtMonitorParmFile", L"C:\\parameters.txt");
    Read();
    EXPECT_EQ(m_monitorValues.classId, L"{here}");
    EXPECT_EQ(m_monitorValues.flags, 6u);
    EXPECT_EQ(m_monitorValues.parameterFile, L"C:\\parameters.txt");
}

TEST_F(SettingsReaderTests, MonitorValues_WithoutClass_AreNotRead)
{
    m_registry.SetDword(ProcessKey(), L"ExtMonitorFlags", 6);
    m_registry.SetString(ProcessKey(), L"ExtMonitorParmFile", L"C:\\parameters.txt");
    Read();
    EXPECT_EQ(m_monitorValues.flags, std::nullopt);
    EXPECT_EQ(m_monitorValues.parameterFile, L"");
}

TEST_F(SettingsReaderTests, SourceFileKeys_AreReadInLowerCase)
{
    m_registry.SetDword(ModuleKey() + L"\\SxSConfig.cpp", L"LogCategories", 0x200);
    m_registry.SetDword(ModuleKey() + L"\\PathUtils.cpp", L"LogInfoDetailLevel", 7);
    Read();
    ASSERT_EQ(m_block.sourceFiles.size(), 2u);
    EXPECT_EQ(m_block.sourceFiles[L"sxsconfig.cpp"].Categories, 0x20Fu);
    EXPECT_EQ(m_block.sourceFiles[L"pathutils.cpp"].DetailLevel, 7u);
}

TEST_F(SettingsReaderTests, SourceFile_InheritsTheFileOnly)
{
    m_registry.SetDword(ModuleKey(), L"LogCategories", 0x70);
    m_registry.SetDword(ModuleKey(), L"LogOptions", 0x80000);
    m_registry.SetDword(ModuleKey(), L"LogInfoDetailLevel", 5);
    m_registry.SetString(ModuleKey(), L"LogFileName", L"module.log");
    m_registry.SetDword(ModuleKey() + L"\\a.cpp", L"Unrelated", 1);
    const LogModuleSettings module = Read();
    const LogModuleSettings file = m_block.sourceFiles[L"a.cpp"];
    EXPECT_EQ(file.Categories, 0xFu);
    EXPECT_EQ(file.Options, 0u);
    EXPECT_EQ(file.DetailLevel, 0u);
    EXPECT_EQ(file.fileRecord, module.fileRecord);
}

TEST_F(SettingsReaderTests, SourceFile_NamesItsOwnFileOrNone)
{
    m_registry.SetString(ModuleKey(), L"LogFileName", L"module.log");
    m_registry.SetString(ModuleKey() + L"\\a.cpp", L"LogFileName", L"a.log");
    m_registry.SetString(ModuleKey() + L"\\b.cpp", L"LogFileName", L"");
    const LogModuleSettings module = Read();
    EXPECT_EQ(m_block.sourceFiles[L"a.cpp"].fileRecord->fileName, L"a.log");
    EXPECT_EQ(m_block.sourceFiles[L"b.cpp"].fileRecord, module.fileRecord);
}

TEST_F(SettingsReaderTests, SourceFile_ReadAgain_KeepsWhatIsNoLongerSet)
{
    m_registry.SetDword(ModuleKey() + L"\\a.cpp", L"LogCategories", 0x200);
    Read();
    m_registry.DeleteValue(ModuleKey() + L"\\a.cpp", L"LogCategories");
    Read();
    EXPECT_EQ(m_block.sourceFiles[L"a.cpp"].Categories, 0x20Fu); // only a module's own settings start from zero
    m_registry.DeleteKey(BaseKey());
    Read();
    EXPECT_EQ(m_block.sourceFiles[L"a.cpp"].Categories, 0x20Fu);
}

TEST_F(SettingsReaderTests, SourceFile_OneThatInheritedItsFile_KeepsIt)
{
    m_registry.SetString(BaseKey(), L"LogFileName", L"old.log");
    m_registry.SetDword(ModuleKey() + L"\\a.cpp", L"LogCategories", 0x200);
    Read();
    m_registry.SetString(BaseKey(), L"LogFileName", L"new.log");
    EXPECT_EQ(Read().fileRecord->fileName, L"new.log");
    EXPECT_EQ(m_block.sourceFiles[L"a.cpp"].fileRecord->fileName, L"old.log");
}

TEST_F(SettingsReaderTests, ModuleKey_IsMadeOnlyWhenTheCategoriesAskForIt)
{
    m_registry.SetDword(BaseKey(), L"LogCategories", 0x10);
    Read();
    EXPECT_FALSE(m_registry.KeyExists(ProcessKey()));
    m_registry.SetDword(BaseKey(), L"LogCategories", 0x1000010);
    Read();
    EXPECT_TRUE(m_registry.KeyExists(ModuleKey()));
}

TEST_F(SettingsReaderTests, ModuleKey_TheBaseKeysCategoriesDecideAboutMakingIt)
{
    m_registry.SetDword(BaseKey(), L"LogCategories", 0x10);
    m_registry.SetDword(ProcessKey(), L"LogCategories", 0x1000010);
    Read();
    EXPECT_FALSE(m_registry.KeyExists(ModuleKey()));
}

TEST_F(SettingsReaderTests, Keys_AreOpenedForReadingOnly)
{
    m_registry.SetDword(BaseKey(), L"LogCategories", 0x1000010);
    m_registry.SetDword(ModuleKey() + L"\\source.cpp", L"LogCategories", 0x20);
    const KVTest::RegistryPatch registry;
    Read();
    EXPECT_EQ(KVTest::RegistryPatch::GetOpened(), std::vector<REGSAM>(3, 0x20019));  // base, process, source file
    EXPECT_EQ(KVTest::RegistryPatch::GetCreated(), std::vector<REGSAM>(1, 0x20019)); // module
}

TEST_F(SettingsReaderTests, TextThatGrowsWheneverItIsRead_IsGivenUp)
{
    m_registry.SetString(BaseKey(), L"LogFileName", L"a.log");
    const CRegistryKey key = CRegistryKey::Open(BaseKey());
    ASSERT_TRUE(key.IsOpen());
    const KVTest::GrowingTextPatch growing;
    EXPECT_EQ(key.ReadString(L"LogFileName"), std::nullopt);
    EXPECT_LT(KVTest::GrowingTextPatch::GetCalls(), 100);
    EXPECT_GT(KVTest::GrowingTextPatch::GetCalls(), 1);
}

TEST_F(SettingsReaderTests, Reading_LeavesNoKeyOpen)
{
    m_registry.SetDword(BaseKey(), L"LogCategories", 0x01000010);
    m_registry.SetDword(ModuleKey() + L"\\source.cpp", L"LogCategories", 0x20);
    Read(); // the first use of the registry leaves the system's own handles
    const int before = CountOpenKeys();
    ASSERT_GT(before, 0); // they are counted
    Read();
    EXPECT_EQ(CountOpenKeys(), before);
}
} // namespace
