#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <map>
#include <string>

#include "logging/file/LogFileRecord.h"
#include "logging/LogModuleSettings.h"
#include "logging/shared/SharedBlock.h"

namespace KVLogging
{
/// The log settings that the modules of a process share. Guarded by the settings mutex, except for the contents of the
/// file records and the one atomic member.
struct SettingsBlock
{
    static constexpr wchar_t kKind[] = L"RegValues";    ///< name of the shared mapping
    static constexpr unsigned long kMappingBytes = 264; ///< its size

    /// What decides how a module reads a block and what it points to.
    static constexpr std::uint64_t GetLayout() noexcept
    {
        return CombineLayout({sizeof(SettingsBlock), sizeof(LogFileRecord), sizeof(LogModuleSettings)});
    }

    /// executable: its file name with extension.
    explicit SettingsBlock(std::wstring executable) : executableName(std::move(executable)) {}

    /// The record of the file of that name; made if none exists. fileName: expanded, in lower case, not empty.
    LogFileRecord& FindOrAddFile(const std::wstring& fileName)
    {
        for (LogFileRecord& file : files)
        {
            if (file.configuredName == fileName)
            {
                return file;
            }
        }
        return files.emplace_back(fileName);
    }

    /// The settings of the source file of that name; all zero if it had none. lowerName: in lower case.
    LogModuleSettings& FindOrAddSourceFile(const std::wstring& lowerName)
    {
        hasSourceFiles = true;
        return sourceFiles[lowerName];
    }

    std::wstring executableName; ///< with extension
    /// By source file name in lower case. A reading of the registry overwrites entries and never removes one.
    std::map<std::wstring, LogModuleSettings, std::less<>> sourceFiles;
    /// Whether any source file has settings of its own. Atomic, since a module looks at it without the mutex.
    std::atomic<bool> hasSourceFiles = false;
    std::list<LogFileRecord> files; ///< a list, because settings point to its elements
    /// Never written, so its fileRecord is null: what an empty "LogFileName" means on every key except a source file's.
    LogModuleSettings fallback;
};
} // namespace KVLogging
