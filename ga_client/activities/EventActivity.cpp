#include "ga_client/activities/EventActivity.h"

#include "ga_client/activities/CollectPath.h"
#include "ga_client/protocols/MeasurementUrlParams.h"

namespace Activities::Event
{
CEventActivity::CEventActivity(std::wstring_view screenName, std::wstring_view clientId)
    : m_screenName(screenName), m_clientId(clientId)
{
}

bool CEventActivity::BuildRequest(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                                  const GAClient::EventFields& fields, std::wstring& out)
{
    BeginRequest(out);
    Protocols::MeasurementParams::CMeasurementUrlParams(m_screenName, m_clientId)
        .EventParams(clientInfo, facts, fields, out);
    return true;
}
} // namespace Activities::Event
