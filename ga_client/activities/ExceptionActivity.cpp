#include "ga_client/activities/ExceptionActivity.h"

#include "ga_client/activities/CollectPath.h"
#include "ga_client/protocols/MeasurementUrlParams.h"

namespace Activities::Exception
{
CExceptionActivity::CExceptionActivity(std::wstring clientId) : m_clientId(std::move(clientId))
{
}

bool CExceptionActivity::BuildRequest(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                                      const std::wstring& description, bool fatal, std::wstring& out)
{
    std::wstring parameters;
    Protocols::MeasurementParams::CMeasurementUrlParams(std::wstring(), m_clientId)
        .ExceptionParams(clientInfo, facts, description, fatal, parameters);
    out = kCollectPath + parameters;
    return true;
}
} // namespace Activities::Exception
