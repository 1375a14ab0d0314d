#pragma once

#include <windows.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace KVTest
{
/// A page without any access rights: reading or writing it is an access violation at a known address.
class ForbiddenPage
{
public:
    ForbiddenPage() : m_page(::VirtualAlloc(nullptr, 4096, MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS))
    {
        if (m_page == nullptr)
        {
            throw std::runtime_error("VirtualAlloc failed");
        }
    }
    ~ForbiddenPage() { ::VirtualFree(m_page, 0, MEM_RELEASE); }
    ForbiddenPage(const ForbiddenPage&) = delete;
    ForbiddenPage& operator=(const ForbiddenPage&) = delete;

    volatile char* GetChars() const noexcept { return static_cast<volatile char*>(m_page); }
    const wchar_t* GetText() const noexcept { return static_cast<const wchar_t*>(m_page); }
    void* GetAddress() const noexcept { return m_page; }

private:
    void* m_page;
};

/// A text that can be read only in part: copying it is an access violation.
class UnreadableText
{
public:
    UnreadableText() { Protect(PAGE_NOACCESS); }
    ~UnreadableText() { Protect(PAGE_READWRITE); } // NOLINT(bugprone-exception-escape): then the test ends
    UnreadableText(const UnreadableText&) = delete;
    UnreadableText& operator=(const UnreadableText&) = delete;

    const std::wstring& Get() const noexcept { return m_text; }

private:
    // A page that lies within the text, so that the memory of nothing else is affected.
    void Protect(DWORD protection)
    {
        constexpr std::uintptr_t kPage = 4096;
        const std::uintptr_t page = (reinterpret_cast<std::uintptr_t>(m_text.data()) + kPage) & ~(kPage - 1);
        DWORD previous = 0;
        if (::VirtualProtect(reinterpret_cast<void*>(page), kPage, protection, &previous) == FALSE)
        {
            throw std::runtime_error("VirtualProtect failed");
        }
    }

    std::wstring m_text = std::wstring(10000, L'x');
};

// A checked build would otherwise replace the processor's fault by a trap of its own.
#if defined(_MSC_VER)
#define KV_NOT_SANITIZED __declspec(noinline) // it has no such checks
#elif defined(__clang__)
#define KV_NOT_SANITIZED [[clang::no_sanitize("undefined"), gnu::noinline]]
#else
#define KV_NOT_SANITIZED [[gnu::no_sanitize("undefined"), gnu::noinline]]
#endif

KV_NOT_SANITIZED inline void Divide(int dividend, const volatile int& divisor)
{
    const volatile int quotient = dividend / divisor;
    static_cast<void>(quotient);
}
} // namespace KVTest
