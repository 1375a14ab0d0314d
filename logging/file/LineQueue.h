#pragma once

#include <deque>
#include <string>

namespace KVLogging
{
class CLogFile;

/// Lines that wait for their file to be free, oldest first, framed by marker lines. Unbounded. Used in the module's
/// critical section.
/// Deliberate: what is left when the module is destroyed is discarded, for a file that could not be opened until then
/// must not delay the end of the program.
class CLineQueue
{
public:
    /// line: complete, with its line end.
    void Push(std::wstring line);
    /// Writes all lines, if there are any, and is empty then.
    void WriteTo(CLogFile& file);

private:
    std::deque<std::wstring> m_lines;
};
} // namespace KVLogging
