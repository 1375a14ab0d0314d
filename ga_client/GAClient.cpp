#include "ga_client/GAClient.h"

#include <utility>

#include "ga_client/activities/AppViewActivity.h"
#include "ga_client/activities/EventActivity.h"
#include "ga_client/activities/ExceptionActivity.h"
#include "ga_client/AsyncRequestTracker.h"
#include "ga_client/ClientId.h"
#include "ga_client/SyncRequestTracker.h"
#include "ga_client/SystemProbes.h"

namespace GAClient
{
namespace
{
EventFields LifecycleEvent(const wchar_t* action)
{
    EventFields fields;
    fields.action = action;
    fields.category = L"ApplicationLifeCycle";
    fields.label = L"Launch";
    return fields;
}

std::unique_ptr<CRequestTracker> MakeTracker(const std::wstring& applicationName,
                                             const std::wstring& applicationVersion, bool useSsl, bool asynchronous)
{
    if (asynchronous)
    {
        return std::make_unique<CAsyncRequestTracker>(applicationName, applicationVersion, useSsl);
    }
    return std::make_unique<CSyncRequestTracker>(applicationName, applicationVersion, useSsl);
}
} // namespace

CGAClient::CGAClient() = default;

CGAClient::~CGAClient()
{
    if (m_tracker == nullptr)
    {
        return;
    }
    m_tracker->SetFlushOnStop(false);
    m_tracker->SetFlushBudget(0);
    try
    {
        m_tracker->Stop();
    }
    catch (...)
    {
        // The hits are lost. No caller exists to report that to, and an exception would end the program with an error.
    }
    m_tracker->Abandon();
}

bool CGAClient::Initialize(const std::wstring& propertyId, const std::wstring& applicationName,
                           const std::wstring& applicationVersion, bool useSsl, bool asynchronous)
{
    if (m_tracker != nullptr || propertyId.empty() || applicationName.empty() || applicationVersion.empty())
    {
        return false;
    }
    m_clientInfo = {applicationName,       applicationVersion, propertyId,
                    GetScreenResolution(), GetColourDepth(),   GetUserLanguage()};
    if (!LoadOrCreateClientId(applicationName, applicationVersion, m_clientId))
    {
        return false;
    }
    std::unique_ptr<CRequestTracker> tracker = MakeTracker(applicationName, applicationVersion, useSsl, asynchronous);
    if (tracker->Start())
    {
        m_tracker = std::move(tracker);
    }
    // Deliberate: also true if the tracker could not start; every later call is then ignored (see IGAClient).
    return true;
}

bool CGAClient::Uninitialize(bool flushOnExit, std::uint32_t flushBudgetMs)
{
    if (m_tracker == nullptr)
    {
        return false;
    }
    m_tracker->SetFlushOnStop(flushOnExit);
    m_tracker->SetFlushBudget(flushBudgetMs);
    const bool stopped = m_tracker->Stop();
    m_tracker.reset();
    return stopped;
}

void CGAClient::SetDispatchHeld(bool held)
{
    if (m_tracker != nullptr)
    {
        m_tracker->SetDispatchHeld(held);
    }
}

void CGAClient::SetMaxQueuedRequests(std::int32_t count)
{
    if (m_tracker != nullptr && count > 0)
    {
        m_tracker->SetQueueLimit(count);
    }
}

// The operations below copy each text of the caller before they store it or make it part of a request. If it cannot be
// read, the copy faults. A fault in the middle of an assignment or of an append would damage the string that changes.

bool CGAClient::Start(const std::wstring& screenName)
{
    if (m_tracker == nullptr || screenName.empty())
    {
        return false;
    }
    m_sessionScreenName = std::wstring(screenName);
    std::wstring request;
    const bool built = Activities::AppView::CAppViewActivity(m_sessionScreenName, m_clientId)
                           .BuildSessionRequest(m_clientInfo, true, request);
    TrackIfBuilt(request);
    return built && TrackEventHit(m_sessionScreenName, LifecycleEvent(kLifecycleStartAction));
}

bool CGAClient::Stop()
{
    return m_tracker != nullptr && TrackEventHit(m_sessionScreenName, LifecycleEvent(kLifecycleStopAction));
}

bool CGAClient::SetRequestTimeout(std::int32_t timeoutMs)
{
    constexpr std::int32_t kLargestTimeoutMs = 120000;
    if (m_tracker == nullptr || timeoutMs < 1 || timeoutMs > kLargestTimeoutMs)
    {
        return false;
    }
    m_tracker->SetRequestTimeout(static_cast<DWORD>(timeoutMs));
    return true;
}

bool CGAClient::SetCustomDimension(std::uint32_t index, const std::wstring& value)
{
    if (m_tracker == nullptr)
    {
        return false;
    }
    m_customFacts.dimensions[index] = std::wstring(value);
    return true;
}

bool CGAClient::SetCustomMetric(std::int32_t index, std::uint32_t value)
{
    if (m_tracker == nullptr)
    {
        return false;
    }
    m_customFacts.metrics[index] = value;
    return true;
}

bool CGAClient::TrackScreenView(const std::wstring& screenName)
{
    if (m_tracker == nullptr || screenName.empty())
    {
        return false;
    }
    m_lastScreenName = std::wstring(screenName);
    std::wstring request;
    const bool built = Activities::AppView::CAppViewActivity(m_lastScreenName, m_clientId)
                           .BuildRequest(m_clientInfo, m_customFacts, request);
    TrackIfBuilt(request);
    ClearCustomFacts();
    return built;
}

std::int32_t CGAClient::TrackEvent(const std::wstring& action, const std::wstring& category, const std::wstring& label,
                                   std::int32_t value, bool nonInteraction)
{
    if (m_tracker == nullptr || action.empty() || category.empty() || value < kNoEventValue)
    {
        return 0;
    }
    const bool built = TrackEventHit(m_lastScreenName, {action, category, label, value, nonInteraction ? L"1" : L""});
    ClearCustomFacts();
    return built ? 1 : 0;
}

std::int32_t CGAClient::TrackEventOnScreen(const std::wstring& action, const std::wstring& category,
                                           const std::wstring& screenName, const std::wstring& label)
{
    if (m_tracker == nullptr || action.empty() || category.empty() || screenName.empty())
    {
        return 0;
    }
    const bool built = TrackEventHit(std::wstring(screenName), {action, category, label, kNoEventValue, L""});
    ClearCustomFacts();
    return built ? 1 : 0;
}

bool CGAClient::TrackException(const std::wstring& description, bool fatal)
{
    if (m_tracker == nullptr || description.empty())
    {
        return false;
    }
    std::wstring request;
    const bool built = Activities::Exception::CExceptionActivity(m_clientId)
                           .BuildRequest(m_clientInfo, m_customFacts, std::wstring(description), fatal, request);
    TrackIfBuilt(request);
    ClearCustomFacts();
    return built;
}

std::uint32_t CGAClient::Dispatch(std::uint32_t count)
{
    constexpr std::uint32_t kNoTracker = 0xFFFFFFFF;
    return m_tracker != nullptr ? static_cast<std::uint32_t>(m_tracker->Dispatch(count)) : kNoTracker;
}

bool CGAClient::GetQueuedRequests(std::list<std::wstring>& requests)
{
    if (m_tracker == nullptr)
    {
        return false;
    }
    m_tracker->GetQueuedRequests(requests);
    return true;
}

// Lifecycle events also carry the pending custom facts, but leave them pending: only the four hit operations clear
// them.
bool CGAClient::TrackEventHit(const std::wstring& screenName, const EventFields& fields)
{
    std::wstring request;
    const bool built = Activities::Event::CEventActivity(screenName, m_clientId)
                           .BuildRequest(m_clientInfo, m_customFacts, fields, request);
    TrackIfBuilt(request);
    return built;
}

// The activities of this library always build one; their interfaces also allow a refusal.
void CGAClient::TrackIfBuilt(const std::wstring& request)
{
    if (!request.empty())
    {
        m_tracker->TrackRequest(request);
    }
}

void CGAClient::ClearCustomFacts()
{
    m_customFacts.dimensions.clear();
    m_customFacts.metrics.clear();
}

IGAClient& GetGAClient()
{
    static CGAClient s_client;
    return s_client;
}
} // namespace GAClient
