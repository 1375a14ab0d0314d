#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "winapi/base/SystemHandles.h"

namespace KVLogging
{
/// A log file while it is open: only as long as one line takes, and not shared, so that processes take turns. UTF-16LE
/// without byte-order mark. Closed by the destructor. On the stack of one thread.
class CLogFile
{
public:
    /// Opens the file (`CreateFileW` with that disposition) and moves to its end. While another process has it open,
    /// tries again every 30 ms, for 120 ms in all; any other failure ends the attempt at once. A link (reparse point)
    /// in place of the file counts as a file that cannot be opened (`GetFileInformationByHandleEx`).
    CLogFile(const std::wstring& fileName, DWORD disposition) noexcept;

    bool IsOpen() const noexcept { return m_file.IsValid(); }
    /// Why the file is not open, a system error code.
    DWORD GetOpenError() const noexcept { return m_openError; }
    /// Bytes: the end position, moved by what was written.
    std::uint64_t GetSize() const noexcept { return m_size; }
    /// A write that fails adds nothing to the size and is not reported.
    void Write(std::wstring_view text) noexcept;

private:
    KVWinApi::CUniqueSystemFile m_file;
    DWORD m_openError = ERROR_SUCCESS;
    std::uint64_t m_size = 0;
};
} // namespace KVLogging
