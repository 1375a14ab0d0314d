#pragma once

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <type_traits>

namespace KVWinApi
{
/// A DLL of the operating system that the program does not import: it is loaded when a function of it is first needed,
/// from the system folder and nowhere else, and stays until the process ends. A run that needs few libraries pays for
/// few. SystemLibraries.h has the libraries that the product uses.
///
/// Constant-initialised and never destroyed, hence usable by static objects from both ends of their lives. Safe on any
/// thread. Under the system's loader lock, in a DllMain, only functions that were found before may be called.
class CSystemLibrary
{
public:
    /// fileName: as the system folder has it, without a path; a literal, since it outlives the object.
    constexpr explicit CSystemLibrary(const wchar_t* fileName) noexcept : m_fileName(fileName) {}
    CSystemLibrary(const CSystemLibrary&) = delete;
    CSystemLibrary& operator=(const CSystemLibrary&) = delete;

    /// The exported function of that name (`LoadLibraryExW`, `GetProcAddress`). Null when the library or the function
    /// is not there: the last error then tells which (ERROR_MOD_NOT_FOUND, ERROR_PROC_NOT_FOUND, or what else the
    /// loader has said), and the next call tries again. A success leaves the last error as it was. Allocates nothing.
    void* Find(const char* functionName) noexcept;

private:
    HMODULE Load() noexcept;

    const wchar_t* m_fileName;
    std::atomic<HMODULE> m_module{nullptr}; // never given back
};

/// A function of a system library, looked up at its first call and remembered from then on. KV_SYSTEM_FUNCTION makes
/// one and names it; its members are to be called at once:
///
///     return KV_SYSTEM_FUNCTION(g_winInet, InternetOpenW).Or(nullptr)(agent, accessType, proxy, proxyBypass, flags);
///
/// A library or function that is missing is a failure of this very call: the result is the one that the call site names
/// for it, and the last error tells why.
template <typename Pointer> class CSystemFunction;

/// The only form that there is: of a pointer to a function of the system.
template <typename Result, typename... Parameters> class CSystemFunction<Result(WINAPI*)(Parameters...)>
{
public:
    /// The system's own type of the function.
    using Pointer = Result(WINAPI*)(Parameters...);
    /// What stands for the result when there is no function.
    using Failure = std::conditional_t<std::is_void_v<Result>, std::nullptr_t, Result>;

    /// The function, or what a call of it comes to without it.
    class CCall
    {
    public:
        /// function: null when it is missing.
        CCall(Pointer function, Failure failure) noexcept : m_function(function), m_failure(failure) {}
        /// The call itself.
        Result operator()(Parameters... arguments) const
        {
            return m_function != nullptr ? m_function(arguments...) : static_cast<Result>(m_failure);
        }

    private:
        Pointer m_function;
        Failure m_failure;
    };

    /// library outlives the object; name: as it is exported, a literal.
    constexpr CSystemFunction(CSystemLibrary& library, const char* name) noexcept : m_library(library), m_name(name) {}
    CSystemFunction(const CSystemFunction&) = delete;
    CSystemFunction& operator=(const CSystemFunction&) = delete;

    /// failure: the result without the function.
    CCall Or(Failure failure) noexcept { return CCall(Find(), failure); }
    /// For functions without a result.
    CCall OrNothing() noexcept
    {
        static_assert(std::is_void_v<Result>);
        return CCall(Find(), nullptr);
    }
    /// For functions whose result is an error code of the system: the reason is the result.
    CCall OrErrorCode() noexcept
    {
        const Pointer function = Find();
        return CCall(function, static_cast<Result>(::GetLastError()));
    }
    /// The same for functions whose result is an HRESULT.
    CCall OrHresult() noexcept
    {
        static_assert(std::is_same_v<Result, HRESULT>);
        const Pointer function = Find();
        return CCall(function, HRESULT_FROM_WIN32(::GetLastError()));
    }

    /// Null without the function, see CSystemLibrary::Find.
    Pointer Find() noexcept
    {
        Pointer function = m_function.load(std::memory_order_acquire);
        if (function == nullptr)
        {
            function = reinterpret_cast<Pointer>(m_library.Find(m_name));
            // Threads that succeed at the same time store the same pointer; one that fails must not erase it.
            if (function != nullptr)
            {
                m_function.store(function, std::memory_order_release);
            }
        }
        return function;
    }

private:
    CSystemLibrary& m_library;
    const char* m_name;
    std::atomic<Pointer> m_function{nullptr};
};
} // namespace KVWinApi

/// The function of that name, one object for each place where it is used. library: a CSystemLibrary with static life.
#define KV_SYSTEM_FUNCTION(library, name)                                                                              \
    ([]() noexcept -> auto& {                                                                                          \
        static constinit KVWinApi::CSystemFunction<decltype(&::name)> s_function(library, #name);                      \
        return s_function;                                                                                             \
    }())
