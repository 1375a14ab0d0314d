#include "ga_client/QueueFileFormat.h"

#include <algorithm>
#include <utility>

namespace GAClient
{
namespace
{
constexpr wchar_t kNothing = L'\0'; // a line that begins with it counts as empty

void Narrow(std::wstring_view text, std::string::iterator bytes)
{
    std::transform(text.begin(), text.end(), bytes,
                   [](wchar_t unit) { return static_cast<char>(static_cast<unsigned char>(unit & 0xFF)); });
}

// The string of a range neither fills its memory twice nor grows.
std::wstring Widen(std::string_view bytes)
{
    const auto* const first = reinterpret_cast<const signed char*>(bytes.data());
    return std::wstring(first, first + bytes.size());
}

bool HasLineEnd(const char* block, std::size_t size)
{
    unsigned char found = 0; // as wide as what is compared: a processor then compares sixteen bytes at once
    for (std::size_t i = 0; i < size; ++i)
    {
        found = static_cast<unsigned char>(found | (block[i] == kQueueLineEnd ? 1 : 0));
    }
    return found != 0;
}

// The number of bytes before the first line end, if there is one. Looks at a block at a time, since the C runtime's
// search may compare byte by byte.
std::size_t GetLineLength(std::string_view bytes)
{
    constexpr std::size_t kBlockSize = 64;
    std::size_t begin = 0;
    while (bytes.size() - begin >= kBlockSize && !HasLineEnd(bytes.data() + begin, kBlockSize))
    {
        begin += kBlockSize;
    }
    return static_cast<std::size_t>(std::find(bytes.begin() + begin, bytes.end(), kQueueLineEnd) - bytes.begin());
}
} // namespace

std::string NarrowToBytes(std::wstring_view text)
{
    std::string bytes(text.size(), '\0');
    Narrow(text, bytes.begin());
    return bytes;
}

std::size_t GetSizeOfQueueLine(std::wstring_view request) noexcept
{
    return request.size() + 1;
}

void AppendQueueLine(std::wstring_view request, std::string& bytes)
{
    const auto begin = static_cast<std::string::difference_type>(bytes.size());
    bytes.resize(bytes.size() + GetSizeOfQueueLine(request), kQueueLineEnd);
    Narrow(request, bytes.begin() + begin);
}

void CQueueLineCollector::Add(std::string_view bytes)
{
    while (!bytes.empty() && !IsFull())
    {
        const std::size_t length = GetLineLength(bytes);
        if (length == bytes.size())
        {
            KeepOpen(bytes);
            return;
        }
        CloseLine(bytes.substr(0, length));
        bytes.remove_prefix(length + 1);
    }
}

std::list<std::wstring> CQueueLineCollector::TakeLines()
{
    if (!IsFull())
    {
        CloseLine({});
    }
    return std::move(m_lines);
}

void CQueueLineCollector::CloseLine(std::string_view rest)
{
    KeepOpen(rest);
    if (!m_open.empty() && m_open.front() != kNothing)
    {
        m_lines.push_back(std::move(m_open));
    }
    m_open.clear();
}

void CQueueLineCollector::KeepOpen(std::string_view bytes)
{
    if (m_open.empty())
    {
        m_open = Widen(bytes);
    }
    else if (m_open.front() != kNothing)
    {
        m_open += Widen(bytes);
    }
    // The rest of a skipped line is dropped at once: it may be megabytes of zeros.
}
} // namespace GAClient
