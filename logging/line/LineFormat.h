#pragma once

#include <cstdint>
#include <string>

namespace KVLogging
{
/// The parts of a line's prefix, except for the clocks.
struct LinePrefix
{
    std::uint32_t options;          ///< select the parts
    std::uint32_t flags;            ///< the line's category bits that are enabled; they select its tags
    int lineNumber;                 ///< in the source file; 0 gives six blanks
    const std::wstring& processTag; ///< "[4711] "
    std::int64_t previousLine;      ///< performance-counter stamp of the module's previous line
};

/// The text before indentation and message: date and time (local), microsecond counter, milliseconds since the previous
/// line, process tag, thread id, line number, category tags.
std::wstring ComposePrefix(const LinePrefix& parts);

/// Appends the tags of the category bits alone, in their fixed order.
void AppendTags(std::wstring& prefix, std::uint32_t flags);
} // namespace KVLogging
