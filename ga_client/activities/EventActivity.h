#pragma once

#include <string>
#include <string_view>

#include "ga_client/ClientInfo.h"
#include "ga_client/CustomFacts.h"
#include "ga_client/EventFields.h"

namespace Activities
{
/// Something that the user or the program did. Declaration order is slot order and part of the interface.
class IEvent
{
public:
    virtual ~IEvent() = default;

    /// Puts the request string of the event into out. True if one was built, which this library always does.
    virtual bool BuildRequest(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                              const GAClient::EventFields& fields, std::wstring& out) = 0;
};

namespace Event
{
/// Created for one hit; refers to texts that outlive it. The event is attributed to the screen; an empty screen name is
/// left out of the hit.
class CEventActivity : public IEvent
{
public:
    CEventActivity(std::wstring_view screenName, std::wstring_view clientId);

    bool BuildRequest(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                      const GAClient::EventFields& fields, std::wstring& out) override;

private:
    std::wstring_view m_screenName;
    std::wstring_view m_clientId;
};
} // namespace Event
} // namespace Activities
