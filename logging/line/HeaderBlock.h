#pragma once

#include <string>
#include <vector>

namespace KVLogging
{
/// The lines at the beginning of a log file: the program that writes it, its command line, version and process, the
/// time of the logging code, and the file itself. processTag and buildStamp are the module's.
std::vector<std::wstring> ComposeHeaderBlock(const std::wstring& processTag, const std::wstring& buildStamp,
                                             const std::wstring& logFileName);

/// Full paths of the modules that are loaded into this process, 256 at most (`EnumProcessModules`). Empty if the list
/// is unavailable.
std::vector<std::wstring> ListProcessModules();
} // namespace KVLogging
