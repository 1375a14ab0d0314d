#include "fuzz/Input.h"
#include "ga_client/activities/AppViewActivity.h"
#include "ga_client/activities/EventActivity.h"
#include "ga_client/activities/ExceptionActivity.h"
#include "winapi/KernelApi.h"

using KVFuzz::Require;

namespace
{
GAClient::ClientInfo MakeClientInfo(KVFuzz::Input& input)
{
    GAClient::ClientInfo info;
    for (std::wstring* text : {&info.applicationName, &info.applicationVersion, &info.propertyId,
                               &info.screenResolution, &info.colourDepth, &info.userLanguage})
    {
        *text = input.Text(12);
    }
    return info;
}

GAClient::CustomFacts MakeFacts(KVFuzz::Input& input)
{
    GAClient::CustomFacts facts;
    for (int i = input.Between(0, 4); i > 0; --i)
    {
        facts.dimensions[input.Any<std::uint32_t>()] = input.Text(12);
    }
    for (int i = input.Between(0, 3); i > 0; --i)
    {
        facts.metrics[input.Any<std::int32_t>()] = input.Any<std::uint32_t>();
    }
    return facts;
}

std::wstring Pair(const wchar_t* key, const std::wstring& value)
{
    return value.empty() ? L"" : key + (L"=" + value);
}

std::wstring Item(const wchar_t* key, const std::wstring& value)
{
    return value.empty() ? L"" : Pair(key, value) + L"&";
}

// Everything except the cache buster, which is removed before texts are compared.
std::wstring Prefix(const GAClient::ClientInfo& info, const std::wstring& clientId)
{
    return L"/collect?v=1&z=&" + Item(L"ul", info.userLanguage) + L"de=UTF-8&je=0&" + Item(L"sd", info.colourDepth) +
           Item(L"sr", info.screenResolution) + Item(L"vp", info.screenResolution) + Item(L"tid", info.propertyId) +
           Item(L"an", info.applicationName) + Item(L"av", info.applicationVersion) + L"aip=1&" +
           Item(L"cid", clientId);
}

std::wstring Dimensions(const GAClient::CustomFacts& facts)
{
    std::wstring text;
    for (const auto& [index, value] : facts.dimensions)
    {
        text += L"&cd" + std::to_wstring(index) + L"=" + value;
    }
    for (const auto& [index, value] : facts.metrics)
    {
        text += L"&cm" + std::to_wstring(index) + L"=" + std::to_wstring(value);
    }
    return text;
}

std::wstring CutCacheBuster(const std::wstring& request)
{
    constexpr std::wstring_view kBeginning = L"/collect?v=1&z=";
    constexpr std::size_t kDigits = 10;
    Require(request.starts_with(kBeginning), "a hit begins with its version");
    const std::wstring digits = request.substr(kBeginning.size(), kDigits);
    Require(digits.find_first_not_of(L"0123456789") == std::wstring::npos && digits.front() != L'0',
            "the cache buster has ten digits");
    return std::wstring(kBeginning) + request.substr(kBeginning.size() + kDigits);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    KVFuzz::Input input(data, size);
    // The choices come first: the texts use up a short input.
    const int lifecycle = input.Between(0, 3);
    const bool flag = input.Flag();
    KVWinApi::g_now = input.Between<std::int64_t>(0, 4102444800);
    const std::wstring mark = L"#" + std::to_wstring(KVWinApi::g_now);
    const GAClient::ClientInfo info = MakeClientInfo(input);
    const GAClient::CustomFacts facts = MakeFacts(input);
    const std::wstring screen = input.Text(12);
    const std::wstring clientId = input.Text(12);
    GAClient::EventFields fields;
    fields.action = lifecycle == 0 ? L"Start" : lifecycle == 1 ? L"Stop" : input.Text(12);
    fields.category = input.Text(12);
    fields.label = input.Text(12);
    fields.value = input.Flag() ? -1 : input.Any<std::int32_t>();
    fields.nonInteraction = input.Flag() ? L"1" : L"";
    const std::wstring prefix = Prefix(info, clientId);

    std::wstring request;
    Activities::AppView::CAppViewActivity view(screen, clientId);
    Require(view.BuildRequest(info, facts, request), "a screen view is always built");
    Require(CutCacheBuster(request) == prefix + L"t=appview&" + Pair(L"cd", screen) + Dimensions(facts) + mark,
            "a screen view is its parts");
    Require(view.BuildSessionRequest(info, flag, request), "a session screen view is always built");
    Require(CutCacheBuster(request) ==
                prefix + (flag ? L"sc=start&" : L"sc=end&") + L"t=appview&" + Pair(L"cd", screen),
            "a session screen view is its parts");

    Activities::Event::CEventActivity event(screen, clientId);
    Require(event.BuildRequest(info, facts, fields, request), "an event is always built");
    const bool isLifecycle = fields.action == L"Start" || fields.action == L"Stop";
    Require(CutCacheBuster(request) == prefix + (fields.action == L"Stop" ? L"sc=end&" : L"") + L"t=event&" +
                                           Item(L"ec", fields.category) + Item(L"ea", fields.action) +
                                           Item(L"el", fields.label) +
                                           (fields.value == -1 ? L"" : L"ev=" + std::to_wstring(fields.value) + L"&") +
                                           Item(L"ni", fields.nonInteraction) + Pair(L"cd", screen) +
                                           Dimensions(facts) + (isLifecycle ? L"" : mark),
            "an event is its parts");

    Activities::Exception::CExceptionActivity exception(clientId);
    Require(exception.BuildRequest(info, facts, fields.label, flag, request), "an exception is always built");
    Require(CutCacheBuster(request) == prefix + L"t=exception&" +
                                           (flag ? Pair(L"exd", fields.label) : Item(L"exd", fields.label) + L"exf=0") +
                                           Dimensions(facts) + mark,
            "an exception is its parts");
    return 0;
}
