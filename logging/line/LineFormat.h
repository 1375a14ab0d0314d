#pragma once

#include <cstdint>
#include <string>

#include "logging/line/ScratchBuffer.h"

namespace KVLogging
{
/// What the prefix of a line is made of, besides the clocks.
struct LinePrefix
{
    std::uint32_t Options;          ///< decide which parts there are
    std::uint32_t Flags;            ///< category bits that are both the line's and enabled: its tags
    int LineNumber;                 ///< in the source file; 0 gives six blanks
    const std::wstring& ProcessTag; ///< "[4711] "
    std::int64_t PreviousLine;      ///< performance-counter stamp of the module's previous line
};

/// The text before indentation and message: date and time (local), microsecond counter, milliseconds since the previous
/// line, process tag, thread id, line number, category tags.
std::wstring ComposePrefix(const LinePrefix& parts, ScratchBuffer& buffer);

/// The tags of the category bits alone, in their fixed order.
std::wstring ComposeTags(std::uint32_t flags, ScratchBuffer& buffer);
} // namespace KVLogging
