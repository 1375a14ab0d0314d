#include "tests/analytics_reporting/RecordingClient.h"

#include <utility>

namespace KVTest
{
bool RecordingClient::Record(const std::wstring& call)
{
    m_calls.push_back(call);
    return answer(call);
}

bool RecordingClient::Initialize(const std::wstring& propertyId, const std::wstring& applicationName,
                                 const std::wstring& applicationVersion, bool useSsl, bool asynchronous)
{
    return Record(L"Initialize|" + propertyId + L"|" + applicationName + L"|" + applicationVersion +
                  (useSsl ? L"|ssl" : L"|plain") + (asynchronous ? L"|asynchronous" : L"|synchronous"));
}

bool RecordingClient::Uninitialize(bool flushOnExit, std::uint32_t flushBudgetMs)
{
    return Record((flushOnExit ? L"Uninitialize|flush|" : L"Uninitialize|drop|") + std::to_wstring(flushBudgetMs));
}

void RecordingClient::SetDispatchHeld(bool held)
{
    Record(held ? L"SetDispatchHeld|held" : L"SetDispatchHeld|released");
}

void RecordingClient::SetMaxQueuedRequests(std::int32_t count)
{
    Record(L"SetMaxQueuedRequests|" + std::to_wstring(count));
}

bool RecordingClient::Start(const std::wstring& screenName)
{
    return Record(L"Start|" + screenName);
}

bool RecordingClient::Stop()
{
    return Record(L"Stop");
}

bool RecordingClient::SetRequestTimeout(std::int32_t timeoutMs)
{
    return Record(L"SetRequestTimeout|" + std::to_wstring(timeoutMs));
}

bool RecordingClient::SetCustomDimension(std::uint32_t index, const std::wstring& value)
{
    return Record(L"SetCustomDimension|" + std::to_wstring(index) + L"|" + value);
}

bool RecordingClient::SetCustomMetric(std::int32_t index, std::uint32_t value)
{
    return Record(L"SetCustomMetric|" + std::to_wstring(index) + L"|" + std::to_wstring(value));
}

bool RecordingClient::TrackScreenView(const std::wstring& screenName)
{
    return Record(L"TrackScreenView|" + screenName);
}

std::int32_t RecordingClient::TrackEvent(const std::wstring& action, const std::wstring& category,
                                         const std::wstring& label, std::int32_t value, bool nonInteraction)
{
    return Record(L"TrackEvent|" + action + L"|" + category + L"|" + label + L"|" + std::to_wstring(value) +
                  (nonInteraction ? L"|non-interaction" : L"|interaction"));
}

std::int32_t RecordingClient::TrackEventOnScreen(const std::wstring& action, const std::wstring& category,
                                                 const std::wstring& screenName, const std::wstring& label)
{
    return Record(L"TrackEventOnScreen|" + action + L"|" + category + L"|" + screenName + L"|" + label);
}

bool RecordingClient::TrackException(const std::wstring& description, bool fatal)
{
    return Record(L"TrackException|" + description + (fatal ? L"|fatal" : L"|survived"));
}

std::uint32_t RecordingClient::Dispatch(std::uint32_t count)
{
    return Record(L"Dispatch|" + std::to_wstring(count));
}

bool RecordingClient::GetQueuedRequests(std::list<std::wstring>& requests)
{
    const bool result = Record(L"GetQueuedRequests|" + std::to_wstring(requests.size()));
    if (result)
    {
        requests = queued;
    }
    return result;
}

RecordingClient& GetRecordingClient()
{
    static RecordingClient s_client;
    return s_client;
}
} // namespace KVTest

namespace GAClient
{
IGAClient& GetGAClient()
{
    return KVTest::GetRecordingClient();
}
} // namespace GAClient
