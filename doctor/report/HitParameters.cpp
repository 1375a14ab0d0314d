#include "doctor/report/HitParameters.h"

#include <algorithm>
#include <string_view>

#include "analytics_reporting/Dimensions.h"

namespace KVAnalyticsDoctor
{
namespace
{
struct KnownParameter
{
    std::wstring_view key;
    const wchar_t* name;
};
constexpr KnownParameter kParameters[] = {
    {L"v", L"protocol version"},
    {L"z", L"cache buster"},
    {L"ul", L"user language"},
    {L"de", L"document encoding"},
    {L"je", L"Java enabled"},
    {L"sd", L"colour depth"},
    {L"sr", L"screen resolution"},
    {L"vp", L"viewport"},
    {L"tid", L"property ID"},
    {L"an", L"application name"},
    {L"av", L"application version"},
    {L"aip", L"anonymise address"},
    {L"cid", L"client ID"},
    {L"sc", L"session control"},
    {L"t", L"hit type"},
    {L"ec", L"event category"},
    {L"ea", L"event action"},
    {L"el", L"event label"},
    {L"ev", L"event value"},
    {L"ni", L"non-interaction"},
    {L"cd", L"screen name"},
    {L"exd", L"exception"},
    {L"exf", L"exception is fatal"},
    {L"qt", L"queue time in ms"},
};

std::wstring MeaningOf(const std::wstring& key)
{
    for (const KnownParameter& known : kParameters)
    {
        if (known.key == key)
        {
            return known.name;
        }
    }
    for (const KVAnalyticsReporting::Dimension& dimension : KVAnalyticsReporting::Dimensions::kAll)
    {
        if (key == L"cd" + std::to_wstring(dimension.number))
        {
            return dimension.name;
        }
    }
    return L"?";
}

// The queue file has bytes, and reading extends the sign of each.
std::wstring ToBytes(std::wstring text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](wchar_t unit) { return static_cast<wchar_t>(unit & 0xFF); });
    return text;
}

HitParameter Split(const std::wstring& item)
{
    const std::size_t equals = std::min(item.find(L'='), item.size());
    HitParameter parameter;
    parameter.key = item.substr(0, equals);
    parameter.name = MeaningOf(parameter.key);
    parameter.value = item.substr(std::min(equals + 1, item.size()));
    return parameter;
}
} // namespace

std::vector<HitParameter> DecodeHit(const std::wstring& request)
{
    const std::wstring hit = ToBytes(request.substr(0, request.find(L'#')));
    std::vector<HitParameter> parameters;
    std::size_t begin = hit.find(L'?');
    while (begin != std::wstring::npos)
    {
        const std::size_t end = hit.find(L'&', begin + 1);
        const std::wstring item = hit.substr(begin + 1, end == std::wstring::npos ? end : end - begin - 1);
        if (!item.empty())
        {
            parameters.push_back(Split(item));
        }
        begin = end;
    }
    return parameters;
}
} // namespace KVAnalyticsDoctor
