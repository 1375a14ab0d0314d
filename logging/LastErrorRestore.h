#pragma once

#include <windows.h>

namespace KVLogging
{
/// Preserves the thread's last error: reads it when made (`GetLastError`) and sets it again when destroyed
/// (`SetLastError`). On the stack of one thread.
class CLastErrorRestore
{
public:
    CLastErrorRestore() noexcept : m_lastError(::GetLastError()) {}
    virtual ~CLastErrorRestore() { ::SetLastError(m_lastError); }
    CLastErrorRestore(const CLastErrorRestore&) = delete;
    CLastErrorRestore& operator=(const CLastErrorRestore&) = delete;

    /// The last error that the destructor will set.
    DWORD GetSaved() const noexcept { return m_lastError; }

private:
    DWORD m_lastError;
};
} // namespace KVLogging
