#pragma once

#include <string>
#include <vector>

namespace KVLogging
{
/// The lines that a log file begins with: what program wrote it, how it was called, its version, process and logging
/// code, and the file itself. processTag and buildStamp are the module's.
std::vector<std::wstring> ComposeHeaderBlock(const std::wstring& processTag, const std::wstring& buildStamp,
                                             const std::wstring& logFileName);

/// Full paths of the modules that are loaded into this process, 256 at most (`EnumProcessModules`). Empty when they are
/// not to be had.
std::vector<std::wstring> ListProcessModules();
} // namespace KVLogging
