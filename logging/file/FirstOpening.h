#pragma once

#include <cstdint>
#include <string>

#include "logging/file/LogFileRecord.h"

namespace KVLogging
{
/// Opens the record's file for the first time, or a fresh one after a full one, as the options say: finds its folder,
/// makes its name unique, empties it. The record's name becomes the full path. The file is closed again, and need not
/// have been opened: lines wait until it can be. Called with the record's lock held.
void OpenFirst(LogFileRecord& file, std::uint32_t options);
} // namespace KVLogging
