#pragma once

#include <windows.h>

namespace KVLogging
{
/// Keeps what happens during its life from changing the thread's last error: takes `GetLastError` when made and gives
/// it to `SetLastError` when destroyed. On the stack of one thread.
class CLastErrorRestore
{
public:
    CLastErrorRestore() noexcept : m_lastError(::GetLastError()) {}
    virtual ~CLastErrorRestore() { ::SetLastError(m_lastError); }
    CLastErrorRestore(const CLastErrorRestore&) = delete;
    CLastErrorRestore& operator=(const CLastErrorRestore&) = delete;

    /// What the destructor will restore.
    DWORD GetSaved() const noexcept { return m_lastError; }

private:
    DWORD m_lastError;
};
} // namespace KVLogging
