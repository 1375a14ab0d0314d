#include "utils/FileVersionInfo.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <type_traits>

#include "tests/support/ChildProcess.h"
#include "tests/support/LoaderPatch.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/VirtualSlots.h"
#include "tests/utils/AllocationHook.h"

namespace
{
using KVTest::PathBesideTest;
using KVUtils::CFileVersionInfo;

void ExpectNoEntries(const CFileVersionInfo& info)
{
    EXPECT_EQ(info.GetStringValue(L"FileVersion"), nullptr);
    EXPECT_EQ(info.GetStringValue(nullptr), nullptr);
    EXPECT_EQ(info.GetCompanyName(), nullptr);
    EXPECT_EQ(info.GetFileDescription(), nullptr);
    EXPECT_EQ(info.GetFileVersion(), nullptr);
    EXPECT_EQ(info.GetProductName(), nullptr);
    EXPECT_EQ(info.GetProductVersion(), nullptr);
}

TEST(FileVersionInfoTests, TwoLanguages_TheSecondOneAnswers)
{
    const CFileVersionInfo info(PathBesideTest(L"kv_version_two_languages.dll").c_str());
    EXPECT_STREQ(info.GetCompanyName(), L"Second company");
    EXPECT_STREQ(info.GetFileDescription(), L"Second description");
    EXPECT_STREQ(info.GetFileVersion(), L"1.0 second");
    EXPECT_STREQ(info.GetProductName(), L"Second product");
    EXPECT_STREQ(info.GetProductVersion(), L"2.0 second");
}

TEST(FileVersionInfoTests, TwoLanguages_EntryOfTheFirstOnly_KeepsTheFirst)
{
    const CFileVersionInfo info(PathBesideTest(L"kv_version_two_languages.dll").c_str());
    EXPECT_STREQ(info.GetStringValue(L"OnlyInFirst"), L"first");
}

TEST(FileVersionInfoTests, WithoutTheSystemsLibraryOrItsFunctions_ThereAreNoEntries)
{
    const std::wstring path = PathBesideTest(L"kv_version_two_languages.dll");
    {
        KVTest::LoaderPatch loader;
        loader.LackLibraries();
        ExpectNoEntries(CFileVersionInfo(path.c_str()));
    }
    {
        KVTest::LoaderPatch loader;
        loader.LackFunctions();
        ExpectNoEntries(CFileVersionInfo(path.c_str()));
    }
    EXPECT_STREQ(CFileVersionInfo(path.c_str()).GetFileVersion(), L"1.0 second");
}

TEST(FileVersionInfoTests, HexadecimalLettersInTheTranslation_AreFound)
{
    const CFileVersionInfo info(PathBesideTest(L"kv_version_second_without_entry.dll").c_str());
    EXPECT_STREQ(info.GetFileVersion(), L"Spanish version");
    EXPECT_STREQ(info.GetStringValue(L"Comments"), L"no version here");
    EXPECT_EQ(info.GetCompanyName(), nullptr);
}

TEST(FileVersionInfoTests, GetStringValue_AnyName_IsFoundAndAnUnknownOneIsNot)
{
    const CFileVersionInfo info(PathBesideTest(L"kv_version_two_languages.dll").c_str());
    EXPECT_STREQ(info.GetStringValue(L"CompanyName"), L"Second company");
    EXPECT_EQ(info.GetStringValue(L"NoSuchEntry"), nullptr);
    EXPECT_EQ(info.GetStringValue(nullptr), nullptr);
}

TEST(FileVersionInfoTests, GetStringValue_NameBeyondTheBuffer_GivesNone)
{
    const CFileVersionInfo info(PathBesideTest(L"kv_version_two_languages.dll").c_str());
    EXPECT_EQ(info.GetStringValue(std::wstring(236, L'n').c_str()), nullptr);
    EXPECT_EQ(info.GetStringValue(std::wstring(1000, L'n').c_str()), nullptr);
}

TEST(FileVersionInfoTests, GetFixedFileInfo_GivesTheRootBlock)
{
    const CFileVersionInfo info(PathBesideTest(L"kv_version_two_languages.dll").c_str());
    ASSERT_NE(info.GetFixedFileInfo(), nullptr);
    EXPECT_EQ(info.GetFixedFileInfo()->dwSignature, 0xFEEF04BDu);
    EXPECT_EQ(info.GetFixedFileInfo()->dwFileVersionMS, 0x00010002u);
    EXPECT_EQ(info.GetFixedFileInfo()->dwProductVersionLS, 0x00070008u);
}

TEST(FileVersionInfoTests, NoTranslationTable_GivesNoEntriesButTheRootBlock)
{
    const CFileVersionInfo info(PathBesideTest(L"kv_version_no_translations.dll").c_str());
    ExpectNoEntries(info);
    EXPECT_NE(info.GetFixedFileInfo(), nullptr);
}

TEST(FileVersionInfoTests, FileWithoutVersionResource_GivesNone)
{
    const CFileVersionInfo info(PathBesideTest(L"kv_ending.exe").c_str());
    ExpectNoEntries(info);
    EXPECT_EQ(info.GetFixedFileInfo(), nullptr);
}

TEST(FileVersionInfoTests, NoPath_GivesNone)
{
    ExpectNoEntries(CFileVersionInfo(nullptr));
}

TEST(FileVersionInfoTests, WithoutMemoryForTheData_GivesNone)
{
    const std::wstring path = PathBesideTest(L"kv_version_two_languages.dll");
    static bool s_wasRefused = false;
    const KVTest::AllocationHook hook([](std::size_t) {
        s_wasRefused = true;
        throw std::bad_alloc();
    });
    const CFileVersionInfo info(path.c_str());
    EXPECT_TRUE(s_wasRefused);
    ExpectNoEntries(info);
    EXPECT_EQ(info.GetFixedFileInfo(), nullptr);
}

TEST(FileVersionInfoTests, MissingFileEmptyPathFolderOrTextFile_GiveNone)
{
    const KVTest::TemporaryFolder folder;
    ExpectNoEntries(CFileVersionInfo(folder.PathOf(L"missing.exe").c_str()));
    ExpectNoEntries(CFileVersionInfo(L""));
    ExpectNoEntries(CFileVersionInfo(folder.GetPath().c_str()));
    ExpectNoEntries(CFileVersionInfo(folder.WriteFile(L"text.exe", "MZ but no program").c_str()));
}

TEST(FileVersionInfoTests, Results_PointIntoTheObjectAndAreNotCopied)
{
    const CFileVersionInfo info(PathBesideTest(L"kv_version_two_languages.dll").c_str());
    EXPECT_EQ(info.GetFileVersion(), info.GetFileVersion());
    EXPECT_EQ(info.GetFileVersion(), info.GetStringValue(L"FileVersion"));
    static_assert(!std::is_copy_constructible_v<CFileVersionInfo>);
}

TEST(FileVersionInfoTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    using KVUtils::AFileVersionInfo;
    EXPECT_EQ(KVTest::SlotOf(&AFileVersionInfo::GetStringValue), 2u); // the destructor comes first and takes two
    EXPECT_EQ(KVTest::SlotOf(&AFileVersionInfo::GetCompanyName), 3u);
    EXPECT_EQ(KVTest::SlotOf(&AFileVersionInfo::GetFileDescription), 4u);
    EXPECT_EQ(KVTest::SlotOf(&AFileVersionInfo::GetFileVersion), 5u);
    EXPECT_EQ(KVTest::SlotOf(&AFileVersionInfo::GetProductName), 6u);
    EXPECT_EQ(KVTest::SlotOf(&AFileVersionInfo::GetProductVersion), 7u);
    EXPECT_EQ(KVTest::SlotCountOf<AFileVersionInfo>(), 8u);
}

// Slots 3 to 7 only forward to the look-up by name.
class RecordingVersionInfo : public CFileVersionInfo
{
public:
    RecordingVersionInfo() : CFileVersionInfo(nullptr) {}
    const wchar_t* GetStringValue(const wchar_t* name) const override { return name; }
};

TEST(FileVersionInfoTests, NamedOperations_AskForTheirFixedKey)
{
    const RecordingVersionInfo info;
    const KVUtils::AFileVersionInfo& asInterface = info;
    EXPECT_STREQ(asInterface.GetCompanyName(), L"CompanyName");
    EXPECT_STREQ(asInterface.GetFileDescription(), L"FileDescription");
    EXPECT_STREQ(asInterface.GetFileVersion(), L"FileVersion");
    EXPECT_STREQ(asInterface.GetProductName(), L"ProductName");
    EXPECT_STREQ(asInterface.GetProductVersion(), L"ProductVersion");
}
} // namespace
