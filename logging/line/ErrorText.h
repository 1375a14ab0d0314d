#pragma once

#include <cstdint>
#include <string>

#include "logging/line/ScratchBuffer.h"
#include "logging/LogModule.h"

namespace KVLogging
{
/// "[Err: 0x%08X] " and what the formatter (null for none) or else the system (`FormatMessageW`, the user's language)
/// says of the error code. When the system is asked, the thread's last error and its text follow if it is another code;
/// for a code that the system does not know that is the failure of the look-up. May change the thread's last error.
std::wstring ComposeErrorText(std::uint32_t errorCode, ErrorTextFormatter formatter, ScratchBuffer& buffer);
} // namespace KVLogging
