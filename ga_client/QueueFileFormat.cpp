#include "ga_client/QueueFileFormat.h"

#include <algorithm>
#include <utility>

namespace GAClient
{
namespace
{
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
    std::transform(text.begin(), text.end(), bytes.begin(),
                   [](wchar_t unit) { return static_cast<char>(static_cast<unsigned char>(unit & 0xFF)); });
    return bytes;
}

std::string FormatQueueLines(const std::list<std::wstring>& requests)
{
    std::string bytes;
    for (const std::wstring& request : requests)
    {
        bytes += NarrowToBytes(request) + kQueueLineEnd;
    }
    return bytes;
}

void CQueueLineCollector::Add(std::string_view bytes)
{
    while (!bytes.empty() && !IsFull())
    {
        const std::size_t end = bytes.find(kQueueLineEnd);
        m_open.append(bytes.substr(0, end));
        if (end == std::string_view::npos)
        {
            return;
        }
        CloseLine();
        bytes.remove_prefix(end + 1);
    }
}

std::list<std::wstring> CQueueLineCollector::TakeLines()
{
    if (!IsFull())
    {
        CloseLine();
    }
    return std::move(m_lines);
}

void CQueueLineCollector::CloseLine()
{
    if (!m_open.empty())
    {
        m_lines.push_back(Widen(m_open));
        m_open.clear();
    }
}
} // namespace GAClient
