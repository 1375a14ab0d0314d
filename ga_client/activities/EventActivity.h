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

    /// Puts the request string of the event into out. Always true.
    virtual bool BuildRequest(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                              const GAClient::EventFields& fields, std::wstring& out) = 0;
};

namespace Event
{
/// Made for one hit; looks at texts that outlive it. The screen name tells where the event happened; an empty one is
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
