#pragma once

#include <cstdint>
#include <string>

#include "logging/line/ErrorTextFormatter.h"
#include "logging/line/ScratchBuffer.h"

namespace KVLogging
{
/// "[Err: 0x%08X] " and the text of the error code, by the formatter (null for none) or else by the system
/// (`FormatMessageW`, the user's language). If the system is asked and the thread's last error differs from errorCode,
/// that is appended with its text. If the system does not know errorCode, the last error is why FormatMessageW failed.
/// May change the thread's last error.
std::wstring ComposeErrorText(std::uint32_t errorCode, ErrorTextFormatter formatter, ScratchBuffer& buffer);
} // namespace KVLogging
