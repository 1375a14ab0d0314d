#include "logging/file/FirstOpening.h"

#include <windows.h>

#include <shlobj.h>
#include <shlwapi.h>

#include "logging/file/LogFile.h"
#include "logging/LogFlags.h"
#include "winapi/base/SystemLibraries.h"

namespace KVLogging
{
namespace
{
using KVWinApi::g_shlwApiDll;

// The file part that nothing could find: no name is then taken for a bare one.
wchar_t s_noFile[] = L"";

struct FolderAndFile
{
    std::wstring Folder;
    std::wstring File;
};

std::wstring GetCommonDataFolder()
{
    wchar_t folder[MAX_PATH] = {}; // the function's own bound
    constexpr int kCreatedCommonData = CSIDL_COMMON_APPDATA | CSIDL_FLAG_CREATE;
    static_assert(kCreatedCommonData == 0x8023);
    const HRESULT result = Call(KV_SYSTEM_FUNCTION(KVWinApi::g_shell32Dll, SHGetFolderPathW), nullptr,
                                kCreatedCommonData, nullptr, SHGFP_TYPE_CURRENT, folder);
    return SUCCEEDED(result) ? folder : std::wstring();
}

FolderAndFile SplitConfiguredName(const std::wstring& name)
{
    if (Call(KV_SYSTEM_FUNCTION(g_shlwApiDll, PathIsFileSpecW), name.c_str()) != FALSE)
    {
        return {GetCommonDataFolder(), name};
    }
    std::wstring folder = name;
    Call(KV_SYSTEM_FUNCTION(g_shlwApiDll, PathRemoveFileSpecW), folder.data());
    folder.resize(::wcslen(folder.c_str()));
    return {folder, CallOr(s_noFile, KV_SYSTEM_FUNCTION(g_shlwApiDll, PathFindFileNameW), name.c_str())};
}

// The configured name, a bare one in its folder.
std::wstring JoinName(const FolderAndFile& parts, const std::wstring& configuredName)
{
    const bool isBare = parts.File == configuredName;
    return isBare && !parts.Folder.empty() ? parts.Folder + L"\\" + parts.File : configuredName;
}

// A new empty file of its own, its long name; empty when that fails.
std::wstring MakeUniqueFile(const FolderAndFile& parts)
{
    wchar_t shortName[MAX_PATH] = {}; // the function's own bound
    if (::GetTempFileNameW(parts.Folder.c_str(), parts.File.c_str(), 0, shortName) == 0)
    {
        return std::wstring();
    }
    const DWORD room = ::GetLongPathNameW(shortName, nullptr, 0);
    std::wstring longName(room, L'\0');
    const DWORD length = ::GetLongPathNameW(shortName, longName.data(), room);
    longName.resize(length < room ? length : 0);
    return longName;
}

std::wstring GetFullPath(const std::wstring& name)
{
    const DWORD room = ::GetFullPathNameW(name.c_str(), 0, nullptr, nullptr);
    std::wstring path(room, L'\0');
    const DWORD length = ::GetFullPathNameW(name.c_str(), room, path.data(), nullptr);
    if (length == 0 || length >= room)
    {
        return name;
    }
    path.resize(length);
    return path;
}

// The full path of a file that exists; the name as it is when it is not to be had.
std::wstring FindFullPath(const std::wstring& name)
{
    // By its full path, for the search would look beside the program before it looks in the current folder, where a
    // relative name was opened.
    const std::wstring fullPath = GetFullPath(name);
    const DWORD room = ::SearchPathW(nullptr, fullPath.c_str(), nullptr, 0, nullptr, nullptr);
    std::wstring path(room, L'\0');
    const DWORD length = ::SearchPathW(nullptr, fullPath.c_str(), nullptr, room, path.data(), nullptr);
    if (length == 0 || length >= room)
    {
        return name;
    }
    path.resize(length);
    return path;
}
} // namespace

void OpenFirst(LogFileRecord& file, std::uint32_t options)
{
    const FolderAndFile parts = SplitConfiguredName(file.ConfiguredName);
    file.FileName = JoinName(parts, file.ConfiguredName);
    if ((options & kOptionUniqueName) != 0)
    {
        std::wstring uniqueName = MakeUniqueFile(parts);
        file.FileName = !uniqueName.empty() ? std::move(uniqueName) : file.FileName;
    }
    if (file.FileName.empty())
    {
        return;
    }
    const DWORD disposition = (options & kOptionTruncate) != 0 ? CREATE_ALWAYS : OPEN_ALWAYS;
    if (CLogFile(file.FileName, disposition).IsOpen())
    {
        file.FileName = FindFullPath(file.FileName);
    }
}
} // namespace KVLogging
