#pragma once

#include <cstdarg>
#include <optional>
#include <string>

#include "logging/line/ScratchBuffer.h"

namespace KVLogging
{
/// Formats by the wide printf conventions of the Windows C runtime, even if the compiler's own library has different
/// ones:
/// `%s` is wide text, `%I64d` a 64-bit number. Nothing if the runtime refuses the format. A bad argument faults.
std::optional<std::wstring> FormatText(const wchar_t* format, va_list arguments);

/// The same with the arguments after the format, and an empty text for a refused format.
std::wstring FormatText(const wchar_t* format, ...);

/// Formats into the buffer, which bounds the result, and appends that to the text.
void AppendFormatted(std::wstring& text, ScratchBuffer& buffer, const wchar_t* format, ...);
} // namespace KVLogging
