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
/// one and names it; Call, CallOr or CallOrErrorCode calls it at once:
///
///     return Call(KV_SYSTEM_FUNCTION(g_winInetDll, InternetCloseHandle), hInternet);
///     return CallOr(SOCKET_ERROR, KV_SYSTEM_FUNCTION(g_ws2Dll, closesocket), s);
///
/// If the library or the function is missing, this very call fails: its result is the failure that the system documents
/// for the function, and the last error is the reason.
template <typename Pointer> class CSystemFunction;

/// The only form that there is: of a pointer to a function of the system.
template <typename Result, typename... Parameters> class CSystemFunction<Result(WINAPI*)(Parameters...)>
{
public:
    /// The system's own type of the function.
    using Pointer = Result(WINAPI*)(Parameters...);

    /// library outlives the object; name: as it is exported, a literal.
    constexpr CSystemFunction(CSystemLibrary& library, const char* name) noexcept : m_library(library), m_name(name) {}
    CSystemFunction(const CSystemFunction&) = delete;
    CSystemFunction& operator=(const CSystemFunction&) = delete;

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

/// For functions that fail with the zero of their result (FALSE, a null pointer, no characters), functions without a
/// result, and those with an HRESULT (LONG is the same type): a missing one gives the reason as an HRESULT.
template <typename Result, typename... Parameters>
Result Call(CSystemFunction<Result(WINAPI*)(Parameters...)>& function, std::type_identity_t<Parameters>... arguments)
{
    if (const auto pointer = function.Find(); pointer != nullptr)
    {
        return pointer(arguments...);
    }
    if constexpr (std::is_same_v<Result, HRESULT>)
    {
        return HRESULT_FROM_WIN32(::GetLastError());
    }
    else
    {
        return Result();
    }
}

/// For functions that fail with a value of their own.
template <typename Result, typename... Parameters>
Result CallOr(std::type_identity_t<Result> failure, CSystemFunction<Result(WINAPI*)(Parameters...)>& function,
              std::type_identity_t<Parameters>... arguments)
{
    const auto pointer = function.Find();
    return pointer != nullptr ? pointer(arguments...) : failure;
}

/// For functions whose result is an error code of the system: the result of a missing one is the reason.
template <typename Result, typename... Parameters>
Result CallOrErrorCode(CSystemFunction<Result(WINAPI*)(Parameters...)>& function,
                       std::type_identity_t<Parameters>... arguments)
{
    const auto pointer = function.Find();
    return pointer != nullptr ? pointer(arguments...) : static_cast<Result>(::GetLastError());
}
} // namespace KVWinApi

/// The function of that name, one object for each place where it is used. library: a CSystemLibrary with static life.
#define KV_SYSTEM_FUNCTION(library, name)                                                                              \
    ([]() noexcept -> auto& {                                                                                          \
        static constinit KVWinApi::CSystemFunction<decltype(&::name)> s_function(library, #name);                      \
        return s_function;                                                                                             \
    }())
