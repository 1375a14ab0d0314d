#pragma once

#include <string>
#include <string_view>

#include "ga_client/ClientInfo.h"
#include "ga_client/CustomFacts.h"
#include "ga_client/EventFields.h"

namespace Protocols::MeasurementParams
{
/// The parameter texts of the four kinds of hit. Each operation appends to out. Always true: nothing is refused.
///
/// Values are not changed: no escaping of "&", "=" or "#", no limit of length. Deliberate: callers pass plain
/// identifiers. A parameter with an empty value is left out with its key.
///
/// Declaration order is slot order and part of the interface.
class IMeasurementParams
{
public:
    virtual ~IMeasurementParams() = default;

    /// A screen view, with the custom facts and a queue-time mark.
    virtual bool AppViewParams(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                               std::wstring& out) = 0;
    /// A screen view that starts or ends the session, without custom facts and mark.
    virtual bool SessionAppViewParams(const GAClient::ClientInfo& clientInfo, bool sessionStart, std::wstring& out) = 0;
    /// An event, with the custom facts. The lifecycle actions "Start" and "Stop" (exactly these) get no mark, and
    /// "Stop" ends the session.
    virtual bool EventParams(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                             const GAClient::EventFields& fields, std::wstring& out) = 0;
    /// An exception, with the custom facts and a queue-time mark. It carries no screen name.
    virtual bool ExceptionParams(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                                 const std::wstring& description, bool fatal, std::wstring& out) = 0;
};

/// The parameters as the query of a URL. Created for one hit on one thread; refers to texts that outlive it. Every
/// operation uses one cache buster.
class CMeasurementUrlParams : public IMeasurementParams
{
public:
    CMeasurementUrlParams(std::wstring_view screenName, std::wstring_view clientId);

    bool AppViewParams(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                       std::wstring& out) override;
    bool SessionAppViewParams(const GAClient::ClientInfo& clientInfo, bool sessionStart, std::wstring& out) override;
    bool EventParams(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                     const GAClient::EventFields& fields, std::wstring& out) override;
    bool ExceptionParams(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                         const std::wstring& description, bool fatal, std::wstring& out) override;

private:
    void AppendCommonPrefix(const GAClient::ClientInfo& clientInfo, std::wstring& out) const;

    std::wstring_view m_screenName;
    std::wstring_view m_clientId;
};
} // namespace Protocols::MeasurementParams
