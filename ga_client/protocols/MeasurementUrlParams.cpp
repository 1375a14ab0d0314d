#include "ga_client/protocols/MeasurementUrlParams.h"

#include "ga_client/protocols/CacheBuster.h"
#include "ga_client/protocols/QueueTime.h"
#include "utils/base/Decimal.h"

namespace Protocols::MeasurementParams
{
namespace
{
using KVUtils::AppendDecimal;

// Appends key and value without "&", for the last parameter of a hit. The key includes its "=". An empty value appends
// nothing.
void AppendLast(std::wstring& out, std::wstring_view key, std::wstring_view value)
{
    if (!value.empty())
    {
        out.append(key).append(value);
    }
}

// Appends key, value and "&". An empty value appends nothing.
void Append(std::wstring& out, std::wstring_view key, std::wstring_view value)
{
    if (!value.empty())
    {
        out.append(key).append(value).append(1, L'&');
    }
}

// Dimensions come before metrics, both in numeric order. Unlike the client's own parameters, an empty value is not left
// out, since the program set it.
//
// Deliberate: an "&" precedes each, even if the text already ends in one, as in a screen view without a name
// (t=appview&&cd1=...). Receivers know this form.
void AppendDimensionText(std::wstring& out, const GAClient::CustomFacts& facts)
{
    for (const auto& [index, value] : facts.dimensions)
    {
        out.append(L"&cd");
        AppendDecimal(out, index);
        out.append(L"=").append(value);
    }
    for (const auto& [index, value] : facts.metrics)
    {
        out.append(L"&cm");
        AppendDecimal(out, index);
        out.append(L"=");
        AppendDecimal(out, value);
    }
}
} // namespace

CMeasurementUrlParams::CMeasurementUrlParams(std::wstring_view screenName, std::wstring_view clientId)
    : m_screenName(screenName), m_clientId(clientId)
{
}

bool CMeasurementUrlParams::AppViewParams(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                                          std::wstring& out)
{
    AppendCommonPrefix(clientInfo, out);
    out.append(L"t=appview&");
    AppendLast(out, L"cd=", m_screenName);
    AppendDimensionText(out, facts);
    AppendQueueTimeMark(out);
    return true;
}

bool CMeasurementUrlParams::SessionAppViewParams(const GAClient::ClientInfo& clientInfo, bool sessionStart,
                                                 std::wstring& out)
{
    AppendCommonPrefix(clientInfo, out);
    out.append(sessionStart ? L"sc=start&" : L"sc=end&");
    out.append(L"t=appview&");
    AppendLast(out, L"cd=", m_screenName);
    return true;
}

bool CMeasurementUrlParams::EventParams(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                                        const GAClient::EventFields& fields, std::wstring& out)
{
    const bool stops = fields.action == GAClient::kLifecycleStopAction;
    const bool starts = fields.action == GAClient::kLifecycleStartAction;
    AppendCommonPrefix(clientInfo, out);
    out.append(stops ? L"sc=end&t=event&" : L"t=event&");
    Append(out, L"ec=", fields.category);
    Append(out, L"ea=", fields.action);
    Append(out, L"el=", fields.label);
    if (fields.value != GAClient::kNoEventValue)
    {
        out.append(L"ev=");
        AppendDecimal(out, fields.value);
        out.append(1, L'&');
    }
    Append(out, L"ni=", fields.nonInteraction);
    AppendLast(out, L"cd=", m_screenName);
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
    out.append(L"t=exception&");
    if (fatal)
    {
        AppendLast(out, L"exd=", description);
    }
    else
    {
        Append(out, L"exd=", description);
        out.append(L"exf=0");
    }
    AppendDimensionText(out, facts);
    AppendQueueTimeMark(out);
    return true;
}

void CMeasurementUrlParams::AppendCommonPrefix(const GAClient::ClientInfo& clientInfo, std::wstring& out) const
{
    out.append(L"v=1&z=");
    AppendDecimal(out, NextCacheBuster());
    out.append(1, L'&');
    Append(out, L"ul=", clientInfo.userLanguage);
    out.append(L"de=UTF-8&je=0&");
    Append(out, L"sd=", clientInfo.colourDepth);
    Append(out, L"sr=", clientInfo.screenResolution);
    Append(out, L"vp=", clientInfo.screenResolution); // deliberate: a windowless program has no other viewport
    Append(out, L"tid=", clientInfo.propertyId);
    Append(out, L"an=", clientInfo.applicationName);
    Append(out, L"av=", clientInfo.applicationVersion);
    out.append(L"aip=1&");
    Append(out, L"cid=", m_clientId);
}
} // namespace Protocols::MeasurementParams
