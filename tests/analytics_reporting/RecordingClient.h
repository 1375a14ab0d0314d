#pragma once

#include <functional>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "ga_client/GAClient.h"

namespace KVTest
{
/// Replaces the measurement client of the process: RecordingClient.cpp defines GAClient::GetGAClient instead of the
/// library. Records each call, with texts separated by "|".
class RecordingClient : public GAClient::IGAClient
{
public:
    bool Initialize(const std::wstring& propertyId, const std::wstring& applicationName,
                    const std::wstring& applicationVersion, bool useSsl, bool asynchronous) override;
    bool Uninitialize(bool flushOnExit, std::uint32_t flushBudgetMs) override;
    void SetDispatchHeld(bool held) override;
    void SetMaxQueuedRequests(std::int32_t count) override;
    bool Start(const std::wstring& screenName) override;
    bool Stop() override;
    bool SetRequestTimeout(std::int32_t timeoutMs) override;
    bool SetCustomDimension(std::uint32_t index, const std::wstring& value) override;
    bool SetCustomMetric(std::int32_t index, std::uint32_t value) override;
    bool TrackScreenView(const std::wstring& screenName) override;
    std::int32_t TrackEvent(const std::wstring& action, const std::wstring& category, const std::wstring& label,
                            std::int32_t value, bool nonInteraction) override;
    std::int32_t TrackEventOnScreen(const std::wstring& action, const std::wstring& category,
                                    const std::wstring& screenName, const std::wstring& label) override;
    bool TrackException(const std::wstring& description, bool fatal) override;
    std::uint32_t Dispatch(std::uint32_t count) override;
    bool GetQueuedRequests(std::list<std::wstring>& requests) override;

    std::vector<std::wstring> TakeCalls() { return std::exchange(m_calls, {}); }

    /// Returns the result of the call with that text; may throw or fault.
    std::function<bool(const std::wstring& call)> answer = [](const std::wstring&) { return true; };
    std::list<std::wstring> queued;

private:
    bool Record(const std::wstring& call);

    std::vector<std::wstring> m_calls;
};

RecordingClient& GetRecordingClient();
} // namespace KVTest
