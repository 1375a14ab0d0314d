#include "utils/PathUtils.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "logging/Trace.h"
#include "utils/MemoryShortage.h"
#include "utils/PathOfExecutableOverride.h"
#include "utils/UtilsLogModule.h"
#include "winapi/KernelApi.h"

namespace KVUtils
{
namespace
{
KV_TRACE_SOURCE(g_logModule, L"PathUtils.cpp");

constexpr wchar_t kSeparator = L'\\';

// Empty if the path has no drive or cannot be split.
std::wstring GetDrive(const std::wstring& path)
{
    static_assert(_MAX_DRIVE == 3 && _MAX_DIR == 256 && _MAX_FNAME == 256 && _MAX_EXT == 256);
    std::array<wchar_t, _MAX_DRIVE> drive{};
    std::array<wchar_t, _MAX_DIR> directory{};
    std::array<wchar_t, _MAX_FNAME> fileName{};
    std::array<wchar_t, _MAX_EXT> extension{};
    const errno_t error = ::_wsplitpath_s(path.c_str(), drive.data(), drive.size(), directory.data(), directory.size(),
                                          fileName.data(), fileName.size(), extension.data(), extension.size());
    return error == 0 ? drive.data() : L"";
}
} // namespace

std::wstring g_pathOfExecutableOverride;

std::wstring CPathUtils::StripFilename(const std::wstring& path)
{
    KV_TRACE(L"KVUtils::CPathUtils::StripFilename");
    if (path.empty())
    {
        return path;
    }
    std::wstring drive = GetDrive(path);
    std::size_t position = path.rfind(kSeparator);
    if (position == std::wstring::npos)
    {
        return drive;
    }
    if (position == 0 || (!drive.empty() && position == 2))
    {
        position = std::min(position + 1, path.size()); // a root keeps its backslash
    }
    return path.substr(0, position);
}

std::wstring CPathUtils::GetPathOfExecutable()
{
    KV_TRACE(L"KVUtils::CPathUtils::GetPathOfExecutable");
    if (!g_pathOfExecutableOverride.empty())
    {
        return g_pathOfExecutableOverride;
    }
    // One character more than the system may use: some versions do not terminate a path that they cut.
    std::array<wchar_t, MAX_PATH + 1> buffer{};
    ::SetLastError(ERROR_SUCCESS);
    if (KVWinApi::g_kernelApi->GetModuleFileNameW(nullptr, buffer.data(), MAX_PATH) == 0)
    {
        ThrowIfMemoryShortage(::GetLastError());
        buffer[0] = L'\0';
    }
    std::wstring result = StripFilename(buffer.data());
    KV_LOGF(kLogInfo + 7, L"GetPathOfExecutable: wstrResult = %s", result.c_str());
    return result;
}

std::wstring CombinePaths(const std::wstring& head, const std::wstring& tail)
{
    if (head.empty())
    {
        return tail;
    }
    if (tail.empty())
    {
        return head;
    }
    const std::size_t headLength = head.size() - (head.back() == kSeparator ? 1 : 0);
    const std::size_t tailStart = tail.front() == kSeparator ? 1 : 0;
    return head.substr(0, headLength) + kSeparator + tail.substr(tailStart);
}

std::wstring GetLastPathComponent(const std::wstring& path)
{
    std::size_t position = path.rfind(kSeparator);
    if (position == std::wstring::npos)
    {
        position = path.rfind(L':');
    }
    return position == std::wstring::npos ? path : path.substr(position + 1);
}
} // namespace KVUtils
