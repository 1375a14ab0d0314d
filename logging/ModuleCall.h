#pragma once

#include "logging/LogModule.h"

namespace KVLogging
{
/// One call of an operation: in the critical section of the module, if that exists.
class CLogModule::CCall
{
public:
    explicit CCall(CLogModule& module) noexcept : m_module(module)
    {
        if (!m_module.m_isEnabled)
        {
            return;
        }
        ++m_module.m_callCount;
        m_isCounted = true;
        if (m_module.m_isEnabled) // again: from here on the destructor sees this call
        {
            m_module.m_criticalSection.Enter();
            m_isInside = true;
        }
    }
    ~CCall()
    {
        if (m_isInside)
        {
            m_module.m_criticalSection.Leave();
        }
        if (m_isCounted)
        {
            --m_module.m_callCount;
        }
    }
    CCall(const CCall&) = delete;
    CCall& operator=(const CCall&) = delete;

    /// False if the module does not exist, even if it was destroyed while this thread waited.
    bool IsAllowed() const noexcept { return m_isInside && m_module.m_isEnabled; }

private:
    CLogModule& m_module;
    bool m_isCounted = false;
    bool m_isInside = false;
};
} // namespace KVLogging
