#pragma once

#include <windows.h>

#include <memory>
#include <string>

#include "logging/LogModuleSettings.h"
#include "logging/settings/SettingsBlock.h"
#include "logging/shared/SharedBlock.h"

namespace KVLogging
{
/// A module's access to the log settings of the process and its own settings among them. Used under the module's
/// critical section.
struct CSettingsAccess
{
    CSharedBlock<SettingsBlock> Block;      ///< the settings of the process
    bool IsHeld = false;                    ///< the settings mutex, by this module
    std::unique_ptr<LogModuleSettings> Own; ///< of the module; null outside its lifetime
    bool WasRefreshed = false;              ///< a flag rather than a tick count of 0: that is a time too
    DWORD LastRefresh = 0;                  ///< when the registry was read last, a tick count
};

/// True when more than the interval lies between two tick counts, also across the wrap of the count after 49.7 days.
constexpr bool IsIntervalOver(DWORD start, DWORD now, DWORD intervalMs) noexcept
{
    return now - start > intervalMs;
}

/// Holds the settings mutex for a block of code, unless the module holds it already: then that holder releases it.
class CSettingsLock
{
public:
    /// Attaches to the settings first when that has failed before.
    CSettingsLock(CSettingsAccess& access, const std::wstring& executableName)
        : m_access(access),
          m_mutex(access.IsHeld || !access.Block.Attach(executableName) ? nullptr : access.Block.GetMutex(),
                  kSharedBlockWaitMs),
          m_wasHeld(access.IsHeld)
    {
        m_access.IsHeld = m_wasHeld || m_mutex.IsHeld();
    }
    ~CSettingsLock() { m_access.IsHeld = m_wasHeld; }
    CSettingsLock(const CSettingsLock&) = delete;
    CSettingsLock& operator=(const CSettingsLock&) = delete;

    /// The settings; null when the mutex was not to be had.
    SettingsBlock* GetBlock() const noexcept { return m_access.IsHeld ? m_access.Block.Get() : nullptr; }

private:
    CSettingsAccess& m_access;
    CMutexLock m_mutex;
    bool m_wasHeld;
};
} // namespace KVLogging
