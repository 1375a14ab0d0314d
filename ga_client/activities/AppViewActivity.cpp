#include "ga_client/activities/AppViewActivity.h"

#include "ga_client/activities/CollectPath.h"
#include "ga_client/protocols/MeasurementUrlParams.h"

namespace Activities::AppView
{
CAppViewActivity::CAppViewActivity(std::wstring_view screenName, std::wstring_view clientId)
    : m_screenName(screenName), m_clientId(clientId)
{
}

bool CAppViewActivity::BuildRequest(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                                    std::wstring& out)
{
    BeginRequest(out);
    Protocols::MeasurementParams::CMeasurementUrlParams(m_screenName, m_clientId).AppViewParams(clientInfo, facts, out);
    return true;
}

bool CAppViewActivity::BuildSessionRequest(const GAClient::ClientInfo& clientInfo, bool sessionStart, std::wstring& out)
{
    BeginRequest(out);
    Protocols::MeasurementParams::CMeasurementUrlParams(m_screenName, m_clientId)
        .SessionAppViewParams(clientInfo, sessionStart, out);
    return true;
}
} // namespace Activities::AppView
