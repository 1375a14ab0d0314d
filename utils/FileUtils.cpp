#include "utils/FileUtils.h"

#include <windows.h>

#include "utils/MemoryShortage.h"
#include "winapi/KernelApi.h"

namespace KVUtils
{
namespace
{
constexpr wchar_t kLongPathPrefix[] = L"\\\\?\\";
constexpr DWORD kWorkBufferSize = 32000; // characters; close to the system's bound for paths

// A network path, or one that already has its prefix.
bool StartsAsUncPath(const std::wstring& path)
{
    return path.size() > 2 && path[0] == L'\\' && path[1] == L'\\';
}
} // namespace

bool FileExists(const std::wstring& path)
{
    std::wstring buffer(kWorkBufferSize, L'\0');
    const std::wstring full = (StartsAsUncPath(path) ? L"" : kLongPathPrefix) + path;
    ::SetLastError(ERROR_SUCCESS);
    const DWORD length = ::GetFullPathNameW(full.c_str(), kWorkBufferSize, buffer.data(), nullptr);
    if (length == 0)
    {
        ThrowIfMemoryShortage(::GetLastError());
    }
    const bool isResolved = length >= 1 && length < kWorkBufferSize;
    ::SetLastError(ERROR_SUCCESS);
    const DWORD attributes = KVWinApi::g_kernelApi->GetFileAttributesW(isResolved ? buffer.c_str() : full.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
    {
        ThrowIfMemoryShortage(::GetLastError());
        return false;
    }
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}
} // namespace KVUtils
