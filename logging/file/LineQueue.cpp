#include "logging/file/LineQueue.h"

#include "logging/file/LogFile.h"

namespace KVLogging
{
void CLineQueue::Push(std::wstring line)
{
    if (m_lines.empty())
    {
        m_lines.emplace_back(L"--- Queued Lines Start ---\r\n");
    }
    m_lines.push_back(std::move(line));
}

void CLineQueue::WriteTo(CLogFile& file)
{
    if (m_lines.empty())
    {
        return;
    }
    m_lines.emplace_back(L"--- Queued Lines End ---\r\n");
    while (!m_lines.empty())
    {
        file.Write(m_lines.front());
        m_lines.pop_front();
    }
}
} // namespace KVLogging
