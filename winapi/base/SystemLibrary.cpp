#include "winapi/base/SystemLibrary.h"

#include <cwchar>

namespace KVWinApi
{
namespace
{
constexpr std::size_t kPathSize = MAX_PATH + 32; // characters: the system folder's bound, and a short file name

// False if it does not fit, which happens with no system folder, or if the system reports none; the last error then
// says why.
bool ComposePath(wchar_t (&path)[kPathSize], const wchar_t* fileName) noexcept
{
    ::SetLastError(ERROR_MOD_NOT_FOUND); // unless the system has a reason of its own, such as a lack of memory
    const UINT folderLength = ::GetSystemDirectoryW(path, MAX_PATH);
    const std::size_t nameLength = std::wcslen(fileName);
    if (folderLength == 0 || folderLength >= MAX_PATH || folderLength + 1 + nameLength >= kPathSize)
    {
        return false;
    }
    path[folderLength] = L'\\';
    std::wmemcpy(path + folderLength + 1, fileName, nameLength + 1);
    return true;
}
} // namespace

void* CSystemLibrary::Find(const char* functionName) noexcept
{
    const DWORD lastError = ::GetLastError();
    const HMODULE module = Load();
    if (module == nullptr)
    {
        return nullptr;
    }
    const FARPROC function = ::GetProcAddress(module, functionName);
    if (function == nullptr)
    {
        return nullptr;
    }
    ::SetLastError(lastError); // which loading may have changed
    return reinterpret_cast<void*>(function);
}

HMODULE CSystemLibrary::Load() noexcept
{
    HMODULE module = m_module.load(std::memory_order_acquire);
    if (module != nullptr)
    {
        return module;
    }
    // By its full path, and with the search for the library's own imports starting in its folder rather than in the
    // program's: a file of the same name beside the program, in the current folder or on the search path is never
    // loaded. LOAD_LIBRARY_SEARCH_SYSTEM32 would say the same in one word, but Windows Vista and 7 without update
    // KB2533623 refuse it (ERROR_INVALID_PARAMETER), and asking for it first would leave two ways, one of which hardly
    // ever runs. This one is documented for every version.
    wchar_t path[kPathSize];
    if (!ComposePath(path, m_fileName))
    {
        return nullptr;
    }
    module = ::LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module != nullptr)
    {
        // Threads that meet here store the same handle. The loader counts each, which is harmless: none is ever freed.
        m_module.store(module, std::memory_order_release);
    }
    return module;
}
} // namespace KVWinApi
