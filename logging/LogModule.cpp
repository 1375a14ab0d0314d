#include "logging/LogModule.h"

#include <algorithm>

#include "logging/LastErrorRestore.h"
#include "logging/line/ErrorText.h"
#include "logging/line/TextFormat.h"
#include "logging/LogModuleSettings.h"
#include "logging/ModuleCall.h"
#include "logging/ModuleState.h"
#include "logging/system/ModulePath.h"
#include "logging/system/PerformanceClock.h"
#include "logging/TraceScope.h"
#include "utils/base/StructuredExceptionScope.h"

namespace KVLogging
{
namespace
{
// The date on which the logging code was built, fixed so that two builds of one source are the same.
constexpr char kBuildDate[] = "Aug 22 2014";

std::wstring Widen(const char* text)
{
    const int room = ::MultiByteToWideChar(CP_UTF8, 0, text, -1, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(std::max(room, 1)), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, text, -1, wide.data(), room);
    wide.pop_back(); // the terminating zero
    return wide;
}

bool IsGiven(const char* text) noexcept
{
    return text != nullptr && *text != '\0';
}

std::unique_ptr<ModuleState> MakeState(const char* moduleName, const char* buildTime)
{
    auto state = std::make_unique<ModuleState>();
    state->name =
        IsGiven(moduleName) ? Widen(moduleName) : StripExtension(GetFilePart(GetModulePath(GetLoggingModule())));
    state->executableName = GetFilePart(GetModulePath(nullptr));
    state->buildStamp = Widen(kBuildDate) + L" " + Widen(buildTime != nullptr ? buildTime : "");
    state->processTag = FormatText(L"[%ld] ", static_cast<long>(::GetCurrentProcessId()));
    state->previousLine = GetPerformanceTicks();
    state->settings.Attach();
    state->monitor.Attach(state->executableName);
    return state;
}
} // namespace

CLogModule::CLogModule(const char* moduleName, const char* buildTime) noexcept
{
    const CLastErrorRestore lastError;
    try
    {
        m_state = MakeState(moduleName, buildTime);
        m_isEnabled = true;
    }
    catch (...) // NOLINT(bugprone-empty-catch): memory is short; the module stays silent
    {
    }
}

CLogModule::~CLogModule()
{
    const CLastErrorRestore lastError;
    // Cleared first, so that no further thread waits for the critical section. The flag stays readable for the static
    // destructors of other libraries.
    m_isEnabled = false;
    {
        const CCriticalSectionLock lock(m_criticalSection);
        if (m_state != nullptr)
        {
            m_state->settings.Detach();
            m_state->monitor.Detach();
            m_state.reset();
        }
    }
    WaitForCalls();
}

// Threads that waited for the critical section leave it one after the other. It is deleted behind them.
void CLogModule::WaitForCalls() noexcept
{
    constexpr int kLongestWaitMs = 1000; // for threads that are runnable
    for (int i = 0; m_callCount != 0 && i < kLongestWaitMs; ++i)
    {
        ::Sleep(1);
    }
    if (m_callCount != 0)
    {
        m_criticalSection.Abandon(); // a suspended thread may come back to it
    }
}

void CLogModule::ResetSettings() noexcept
{
    if (m_state != nullptr)
    {
        m_state->settings.Reset();
    }
}

// The settings of the line if they enable it, nothing otherwise.
std::optional<LogModuleSettings> CLogModule::FindSettings(const TraceScope* scope, std::uint32_t flags) noexcept
{
    try
    {
        MonitorValues monitorValues;
        const std::optional<LogModuleSettings> settings = m_state->settings.LookUp(
            scope != nullptr ? &scope->sourceFile : nullptr, MayRefresh(), [this] { ResetSettings(); }, monitorValues);
        // After the settings are released: other modules need not wait for the monitor.
        m_state->monitor.Update(monitorValues, m_state->executableName);
        if (settings && (settings->Categories & flags) != 0)
        {
            return settings;
        }
    }
    catch (...) // NOLINT(bugprone-empty-catch): memory is short, or the scope is damaged; the line is not logged
    {
    }
    return std::nullopt;
}

void CLogModule::ForgetEntry(TraceScope& scope) noexcept
{
    const CLastErrorRestore lastError;
    const CCall call(*this);
    if (call.IsAllowed()) // otherwise the file's record may be gone
    {
        scope.indentedFile->indentation.Forget(scope.openBefore);
    }
}

void CLogModule::AttachLineSink(ILineSink* sink) noexcept
{
    const CLastErrorRestore lastError;
    const CCall call(*this);
    if (!call.IsAllowed())
    {
        return;
    }
    if (sink != nullptr && !IsKnownDisabled(0))
    {
        FindSettings(nullptr, 0); // reads the registry if that is due: with a sink attached it is not read
    }
    m_state->lineSink = sink;
}

void CLogModule::SetErrorTextFormatter(ErrorTextFormatter formatter) noexcept
{
    const CCall call(*this);
    if (call.IsAllowed())
    {
        m_state->errorTextFormatter = formatter;
    }
}

std::wstring CLogModule::FormatErrorText(std::uint32_t errorCode) noexcept
{
    std::wstring text;
    const CLastErrorRestore lastError;
    const CCall call(*this);
    if (!call.IsAllowed())
    {
        return text;
    }
    try
    {
        const KVUtils::CStructuredExceptionScope translator;
        translator.Run([&] { text = ComposeErrorText(errorCode, m_state->errorTextFormatter, m_state->scratch); });
    }
    catch (...) // NOLINT(bugprone-empty-catch): no text then
    {
    }
    return text;
}

const std::wstring& CLogModule::GetName() const noexcept
{
    static const std::wstring s_noName;
    if (m_state == nullptr)
    {
        return s_noName;
    }
    return m_state->name;
}
} // namespace KVLogging
