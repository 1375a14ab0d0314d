#pragma once

#include <string_view>

namespace KVAnalyticsDoctor
{
/// Writes the text to the standard output: to a console as it is, to a file or a pipe in UTF-8 without byte-order mark
/// (`WriteConsoleW`, `WriteFile`). False if not all could be written.
bool WriteOutput(std::wstring_view text);

/// The same for the standard error output.
bool WriteErrorOutput(std::wstring_view text);
} // namespace KVAnalyticsDoctor
