#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include "ga_client/ClientInfo.h"
#include "ga_client/CustomFacts.h"
#include "ga_client/EventFields.h"

namespace GAClient
{
class CRequestTracker;

/// The measurement client: turns calls into hits and delivers them to the collection host, in this process or a later
/// one.
///
/// Called from one thread. Before a successful Initialize, and again after Uninitialize, every other operation does
/// nothing and returns false, 0, or the result stated there. A refused argument changes nothing.
///
/// An operation waits for at most one HTTP exchange of the worker or, while the worker loads or saves the queue file,
/// up to 30 seconds for another process to release the file's mutex. A synchronous client exchanges, loads and saves on
/// the caller's thread. Uninitialize and the end of the process wait as long as the tracker's Stop: at most 70 seconds
/// without a flush and a request timeout. Then the worker is left behind; at the end of the process its hits are lost.
///
/// The only exception is std::bad_alloc.
///
/// Declaration order is slot order and part of the interface.
class IGAClient
{
public:
    /// Prepares the client. The three texts must not be empty. If asynchronous is true, hits are sent on a thread of
    /// their own, otherwise on the caller's. Dispatch is initially held. False if the client is already initialised, a
    /// text is empty, or the client id can be neither read nor written.
    ///
    /// Deliberate: if the tracker cannot be started, the result is still true and the client ignores every later call:
    /// a program must not fail because its usage cannot be measured.
    virtual bool Initialize(const std::wstring& propertyId, const std::wstring& applicationName,
                            const std::wstring& applicationVersion, bool useSsl, bool asynchronous) = 0;
    /// Stops and destroys the tracker, which first flushes the queue for at most flushBudgetMs if flushOnExit is true.
    /// Unsent hits are saved to the queue file. They are lost if the file has 1 MiB, cannot be written, or another
    /// process holds its mutex for 30 seconds. Returns the result of the tracker's Stop.
    virtual bool Uninitialize(bool flushOnExit, std::uint32_t flushBudgetMs) = 0;
    /// While dispatch is held, hits are only queued.
    virtual void SetDispatchHeld(bool held) = 0;
    /// The largest number of queued hits, initially 500. A count below 1 is ignored.
    virtual void SetMaxQueuedRequests(std::int32_t count) = 0;
    /// Starts the session on a screen: a screen view that starts the session, and the event of the application's start.
    /// Custom dimensions and metrics stay pending.
    virtual bool Start(const std::wstring& screenName) = 0;
    /// Ends the session with the event of the application's end, on the screen of Start. The tracker keeps running.
    virtual bool Stop() = 0;
    /// Milliseconds for each step of an exchange, 1 to 120000; any other value is refused.
    virtual bool SetRequestTimeout(std::int32_t timeoutMs) = 0;
    /// Sets a text for the next screen view, event or exception only.
    virtual bool SetCustomDimension(std::uint32_t index, const std::wstring& value) = 0;
    /// Sets a number for the next screen view, event or exception only.
    virtual bool SetCustomMetric(std::int32_t index, std::uint32_t value) = 0;
    /// A screen view. The name must not be empty; later events are attributed to that screen.
    virtual bool TrackScreenView(const std::wstring& screenName) = 0;
    /// An event on the screen viewed last: 1, or 0 if it is refused. Action and category must not be empty. The value
    /// is -1 (none) or greater.
    virtual std::int32_t TrackEvent(const std::wstring& action, const std::wstring& category, const std::wstring& label,
                                    std::int32_t value, bool nonInteraction) = 0;
    /// An event on a screen of its own, without a value: 1, or 0 if it is refused. Only the label may be empty.
    virtual std::int32_t TrackEventOnScreen(const std::wstring& action, const std::wstring& category,
                                            const std::wstring& screenName, const std::wstring& label) = 0;
    /// An exception. The description must not be empty.
    virtual bool TrackException(const std::wstring& description, bool fatal) = 0;
    /// Sends up to count queued hits, on this thread. 0xFFFFFFFF if a send failed or the client is not initialised, 0
    /// if the queue is empty or dispatch is held, otherwise the number of hits still queued.
    virtual std::uint32_t Dispatch(std::uint32_t count) = 0;
    /// Replaces requests by a copy of the queued hits, oldest first. If the client is not initialised, the result is
    /// false and requests is unchanged.
    virtual bool GetQueuedRequests(std::list<std::wstring>& requests) = 0;

    virtual ~IGAClient() = default;
};

/// The client. Programs use the object of GetGAClient.
class CGAClient : public IGAClient
{
public:
    CGAClient();
    /// Saves the queued hits to the queue file as Uninitialize does, without a flush.
    ~CGAClient() override;
    CGAClient(const CGAClient&) = delete;
    CGAClient& operator=(const CGAClient&) = delete;

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

private:
    bool TrackEventHit(const std::wstring& screenName, const EventFields& fields);
    void TrackIfBuilt(const std::wstring& request);
    void ClearCustomFacts();

    std::wstring m_sessionScreenName;
    std::wstring m_clientId;
    ClientInfo m_clientInfo;
    std::wstring m_lastScreenName;
    CustomFacts m_customFacts;
    std::unique_ptr<CRequestTracker> m_tracker; // null when not initialised
};

/// The client of this process, created by the first call and destroyed at process exit, which saves its queue.
IGAClient& GetGAClient();
} // namespace GAClient
