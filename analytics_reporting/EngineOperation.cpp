#include "analytics_reporting/EngineOperation.h"

#include <cstdint>

#include "analytics_reporting/DimensionValues.h"
#include "ga_client/GAClient.h"
#include "logging/LogFlags.h"
#include "utils/base/Decimal.h"

namespace KVAnalyticsReporting
{
CEngineOperation::CEngineOperation(KVLogging::CLogFunction& traceScope, const wchar_t* name, const bool& optedIn,
                                   const bool& started) noexcept
    : m_traceScope(traceScope), m_name(name), m_optedIn(optedIn), m_started(started)
{
}

bool CEngineOperation::Check(bool condition, const wchar_t* refusal, int lineNumber) const noexcept
{
    if (!condition)
    {
        m_traceScope.LogString(KVLogging::kLogDebug, lineNumber, refusal);
    }
    return condition;
}

void CEngineOperation::Set(const Dimension& dimension, const std::wstring& value, int lineNumber) const
{
    if (!GAClient::GetGAClient().SetCustomDimension(dimension.number, value))
    {
        m_traceScope.LogFormattedString(KVLogging::kLogWarning, lineNumber, L"Unable to set the %s custom dimension",
                                        dimension.name);
    }
}

void CEngineOperation::Set(const Dimension& dimension, const PrinterProperties& record, int lineNumber) const
{
    Set(dimension, GetPropertyOrUnknown(record, dimension), lineNumber);
}

void CEngineOperation::Send(const std::wstring& category, const std::wstring& action, const std::wstring& label,
                            int lineNumber) const
{
    Send(category, action, label, label.c_str(), lineNumber);
}

void CEngineOperation::Send(const std::wstring& category, const std::wstring& action, const std::wstring& label,
                            const wchar_t* loggedLabel, int lineNumber) const
{
    constexpr std::int32_t kNoValue = -1;
    if (GAClient::GetGAClient().TrackEvent(action, category, label, kNoValue, false) == 0)
    {
        m_traceScope.LogFormattedString(KVLogging::kLogWarning, lineNumber, L"Failed to trigger the %s/%s/%s event",
                                        category.c_str(), action.c_str(), loggedLabel);
    }
}

void CEngineOperation::SendPrinters(const std::list<PrinterProperties>& records,
                                    std::initializer_list<Dimension> dimensions, const std::wstring& label,
                                    int lineNumber) const
{
    Set(Dimensions::kCount, KVUtils::ToDecimal(static_cast<std::int64_t>(records.size())), lineNumber);
    Send(L"Printers", L"Count", label, lineNumber);
    for (const PrinterProperties& record : records)
    {
        for (const Dimension& dimension : dimensions)
        {
            Set(dimension, record, lineNumber);
        }
        Send(L"Printers", L"Enumerate", label, lineNumber);
    }
}

void CEngineOperation::LogException(int lineNumber) const noexcept
{
    m_traceScope.LogFormattedString(KVLogging::kLogWarning, lineNumber,
                                    L"CAnalyticsEngine::%s - Caught a previously unhandled exception in "
                                    L"CAnalyticsEngine. Doing nothing, except for hopefully not crashing.",
                                    m_name);
}
} // namespace KVAnalyticsReporting
