#include "logging/LogModule.h"

#include <optional>

#include "logging/LastErrorRestore.h"
#include "logging/LineLogger.h"
#include "logging/LogModuleSettings.h"
#include "logging/ModuleCall.h"
#include "logging/ModuleState.h"

// What each scope and each line goes through, most often only to find out that it is not wanted: apart from the rest of
// the class, because it is optimised for speed.
namespace KVLogging
{
void CLogModule::LogString(TraceScope* scope, std::uint32_t flags, const wchar_t* text, bool endOfLine) noexcept
{
    Log(scope, flags,
        [&](CLineLogger& logger) { logger.InternalLogSimpleString(text != nullptr ? text : L"", endOfLine); });
}

void CLogModule::LogFormattedString(TraceScope* scope, std::uint32_t flags, const wchar_t* format,
                                    va_list arguments) noexcept
{
    Log(scope, flags, [&](CLineLogger& logger) { logger.InternalLogFormattedString(format, arguments); });
}

void CLogModule::LogShortName(TraceScope& scope, std::uint32_t flags, bool endOfLine) noexcept
{
    Log(&scope, flags, [&](CLineLogger& logger) { logger.InternalLogSimpleString(nullptr, endOfLine); });
}

// While a sink is attached, the settings are not read.
bool CLogModule::MayRefresh() const noexcept
{
    return m_state->lineSink == nullptr;
}

bool CLogModule::IsKnownDisabled(std::uint32_t flags) const noexcept
{
    return m_state->settings.IsKnownDisabled(flags, MayRefresh());
}

// The way of one line: is the module enabled, do its settings enable the line; then the line is logged.
template <typename Body> void CLogModule::Log(TraceScope* scope, std::uint32_t flags, const Body& body) noexcept
{
    const CLastErrorRestore lastError;
    const CCall call(*this);
    if (!call.IsAllowed() || IsKnownDisabled(flags))
    {
        return;
    }
    if (const std::optional<LogModuleSettings> settings = FindSettings(scope, flags))
    {
        CLineLogger logger(*m_state, *settings, scope, flags, lastError.GetSaved());
        body(logger);
    }
}
} // namespace KVLogging
