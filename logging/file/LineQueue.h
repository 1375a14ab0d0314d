#pragma once

#include <list>
#include <string>

namespace KVLogging
{
class CLogFile;

/// Lines that wait for their file to be free again, oldest first, framed by marker lines. Unbounded; what is left at
/// the end of the process is discarded. Used under the module's critical section.
class CLineQueue
{
public:
    /// True when no line waits.
    bool IsEmpty() const noexcept { return m_lines.empty(); }
    /// line: complete, with its line end.
    void Push(std::wstring line);
    /// Writes all lines, if there are any, and is empty then.
    void WriteTo(CLogFile& file);

private:
    // Not a deque: that allocates as soon as it is made, and a module must come to life without memory.
    std::list<std::wstring> m_lines;
};
} // namespace KVLogging
