#pragma once

#include <cstdint>

namespace KVLogging
{
struct LogFileRecord;

/// The settings of a module, or of one source file. The first three bear the names and values of the registry; their
/// bits are those of logging/LogFlags.h. A plain value.
struct LogModuleSettings
{
    std::uint32_t DetailLevel = 0;       ///< highest detail level that is written
    std::uint32_t Categories = 0;        ///< enabled category bits
    std::uint32_t Options = 0;           ///< output options and size limit
    LogFileRecord* fileRecord = nullptr; ///< in the settings block; null for no file
};
} // namespace KVLogging
