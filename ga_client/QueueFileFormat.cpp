#include "ga_client/QueueFileFormat.h"

#include <algorithm>
#include <utility>

namespace GAClient
{
namespace
{
constexpr char kNothing = '\0'; // a line that begins with it counts as empty

// Returns the end of the bytes.
std::string::iterator Narrow(std::wstring_view text, std::string::iterator bytes)
{
    return std::transform(text.begin(), text.end(), bytes,
                          [](wchar_t unit) { return static_cast<char>(static_cast<unsigned char>(unit & 0xFF)); });
}

std::wstring Widen(std::string_view bytes)
{
    std::wstring text(bytes.size(), L'\0');
    std::transform(bytes.begin(), bytes.end(), text.begin(),
                   [](char byte) { return static_cast<wchar_t>(static_cast<signed char>(byte)); });
    return text;
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

std::size_t GetSizeOfQueueLines(const std::list<std::wstring>& requests)
{
    std::size_t size = 0;
    for (const std::wstring& request : requests)
    {
        size += GetSizeOfQueueLine(request);
    }
    return size;
}

void AppendQueueLines(const std::list<std::wstring>& requests, std::string& bytes)
{
    const auto begin = static_cast<std::string::difference_type>(bytes.size());
    bytes.resize(bytes.size() + GetSizeOfQueueLines(requests), kQueueLineEnd);
    auto place = bytes.begin() + begin;
    for (const std::wstring& request : requests)
    {
        place = Narrow(request, place) + 1;
    }
}

void CQueueLineCollector::Add(std::string_view bytes)
{
    while (!bytes.empty() && !IsFull())
    {
        const std::size_t end = bytes.find(kQueueLineEnd);
        if (end == std::string_view::npos)
        {
            KeepOpen(bytes);
            return;
        }
        CloseLine(bytes.substr(0, end));
        bytes.remove_prefix(end + 1);
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
    if (!m_open.empty())
    {
        KeepOpen(rest);
        rest = m_open;
    }
    if (!rest.empty() && rest.front() != kNothing)
    {
        m_lines.push_back(Widen(rest));
    }
    m_open.clear();
}

void CQueueLineCollector::KeepOpen(std::string_view bytes)
{
    // The rest of a skipped line is dropped at once: it may be megabytes of zeros.
    if (m_open.empty() || m_open.front() != kNothing)
    {
        m_open.append(bytes);
    }
}
} // namespace GAClient
