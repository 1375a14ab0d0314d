#include "logging/line/HeaderBlock.h"

#include <windows.h>

#include <algorithm>
#include <array>

#include "logging/line/TextFormat.h"
#include "logging/system/ModulePath.h"
#include "utils/base/FileVersionInfo.h"
#include "winapi/base/ProcessStatus.h"
#include "winapi/base/SystemHandles.h"

namespace KVLogging
{
namespace
{
std::wstring SizeNote(const std::wstring& path)
{
    WIN32_FILE_ATTRIBUTE_DATA attributes{};
    if (::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &attributes) == FALSE)
    {
        return std::wstring();
    }
    return FormatText(L" (%ld bytes)", static_cast<long>(attributes.nFileSizeLow));
}

std::wstring VersionText(const std::wstring& path)
{
    const KVUtils::CFileVersionInfo versionInfo(path.c_str());
    const wchar_t* const version = versionInfo.GetFileVersion();
    return version != nullptr ? version : L"<no version info>";
}
} // namespace

std::vector<std::wstring> ComposeHeaderBlock(const std::wstring& processTag, const std::wstring& buildStamp,
                                             const std::wstring& logFileName)
{
    const std::wstring executable = GetModulePath(nullptr);
    return {
        L"Module File Name: " + executable + SizeNote(executable),
        std::wstring(L"    Command Line: ") + ::GetCommandLineW(),
        L"    File Version: " + VersionText(executable),
        L"      Process ID: " + processTag,
        L"        Built on: " + buildStamp,
        L"   Log File Name: <" + logFileName + L">",
    };
}

std::vector<std::wstring> ListProcessModules()
{
    constexpr std::size_t kMaxModules = 256;
    std::vector<std::wstring> paths;
    const KVWinApi::CUniqueSystemHandle process(
        ::OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, ::GetCurrentProcessId()));
    std::array<HMODULE, kMaxModules> modules{};
    DWORD needed = 0;
    if (!process.IsValid() ||
        ::K32EnumProcessModules(process.Get(), modules.data(), static_cast<DWORD>(sizeof(modules)), &needed) == FALSE)
    {
        return paths;
    }
    const std::size_t count = std::min(needed / sizeof(HMODULE), kMaxModules);
    for (std::size_t i = 0; i < count; ++i)
    {
        paths.push_back(GetModulePath(modules[i]));
    }
    return paths;
}
} // namespace KVLogging
