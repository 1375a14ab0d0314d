#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/TemporaryFolder.h"
#include "tests/utils/RandomCases.h"
#include "utils/IniFile.h"

namespace
{
using KVUtils::CIniFile;

std::wstring Lower(std::wstring text)
{
    for (wchar_t& character : text)
    {
        character = character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character + 32) : character;
    }
    return text;
}

std::string Narrow(const std::wstring& text)
{
    std::string narrow;
    for (const wchar_t character : text)
    {
        narrow += character < 128 ? static_cast<char>(character) : '?';
    }
    return narrow;
}

// A text of a file as the system reads it: without the blanks around it and without the one pair of quotes that may
// enclose it.
std::wstring Understood(std::wstring text)
{
    text.erase(0, std::min(text.find_first_not_of(L' '), text.size()));
    text.erase(text.find_last_not_of(L' ') + 1);
    const bool isQuoted =
        text.size() >= 2 && text.front() == text.back() && (text.front() == L'"' || text.front() == L'\'');
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

// The model of a file: its lines in order.
struct ModelFile
{
    struct Line
    {
        std::wstring section, key, value;
    };
    std::vector<Line> lines;

    auto Find(const std::wstring& section, const std::wstring& key)
    {
        return std::find_if(lines.begin(), lines.end(), [&](const Line& line) {
            return Lower(line.section) == Lower(section) && Lower(line.key) == Lower(key);
        });
    }
    // The text that a reader gets, empty for none.
    std::wstring Read(const std::wstring& section, const std::wstring& key)
    {
        const auto found = Find(section, key);
        return found != lines.end() ? Understood(found->value) : L"";
    }
    void Write(const std::wstring& section, const std::wstring& key, const std::wstring& value)
    {
        const auto found = Find(section, key);
        if (found != lines.end())
        {
            found->value = value;
        }
        else
        {
            lines.push_back({section, key, value});
        }
    }
    auto Count(const std::wstring& section, const std::wstring& key) const
    {
        return std::count_if(lines.begin(), lines.end(), [&](const Line& line) {
            return Lower(line.section) == Lower(section) && Lower(line.key) == Lower(key);
        });
    }
    void Delete(const std::wstring& section, const std::wstring& key)
    {
        const auto found = Find(section, key);
        if (found != lines.end())
        {
            lines.erase(found);
        }
    }

    // The number that a text begins with; nothing when the text is none.
    static std::pair<bool, std::int32_t> Number(const std::wstring& text)
    {
        constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
        constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
        const std::string narrow = Narrow(text);
        long long number = 0;
        try
        {
            number = std::stoll(narrow);
        }
        catch (const std::invalid_argument&)
        {
            number = 0;
        }
        catch (const std::out_of_range&)
        {
            number = narrow.find('-') != std::string::npos ? kMin : kMax;
        }
        const auto value = static_cast<std::int32_t>(std::clamp<long long>(number, kMin, kMax));
        return {value != 0 || text == L"0", value};
    }
};

const std::vector<std::wstring> kSections = {L"Analytics", L"DeviceInfo", L"Directories", L"s"};
const std::vector<std::wstring> kKeys = {L"PropertyIDPrefix", L"UseSSL", L"ModelName", L"DataFolder", L"k", L"K 2"};

std::wstring RandomValue(KVTest::RandomCases& random, bool isUnicode)
{
    static const std::vector<std::wstring> s_frequent = {
        L"true",   L"TRUE",    L"True",       L"false",       L"yes",        L"Yes", L"No",  L"",     L"0",   L"00",
        L"\" 0\"", L"42",      L"2147483647", L"-2147483648", L"2147483648", L"7x",  L"-7",  L"+7",   L"abc", L"\"\"",
        L"\"",     L"\"a b\"", L"'a'",        L"  a  b  ",    L"a=b",        L"[x]", L"\"a", L"12a3", L"- 1"};
    const std::wstring_view alphabet =
        isUnicode ? L"abZ019 =+-[]\"'%\\/\u00E4\u4E2D\U0001F5A8" : L"abZ019 =+-[]\"'%\\/";
    if (random.OneIn(3))
    {
        return random.PickFrom(s_frequent);
    }
    if (random.OneIn(8)) // around the sizes of the buffers
    {
        const std::size_t length = 512 * (1 + random.Below(4)) - 3 + random.Below(6);
        return L"x" + random.Text(length, L"abc") + L"y";
    }
    if (random.OneIn(100))
    {
        return random.Text(5000 + random.Below(20000), L"abc");
    }
    return random.Text(random.Below(24), alphabet);
}

std::wstring RandomCase(KVTest::RandomCases& random, std::wstring text)
{
    return random.OneIn(2) ? Lower(std::move(text)) : text;
}

// Half the lines of a section have a key that further lines of it may have: the first line counts.
std::pair<std::wstring, ModelFile> RandomFile(KVTest::RandomCases& random, bool isUnicode)
{
    std::wstring text;
    ModelFile model;
    for (const std::wstring& section : kSections)
    {
        if (random.OneIn(4))
        {
            continue;
        }
        const std::wstring spelling = RandomCase(random, section);
        text += random.OneIn(3) ? L"; a comment = no value\r\n" : L"";
        text += L"[" + spelling + L"]\r\n";
        for (std::size_t count = random.Below(8); count > 0; --count)
        {
            const std::wstring key = RandomCase(random, random.PickFrom(kKeys));
            const std::wstring value = RandomValue(random, isUnicode);
            const std::wstring blanks(random.Below(3), L' ');
            text.append(blanks).append(key).append(blanks).append(L"=").append(blanks).append(value).append(L"\r\n");
            text += random.OneIn(5) ? L"\r\n" : L"";
            model.lines.push_back({spelling, key, value});
        }
    }
    return {text, model};
}

std::wstring MakeFile(const KVTest::TemporaryFolder& folder, int number, const std::wstring& text, bool isUnicode)
{
    std::string bytes;
    if (isUnicode)
    {
        const std::wstring marked = L'\uFEFF' + text;
        bytes.assign(reinterpret_cast<const char*>(marked.data()), marked.size() * sizeof(wchar_t));
    }
    else
    {
        for (const wchar_t character : text)
        {
            bytes += static_cast<char>(character); // ASCII
        }
    }
    return folder.WriteFile(std::to_wstring(number) + L".ini", bytes);
}

// Asks one of the six readers. `expected` is the text that is to be found, empty for none.
void CompareOneReader(KVTest::RandomCases& random, const CIniFile& ini, const std::wstring& section,
                      const std::wstring& key, const std::wstring& expected)
{
    const bool isThere = !expected.empty();
    std::wstring text = L"before";
    std::string narrow = "before";
    bool flag = random.OneIn(2);
    const bool flagBefore = flag;
    std::int32_t number = -1;
    switch (random.Below(6))
    {
    case 0:
        ASSERT_EQ(ini.ReadString(section.c_str(), key.c_str(), text), isThere);
        ASSERT_EQ(text, expected);
        break;
    case 1:
        ASSERT_EQ(ini.GetString(section.c_str(), key.c_str(), text), isThere);
        ASSERT_EQ(text, isThere ? expected : L"before");
        break;
    case 2:
        ASSERT_EQ(ini.GetBool(section.c_str(), key.c_str(), flag), isThere);
        ASSERT_EQ(flag, isThere ? Lower(expected) == L"true" : flagBefore);
        break;
    case 3:
        ASSERT_EQ(ini.GetYesNo(section.c_str(), key.c_str(), number), isThere);
        ASSERT_EQ(number, !isThere ? -1 : Lower(expected) == L"yes" ? 1 : 0);
        break;
    case 4: {
        const auto [isNumber, expectedNumber] = ModelFile::Number(expected);
        ASSERT_EQ(ini.GetInt(section.c_str(), key.c_str(), number), isThere && isNumber) << expected;
        ASSERT_EQ(number, isThere ? expectedNumber : -1) << expected;
        break;
    }
    default: {
        ASSERT_EQ(ini.GetStringA(Narrow(section).c_str(), Narrow(key).c_str(), narrow), isThere);
        const bool isAscii = std::all_of(expected.begin(), expected.end(), [](wchar_t c) { return c < 128; });
        if (isAscii) // other characters come as the code page of the machine has them
        {
            ASSERT_EQ(narrow, Narrow(expected));
        }
        break;
    }
    }
}

// Lets one of the writers write, to the file and to the model.
void WriteOnce(KVTest::RandomCases& random, CIniFile& ini, ModelFile& model, const std::wstring& section,
               const std::wstring& key, bool isUnicode)
{
    constexpr std::int32_t kBillion = 1000000000;
    const auto number = static_cast<std::int32_t>(random.Below(5)) - 2;
    const std::size_t writer = random.Below(7);
    const std::wstring value = RandomValue(random, isUnicode && writer != 5);
    switch (writer)
    {
    case 0:
        ASSERT_TRUE(ini.SetYesNo(section.c_str(), key.c_str(), number));
        model.Write(section, key, number == 1 ? L"Yes" : L"No");
        break;
    case 1:
        ASSERT_TRUE(ini.SetBool(section.c_str(), key.c_str(), number > 0));
        model.Write(section, key, number > 0 ? L"true" : L"false");
        break;
    case 2:
        ASSERT_TRUE(ini.SetInt(section.c_str(), key.c_str(), number * kBillion));
        model.Write(section, key, std::to_wstring(number * kBillion));
        break;
    case 3:
        ASSERT_TRUE(ini.SetString(section.c_str(), key.c_str(), value));
        model.Write(section, key, value);
        break;
    case 4:
        ASSERT_TRUE(ini.SetText(section.c_str(), key.c_str(), value));
        model.Write(section, key, value);
        break;
    case 5:
        ASSERT_TRUE(ini.SetStringA(Narrow(section).c_str(), Narrow(key).c_str(), Narrow(value).c_str()));
        model.Write(section, key, value);
        break;
    default:
        if (model.Count(section, key) == 1) // the system documents nothing about further lines with the key
        {
            ASSERT_TRUE(ini.DeleteKey(section.c_str(), key.c_str()));
            model.Delete(section, key);
        }
        break;
    }
}

class IniFileRandomTests : public testing::TestWithParam<std::uint32_t>
{
};

TEST_P(IniFileRandomTests, RandomFiles_ReadAsTheModelSays)
{
    constexpr int kFiles = 100;
    constexpr int kCasesPerFile = 50; // 25,000 cases in all parts
    constexpr std::size_t kReadsPerWrite = 25;
    const KVTest::TemporaryFolder folder;
    KVTest::RandomCases random(GetParam());
    int present = 0;
    for (int file = 0; file < kFiles; ++file)
    {
        const bool isUnicode = random.OneIn(2);
        auto [text, model] = RandomFile(random, isUnicode);
        CIniFile ini;
        ini.SetFile(MakeFile(folder, file, text, isUnicode));
        for (int i = 0; i < kCasesPerFile; ++i)
        {
            const std::wstring section = RandomCase(random, random.PickFrom(kSections));
            const std::wstring key = RandomCase(random, random.PickFrom(kKeys));
            if (random.OneIn(kReadsPerWrite))
            {
                WriteOnce(random, ini, model, section, key, isUnicode);
            }
            const std::wstring expected = model.Read(section, key);
            present += expected.empty() ? 0 : 1;
            CompareOneReader(random, ini, section, key, expected);
            if (HasFatalFailure())
            {
                FAIL() << "file " << file << ", case " << i << ", section " << section << ", key " << key;
            }
        }
        ::DeleteFileW(ini.GetFile().c_str());
    }
    EXPECT_GT(present, kFiles * kCasesPerFile / 4); // not too many of the look-ups may be for absent keys
}

// Each part opens thousands of files, which takes seconds.
INSTANTIATE_TEST_SUITE_P(Parts, IniFileRandomTests, testing::Range(0U, 5U));
} // namespace
