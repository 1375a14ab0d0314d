#pragma once

#include <windows.h>

#include <cstdint>
#include <exception>

namespace KVUtils
{
/// A structured exception of the operating system (a fault such as an access violation) as an ordinary exception.
/// Thrown by the translator of utils/base/StructuredExceptionScope.h.
///
/// The class counts its live objects: while one exists, a structured exception is in flight somewhere in the process,
/// which the trace log notes on the exit lines of the functions that are being left.
class CWin32Exception : public std::exception
{
public:
    /// record: read, and not kept.
    explicit CWin32Exception(const EXCEPTION_RECORD& record) noexcept;
    /// Copies count as live objects of their own.
    CWin32Exception(const CWin32Exception& other) noexcept;
    /// Copies the fault. The count stays, since no object is added.
    CWin32Exception& operator=(const CWin32Exception&) noexcept = default;
    ~CWin32Exception() override;

    /// The kind of fault in words. A constant, never null.
    virtual const wchar_t* GetMessageText() const noexcept;

    /// The address of the faulting instruction: to be compared, not read.
    const void* GetExceptionAddress() const noexcept { return m_address; }
    /// The exception code, for example EXCEPTION_ACCESS_VIOLATION.
    std::uint32_t GetExceptionCode() const noexcept { return m_code; }

    /// Live objects of this class and its subclasses in the whole process. A hint: exact for a thread that is alone in
    /// handling structured exceptions, and out of date at once otherwise. Any thread, no lock.
    static std::int32_t GetLiveCount() noexcept;

private:
    const wchar_t* m_message;
    const void* m_address;
    std::uint32_t m_code;
};
} // namespace KVUtils
