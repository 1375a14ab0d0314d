#include "ga_client/activities/AppViewActivity.h"

#include "ga_client/activities/CollectPath.h"
#include "ga_client/protocols/MeasurementUrlParams.h"

namespace Activities::AppView
{
CAppViewActivity::CAppViewActivity(std::wstring screenName, std::wstring clientId)
    : m_screenName(std::move(screenName)), m_clientId(std::move(clientId))
{
}

bool CAppViewActivity::BuildRequest(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                                    std::wstring& out)
{
    std::wstring parameters;
    Protocols::MeasurementParams::CMeasurementUrlParams(m_screenName, m_clientId)
        .AppViewParams(clientInfo, facts, parameters);
    out = kCollectPath + parameters;
    return true;
}

bool CAppViewActivity::BuildSessionRequest(const GAClient::ClientInfo& clientInfo, bool sessionStart, std::wstring& out)
{
    std::wstring parameters;
    Protocols::MeasurementParams::CMeasurementUrlParams(m_screenName, m_clientId)
        .SessionAppViewParams(clientInfo, sessionStart, parameters);
    out = kCollectPath + parameters;
    return true;
}
} // namespace Activities::AppView
