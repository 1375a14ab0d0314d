#pragma once

#include <windows.h>

#include "logging/file/LogFileRecord.h"

namespace KVLogging
{
/// The turn of a thread at a log file, among the threads of this process. Taken when it is made, given up when it is
/// destroyed. On the stack of one thread, outside CStructuredExceptionScope::Run, so that a fault cannot leave it held.
class CFileTurn
{
public:
    /// file: null for none, which has no turn.
    explicit CFileTurn(LogFileRecord* file) noexcept : m_file(file) { Take(); }
    ~CFileTurn() { GiveUp(); }
    CFileTurn(const CFileTurn&) = delete;
    CFileTurn& operator=(const CFileTurn&) = delete;

    /// False when another thread has kept the file for too long.
    bool IsHeld() const noexcept { return m_isHeld; }

    /// Takes the turn if it is not held. Waits for at most 50 ms, and not at all once that was in vain.
    void Take() noexcept
    {
        if (m_file != nullptr && !m_isHeld)
        {
            m_isHeld = m_file->turn.TryEnter(m_waitMs);
            m_waitMs = m_isHeld ? kWaitMs : 0;
        }
    }
    /// Before code that is not the log's own runs, which may take its time or log itself.
    void GiveUp() noexcept
    {
        if (m_isHeld)
        {
            m_isHeld = false;
            m_file->turn.Leave();
        }
    }

private:
    static constexpr DWORD kWaitMs = 50; // as for the settings: logging never stalls the traced program

    LogFileRecord* m_file;
    DWORD m_waitMs = kWaitMs;
    bool m_isHeld = false;
};
} // namespace KVLogging
