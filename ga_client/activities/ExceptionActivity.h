#pragma once

#include <string>
#include <string_view>

#include "ga_client/ClientInfo.h"
#include "ga_client/CustomFacts.h"

namespace Activities
{
/// A failure of the program. Declaration order is slot order and part of the interface.
class IException
{
public:
    virtual ~IException() = default;

    /// Puts the request string of the exception into out. True if one was built, which this library always does.
    virtual bool BuildRequest(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                              const std::wstring& description, bool fatal, std::wstring& out) = 0;
};

namespace Exception
{
/// Created for one hit; refers to texts that outlive it. An exception has no screen.
class CExceptionActivity : public IException
{
public:
    explicit CExceptionActivity(std::wstring_view clientId);

    bool BuildRequest(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                      const std::wstring& description, bool fatal, std::wstring& out) override;

private:
    std::wstring_view m_clientId;
};
} // namespace Exception
} // namespace Activities
