#include <map>
#include <optional>

#include "fuzz/Input.h"
#include "utils/CommandLine.h"
#include "winapi/KernelApi.h"

using KVFuzz::Require;

namespace
{
std::wstring Lower(std::wstring text)
{
    for (wchar_t& character : text)
    {
        character += character >= L'A' && character <= L'Z' ? L'a' - L'A' : 0;
    }
    return text;
}

// The straightforward implementation, on lower-case keys.
std::map<std::wstring, std::wstring> ReadPlainly(const std::vector<std::wstring>& elements)
{
    std::map<std::wstring, std::wstring> values;
    std::optional<std::wstring> key;
    for (std::size_t i = 1; i < elements.size(); ++i)
    {
        const std::wstring& element = elements[i];
        const bool isSwitch = !element.empty() && (element[0] == L'/' || element[0] == L'-');
        if (isSwitch && element.size() > 1)
        {
            key = Lower(element.substr(1));
            values[*key].clear();
        }
        else if (!isSwitch && key)
        {
            values[*key] = element;
            key.reset();
        }
    }
    return values;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    KVFuzz::Input input(data, size);
    std::vector<std::wstring>& elements = KVWinApi::g_commandLineElements;
    elements.clear();
    KVWinApi::g_commandLine.clear();
    while (!input.IsOver())
    {
        elements.push_back(input.Text(24).c_str()); // zero-terminated, like the system's
        KVWinApi::g_commandLine += elements.back() + L" ";
    }
    const KVUtils::CCommandLine commandLine;
    const std::map<std::wstring, std::wstring> expected = ReadPlainly(elements);

    Require(commandLine.GetArgumentMap().size() == expected.size(), "there are as many switches as were given");
    for (const auto& [key, value] : expected)
    {
        std::wstring found = L"untouched";
        Require(commandLine.GetValue(key, found) && found == value, "each switch has its value");
        Require(commandLine.HasKey(key), "each switch is there");
    }
    Require(commandLine.GetProgramPath() == (elements.empty() ? L"" : elements[0]), "the program comes first");
    Require(commandLine.GetFirstArgument() == (elements.size() > 1 ? elements[1] : L""), "then the first argument");
    Require(KVWinApi::g_commandLine.ends_with(commandLine.GetArgumentString()), "the rest is the end of the line");
    return 0;
}
