#include "logging/file/Indentation.h"

#include <algorithm>

namespace KVLogging
{
namespace
{
constexpr std::size_t kIndentStep = 2; // blanks
} // namespace

std::wstring CIndentation::GetText() const
{
    const CCriticalSectionLock lock(m_criticalSection);
    return m_text;
}

std::uint32_t CIndentation::Enter()
{
    const CCriticalSectionLock lock(m_criticalSection);
    std::uint32_t& openScopes = m_openScopes[::GetCurrentThreadId()];
    m_text.append(kIndentStep, L' ');
    return openScopes++;
}

void CIndentation::Leave() noexcept
{
    const CCriticalSectionLock lock(m_criticalSection);
    Remove(1);
}

void CIndentation::Leave(std::uint32_t openBefore) noexcept
{
    const CCriticalSectionLock lock(m_criticalSection);
    const auto found = m_openScopes.find(::GetCurrentThreadId());
    const std::uint32_t open = found != m_openScopes.end() ? found->second : 0;
    Remove(open > openBefore ? open - openBefore : 1);
    Forget(openBefore);
}

void CIndentation::Forget(std::uint32_t openBefore) noexcept
{
    const CCriticalSectionLock lock(m_criticalSection);
    const auto found = m_openScopes.find(::GetCurrentThreadId());
    if (found == m_openScopes.end())
    {
        return;
    }
    found->second = std::min(found->second, openBefore);
    if (found->second == 0)
    {
        m_openScopes.erase(found);
    }
}

void CIndentation::Remove(std::size_t steps) noexcept
{
    m_text.resize(m_text.size() - std::min(m_text.size(), steps * kIndentStep));
}
} // namespace KVLogging
