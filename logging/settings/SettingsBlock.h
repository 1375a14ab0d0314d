#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>

#include "logging/file/LogFileRecord.h"
#include "logging/LogModuleSettings.h"
#include "logging/shared/SharedBlock.h"

namespace KVLogging
{
/// The log settings that the modules of a process share. Guarded by the settings mutex, except what LogFileRecord says
/// of itself.
struct SettingsBlock
{
    static constexpr wchar_t kKind[] = L"RegValues";    ///< name of the shared mapping
    static constexpr unsigned long kMappingBytes = 264; ///< its size

    /// What decides how a module reads a block and what it points to.
    static constexpr std::uint64_t GetLayout() noexcept
    {
        return CombineLayout({sizeof(SettingsBlock), sizeof(LogFileRecord), sizeof(LogModuleSettings)});
    }

    /// executableName: with extension.
    explicit SettingsBlock(std::wstring executableName) : ExecutableName(std::move(executableName)) {}

    /// The record of the file of that name, made when there is none. fileName: expanded, in lower case, not empty.
    LogFileRecord& FindOrAddFile(const std::wstring& fileName)
    {
        for (LogFileRecord& file : Files)
        {
            if (file.ConfiguredName == fileName)
            {
                return file;
            }
        }
        return Files.emplace_back(fileName);
    }

    std::wstring ExecutableName; ///< with extension
    /// By source file name in lower case. Entries are overwritten by a re-read but never removed.
    std::map<std::wstring, LogModuleSettings, std::less<>> SourceFiles;
    std::list<LogFileRecord> Files; ///< a list: settings point to its elements
    LogModuleSettings Fallback;     ///< stays zero: an empty file name outside a source file's key gives its file, none
};
} // namespace KVLogging
