#include "ga_client/activities/EventActivity.h"

#include "ga_client/activities/CollectPath.h"
#include "ga_client/protocols/MeasurementUrlParams.h"

namespace Activities::Event
{
CEventActivity::CEventActivity(std::wstring screenName, std::wstring clientId)
    : m_screenName(std::move(screenName)), m_clientId(std::move(clientId))
{
}

bool CEventActivity::BuildRequest(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                                  const GAClient::EventFields& fields, std::wstring& out)
{
    std::wstring parameters;
    Protocols::MeasurementParams::CMeasurementUrlParams(m_screenName, m_clientId)
        .EventParams(clientInfo, facts, fields, parameters);
    out = kCollectPath + parameters;
    return true;
}
} // namespace Activities::Event
