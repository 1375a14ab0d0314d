#include "utils/IniFile.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "tests/support/AllocationHook.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/VirtualSlots.h"
#include "winapi/WinApi.h"

KV_DECLARE_IMPORT(GetPrivateProfileStringA)
KV_DECLARE_IMPORT(WritePrivateProfileStringA)

namespace
{
using KVUtils::CIniFile;
using KVUtils::IIniFile;

constexpr wchar_t kSection[] = L"Section";
constexpr wchar_t kKey[] = L"Key";
constexpr std::int32_t kUntouched = 4711;

// The bytes of a file in UTF-16LE with byte-order mark, which the system keeps in Unicode.
std::string Utf16Bytes(std::wstring_view text)
{
    const std::wstring marked = L'\uFEFF' + std::wstring(text);
    return {reinterpret_cast<const char*>(marked.data()), marked.size() * sizeof(wchar_t)};
}

class IniFileTests : public testing::Test
{
protected:
    IniFileTests() { m_ini.SetFile(m_folder.PathOf(L"test.ini")); }

    // A file with one section and one key. Each call names a new file: the system may keep one in its memory.
    void GiveValue(const std::wstring& value)
    {
        const std::wstring name = L"test" + std::to_wstring(m_count++) + L".ini";
        m_ini.SetFile(m_folder.WriteFile(name, Utf16Bytes(L"[Section]\r\nKey=" + value + L"\r\n")));
    }
    std::string FileBytes() const { return KVTest::ReadFileBytes(m_ini.GetFile()); }
    std::wstring Text(const wchar_t* key = kKey) const
    {
        std::wstring text;
        m_ini.ReadString(kSection, key, text);
        return text;
    }

    KVTest::TemporaryFolder m_folder;
    CIniFile m_ini;
    int m_count = 0;
};

TEST_F(IniFileTests, SetFile_EmptyPath_IsRefusedAndChangesNothing)
{
    CIniFile ini;
    EXPECT_EQ(ini.GetFile(), L"");
    EXPECT_FALSE(ini.SetFile(L""));
    EXPECT_TRUE(ini.SetFile(L"C:\\a.ini"));
    EXPECT_EQ(ini.GetFile(), L"C:\\a.ini");
    EXPECT_FALSE(ini.SetFile(L""));
    EXPECT_EQ(ini.GetFile(), L"C:\\a.ini");
    EXPECT_TRUE(ini.SetFile(L"b.ini"));
    EXPECT_EQ(ini.GetFile(), L"b.ini");
}

TEST_F(IniFileTests, GetBool_TrueInAnyCase_IsTrue)
{
    for (const wchar_t* const text : {L"true", L"TRUE", L"True", L" tRuE ", L"\"true\""})
    {
        GiveValue(text);
        bool value = false;
        EXPECT_TRUE(m_ini.GetBool(kSection, kKey, value)) << text;
        EXPECT_TRUE(value) << text;
    }
}

TEST_F(IniFileTests, GetBool_AnyOtherText_IsReadAsFalse)
{
    for (const wchar_t* const text : {L"1", L"yes", L"false", L"tru", L"truee", L"true x", L"t"})
    {
        GiveValue(text);
        bool value = true;
        EXPECT_TRUE(m_ini.GetBool(kSection, kKey, value)) << text;
        EXPECT_FALSE(value) << text;
    }
}

TEST_F(IniFileTests, GetBool_AbsentOrEmpty_FailsAndLeavesTheValue)
{
    GiveValue(L"");
    for (const bool before : {false, true})
    {
        bool value = before;
        EXPECT_FALSE(m_ini.GetBool(kSection, kKey, value));
        EXPECT_FALSE(m_ini.GetBool(kSection, L"Other", value));
        EXPECT_EQ(value, before);
    }
}

struct IntCase
{
    const wchar_t* text;
    std::int32_t expected;
    bool isRead;
};

TEST_F(IniFileTests, GetInt_Texts)
{
    constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
    const std::vector<IntCase> cases = {
        {L"42", 42, true},
        {L"0", 0, true},
        {L"abc", 0, false},
        {L"00", 0, false},
        {L"\" 0\"", 0, false}, // the quotes keep the blank
        {L"\"0 \"", 0, false},
        {L"-0", 0, false},
        {L"+0", 0, false},
        {L"0x10", 0, false},
        {L"7x", 7, true},
        {L"7.9", 7, true},
        {L"007", 7, true},
        {L"\" 7\"", 7, true},
        {L"\"\t 7\"", 7, true},
        {L"-5", -5, true},
        {L"+5", 5, true},
        {L"- 5", 0, false},
        {L"--5", 0, false},
        {L"+-5", 0, false},
        {L"-", 0, false},
        {L"\" \"", 0, false},
        {L"\u0665", 0, false}, // the digit five of a different script
        {L"\"\u00A07\"", 0, false},
        {L"2147483647", kMax, true},
        {L"-2147483648", kMin, true},
        {L"2147483648", kMax, true},
        {L"-2147483649", kMin, true},
        {L"99999999999999999999999999", kMax, true},
        {L"-99999999999999999999999999", kMin, true},
    };
    for (const IntCase& row : cases)
    {
        GiveValue(row.text);
        std::int32_t value = kUntouched;
        EXPECT_EQ(m_ini.GetInt(kSection, kKey, value), row.isRead) << row.text;
        EXPECT_EQ(value, row.expected) << row.text;
    }
}

TEST_F(IniFileTests, GetInt_AbsentOrEmpty_FailsAndLeavesTheValue)
{
    GiveValue(L"");
    std::int32_t value = kUntouched;
    EXPECT_FALSE(m_ini.GetInt(kSection, kKey, value));
    EXPECT_FALSE(m_ini.GetInt(kSection, L"Other", value));
    EXPECT_FALSE(m_ini.GetInt(L"Other", kKey, value));
    EXPECT_EQ(value, kUntouched);
}

TEST_F(IniFileTests, GetYesNo_YesInAnyCase_IsOne)
{
    for (const wchar_t* const text : {L"Yes", L"YES", L"yes"})
    {
        GiveValue(text);
        std::int32_t value = kUntouched;
        EXPECT_TRUE(m_ini.GetYesNo(kSection, kKey, value)) << text;
        EXPECT_EQ(value, 1) << text;
    }
}

TEST_F(IniFileTests, GetYesNo_AnyOtherText_IsZero)
{
    for (const wchar_t* const text : {L"No", L"1", L"true", L"Ye", L"Yess", L"x"})
    {
        GiveValue(text);
        std::int32_t value = kUntouched;
        EXPECT_TRUE(m_ini.GetYesNo(kSection, kKey, value)) << text;
        EXPECT_EQ(value, 0) << text;
    }
}

TEST_F(IniFileTests, GetYesNo_AbsentOrEmpty_FailsAndLeavesTheValue)
{
    GiveValue(L"");
    std::int32_t value = kUntouched;
    EXPECT_FALSE(m_ini.GetYesNo(kSection, kKey, value));
    EXPECT_FALSE(m_ini.GetYesNo(kSection, L"Other", value));
    EXPECT_EQ(value, kUntouched);
}

TEST_F(IniFileTests, GetString_PresentKey_ReplacesTheValue)
{
    GiveValue(L"new");
    std::wstring value = L"before";
    EXPECT_TRUE(m_ini.GetString(kSection, kKey, value));
    EXPECT_EQ(value, L"new");
}

TEST_F(IniFileTests, GetString_AbsentOrEmpty_LeavesTheValue)
{
    GiveValue(L"");
    std::wstring value = L"before";
    EXPECT_FALSE(m_ini.GetString(kSection, L"Other", value));
    EXPECT_FALSE(m_ini.GetString(kSection, kKey, value));
    EXPECT_EQ(value, L"before");
}

TEST_F(IniFileTests, ReadString_AbsentKeyOrSection_EmptiesTheValueAndFails)
{
    GiveValue(L"text");
    std::wstring value = L"before";
    EXPECT_FALSE(m_ini.ReadString(kSection, L"Other", value));
    EXPECT_EQ(value, L"");
    value = L"before";
    EXPECT_FALSE(m_ini.ReadString(L"Other", kKey, value));
    EXPECT_EQ(value, L"");
}

TEST_F(IniFileTests, ReadString_EmptyValue_EmptiesTheValueAndFails)
{
    GiveValue(L"");
    std::wstring value = L"before";
    EXPECT_FALSE(m_ini.ReadString(kSection, kKey, value));
    EXPECT_EQ(value, L"");
}

TEST_F(IniFileTests, ReadString_SectionAndKeyInAnyCase_AreFound)
{
    GiveValue(L"Text");
    std::wstring value;
    EXPECT_TRUE(m_ini.ReadString(L"SECTION", L"kEY", value));
    EXPECT_EQ(value, L"Text");
}

TEST_F(IniFileTests, ReadString_KeyHeldByTheValueItself_IsStillFound)
{
    GiveValue(L"text");
    std::wstring value = kKey;
    EXPECT_TRUE(m_ini.ReadString(kSection, value.c_str(), value));
    EXPECT_EQ(value, L"text");
}

TEST_F(IniFileTests, ReadString_LengthsAroundTheSizesOfTheBuffer_AreReadWhole)
{
    for (const std::size_t length :
         std::vector<std::size_t>{1, 510, 511, 512, 513, 1022, 1023, 1024, 1025, 5000, 30000})
    {
        std::wstring text(length, L'x');
        text.back() = L'y';
        GiveValue(text);
        std::wstring value;
        EXPECT_TRUE(m_ini.ReadString(kSection, kKey, value)) << length;
        EXPECT_EQ(value, text) << length;
    }
}

TEST_F(IniFileTests, ReadString_BeyondTheBasicPlane_IsKept)
{
    const std::wstring text = L"\U0001F5A8 \u00E4\u4E2D\U0001F600";
    GiveValue(text);
    std::wstring value;
    EXPECT_TRUE(m_ini.ReadString(kSection, kKey, value));
    EXPECT_EQ(value, text);
}

TEST_F(IniFileTests, ReadString_PairOfSurrogatesAcrossTheBufferSize_IsKept)
{
    const std::wstring text = std::wstring(510, L'x') + L"\U0001F5A8" + std::wstring(20, L'y');
    GiveValue(text);
    std::wstring value;
    EXPECT_TRUE(m_ini.ReadString(kSection, kKey, value));
    EXPECT_EQ(value, text);
}

TEST_F(IniFileTests, ReadString_SemicolonInsideAValue_BelongsToIt)
{
    GiveValue(L"a;b ; c");
    EXPECT_EQ(Text(), L"a;b ; c");
}

TEST_F(IniFileTests, ReadString_SectionTwice_TheFirstOneCounts)
{
    m_ini.SetFile(m_folder.WriteFile(L"twice.ini", "[Section]\r\nKey=first\r\n[Other]\r\n[Section]\r\nKey=second\r\n"
                                                   "Second=2\r\n"));
    EXPECT_EQ(Text(), L"first");
    EXPECT_EQ(Text(L"Second"), L"");
}

TEST_F(IniFileTests, ReadString_FileWithoutByteOrderMark_IsInTheSystemsCodePageNotInUtf8)
{
    const std::string bytes = "a\xC3\xA4"; // in UTF-8 a letter more
    m_ini.SetFile(m_folder.WriteFile(L"bytes.ini", "[Section]\r\nKey=" + bytes + "\r\n"));
    wchar_t expected[8] = {};
    ASSERT_NE(::MultiByteToWideChar(CP_ACP, 0, bytes.c_str(), -1, expected, 8), 0);
    EXPECT_EQ(Text(), expected);
    if (::GetACP() != CP_UTF8)
    {
        EXPECT_NE(Text(), L"a\u00E4");
    }
}

TEST_F(IniFileTests, ReadString_PathWithForwardSlashesAndBeyondTheBasicPlane_IsRead)
{
    std::wstring path = m_folder.WriteFile(L"\U0001F5A8.ini", "[Section]\r\nKey=text\r\n");
    for (wchar_t& character : path)
    {
        character = character == L'\\' ? L'/' : character;
    }
    m_ini.SetFile(path);
    EXPECT_EQ(Text(), L"text");
}

TEST_F(IniFileTests, ReadString_MissingFileOrFolderInItsPlace_Fails)
{
    std::wstring value = L"before";
    EXPECT_FALSE(m_ini.ReadString(kSection, kKey, value));
    EXPECT_EQ(value, L"");
    m_ini.SetFile(m_folder.MakeFolder(L"folder.ini"));
    value = L"before";
    EXPECT_FALSE(m_ini.ReadString(kSection, kKey, value));
    EXPECT_EQ(value, L"");
}

TEST_F(IniFileTests, ReadString_FileHeldByAnother_Fails)
{
    GiveValue(L"text");
    const HANDLE held =
        ::CreateFileW(m_ini.GetFile().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    std::wstring value = L"before";
    EXPECT_FALSE(m_ini.ReadString(kSection, kKey, value));
    EXPECT_EQ(value, L"");
    ::CloseHandle(held);
}

TEST_F(IniFileTests, ReadString_FilesThatAreNoIniFiles_Fail)
{
    const std::vector<std::string> contents = {
        "", std::string(3000, '\0'), "Key=text", "[Section", "[]\r\n=", "\xFF\xFE", "\xFF\xFE\x5B", "[Section]\r\nKey"};
    for (std::size_t i = 0; i < contents.size(); ++i)
    {
        m_ini.SetFile(m_folder.WriteFile(L"odd" + std::to_wstring(i) + L".ini", contents[i]));
        std::wstring value = L"before";
        EXPECT_FALSE(m_ini.ReadString(kSection, kKey, value)) << i;
        EXPECT_EQ(value, L"") << i;
    }
}

// A profile function of any behaviour; records its arguments.
class AnyProfile : public KVWinApi::CWinApi
{
public:
    DWORD GetPrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR defaultText, LPWSTR buffer, DWORD size,
                                   LPCWSTR path) override
    {
        EXPECT_EQ(buffer[0], L'\0');
        sizes.push_back(size);
        asked = std::wstring(section) + L"|" + key + L"|" + defaultText + L"|" + path;
        const std::size_t length = isAlwaysCutting ? size - 1 : text.copy(buffer, size - 1);
        if (isAlwaysCutting)
        {
            std::wstring(size - 1, L'x').copy(buffer, size - 1);
        }
        buffer[length] = L'\0';
        return static_cast<DWORD>(length);
    }
    BOOL WritePrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR value, LPCWSTR path) override
    {
        written.push_back(std::wstring(section) + L"|" + key + L"|" + (value != nullptr ? value : L"(null)") + L"|" +
                          path);
        return writeResult;
    }

    std::wstring text;
    bool isAlwaysCutting = false;
    BOOL writeResult = TRUE;
    std::vector<DWORD> sizes;
    std::wstring asked;
    std::vector<std::wstring> written;
};

TEST(IniFileFacadeTests, ReadString_GrowsBy512CharactersUntilTheTextFits)
{
    AnyProfile profile;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, profile);
    CIniFile ini;
    ini.SetFile(L"C:\\a.ini");
    std::wstring value;
    profile.text = std::wstring(510, L'x');
    EXPECT_TRUE(ini.ReadString(L"S", L"K", value));
    EXPECT_EQ(value, profile.text);
    EXPECT_EQ(profile.sizes, std::vector<DWORD>{512});
    EXPECT_EQ(profile.asked, L"S|K||C:\\a.ini");
    profile.sizes.clear();
    profile.text = std::wstring(511, L'x'); // could have been cut
    EXPECT_TRUE(ini.ReadString(L"S", L"K", value));
    EXPECT_EQ(value, profile.text);
    EXPECT_EQ(profile.sizes, (std::vector<DWORD>{512, 1024}));
    profile.sizes.clear();
    profile.text = std::wstring(1500, L'x');
    EXPECT_TRUE(ini.ReadString(L"S", L"K", value));
    EXPECT_EQ(value, profile.text);
    EXPECT_EQ(profile.sizes, (std::vector<DWORD>{512, 1024, 1536}));
}

TEST(IniFileFacadeTests, ReadString_TextWithANull_EndsThere)
{
    AnyProfile profile;
    profile.text = std::wstring(L"a\0b", 3);
    const KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, profile);
    std::wstring value;
    EXPECT_TRUE(CIniFile().ReadString(L"S", L"K", value));
    EXPECT_EQ(value, L"a");
    profile.text = std::wstring(L"\0b", 2);
    EXPECT_TRUE(CIniFile().ReadString(L"S", L"K", value)); // the result is the system's
    EXPECT_EQ(value, L"");
}

TEST(IniFileFacadeTests, ReadString_NoBufferToBeHad_FailsWithAnEmptyValue)
{
    AnyProfile profile;
    profile.isAlwaysCutting = true;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, profile);
    std::wstring value = L"before";
    bool isRead = true;
    {
        const KVTest::AllocationHook hook([](std::size_t byteCount) {
            if (byteCount > 100000)
            {
                throw std::bad_alloc();
            }
        });
        isRead = CIniFile().ReadString(L"S", L"K", value);
    }
    EXPECT_FALSE(isRead);
    EXPECT_EQ(value, L"");
    EXPECT_EQ(profile.sizes.back(), profile.sizes.size() * 512);
    EXPECT_GT(profile.sizes.size(), 40u); // as many as the memory allowed
}

TEST(IniFileFacadeTests, Writers_ResultIsThatOfTheSystem)
{
    AnyProfile profile;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, profile);
    CIniFile ini;
    ini.SetFile(L"C:\\a.ini");
    for (const BOOL result : {TRUE, FALSE, BOOL{-1}, BOOL{2}})
    {
        profile.writeResult = result;
        const bool expected = result > 0;
        EXPECT_EQ(ini.SetYesNo(L"S", L"K", 1), expected);
        EXPECT_EQ(ini.SetBool(L"S", L"K", true), expected);
        EXPECT_EQ(ini.SetInt(L"S", L"K", 1), expected);
        EXPECT_EQ(ini.SetString(L"S", L"K", L"x"), expected);
        EXPECT_EQ(ini.SetText(L"S", L"K", L"x"), expected);
        EXPECT_EQ(ini.SetValue(L"S", L"K", L"x"), expected);
        EXPECT_EQ(ini.WriteValue(L"S", L"K", L"x"), expected);
        EXPECT_EQ(ini.DeleteKey(L"S", L"K"), expected);
    }
}

TEST(IniFileFacadeTests, Writers_HandTheirTextToTheSystem)
{
    AnyProfile profile;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, profile);
    CIniFile ini;
    ini.SetFile(L"C:\\a.ini");
    const auto lastText = [&profile] { return profile.written.back(); };
    ini.SetYesNo(L"S", L"K", 1);
    EXPECT_EQ(lastText(), L"S|K|Yes|C:\\a.ini");
    for (const std::int32_t other : {0, 2, -1, std::numeric_limits<std::int32_t>::max()})
    {
        ini.SetYesNo(L"S", L"K", other);
        EXPECT_EQ(lastText(), L"S|K|No|C:\\a.ini") << other;
    }
    ini.SetBool(L"S", L"K", true);
    EXPECT_EQ(lastText(), L"S|K|true|C:\\a.ini");
    ini.SetBool(L"S", L"K", false);
    EXPECT_EQ(lastText(), L"S|K|false|C:\\a.ini");
    ini.SetInt(L"S", L"K", 0);
    EXPECT_EQ(lastText(), L"S|K|0|C:\\a.ini");
    ini.SetInt(L"S", L"K", std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(lastText(), L"S|K|-2147483648|C:\\a.ini");
    ini.SetInt(L"S", L"K", std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(lastText(), L"S|K|2147483647|C:\\a.ini");
    ini.SetString(L"S", L"K", L" text ");
    EXPECT_EQ(lastText(), L"S|K| text |C:\\a.ini");
    ini.SetText(L"S", L"K", L"");
    EXPECT_EQ(lastText(), L"S|K||C:\\a.ini");
    ini.SetValue(L"S", L"K", L"value");
    EXPECT_EQ(lastText(), L"S|K|value|C:\\a.ini");
    ini.WriteValue(L"S", L"K", L"written");
    EXPECT_EQ(lastText(), L"S|K|written|C:\\a.ini");
    ini.DeleteKey(L"S", L"K");
    EXPECT_EQ(lastText(), L"S|K|(null)|C:\\a.ini");
}

class RedirectedIniFile : public CIniFile
{
public:
    bool WriteValue(const wchar_t* section, const wchar_t* key, const wchar_t* value) override
    {
        writes.push_back(std::wstring(section) + L"." + key + L"=" + value);
        return true;
    }
    std::vector<std::wstring> writes;
};

TEST(IniFileFacadeTests, Writers_OverriddenWriteValue_ReceivesEveryWrite)
{
    AnyProfile profile;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, profile);
    RedirectedIniFile redirected;
    IIniFile& ini = redirected;
    EXPECT_TRUE(ini.SetYesNo(L"S", L"YesNo", 1));
    EXPECT_TRUE(ini.SetBool(L"S", L"Bool", false));
    EXPECT_TRUE(ini.SetInt(L"S", L"Int", -7));
    EXPECT_TRUE(ini.SetString(L"S", L"String", L"a"));
    EXPECT_TRUE(ini.SetText(L"S", L"Text", L"b"));
    EXPECT_TRUE(ini.SetValue(L"S", L"Value", L"c"));
    EXPECT_EQ(redirected.writes, (std::vector<std::wstring>{L"S.YesNo=Yes", L"S.Bool=false", L"S.Int=-7", L"S.String=a",
                                                            L"S.Text=b", L"S.Value=c"}));
    EXPECT_TRUE(profile.written.empty());
    EXPECT_TRUE(ini.DeleteKey(L"S", L"K")); // no write of a value
    EXPECT_EQ(profile.written.size(), 1u);
}

// Has a text of its own in place of the file's.
class GivenTextIniFile : public CIniFile
{
public:
    explicit GivenTextIniFile(const wchar_t* text) : m_text(text) {}
    bool ReadString(const wchar_t* section, const wchar_t* key, std::wstring& value) const override
    {
        value = m_text;
        return std::wstring(section) == L"S" && std::wstring(key) == L"K" && !m_text.empty();
    }

private:
    std::wstring m_text;
};

TEST(IniFileFacadeTests, TypedReaders_OverriddenReadString_AnswersThemAll)
{
    bool flag = false;
    EXPECT_TRUE(GivenTextIniFile(L"true").GetBool(L"S", L"K", flag));
    EXPECT_TRUE(flag);
    std::int32_t number = 0;
    EXPECT_TRUE(GivenTextIniFile(L"-12").GetInt(L"S", L"K", number));
    EXPECT_EQ(number, -12);
    std::int32_t yesNo = 0;
    EXPECT_TRUE(GivenTextIniFile(L"yes").GetYesNo(L"S", L"K", yesNo));
    EXPECT_EQ(yesNo, 1);
    std::wstring text;
    EXPECT_TRUE(GivenTextIniFile(L"text").GetString(L"S", L"K", text));
    EXPECT_EQ(text, L"text");
    EXPECT_FALSE(GivenTextIniFile(L"").GetBool(L"S", L"K", flag));
    EXPECT_FALSE(GivenTextIniFile(L"").GetInt(L"S", L"K", number));
    EXPECT_FALSE(GivenTextIniFile(L"").GetYesNo(L"S", L"K", yesNo));
    EXPECT_FALSE(GivenTextIniFile(L"").GetString(L"S", L"K", text));
}

class ValueRecordingIniFile : public CIniFile
{
public:
    bool SetValue(const wchar_t* section, const wchar_t* key, const wchar_t* value) override
    {
        values.push_back(std::wstring(section) + L"." + key + L"=" + value);
        return false;
    }
    std::vector<std::wstring> values;
};

TEST(IniFileFacadeTests, Writers_OfTheFiveTypedSlots_GoThroughSetValue)
{
    ValueRecordingIniFile ini;
    EXPECT_FALSE(ini.SetYesNo(L"S", L"K", 2));
    EXPECT_FALSE(ini.SetBool(L"S", L"K", true));
    EXPECT_FALSE(ini.SetInt(L"S", L"K", 1));
    EXPECT_FALSE(ini.SetString(L"S", L"K", L"a"));
    EXPECT_FALSE(ini.SetText(L"S", L"K", L"b"));
    EXPECT_EQ(ini.values, (std::vector<std::wstring>{L"S.K=No", L"S.K=true", L"S.K=1", L"S.K=a", L"S.K=b"}));
}

TEST_F(IniFileTests, Writers_MissingFile_IsMade)
{
    EXPECT_TRUE(m_ini.SetString(kSection, kKey, L"text"));
    EXPECT_EQ(FileBytes(), "[Section]\r\nKey=text\r\n");
    EXPECT_EQ(Text(), L"text");
}

TEST_F(IniFileTests, Writers_ReplaceTheValueAndKeepTheRest)
{
    m_ini.SetFile(
        m_folder.WriteFile(L"kept.ini", "; comment\r\n[Section]\r\nOther=1\r\nKey=old\r\n[Next]\r\nKey=2\r\n"));
    EXPECT_TRUE(m_ini.SetInt(kSection, kKey, 5));
    EXPECT_EQ(Text(), L"5");
    EXPECT_EQ(Text(L"Other"), L"1");
    std::int32_t next = 0;
    EXPECT_TRUE(m_ini.GetInt(L"Next", kKey, next));
    EXPECT_EQ(next, 2);
}

TEST_F(IniFileTests, Writers_WhatTheyWriteIsReadBack)
{
    EXPECT_TRUE(m_ini.SetYesNo(kSection, L"YesNo", 1));
    EXPECT_TRUE(m_ini.SetBool(kSection, L"Bool", true));
    EXPECT_TRUE(m_ini.SetInt(kSection, L"Int", -12345));
    EXPECT_TRUE(m_ini.SetText(kSection, L"Text", L"some text"));
    std::int32_t yesNo = 0;
    bool flag = false;
    std::int32_t number = 0;
    EXPECT_TRUE(m_ini.GetYesNo(kSection, L"YesNo", yesNo));
    EXPECT_TRUE(m_ini.GetBool(kSection, L"Bool", flag));
    EXPECT_TRUE(m_ini.GetInt(kSection, L"Int", number));
    EXPECT_EQ(yesNo, 1);
    EXPECT_TRUE(flag);
    EXPECT_EQ(number, -12345);
    EXPECT_EQ(Text(L"Text"), L"some text");
}

TEST_F(IniFileTests, Writers_ValueOfManyKilobytes_IsReadBackWhole)
{
    const std::wstring text(20000, L'x');
    EXPECT_TRUE(m_ini.SetString(kSection, kKey, text));
    EXPECT_EQ(Text(), text);
}

TEST_F(IniFileTests, Writers_FolderInPlaceOfTheFile_Fail)
{
    m_ini.SetFile(m_folder.MakeFolder(L"folder.ini"));
    EXPECT_FALSE(m_ini.SetString(kSection, kKey, L"text"));
    EXPECT_FALSE(m_ini.SetStringA("Section", "Key", "text"));
}

TEST_F(IniFileTests, DeleteKey_RemovesTheKeyAlone)
{
    EXPECT_TRUE(m_ini.SetString(kSection, kKey, L"text"));
    EXPECT_TRUE(m_ini.SetString(kSection, L"Other", L"stays"));
    EXPECT_TRUE(m_ini.DeleteKey(kSection, kKey));
    EXPECT_EQ(Text(), L"");
    EXPECT_EQ(Text(L"Other"), L"stays");
    EXPECT_EQ(FileBytes().find("Key="), std::string::npos);
}

TEST_F(IniFileTests, GetStringA_ReadsWhatTheSystemGivesInItsCodePage)
{
    for (const wchar_t* const text : {L"plain text", L"\u00E4\u00DF\u20AC", L"\u4E2D"})
    {
        GiveValue(text);
        char expected[32] = {};
        ASSERT_NE(::WideCharToMultiByte(CP_ACP, 0, text, -1, expected, sizeof(expected), nullptr, nullptr), 0);
        std::string value = "before";
        EXPECT_TRUE(m_ini.GetStringA("Section", "Key", value));
        EXPECT_EQ(value, expected);
    }
}

// In place of the system's narrow functions.
std::string s_narrowPath;
constexpr char kHighBytes[] = "\x80\xE4\xFF\x01";

DWORD WINAPI AnswerHighBytes(LPCSTR, LPCSTR, LPCSTR, LPSTR buffer, DWORD, LPCSTR path)
{
    s_narrowPath = path;
    std::memcpy(buffer, kHighBytes, sizeof(kHighBytes));
    return static_cast<DWORD>(sizeof(kHighBytes) - 1);
}

BOOL WINAPI TakeHighBytes(LPCSTR, LPCSTR, LPCSTR value, LPCSTR path)
{
    s_narrowPath = path;
    return std::string(value) == kHighBytes ? TRUE : FALSE;
}

TEST_F(IniFileTests, NarrowTwins_KeepBytesOf0x80AndAbove)
{
    const KVTest::ImportPatch read(__imp_GetPrivateProfileStringA, reinterpret_cast<void*>(&AnswerHighBytes));
    const KVTest::ImportPatch write(__imp_WritePrivateProfileStringA, reinterpret_cast<void*>(&TakeHighBytes));
    m_ini.SetFile(L"C:\\\u0080\u01E4\u62FF.ini");
    const std::string narrowed = "C:\\\x80\xE4\xFF.ini";
    std::string value;
    EXPECT_TRUE(m_ini.GetStringA("Section", "Key", value));
    EXPECT_EQ(value, kHighBytes);
    EXPECT_EQ(s_narrowPath, narrowed);
    s_narrowPath.clear();
    EXPECT_TRUE(m_ini.SetStringA("Section", "Key", kHighBytes));
    EXPECT_EQ(s_narrowPath, narrowed);
}

TEST_F(IniFileTests, GetStringA_AbsentOrEmpty_EmptiesTheValueAndFails)
{
    GiveValue(L"");
    std::string value = "before";
    EXPECT_FALSE(m_ini.GetStringA("Section", "Key", value));
    EXPECT_EQ(value, "");
    value = "before";
    EXPECT_FALSE(m_ini.GetStringA("Section", "Other", value));
    EXPECT_EQ(value, "");
}

TEST_F(IniFileTests, GetStringA_LengthsAroundTheSizesOfTheBuffer_AreReadWhole)
{
    for (const std::size_t length : std::vector<std::size_t>{1, 510, 511, 512, 1023, 1024, 30000})
    {
        GiveValue(std::wstring(length - 1, L'x') + L"y");
        std::string value;
        EXPECT_TRUE(m_ini.GetStringA("Section", "Key", value)) << length;
        EXPECT_EQ(value, std::string(length - 1, 'x') + "y") << length;
    }
}

TEST_F(IniFileTests, SetStringA_IsReadBackByBothReaders)
{
    EXPECT_TRUE(m_ini.SetStringA("Section", "Key", "narrow"));
    std::string value;
    EXPECT_TRUE(m_ini.GetStringA("Section", "Key", value));
    EXPECT_EQ(value, "narrow");
    EXPECT_EQ(Text(), L"narrow");
}

TEST_F(IniFileTests, NarrowTwins_ReduceEachUnitOfThePathToItsLowByte)
{
    // U+0141, U+0262 and U+6163 end in 41, 62 and 63: "Abc".
    m_ini.SetFile(m_folder.PathOf(L"\u0141\u0262\u6163.ini"));
    EXPECT_TRUE(m_ini.SetStringA("Section", "Key", "narrow"));
    EXPECT_EQ(KVTest::ReadFileBytes(m_folder.PathOf(L"Abc.ini")), "[Section]\r\nKey=narrow\r\n");
    std::string value;
    EXPECT_TRUE(m_ini.GetStringA("Section", "Key", value));
    EXPECT_EQ(value, "narrow");
    EXPECT_EQ(Text(), L""); // the wide reader looks at the path as it is
}

TEST(IniFileFacadeTests, Interface_OperationsStandInSlotOrder)
{
    static_assert(std::has_virtual_destructor_v<IIniFile> && std::is_abstract_v<IIniFile>);
    const std::size_t first = KVTest::kDestructorSlots; // behind the destructor
    EXPECT_EQ(KVTest::SlotOf(&IIniFile::SetFile), first);
    EXPECT_EQ(KVTest::SlotOf(&IIniFile::GetFile), first + 1);
    EXPECT_EQ(KVTest::SlotOf(&IIniFile::GetBool), first + 2);
    EXPECT_EQ(KVTest::SlotOf(&IIniFile::GetInt), first + 3);
    EXPECT_EQ(KVTest::SlotOf(&IIniFile::GetStringA), first + 4);
    EXPECT_EQ(KVTest::SlotOf(&IIniFile::GetString), first + 5);
    EXPECT_EQ(KVTest::SlotOf(&IIniFile::ReadString), first + 6);
    EXPECT_EQ(KVTest::SlotOf(&IIniFile::SetYesNo), first + 7);
    EXPECT_EQ(KVTest::SlotOf(&IIniFile::SetBool), first + 8);
    EXPECT_EQ(KVTest::SlotOf(&IIniFile::SetInt), first + 9);
    EXPECT_EQ(KVTest::SlotOf(&IIniFile::SetString), first + 10);
    EXPECT_EQ(KVTest::SlotOf(&IIniFile::SetText), first + 11);
    EXPECT_EQ(KVTest::SlotOf(&IIniFile::SetStringA), first + 12);
    EXPECT_EQ(KVTest::SlotOf(&IIniFile::SetValue), first + 13);
    EXPECT_EQ(KVTest::SlotOf(&IIniFile::DeleteKey), first + 14);
    EXPECT_EQ(KVTest::SlotCountOf<IIniFile>(), first + 15);
    EXPECT_EQ(KVTest::SlotOf(&CIniFile::WriteValue), first + 15);
    EXPECT_EQ(KVTest::SlotOf(&CIniFile::GetYesNo), first + 16);
    EXPECT_EQ(KVTest::SlotCountOf<CIniFile>(), first + 17);
}
} // namespace
