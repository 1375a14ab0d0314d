#include <vector>

#include "fuzz/Input.h"
#include "logging/line/FunctionName.h"

using KVFuzz::Require;

namespace
{
// The straightforward implementation: removes template arguments, then cuts at "::".
std::wstring WithoutTemplateArguments(const std::wstring& name)
{
    std::wstring plain;
    int depth = 0;
    for (const wchar_t character : name)
    {
        if (character == L'<')
        {
            ++depth;
        }
        else if (character == L'>')
        {
            depth = depth > 0 ? depth - 1 : 0;
        }
        else if (depth == 0)
        {
            plain += character;
        }
    }
    return plain;
}

std::vector<std::wstring> Components(const std::wstring& plain)
{
    std::vector<std::wstring> components;
    std::size_t start = 0;
    for (std::size_t end = plain.find(L"::"); end != std::wstring::npos; end = plain.find(L"::", start))
    {
        components.push_back(plain.substr(start, end - start));
        start = end + 2;
    }
    components.push_back(plain.substr(start));
    return components;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t kLongest = 255;
    KVFuzz::Input input(data, size);
    const std::wstring name = input.Text(600).c_str(); // zero-terminated, like a name
    const KVLogging::FunctionName split = KVLogging::SplitFunctionName(name.c_str());

    const std::wstring plain = WithoutTemplateArguments(name.substr(0, kLongest));
    const std::vector<std::wstring> components = Components(plain);
    const bool beginsWithColon = !name.empty() && name.front() == L':'; // then nothing precedes the first "::"
    if (!beginsWithColon && components.size() >= 2)
    {
        const std::wstring& className = components[components.size() - 2];
        Require(split.className == className, "the class is the component before the last");
        Require(split.shortName == className + L"::" + components.back(), "the short name is the last two");
    }
    if (components.size() == 1)
    {
        Require(split.className.empty(), "one component has no class");
        Require(split.shortName == plain, "one component is the short name");
    }
    Require(plain.ends_with(split.shortName), "the short name ends the name");
    Require(split.shortName.starts_with(split.className), "the class begins the short name");
    Require(split.shortName.size() <= kLongest, "the short name is bounded");
    return 0;
}
