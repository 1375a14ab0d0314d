#include "utils/base/AccessViolation.h"

namespace KVUtils
{
namespace
{
// The record says how many information words it has: a program may raise the code without any.
ULONG_PTR InformationWord(const EXCEPTION_RECORD& record, DWORD index) noexcept
{
    return index < record.NumberParameters ? record.ExceptionInformation[index] : 0;
}
} // namespace

CAccessViolation::CAccessViolation(const EXCEPTION_RECORD& record) noexcept
    : CWin32Exception(record), m_isWriteAccess(InformationWord(record, 0) == 1),
      m_inaccessibleAddress(reinterpret_cast<const void*>(InformationWord(record, 1)))
{
}
} // namespace KVUtils
