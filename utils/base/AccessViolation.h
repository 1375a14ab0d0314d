#pragma once

#include "utils/base/Win32Exception.h"

namespace KVUtils
{
/// A read, write or execution of memory that does not permit it.
class CAccessViolation : public CWin32Exception
{
public:
    /// record: read, and not kept. Parameters that it lacks count as 0.
    explicit CAccessViolation(const EXCEPTION_RECORD& record) noexcept;

    /// True for an attempt to write; false for one to read or to execute.
    bool IsWriteAccess() const noexcept { return m_isWriteAccess; }
    /// The address that could not be accessed: to be compared, not read.
    const void* GetInaccessibleAddress() const noexcept { return m_inaccessibleAddress; }

private:
    bool m_isWriteAccess;
    const void* m_inaccessibleAddress;
};
} // namespace KVUtils
