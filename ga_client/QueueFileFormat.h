#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <string_view>

namespace GAClient
{
/// The content of the queue file: one hit a line, one byte a character, each line ended by one line feed. Needs no
/// system call. Nothing is thrown but std::bad_alloc.

constexpr char kQueueLineEnd = '\n';

/// The low 8 bits of each code unit.
std::string NarrowToBytes(std::wstring_view text);

/// The bytes that the lines of the hits take.
std::size_t GetSizeOfQueueLines(const std::list<std::wstring>& requests);
std::size_t GetSizeOfQueueLine(std::wstring_view request) noexcept;

/// Appends the lines of the hits, in their order. Allocates nothing when bytes has room for them.
void AppendQueueLines(const std::list<std::wstring>& requests, std::string& bytes);

/// Cuts the bytes of a queue file, which come in pieces, into hits: a byte becomes a code unit with its sign (0x80 to
/// 0xFF become 0xFF80 to 0xFFFF), empty lines are skipped, the bytes after the last line feed are a line too.
///
/// A line that begins with a zero byte is empty as well: every function that takes a terminated text would see no hit
/// in it. A loss of power can leave zeros in place of what was written last.
class CQueueLineCollector
{
public:
    /// limit: how many hits are taken; what follows is left out.
    explicit CQueueLineCollector(std::size_t limit) : m_limit(limit) {}

    bool IsFull() const noexcept { return m_lines.size() >= m_limit; }
    /// The next piece of the file.
    void Add(std::string_view bytes);
    /// The hits, once the whole file has been added. Leaves the object empty.
    std::list<std::wstring> TakeLines();

private:
    // rest: what follows the bytes that came before, most often the whole line.
    void CloseLine(std::string_view rest);
    void KeepOpen(std::string_view bytes);

    std::size_t m_limit;
    std::string m_open; // what earlier pieces held of the line whose end has not come yet
    std::list<std::wstring> m_lines;
};
} // namespace GAClient
