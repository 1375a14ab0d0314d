#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "logging/file/Indentation.h"
#include "logging/system/SystemHandle.h"

namespace KVLogging
{
/// One log file of this process, shared by all its modules that name the file. Lives in the settings block, never moves
/// and is never removed while a module is attached to the block.
struct LogFileRecord
{
    /// fileName: as configured, with environment variables expanded and in lower case.
    explicit LogFileRecord(std::wstring fileName)
        : ConfiguredName(fileName), FileName(std::move(fileName)), Lock(::CreateMutexW(nullptr, FALSE, nullptr))
    {
    }

    /// By which the settings find the record again, also after FileName has become the full path: otherwise the next
    /// re-read would make a second record, and with it a second header or truncation.
    const std::wstring ConfiguredName;

    /// Set when the file is to be opened, and its header written, before the next line of a function scope: at first,
    /// and when a full file is to be followed by a fresh one.
    std::atomic<bool> IsOpenPending = true;

    // The lock, a mutex, guards what is below: modules on different threads write the same file.
    std::wstring FileName;      ///< as configured, then the full path of the opened file
    std::uint32_t FileSize = 0; ///< bytes, after this process's last line
    CIndentation Indentation;   ///< two blanks for each open function scope
    UniqueSystemHandle Lock;    ///< the mutex; null when it could not be made
};
} // namespace KVLogging
