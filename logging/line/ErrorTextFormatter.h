#pragma once

#include <cstdint>

namespace KVLogging
{
/// Explains error codes of a module's own. Writes at most length characters to buffer and returns their number; 0 if it
/// does not know the code, which the system is then asked about. Called on the thread that logs, in the module's
/// critical section.
using ErrorTextFormatter = std::uint32_t (*)(std::uint32_t errorCode, wchar_t* buffer, std::uint32_t length);
} // namespace KVLogging
