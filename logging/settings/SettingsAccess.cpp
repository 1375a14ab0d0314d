#include "logging/settings/SettingsAccess.h"

#include "logging/LogSourceFile.h"
#include "logging/settings/SettingsReader.h"
#include "utils/base/StructuredExceptionScope.h"
#include "winapi/base/SystemHandles.h"

namespace KVLogging
{
CSettingsAccess::CSettingsAccess(const std::wstring& moduleName, const std::wstring& executableName) noexcept
    : m_moduleName(moduleName), m_executableName(executableName)
{
}

void CSettingsAccess::Detach() noexcept
{
    Reset();
    m_block.Detach();
}

bool CSettingsAccess::IsKnownDisabled(std::uint32_t flags, bool mayRefresh) const noexcept
{
    return m_block.IsAttached() && (m_own.Categories & flags) == 0 && !m_block.Get()->hasSourceFiles &&
           !(mayRefresh && IsRefreshDue(::GetTickCount()));
}

// The source file is the caller's, and so may the reset be. Guarded inside the mutex, since the traced program may run
// all this in a guard of its own, and a fault would leave the mutex held.
std::optional<LogModuleSettings> CSettingsAccess::LookUp(const CLogSourceFile* sourceFile, bool mayRefresh,
                                                         const ResetFunction& reset, MonitorValues& monitorValues)
{
    if (!Attach()) // if that has failed before
    {
        return std::nullopt;
    }
    const KVWinApi::CUniqueMutexHold hold = KVWinApi::HoldMutex(m_block.GetMutex(), kSharedBlockWaitMs);
    if (!hold.IsValid())
    {
        return std::nullopt;
    }
    LogModuleSettings settings;
    const KVUtils::CStructuredExceptionScope translator;
    translator.Run([&] {
        if (mayRefresh && IsRefreshDue(::GetTickCount()))
        {
            Refresh(reset, monitorValues);
        }
        settings = m_own;
        if (sourceFile != nullptr)
        {
            const auto found = m_block.Get()->sourceFiles.find(sourceFile->GetName());
            settings = found != m_block.Get()->sourceFiles.end() ? found->second : settings;
        }
    });
    return settings;
}

bool CSettingsAccess::IsRefreshDue(DWORD now) const noexcept
{
    const bool isOpenPending = m_own.fileRecord != nullptr && m_own.fileRecord->isOpenPending;
    return !m_wasRefreshed || isOpenPending || IsIntervalOver(m_lastRefresh, now, m_pollIntervalMs);
}

void CSettingsAccess::Refresh(const ResetFunction& reset, MonitorValues& monitorValues)
{
    m_wasRefreshed = true;
    m_lastRefresh = ::GetTickCount();
    reset(); // settings that were removed from the registry fall back to the defaults
    ReadLogSettings(m_moduleName, *m_block.Get(), m_own, m_pollIntervalMs, monitorValues);
    m_lastRefresh = ::GetTickCount();
}
} // namespace KVLogging
