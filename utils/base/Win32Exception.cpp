#include "utils/base/Win32Exception.h"

#include <atomic>

namespace KVUtils
{
namespace
{
std::atomic<std::int32_t> s_liveCount;

const wchar_t* MessageOf(DWORD code) noexcept
{
    switch (code)
    {
    case EXCEPTION_ACCESS_VIOLATION:
        return L"Access violation";
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
        return L"Division by zero";
    default:
        return L"Win32 exception";
    }
}
} // namespace

CWin32Exception::CWin32Exception(const EXCEPTION_RECORD& record) noexcept
    : m_message(MessageOf(record.ExceptionCode)), m_address(record.ExceptionAddress), m_code(record.ExceptionCode)
{
    s_liveCount.fetch_add(1, std::memory_order_relaxed);
}

CWin32Exception::CWin32Exception(const CWin32Exception& other) noexcept
    : std::exception(other), m_message(other.m_message), m_address(other.m_address), m_code(other.m_code)
{
    s_liveCount.fetch_add(1, std::memory_order_relaxed);
}

CWin32Exception::~CWin32Exception()
{
    s_liveCount.fetch_sub(1, std::memory_order_relaxed);
}

const wchar_t* CWin32Exception::GetMessageText() const noexcept
{
    return m_message;
}

std::int32_t CWin32Exception::GetLiveCount() noexcept
{
    return s_liveCount.load(std::memory_order_relaxed);
}
} // namespace KVUtils
