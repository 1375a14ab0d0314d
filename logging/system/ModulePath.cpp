#include "logging/system/ModulePath.h"

#include "utils/base/SystemText.h"

namespace KVLogging
{
std::wstring GetModulePath(HMODULE module)
{
    return KVUtils::ReadSystemText([&](wchar_t* path, DWORD room) { return ::GetModuleFileNameW(module, path, room); })
        .value_or(std::wstring());
}

std::wstring GetFilePart(const std::wstring& path)
{
    return path.substr(path.rfind(L'\\') + 1);
}

std::wstring StripExtension(const std::wstring& fileName)
{
    return fileName.substr(0, fileName.rfind(L'.'));
}

HMODULE GetLoggingModule() noexcept
{
    using GetModuleHandleExFunction = BOOL(WINAPI*)(DWORD, LPCWSTR, HMODULE*);
    const HMODULE kernel = ::GetModuleHandleW(L"Kernel32.dll");
    if (kernel == nullptr)
    {
        return nullptr;
    }
    // NOLINTNEXTLINE(bugprone-casting-through-void): a looked-up function has no type of its own
    const auto getModuleHandleEx = reinterpret_cast<GetModuleHandleExFunction>(
        reinterpret_cast<void*>(::GetProcAddress(kernel, "GetModuleHandleExW")));
    constexpr DWORD kFlags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    static const wchar_t s_addressInThisModule = L'\0';
    HMODULE module = nullptr;
    if (getModuleHandleEx == nullptr || getModuleHandleEx(kFlags, &s_addressInThisModule, &module) == FALSE)
    {
        return nullptr;
    }
    return module;
}
} // namespace KVLogging
