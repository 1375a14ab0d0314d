#include "ga_client/activities/ExceptionActivity.h"

#include "ga_client/activities/CollectPath.h"
#include "ga_client/protocols/MeasurementUrlParams.h"

namespace Activities::Exception
{
CExceptionActivity::CExceptionActivity(std::wstring_view clientId) : m_clientId(clientId)
{
}

bool CExceptionActivity::BuildRequest(const GAClient::ClientInfo& clientInfo, const GAClient::CustomFacts& facts,
                                      const std::wstring& description, bool fatal, std::wstring& out)
{
    BeginRequest(out);
    Protocols::MeasurementParams::CMeasurementUrlParams(std::wstring_view(), m_clientId)
        .ExceptionParams(clientInfo, facts, description, fatal, out);
    return true;
}
} // namespace Activities::Exception
