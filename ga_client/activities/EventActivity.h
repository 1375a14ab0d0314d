#pragma once

#include <string>

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
/// A value object for one hit. The screen name tells where the event happened; an empty one is left out of the hit.
class CEventActivity : public IEvent
{
public:
    CEventActivity(std::wstring screenName, std::wstring clientId);

    bool BuildRequest(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                      const GAClient::EventFields& fields, std::wstring& out) override;

private:
    std::wstring m_screenName;
    std::wstring m_clientId;
};
} // namespace Event
} // namespace Activities
