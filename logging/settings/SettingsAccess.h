#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>

#include "logging/LogModuleSettings.h"
#include "logging/settings/SettingsBlock.h"
#include "logging/shared/ExtMonitor.h"
#include "logging/shared/SharedBlock.h"

namespace KVLogging
{
class CLogSourceFile;

/// True when more than the interval lies between two tick counts, even across the wrap of the count after 49.7 days.
constexpr bool IsIntervalOver(DWORD start, DWORD now, DWORD intervalMs) noexcept
{
    return now - start > intervalMs;
}

/// A module's access to the log settings of the process, and its own settings among them. Used in the module's critical
/// section.
class CSettingsAccess
{
public:
    /// Called before the module's settings are read anew, with the settings mutex held.
    using ResetFunction = std::function<void()>;

    /// Both names outlive the object. executableName: with extension.
    CSettingsAccess(const std::wstring& moduleName, const std::wstring& executableName) noexcept;

    /// Joins the modules of this process. False if that fails.
    bool Attach() { return m_block.Attach(m_executableName); }
    /// Frees the module's settings, then leaves the others.
    void Detach() noexcept;

    /// True if LookUp would find settings that do not enable the line, so that a program whose log is off pays for no
    /// mutex: the module's own do not, no source file of the process has its own, and the registry is not due to be
    /// read. False says nothing. flags: the line's category bits. mayRefresh: as for LookUp.
    bool IsKnownDisabled(std::uint32_t flags, bool mayRefresh) const noexcept;

    /// The settings of a line: the source file's if it has its own (null for none), or else the module's. Nothing if
    /// the settings mutex is not obtained within 50 ms. mayRefresh: reads the registry first if that is due;
    /// monitorValues then become what it says of the monitor, and are empty otherwise.
    ///
    /// A copy, since a different module may read the registry as soon as the mutex is released. The file record stays.
    std::optional<LogModuleSettings> LookUp(const CLogSourceFile* sourceFile, bool mayRefresh,
                                            const ResetFunction& reset, MonitorValues& monitorValues);

    /// Sets the module's own settings to zero.
    void Reset() noexcept { m_own = LogModuleSettings(); }

private:
    bool IsRefreshDue(DWORD now) const noexcept;
    void Refresh(const ResetFunction& reset, MonitorValues& monitorValues);

    const std::wstring& m_moduleName;
    const std::wstring& m_executableName;
    DWORD m_pollIntervalMs = 30000;
    CSharedBlock<SettingsBlock> m_block;
    LogModuleSettings m_own;
    bool m_wasRefreshed = false; // a flag rather than a tick count of 0, which is a time too
    DWORD m_lastRefresh = 0;     // when the registry was read last, a tick count
};
} // namespace KVLogging
