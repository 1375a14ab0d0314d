#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "logging/system/CriticalSection.h"

namespace KVLogging
{
/// The blanks before the messages of a log file: two for each open function scope, of all threads together. Counts the
/// open scopes of each thread, so that a scope also takes back the blanks of inner scopes that never ended: a fault
/// that is survived may abandon them. Any thread.
class CIndentation
{
public:
    /// All blanks.
    std::wstring GetText() const;

    /// A scope of this thread begins. Returns how many the thread had open before.
    std::uint32_t Enter();
    /// A scope whose beginning was not reported ends.
    void Leave() noexcept;
    /// A scope of this thread ends for which Enter has returned that number.
    void Leave(std::uint32_t openBefore) noexcept;
    /// The same without an exit line, hence without taking blanks back.
    void Forget(std::uint32_t openBefore) noexcept;

private:
    void Remove(std::size_t steps) noexcept;

    mutable CCriticalSection m_criticalSection; // guards what is below
    std::wstring m_text;
    std::map<DWORD, std::uint32_t> m_openScopes; // by thread; threads without open scopes are not in it
};
} // namespace KVLogging
