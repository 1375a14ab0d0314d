#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>

namespace GAClient
{
/// The content of the queue file: one hit a line, one byte a character, each line ended by one line feed. Makes no
/// system call. Throws only std::bad_alloc.

constexpr char kQueueLineEnd = '\n';

/// Nothing is appended to a file of this size or more, in bytes, so that it stays bounded even if hits can never be
/// sent.
constexpr std::int64_t kFullQueueFileSize = 1048576;

/// The hits that a queue holds at most, unless its program sets a different limit.
constexpr std::int32_t kDefaultQueueLimit = 500;

/// The low 8 bits of each code unit.
std::string NarrowToBytes(std::wstring_view text);

/// The size of the hit's line, in bytes.
std::size_t GetSizeOfQueueLine(std::wstring_view request) noexcept;

/// Appends the hit's line. Allocates nothing if bytes has the capacity.
void AppendQueueLine(std::wstring_view request, std::string& bytes);

/// Splits the bytes of a queue file, which come in pieces, into hits. A byte becomes a sign-extended code unit (0x80 to
/// 0xFF become 0xFF80 to 0xFFFF). Empty lines are skipped. The bytes after the last line feed are also a line.
///
/// A line that begins with a zero byte counts as empty: functions that take a terminated text would see no hit in it. A
/// power failure can leave zeros in place of the bytes written last.
class CQueueLineCollector
{
public:
    /// limit: the largest number of hits; later ones are ignored.
    explicit CQueueLineCollector(std::size_t limit) : m_limit(limit) {}

    bool IsFull() const noexcept { return m_lines.size() >= m_limit; }
    /// The next piece of the file.
    void Add(std::string_view bytes);
    /// The hits, once the whole file has been added. Leaves the object empty.
    std::list<std::wstring> TakeLines();

private:
    // rest: the end of a line, most often all of it.
    void CloseLine(std::string_view rest);
    void KeepOpen(std::string_view bytes);

    std::size_t m_limit;
    std::wstring m_open; // the start of a line whose end is in a later piece
    std::list<std::wstring> m_lines;
};
} // namespace GAClient
