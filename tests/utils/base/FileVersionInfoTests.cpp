#include "utils/base/FileVersionInfo.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/AllocationHook.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/LoaderPatch.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/VirtualSlots.h"

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

// In place of the system's functions: a version resource of any content, sound or damaged. Notes what is asked of it.
class AnyVersionResource
{
public:
    AnyVersionResource()
    {
        s_resource = this;
        m_loader.AnswerWith(reinterpret_cast<void*>(&GetSize), "GetFileVersionInfoSizeW");
        m_loader.AnswerWith(reinterpret_cast<void*>(&GetData), "GetFileVersionInfoW");
        m_loader.AnswerWith(reinterpret_cast<void*>(&Query), "VerQueryValueW");
    }
    ~AnyVersionResource() { s_resource = nullptr; }
    AnyVersionResource(const AnyVersionResource&) = delete;
    AnyVersionResource& operator=(const AnyVersionResource&) = delete;

    // The answer to a query: a place relative to the data's start, and the length that is claimed.
    struct Value
    {
        std::ptrdiff_t offset;
        UINT length;
    };

    void Append(const void* bytes, std::size_t byteCount)
    {
        const char* const first = static_cast<const char*>(bytes);
        data.insert(data.end(), first, first + byteCount);
    }
    // Appends the text with its zero and makes it the answer.
    void SetText(const wchar_t* name, const std::wstring& text)
    {
        values[name] = {static_cast<std::ptrdiff_t>(data.size()), static_cast<UINT>(text.size() + 1)};
        Append(text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    }
    // Appends the table and makes it the answer.
    void SetTranslations(const std::vector<WORD>& table)
    {
        const std::size_t byteCount = table.size() * sizeof(WORD);
        values[kTable] = {static_cast<std::ptrdiff_t>(data.size()), static_cast<UINT>(byteCount)};
        Append(table.data(), byteCount);
    }

    static constexpr wchar_t kTable[] = L"\\VarFileInfo\\Translation";
    std::vector<char> data;
    std::map<std::wstring, Value> values;
    std::vector<std::wstring> queries;

private:
    static DWORD WINAPI GetSize(LPCWSTR, LPDWORD) { return static_cast<DWORD>(s_resource->data.size()); }
    static BOOL WINAPI GetData(LPCWSTR, DWORD, DWORD size, LPVOID data)
    {
        std::memcpy(data, s_resource->data.data(), size);
        return TRUE;
    }
    static BOOL WINAPI Query(LPCVOID data, LPCWSTR name, LPVOID* value, PUINT length)
    {
        s_resource->queries.emplace_back(name);
        const auto found = s_resource->values.find(name);
        if (found == s_resource->values.end())
        {
            return FALSE;
        }
        *value = static_cast<char*>(const_cast<void*>(data)) + found->second.offset;
        *length = found->second.length;
        return TRUE;
    }

    static inline AnyVersionResource* s_resource = nullptr;
    KVTest::LoaderPatch m_loader;
};

using Names = std::vector<std::wstring>;

Names QueriesFor(AnyVersionResource& resource, const wchar_t* name)
{
    const CFileVersionInfo info(L"any");
    resource.queries.clear();
    info.GetStringValue(name);
    return resource.queries;
}

TEST(FileVersionInfoTests, GetStringValue_AsksForEachTranslationInItsOrderInLowerCase)
{
    AnyVersionResource resource;
    resource.SetTranslations({0x040C, 0x04E4});
    EXPECT_EQ(QueriesFor(resource, L"A"), (Names{L"\\StringFileInfo\\040c04e4\\A"}));
    resource.SetTranslations({0x0C0A, 0x04E4, 0xABCD, 0xEF01, 0x0007, 0x04B0});
    EXPECT_EQ(QueriesFor(resource, L"Name"),
              (Names{L"\\StringFileInfo\\0c0a04e4\\Name", L"\\StringFileInfo\\abcdef01\\Name",
                     L"\\StringFileInfo\\000704b0\\Name"}));
}

TEST(FileVersionInfoTests, TranslationTable_IncompleteLastEntry_IsLeftOut)
{
    AnyVersionResource resource;
    resource.SetTranslations({0x0409, 0x04B0, 0x0407});
    EXPECT_EQ(QueriesFor(resource, L"A"), (Names{L"\\StringFileInfo\\040904b0\\A"}));
    resource.SetTranslations({0x0409});
    EXPECT_EQ(QueriesFor(resource, L"A"), Names());
}

TEST(FileVersionInfoTests, ThreeTranslations_TheLastOneThatHoldsTheEntryAnswers)
{
    AnyVersionResource resource;
    resource.SetTranslations({1, 1, 2, 2, 3, 3});
    resource.SetText(L"\\StringFileInfo\\00010001\\First", L"first");
    resource.SetText(L"\\StringFileInfo\\00010001\\Second", L"first");
    resource.SetText(L"\\StringFileInfo\\00020002\\Second", L"second");
    resource.SetText(L"\\StringFileInfo\\00020002\\Third", L"second");
    resource.SetText(L"\\StringFileInfo\\00030003\\Third", L"third");
    const CFileVersionInfo info(L"any");
    EXPECT_STREQ(info.GetStringValue(L"First"), L"first");
    EXPECT_STREQ(info.GetStringValue(L"Second"), L"second");
    EXPECT_STREQ(info.GetStringValue(L"Third"), L"third");
}

TEST(FileVersionInfoTests, TranslationTable_LongerThanTheData_IsReadToTheDatasEnd)
{
    for (const UINT length : {12u, 0xFFFFu, 0xFFFFFFFFu})
    {
        AnyVersionResource resource;
        resource.SetTranslations({0x0409, 0x04B0, 0x0407, 0x04B0});
        resource.values[AnyVersionResource::kTable].length = length;
        EXPECT_EQ(QueriesFor(resource, L"A"),
                  (Names{L"\\StringFileInfo\\040904b0\\A", L"\\StringFileInfo\\040704b0\\A"}))
            << length;
    }
}

TEST(FileVersionInfoTests, TranslationTable_OutsideTheData_IsNone)
{
    for (const std::ptrdiff_t offset : {std::ptrdiff_t{-4}, std::ptrdiff_t{8}, std::ptrdiff_t{65536}})
    {
        AnyVersionResource resource;
        resource.SetTranslations({0x0409, 0x04B0, 0x0407, 0x04B0});
        resource.values[AnyVersionResource::kTable].offset = offset;
        EXPECT_EQ(QueriesFor(resource, L"A"), Names()) << offset;
    }
}

TEST(FileVersionInfoTests, Text_WithoutAnEndInsideTheData_IsNone)
{
    AnyVersionResource resource;
    resource.SetTranslations({1, 1, 2, 2});
    resource.SetText(L"\\StringFileInfo\\00010001\\Both", L"sound");
    const std::wstring endless = L"text";
    const std::ptrdiff_t end = static_cast<std::ptrdiff_t>(resource.data.size());
    resource.Append(endless.data(), endless.size() * sizeof(wchar_t));
    resource.values[L"\\StringFileInfo\\00020002\\Both"] = {end, 5};
    resource.values[L"\\StringFileInfo\\00020002\\Endless"] = {end, 5};
    resource.values[L"\\StringFileInfo\\00020002\\Half"] = {static_cast<std::ptrdiff_t>(resource.data.size()) - 1, 1};
    resource.values[L"\\StringFileInfo\\00020002\\Behind"] = {static_cast<std::ptrdiff_t>(resource.data.size()), 1};
    resource.values[L"\\StringFileInfo\\00020002\\Before"] = {-2, 1};
    resource.values[L"\\StringFileInfo\\00020002\\Far"] = {65536, 1};
    const CFileVersionInfo info(L"any");
    EXPECT_STREQ(info.GetStringValue(L"Both"), L"sound"); // as if the second query had found nothing
    for (const wchar_t* const name : {L"Endless", L"Half", L"Behind", L"Before", L"Far"})
    {
        EXPECT_EQ(info.GetStringValue(name), nullptr) << std::wstring(name).size();
    }
}

TEST(FileVersionInfoTests, GetFixedFileInfo_NotWholeInsideTheData_IsNone)
{
    const VS_FIXEDFILEINFO fixed{};
    const auto size = static_cast<UINT>(sizeof(fixed));
    AnyVersionResource resource;
    resource.Append(&fixed, sizeof(fixed));
    resource.values[L"\\"] = {0, size};
    EXPECT_NE(CFileVersionInfo(L"any").GetFixedFileInfo(), nullptr);
    for (const AnyVersionResource::Value& value :
         {AnyVersionResource::Value{0, size - 1}, AnyVersionResource::Value{1, size},
          AnyVersionResource::Value{-1, size}, AnyVersionResource::Value{static_cast<std::ptrdiff_t>(size), size}})
    {
        resource.values[L"\\"] = value;
        EXPECT_EQ(CFileVersionInfo(L"any").GetFixedFileInfo(), nullptr) << value.offset;
    }
}

// The bytes of a file whose translation table claims the greatest length that a resource can.
std::string WithEndlessTable(std::string bytes)
{
    const std::wstring key = L"Translation";
    const std::string marker(reinterpret_cast<const char*>(key.data()), key.size() * sizeof(wchar_t));
    const std::size_t place = bytes.find(marker);
    if (place == std::string::npos)
    {
        throw std::logic_error("the file has no translation table");
    }
    bytes.replace(place - 4, 2, "\xFF\xFF"); // the length of the value, two words before the key
    return bytes;
}

unsigned s_stringQueries = 0;

BOOL WINAPI CountStringQueries(LPCVOID data, LPCWSTR name, LPVOID* value, PUINT length)
{
    s_stringQueries += std::wstring(name).starts_with(L"\\StringFileInfo") ? 1u : 0u;
    return ::VerQueryValueW(data, name, value, length);
}

TEST(FileVersionInfoTests, FileWithADamagedTable_IsReadToTheDatasEndOnly)
{
    const KVTest::TemporaryFolder folder;
    const std::wstring path = folder.WriteFile(
        L"damaged.dll", WithEndlessTable(KVTest::ReadFileBytes(PathBesideTest(L"kv_version_two_languages.dll"))));
    KVTest::LoaderPatch loader;
    loader.AnswerWith(reinterpret_cast<void*>(&CountStringQueries), "VerQueryValueW");
    const CFileVersionInfo info(path.c_str());
    EXPECT_STREQ(info.GetFileVersion(), L"1.0 second");
    EXPECT_GE(s_stringQueries, 2u);
    EXPECT_LE(s_stringQueries * 4, ::GetFileVersionInfoSizeW(path.c_str(), nullptr));
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
    const std::size_t first = KVTest::kDestructorSlots; // behind the destructor
    EXPECT_EQ(KVTest::SlotOf(&AFileVersionInfo::GetStringValue), first);
    EXPECT_EQ(KVTest::SlotOf(&AFileVersionInfo::GetCompanyName), first + 1);
    EXPECT_EQ(KVTest::SlotOf(&AFileVersionInfo::GetFileDescription), first + 2);
    EXPECT_EQ(KVTest::SlotOf(&AFileVersionInfo::GetFileVersion), first + 3);
    EXPECT_EQ(KVTest::SlotOf(&AFileVersionInfo::GetProductName), first + 4);
    EXPECT_EQ(KVTest::SlotOf(&AFileVersionInfo::GetProductVersion), first + 5);
    EXPECT_EQ(KVTest::SlotCountOf<AFileVersionInfo>(), first + 6);
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
