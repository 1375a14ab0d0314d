#pragma once

#include <string>
#include <string_view>

#include "ga_client/ClientInfo.h"
#include "ga_client/CustomFacts.h"

namespace Activities
{
/// A screen that the user opened. Declaration order is slot order and part of the interface.
class IAppViewActivity
{
public:
    virtual ~IAppViewActivity() = default;

    /// Puts the request string of a plain screen view into out. True if one was built, which this library always does.
    virtual bool BuildRequest(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                              std::wstring& out) = 0;
    /// The same for a screen view that starts or ends the session.
    virtual bool BuildSessionRequest(const GAClient::ClientInfo& clientInfo, bool sessionStart, std::wstring& out) = 0;
};

namespace AppView
{
/// Created for one hit; refers to texts that outlive it. An empty screen name is left out of the hit.
class CAppViewActivity : public IAppViewActivity
{
public:
    CAppViewActivity(std::wstring_view screenName, std::wstring_view clientId);

    bool BuildRequest(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                      std::wstring& out) override;
    bool BuildSessionRequest(const GAClient::ClientInfo& clientInfo, bool sessionStart, std::wstring& out) override;

private:
    std::wstring_view m_screenName;
    std::wstring_view m_clientId;
};
} // namespace AppView
} // namespace Activities
