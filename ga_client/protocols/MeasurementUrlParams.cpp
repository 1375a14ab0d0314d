#include "ga_client/protocols/MeasurementUrlParams.h"

#include <string_view>

#include "ga_client/protocols/CacheBuster.h"
#include "ga_client/protocols/QueueTime.h"

namespace Protocols::MeasurementParams
{
namespace
{
// key "=" value, nothing when the value is empty. No "&" after it: for the last parameter of a hit.
void AppendLast(std::wstring& out, std::wstring_view key, std::wstring_view value)
{
    if (!value.empty())
    {
        out.append(key).append(L"=").append(value);
    }
}

// key "=" value "&", nothing when the value is empty.
void Append(std::wstring& out, std::wstring_view key, std::wstring_view value)
{
    if (!value.empty())
    {
        AppendLast(out, key, value);
        out += L'&';
    }
}

void RemoveLastCharacter(std::wstring& text)
{
    if (!text.empty())
    {
        text.pop_back();
    }
}

std::wstring DimensionPart(const GAClient::CustomDimensions& dimensions)
{
    std::wstring part;
    for (const auto& [index, value] : dimensions)
    {
        // Not left out when empty, unlike the parameters of the client itself: the program set it.
        part.append(L"cd").append(std::to_wstring(index)).append(L"=").append(value).append(L"&");
    }
    RemoveLastCharacter(part);
    return part;
}

std::wstring MetricPart(const GAClient::CustomMetrics& metrics)
{
    std::wstring part;
    for (const auto& [index, value] : metrics)
    {
        part.append(L"cm").append(std::to_wstring(index)).append(L"=").append(std::to_wstring(value)).append(L"&");
    }
    RemoveLastCharacter(part);
    return part;
}

// Dimensions come before metrics.
std::wstring DimensionText(const GAClient::CustomFacts& facts)
{
    const std::wstring dimensions = DimensionPart(facts.dimensions);
    const std::wstring metrics = MetricPart(facts.metrics);
    const bool both = !dimensions.empty() && !metrics.empty();
    return dimensions + (both ? L"&" : L"") + metrics;
}

// Deliberate: the "&" stands before the text even where nothing but an "&" stands before it already, as in a screen
// view without a name (t=appview&&cd1=...).
void AppendDimensionText(std::wstring& out, const GAClient::CustomFacts& facts)
{
    const std::wstring text = DimensionText(facts);
    if (!text.empty())
    {
        out.append(L"&").append(text);
    }
}
} // namespace

CMeasurementUrlParams::CMeasurementUrlParams(std::wstring screenName, std::wstring clientId)
    : m_screenName(std::move(screenName)), m_clientId(std::move(clientId))
{
}

bool CMeasurementUrlParams::AppViewParams(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                                          std::wstring& out)
{
    AppendCommonPrefix(clientInfo, out);
    Append(out, L"t", L"appview");
    AppendLast(out, L"cd", m_screenName);
    AppendDimensionText(out, facts);
    AppendQueueTimeMark(out);
    return true;
}

bool CMeasurementUrlParams::SessionAppViewParams(const GAClient::ClientInfo& clientInfo, bool sessionStart,
                                                 std::wstring& out)
{
    AppendCommonPrefix(clientInfo, out);
    Append(out, L"sc", sessionStart ? L"start" : L"end");
    Append(out, L"t", L"appview");
    AppendLast(out, L"cd", m_screenName);
    return true;
}

bool CMeasurementUrlParams::EventParams(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                                        const GAClient::EventFields& fields, std::wstring& out)
{
    const bool stops = fields.action == GAClient::kLifecycleStopAction;
    const bool starts = fields.action == GAClient::kLifecycleStartAction;
    AppendCommonPrefix(clientInfo, out);
    Append(out, L"sc", stops ? L"end" : L"");
    Append(out, L"t", L"event");
    Append(out, L"ec", fields.category);
    Append(out, L"ea", fields.action);
    Append(out, L"el", fields.label);
    Append(out, L"ev", fields.value != GAClient::kNoEventValue ? std::to_wstring(fields.value) : std::wstring());
    Append(out, L"ni", fields.nonInteraction);
    AppendLast(out, L"cd", m_screenName);
    AppendDimensionText(out, facts);
    if (!starts && !stops)
    {
        AppendQueueTimeMark(out);
    }
    return true;
}

bool CMeasurementUrlParams::ExceptionParams(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                                            const std::wstring& description, bool fatal, std::wstring& out)
{
    AppendCommonPrefix(clientInfo, out);
    Append(out, L"t", L"exception");
    if (fatal)
    {
        AppendLast(out, L"exd", description);
    }
    else
    {
        Append(out, L"exd", description);
        AppendLast(out, L"exf", L"0");
    }
    AppendDimensionText(out, facts);
    AppendQueueTimeMark(out);
    return true;
}

void CMeasurementUrlParams::AppendCommonPrefix(const GAClient::ClientInfo& clientInfo, std::wstring& out) const
{
    Append(out, L"v", L"1");
    Append(out, L"z", NextCacheBuster());
    Append(out, L"ul", clientInfo.userLanguage);
    Append(out, L"de", L"UTF-8");
    Append(out, L"je", L"0");
    Append(out, L"sd", clientInfo.colourDepth);
    Append(out, L"sr", clientInfo.screenResolution);
    Append(out, L"vp", clientInfo.screenResolution); // deliberate: the viewport is reported as the whole screen
    Append(out, L"tid", clientInfo.propertyId);
    Append(out, L"an", clientInfo.applicationName);
    Append(out, L"av", clientInfo.applicationVersion);
    Append(out, L"aip", L"1");
    Append(out, L"cid", m_clientId);
}
} // namespace Protocols::MeasurementParams
