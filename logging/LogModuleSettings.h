#pragma once

#include <cstdint>

namespace KVLogging
{
struct LogFileRecord;

/// What decides about a line: the settings of a module, or of one source file. The values are those of the registry,
/// their bits those of logging/LogFlags.h. A plain value.
struct LogModuleSettings
{
    std::uint32_t DetailLevel = 0;       ///< highest detail level of information lines that is written
    std::uint32_t Categories = 0;        ///< enabled category bits
    std::uint32_t Options = 0;           ///< output options and size limit
    LogFileRecord* FileRecord = nullptr; ///< in the settings block; null for no file
};
} // namespace KVLogging
