#pragma once

#include <windows.h>

#include <utility>

namespace KVWinApi
{
/// Sole owner of one handle of the operating system. Traits says how it is closed:
///
///     struct Traits
///     {
///         using Handle = ...;
///         static Handle Invalid() noexcept;          // the value of an empty owner
///         static void Close(Handle handle) noexcept; // through the facade pointer, or below it directly
///     };
///
/// The owner closes, it does not judge: test a system call's result for exactly the failure value that its
/// documentation names, then hand it over. Move-only; not synchronised.
template <typename Traits> class CUniqueHandle
{
public:
    using Handle = typename Traits::Handle;

    CUniqueHandle() noexcept = default;
    explicit CUniqueHandle(Handle handle) noexcept : m_handle(handle) {}
    CUniqueHandle(CUniqueHandle&& other) noexcept : m_handle(other.Release()) {}
    CUniqueHandle& operator=(CUniqueHandle&& other) noexcept
    {
        if (this != &other)
        {
            Reset(other.Release());
        }
        return *this;
    }
    CUniqueHandle(const CUniqueHandle&) = delete;
    CUniqueHandle& operator=(const CUniqueHandle&) = delete;
    ~CUniqueHandle() { Reset(); }

    Handle Get() const noexcept { return m_handle; }
    bool IsValid() const noexcept { return m_handle != Traits::Invalid(); }

    /// Gives the handle up to the caller, who closes it.
    [[nodiscard]] Handle Release() noexcept { return std::exchange(m_handle, Traits::Invalid()); }

    /// Closes the handle held, if any, and takes the new one. Leaves the thread's last error as it was.
    void Reset(Handle handle = Traits::Invalid()) noexcept
    {
        const Handle previous = std::exchange(m_handle, handle);
        if (previous != Traits::Invalid())
        {
            const DWORD lastError = ::GetLastError();
            Traits::Close(previous);
            ::SetLastError(lastError);
        }
    }

private:
    Handle m_handle = Traits::Invalid();
};
} // namespace KVWinApi
