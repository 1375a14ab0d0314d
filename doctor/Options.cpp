#include "doctor/Options.h"

#include "utils/base/AsciiCase.h"

namespace KVAnalyticsDoctor
{
namespace
{
struct KnownSwitch
{
    const wchar_t* name;
    bool Options::*option;
};
constexpr KnownSwitch kSwitches[] = {
    {L"json", &Options::json},       {L"hits", &Options::hits}, {L"id", &Options::id},
    {L"connect", &Options::connect}, {L"?", &Options::help},    {L"help", &Options::help},
};

bool Apply(const std::wstring& argument, Options& options)
{
    if (argument.empty() || (argument[0] != L'/' && argument[0] != L'-'))
    {
        return false;
    }
    for (const KnownSwitch& known : kSwitches)
    {
        if (KVUtils::CompareIgnoringAsciiCase(argument.substr(1), known.name) == 0)
        {
            options.*known.option = true;
            return true;
        }
    }
    return false;
}
} // namespace

Options ReadOptions(const std::vector<std::wstring>& arguments)
{
    Options options;
    for (const std::wstring& argument : arguments)
    {
        if (!Apply(argument, options) && options.unknown.empty())
        {
            options.unknown = argument.empty() ? L"\"\"" : argument;
        }
    }
    return options;
}
} // namespace KVAnalyticsDoctor
