#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "logging/file/Indentation.h"
#include "logging/system/TimedLock.h"

namespace KVLogging
{
/// One log file of this process, shared by all its modules that name the file. Lives in the settings block, never moves
/// and is never removed while a module is attached to the block. Any thread, except for fileName.
struct LogFileRecord
{
    /// name: not empty; as configured, with environment variables expanded and in lower case.
    explicit LogFileRecord(std::wstring name) : configuredName(name), fileName(std::move(name)) {}

    /// The key by which settings find this record, even after fileName has become the full path. Otherwise the next
    /// reading of the registry would make a second record, and with it a second header or truncation.
    const std::wstring configuredName;

    /// Set while the file is to be opened, and its header written, before the next line of a function scope: initially,
    /// and when a full file is to be followed by a fresh one.
    std::atomic<bool> isOpenPending = true;

    std::wstring fileName; ///< as configured, then the full path of the opened file. Used in the turn only.
    std::atomic<std::uint32_t> fileSize = 0; ///< bytes, after this process's last line
    CIndentation indentation;                ///< two blanks for each open function scope
    CTimedLock turn;                         ///< of the thread that opens the file; see CFileTurn
};
} // namespace KVLogging
