#include "ga_client/QueueFileFormat.h"

#include <algorithm>
#include <utility>

namespace GAClient
{
namespace
{
// Returns where the bytes end.
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

std::string FormatQueueLines(const std::list<std::wstring>& requests)
{
    std::size_t size = 0;
    for (const std::wstring& request : requests)
    {
        size += request.size() + 1;
    }
    std::string bytes(size, kQueueLineEnd);
    auto place = bytes.begin();
    for (const std::wstring& request : requests)
    {
        place = Narrow(request, place) + 1;
    }
    return bytes;
}

void CQueueLineCollector::Add(std::string_view bytes)
{
    while (!bytes.empty() && !IsFull())
    {
        const std::size_t end = bytes.find(kQueueLineEnd);
        if (end == std::string_view::npos)
        {
            m_open.append(bytes);
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
        m_open.append(rest);
        rest = m_open;
    }
    if (!rest.empty())
    {
        m_lines.push_back(Widen(rest));
        m_open.clear();
    }
}
} // namespace GAClient
