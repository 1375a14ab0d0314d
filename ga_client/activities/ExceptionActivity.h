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

    /// Puts the request string of the exception into out. Always true.
    virtual bool BuildRequest(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                              const std::wstring& description, bool fatal, std::wstring& out) = 0;
};

namespace Exception
{
/// Made for one hit; looks at texts that outlive it. An exception belongs to no screen.
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
