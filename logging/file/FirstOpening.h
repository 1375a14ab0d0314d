#pragma once

#include <cstdint>
#include <string>

namespace KVLogging
{
/// Opens a log file for the first time, or a fresh one after a full one, as the options say: finds its folder, makes
/// its name unique, empties it. Returns the name to write to from then on: the full path if the file could be opened,
/// and otherwise the name under which it will be tried. The file is closed again.
std::wstring OpenFirst(const std::wstring& configuredName, std::uint32_t options);
} // namespace KVLogging
