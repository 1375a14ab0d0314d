#include "utils/CommandLine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/AllocationHook.h"
#include "tests/support/LoaderPatch.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/VirtualSlots.h"
#include "tests/utils/RandomCases.h"
#include "winapi/KernelApi.h"

namespace
{
using KVUtils::CCommandLine;
using Entries = std::vector<std::pair<std::wstring, std::wstring>>;

class GivenCommandLine : public KVWinApi::CKernelApi
{
public:
    explicit GivenCommandLine(std::wstring line) : m_line(std::move(line)) {}

    LPWSTR GetCommandLineW() override { return m_line.data(); }
    HLOCAL LocalFree(HLOCAL block) override
    {
        ++freedBlocks;
        return CKernelApi::LocalFree(block);
    }
    int freedBlocks = 0;

private:
    std::wstring m_line;
};

CCommandLine Parse(const std::wstring& line)
{
    GivenCommandLine kernel(line);
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    return {};
}

CCommandLine ParseArguments(const std::wstring& arguments)
{
    return Parse(L"program.exe " + arguments);
}

Entries EntriesOf(const CCommandLine& commandLine)
{
    return {commandLine.GetArgumentMap().begin(), commandLine.GetArgumentMap().end()};
}

struct SwitchCase
{
    const char* name;
    std::wstring arguments;
    Entries expected;
};

void PrintTo(const SwitchCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class CommandLineSwitchTests : public testing::TestWithParam<SwitchCase>
{
};

TEST_P(CommandLineSwitchTests, GiveTheseSwitches)
{
    EXPECT_EQ(EntriesOf(ParseArguments(GetParam().arguments)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    CommandLineTests, CommandLineSwitchTests,
    testing::Values(
        SwitchCase{"TwoSwitches", L"/linkid L1 /tabid T1", {{L"linkid", L"L1"}, {L"tabid", L"T1"}}},
        SwitchCase{"Hyphens", L"-linkid L1 -tabid T1", {{L"linkid", L"L1"}, {L"tabid", L"T1"}}},
        SwitchCase{"SwitchAlone", L"/linkid", {{L"linkid", L""}}},
        SwitchCase{"ValueBeforeAnySwitch", L"L1 /linkid", {{L"linkid", L""}}},
        SwitchCase{"SecondValue", L"/linkid A B", {{L"linkid", L"A"}}},
        SwitchCase{"SwitchInPlaceOfAValue", L"/linkid /tabid T", {{L"linkid", L""}, {L"tabid", L"T"}}},
        SwitchCase{"ValueThatBeginsWithAHyphen", L"/linkid -1", {{L"1", L""}, {L"linkid", L""}}},
        SwitchCase{"QuotedValueThatBeginsWithASlash", L"/linkid \"/x y\"", {{L"linkid", L""}, {L"x y", L""}}},
        SwitchCase{"ColonForm", L"/linkid:A", {{L"linkid:A", L""}}},
        SwitchCase{"EqualsForm", L"/linkid=A", {{L"linkid=A", L""}}}, SwitchCase{"LoneSlashWithoutAKey", L"/ A", {}},
        SwitchCase{"LoneHyphenWithoutAKey", L"- A", {}},
        SwitchCase{"LoneSlashKeepsThePendingKey", L"/linkid / A", {{L"linkid", L"A"}}},
        SwitchCase{"LoneHyphenKeepsThePendingKey", L"/linkid - A", {{L"linkid", L"A"}}},
        SwitchCase{"QuotedValue", L"/linkid \"a b\"", {{L"linkid", L"a b"}}},
        SwitchCase{"EmptyQuotedValue", L"/linkid \"\" B", {{L"linkid", L""}}},
        SwitchCase{"EscapedQuote", L"/linkid a\\\"b", {{L"linkid", L"a\"b"}}},
        SwitchCase{"BackslashesBeforeAQuote", L"/linkid \"a\\\\\" B", {{L"linkid", L"a\\"}}},
        SwitchCase{"DoubledPrefix", L"//linkid --tabid T", {{L"-tabid", L"T"}, {L"/linkid", L""}}},
        SwitchCase{"RepeatedSwitchKeepsItsFirstSpelling", L"/a 1 /A 2", {{L"a", L"2"}}},
        SwitchCase{"RepeatedSwitchLosesItsValue", L"/a 1 /A", {{L"a", L""}}},
        SwitchCase{"ValueKeepsItsCase", L"/A aBc", {{L"A", L"aBc"}}},
        SwitchCase{"ShorterKeyFirst", L"/linkid 1 /LINK 2", {{L"LINK", L"2"}, {L"linkid", L"1"}}},
        SwitchCase{"BeyondTheBasicPlane", L"/\U0001F5A8 \U0001F600\u00E4", {{L"\U0001F5A8", L"\U0001F600\u00E4"}}},
        SwitchCase{"LettersBeyondAsciiKeepTheirCase", L"/\u00E4 1 /\u00C4 2", {{L"\u00C4", L"2"}, {L"\u00E4", L"1"}}},
        SwitchCase{"NoArguments", L"", {}}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(CommandLineTests, GetValue_OtherCaseOfTheKey_GivesTheValueInItsOwnCase)
{
    const CCommandLine commandLine = ParseArguments(L"-LinkId L1");
    std::wstring value;
    EXPECT_TRUE(commandLine.GetValue(L"linkid", value));
    EXPECT_EQ(value, L"L1");
    EXPECT_TRUE(commandLine.GetValue(L"LINKID", value));
}

TEST(CommandLineTests, GetValue_SwitchWithoutValue_GivesTheEmptyText)
{
    std::wstring value = L"before";
    EXPECT_TRUE(ParseArguments(L"/linkid").GetValue(L"linkid", value));
    EXPECT_EQ(value, L"");
}

TEST(CommandLineTests, GetValue_AbsentKey_LeavesTheValue)
{
    const CCommandLine commandLine = ParseArguments(L"/linkid:A /link B");
    std::wstring value = L"before";
    EXPECT_FALSE(commandLine.GetValue(L"linkid", value));
    EXPECT_FALSE(commandLine.GetValue(L"", value));
    EXPECT_FALSE(commandLine.GetValue(L"B", value));
    EXPECT_EQ(value, L"before");
}

TEST(CommandLineTests, HasKey_TellsPresenceWithOrWithoutValue)
{
    const CCommandLine commandLine = ParseArguments(L"/linkid /tabid T");
    EXPECT_TRUE(commandLine.HasKey(L"LinkID"));
    EXPECT_TRUE(commandLine.HasKey(L"tabid"));
    EXPECT_FALSE(commandLine.HasKey(L"T"));
    EXPECT_FALSE(commandLine.HasKey(L""));
    EXPECT_FALSE(commandLine.HasKey(L"linkid "));
}

TEST(CommandLineTests, Texts_ProgramAlone_OnlyItsPath)
{
    const CCommandLine commandLine = Parse(L"\"C:\\Program Files\\program.exe\"");
    EXPECT_EQ(commandLine.GetProgramPath(), L"C:\\Program Files\\program.exe");
    EXPECT_EQ(commandLine.GetFirstArgument(), L"");
    EXPECT_EQ(commandLine.GetArgumentString(), L"");
    EXPECT_TRUE(commandLine.GetArgumentMap().empty());
}

TEST(CommandLineTests, ArgumentString_StartsAtTheFirstArgument)
{
    const CCommandLine commandLine = Parse(L"program.exe   /linkid  \"a b\" ");
    EXPECT_EQ(commandLine.GetProgramPath(), L"program.exe");
    EXPECT_EQ(commandLine.GetFirstArgument(), L"/linkid");
    EXPECT_EQ(commandLine.GetArgumentString(), L"/linkid  \"a b\" ");
}

TEST(CommandLineTests, ArgumentString_FirstArgumentOccursInTheProgramPath_StartsThere)
{
    const CCommandLine commandLine = Parse(L"C:\\tools\\run.exe tools x");
    EXPECT_EQ(commandLine.GetFirstArgument(), L"tools");
    EXPECT_EQ(commandLine.GetArgumentString(), L"tools\\run.exe tools x");
}

TEST(CommandLineTests, ArgumentString_QuotedFirstArgument_StartsBehindTheQuote)
{
    EXPECT_EQ(Parse(L"p.exe \"a b\" c").GetArgumentString(), L"a b\" c");
}

TEST(CommandLineTests, ArgumentString_FirstArgumentChangedBySplitting_IsTheWholeLine)
{
    const CCommandLine commandLine = Parse(L"p.exe a\" \"b c");
    EXPECT_EQ(commandLine.GetFirstArgument(), L"a b");
    EXPECT_EQ(commandLine.GetArgumentString(), L"p.exe a\" \"b c");
}

TEST(CommandLineTests, ArgumentString_SearchIsCaseSensitive)
{
    EXPECT_EQ(Parse(L"ABC.exe abc").GetArgumentString(), L"abc");
}

TEST(CommandLineTests, ArgumentString_EmptyFirstArgument_IsTheWholeLine)
{
    const CCommandLine commandLine = Parse(L"p.exe \"\" x");
    EXPECT_EQ(commandLine.GetFirstArgument(), L"");
    EXPECT_EQ(commandLine.GetArgumentString(), L"p.exe \"\" x");
}

TEST(CommandLineTests, FirstArgument_NeedNotBeASwitch)
{
    const CCommandLine commandLine = ParseArguments(L"first /a 1");
    EXPECT_EQ(commandLine.GetFirstArgument(), L"first");
    EXPECT_EQ(EntriesOf(commandLine), (Entries{{L"a", L"1"}}));
}

TEST(CommandLineTests, Construction_WithoutTheSystemsSplitter_LeavesTheObjectEmpty)
{
    KVTest::LoaderPatch loader;
    loader.LackLibraries();
    const CCommandLine commandLine = Parse(L"program.exe /linkid a");
    EXPECT_EQ(commandLine.GetProgramPath(), L"");
    EXPECT_EQ(commandLine.GetFirstArgument(), L"");
    EXPECT_EQ(commandLine.GetArgumentString(), L"");
    EXPECT_TRUE(commandLine.GetArgumentMap().empty());
}

TEST(CommandLineTests, Construction_LineThatCannotBeSplit_LeavesTheObjectEmpty)
{
    class NoCommandLine : public KVWinApi::CKernelApi
    {
    public:
        LPWSTR GetCommandLineW() override { return nullptr; }
    } kernel;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    const CCommandLine commandLine;
    EXPECT_EQ(commandLine.GetProgramPath(), L"");
    EXPECT_EQ(commandLine.GetFirstArgument(), L"");
    EXPECT_EQ(commandLine.GetArgumentString(), L"");
    EXPECT_TRUE(commandLine.GetArgumentMap().empty());
}

// The system takes an empty line for the program's path.
TEST(CommandLineTests, Construction_EmptyLine_IsTheProgramAlone)
{
    const CCommandLine commandLine = Parse(L"");
    wchar_t path[MAX_PATH] = {};
    ASSERT_NE(::GetModuleFileNameW(nullptr, path, MAX_PATH), 0u);
    EXPECT_EQ(commandLine.GetProgramPath(), path);
    EXPECT_EQ(commandLine.GetFirstArgument(), L"");
    EXPECT_EQ(commandLine.GetArgumentString(), L"");
    EXPECT_TRUE(commandLine.GetArgumentMap().empty());
}

TEST(CommandLineTests, Construction_GivesTheSplitArrayBack)
{
    GivenCommandLine kernel(L"program.exe /a 1");
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    const CCommandLine commandLine;
    EXPECT_EQ(kernel.freedBlocks, 1);
}

TEST(CommandLineTests, Construction_LongestPossibleLine_IsTakenWhole)
{
    constexpr std::size_t kLongest = 32766; // and the null
    std::wstring line = L"program.exe /linkid ";
    const std::wstring value(kLongest - line.size(), L'x');
    line += value;
    const CCommandLine commandLine = Parse(line);
    EXPECT_EQ(EntriesOf(commandLine), (Entries{{L"linkid", value}}));
    EXPECT_EQ(commandLine.GetArgumentString(), L"/linkid " + value);
}

TEST(CommandLineTests, Construction_VeryManySwitches_AreAllTaken)
{
    std::wstring line = L"p";
    Entries expected;
    for (int i = 1000; i < 4000; ++i)
    {
        line += L" /" + std::to_wstring(i) + L" v";
        expected.emplace_back(std::to_wstring(i), L"v");
    }
    EXPECT_EQ(EntriesOf(Parse(line)), expected);
}

// A name of this length is known by the size of its memory: the name and a null, and at most 64 bytes of the standard
// library's own. No other text of the command line has that size.
constexpr std::size_t kMarkedLength = 5000;
int s_lengthErrors = 0;

bool IsMarked(std::size_t byteCount) noexcept
{
    constexpr std::size_t kMarkedBytes = (kMarkedLength + 1) * sizeof(wchar_t);
    return byteCount >= kMarkedBytes && byteCount <= kMarkedBytes + 64;
}

// An argument that sets the memory of the whole line apart from that of the name.
std::wstring OtherArgument()
{
    return std::wstring(100, L'o');
}

TEST(CommandLineTests, Construction_LengthErrorAtASwitch_IsIgnoredAndTheNameStaysPending)
{
    const std::wstring name(kMarkedLength, L'k');
    GivenCommandLine kernel(L"program.exe first /a 1 /" + name + L" value /b " + OtherArgument());
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    const KVTest::AllocationHook hook([](std::size_t byteCount) {
        if (IsMarked(byteCount) && s_lengthErrors == 0)
        {
            ++s_lengthErrors;
            throw std::length_error("provoked");
        }
    });
    const CCommandLine commandLine;
    EXPECT_EQ(s_lengthErrors, 1);
    EXPECT_EQ(EntriesOf(commandLine), (Entries{{L"a", L"1"}, {L"b", OtherArgument()}, {name, L"value"}}));
}

TEST(CommandLineTests, Construction_AnyOtherErrorAtASwitch_IsTheCallers)
{
    GivenCommandLine kernel(L"program.exe /" + std::wstring(kMarkedLength, L'k') + L" " + OtherArgument());
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    const KVTest::AllocationHook hook([](std::size_t byteCount) {
        if (IsMarked(byteCount))
        {
            throw std::bad_alloc();
        }
    });
    bool isThrown = false;
    try
    {
        const CCommandLine commandLine;
    }
    catch (const std::bad_alloc&)
    {
        isThrown = true;
    }
    EXPECT_TRUE(isThrown);
    EXPECT_EQ(kernel.freedBlocks, 1); // all the same
}

TEST(CommandLineTests, Interface_OperationsStandInSlotOrder)
{
    static_assert(std::has_virtual_destructor_v<CCommandLine>);
    const std::size_t first = KVTest::kDestructorSlots; // behind the destructor
    EXPECT_EQ(KVTest::SlotOf(&CCommandLine::GetValue), first);
    EXPECT_EQ(KVTest::SlotOf(&CCommandLine::HasKey), first + 1);
    EXPECT_EQ(KVTest::SlotOf(&CCommandLine::GetArgumentMap), first + 2);
    EXPECT_EQ(KVTest::SlotOf(&CCommandLine::GetFirstArgument), first + 3);
    EXPECT_EQ(KVTest::SlotOf(&CCommandLine::GetArgumentString), first + 4);
    EXPECT_EQ(KVTest::SlotOf(&CCommandLine::GetProgramPath), first + 5);
    EXPECT_EQ(KVTest::SlotCountOf<CCommandLine>(), first + 6);
}

// A model of the meaning of a command line: from the list of its elements, without the parser's code.
struct Model
{
    std::vector<std::pair<std::wstring, std::wstring>> entries; // in order of appearance

    static std::wstring Lower(std::wstring text)
    {
        const std::wstring upperLetters = L"ABCDEFGHIJKLMNOPQRSTUVWXYZ";
        for (wchar_t& character : text)
        {
            const std::size_t index = upperLetters.find(character);
            character = index != std::wstring::npos ? L"abcdefghijklmnopqrstuvwxyz"[index] : character;
        }
        return text;
    }

    std::wstring& EntryOf(const std::wstring& key)
    {
        for (auto& [name, value] : entries)
        {
            if (Lower(name) == Lower(key))
            {
                return value;
            }
        }
        return entries.emplace_back(key, L"").second;
    }

    explicit Model(const std::vector<std::wstring>& elements)
    {
        std::wstring pending;
        for (std::size_t i = 1; i < elements.size(); ++i)
        {
            const std::wstring& element = elements[i];
            const bool isSwitch = element.starts_with(L'/') || element.starts_with(L'-');
            if (isSwitch && element.size() > 1)
            {
                pending = element.substr(1);
                EntryOf(pending) = L"";
            }
            else if (!isSwitch && !pending.empty())
            {
                EntryOf(pending) = element;
                pending.clear();
            }
        }
        std::sort(entries.begin(), entries.end(),
                  [](const auto& left, const auto& right) { return Lower(left.first) < Lower(right.first); });
    }
};

std::wstring Quoted(const std::wstring& element)
{
    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t character : element)
    {
        if (character == L'"')
        {
            quoted.append(backslashes + 1, L'\\'); // double those before the quote, and one for the quote
        }
        backslashes = character == L'\\' ? backslashes + 1 : 0;
        quoted += character;
    }
    return quoted.append(backslashes, L'\\') + L'"';
}

std::wstring RandomElement(KVTest::RandomCases& random)
{
    static const std::vector<std::wstring> s_frequent = {L"/",       L"-",      L"",      L"/a",    L"/A",        L"-b",
                                                         L"/linkid", L"-TabID", L"value", L"--x",   L"//",        L"/ ",
                                                         L"\"",      L"\\",     L"\\\"",  L"a\\\\", L"\U0001F5A8"};
    if (random.OneIn(2))
    {
        return random.PickFrom(s_frequent);
    }
    return random.Text(random.Below(6), L"/-aAbBzZ_[@:= \\\"\u00E4\u00C4\xD83D\xDDA8");
}

TEST(CommandLineTests, RandomLines_GiveWhatTheModelGives)
{
    constexpr int kCases = 30000;
    KVTest::RandomCases random;
    for (int i = 0; i < kCases; ++i)
    {
        std::vector<std::wstring> elements = {random.OneIn(2) ? L"C:\\Program Files\\a\\p.exe" : L"-p"};
        std::wstring line = L'"' + elements[0] + L'"';
        for (std::size_t count = random.Below(8); count > 0; --count)
        {
            const std::wstring element = RandomElement(random);
            const bool mustBeQuoted = element.empty() || element.find_first_of(L" \"\\") != std::wstring::npos;
            line += std::wstring(1 + random.Below(3), L' ');
            line += mustBeQuoted || random.OneIn(3) ? Quoted(element) : element;
            elements.push_back(element);
        }
        SCOPED_TRACE(i);

        const CCommandLine commandLine = Parse(line);

        const Model model(elements);
        ASSERT_EQ(EntriesOf(commandLine), model.entries) << "case " << i;
        ASSERT_EQ(commandLine.GetProgramPath(), elements[0]);
        ASSERT_EQ(commandLine.GetFirstArgument(), elements.size() > 1 ? elements[1] : L"");
        std::wstring expectedString = elements.size() > 1 ? line : L"";
        for (std::size_t start = 0; elements.size() > 1 && start < line.size(); ++start)
        {
            if (line.compare(start, elements[1].size(), elements[1]) == 0)
            {
                expectedString = line.substr(start);
                break;
            }
        }
        ASSERT_EQ(commandLine.GetArgumentString(), expectedString);
        const std::wstring key = RandomElement(random);
        const auto matching = std::find_if(model.entries.begin(), model.entries.end(), [&key](const auto& entry) {
            return Model::Lower(entry.first) == Model::Lower(key);
        });
        std::wstring value = L"untouched";
        ASSERT_EQ(commandLine.HasKey(key), matching != model.entries.end());
        ASSERT_EQ(commandLine.GetValue(key, value), matching != model.entries.end());
        ASSERT_EQ(value, matching != model.entries.end() ? matching->second : L"untouched");
    }
}
} // namespace
