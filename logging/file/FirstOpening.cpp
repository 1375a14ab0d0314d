#include "logging/file/FirstOpening.h"

#include <windows.h>

#include <shlobj.h>
#include <shlwapi.h>

#include "logging/file/LogFile.h"
#include "logging/LogFlags.h"
#include "utils/base/SystemText.h"
#include "winapi/base/SystemLibraries.h"

namespace KVLogging
{
namespace
{
using KVUtils::ReadSystemText;
using KVWinApi::g_shlwApiDll;

// Result when PathFindFileNameW is unavailable: empty, so that JoinName takes no name for a bare one.
wchar_t s_noFile[] = L"";

struct FolderAndFile
{
    std::wstring folder;
    std::wstring file;
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
    const bool isBare = parts.file == configuredName;
    return isBare && !parts.folder.empty() ? parts.folder + L"\\" + parts.file : configuredName;
}

// A new empty file of its own, its long name; empty when that fails.
std::wstring MakeUniqueFile(const FolderAndFile& parts)
{
    wchar_t shortName[MAX_PATH] = {}; // the function's own bound
    if (::GetTempFileNameW(parts.folder.c_str(), parts.file.c_str(), 0, shortName) == 0)
    {
        return std::wstring();
    }
    return ReadSystemText([&](wchar_t* text, DWORD room) { return ::GetLongPathNameW(shortName, text, room); })
        .value_or(std::wstring());
}

// The full path of a file that exists; the name as it is if the system does not find it.
std::wstring FindFullPath(const std::wstring& name)
{
    // A relative name was opened in the current folder, but SearchPathW would look beside the program first.
    const std::wstring fullPath = ReadSystemText([&](wchar_t* text, DWORD room) {
                                      return ::GetFullPathNameW(name.c_str(), room, text, nullptr);
                                  }).value_or(name);
    return ReadSystemText([&](wchar_t* text, DWORD room) {
               return ::SearchPathW(nullptr, fullPath.c_str(), nullptr, room, text, nullptr);
           })
        .value_or(name);
}
} // namespace

std::wstring OpenFirst(const std::wstring& configuredName, std::uint32_t options)
{
    const FolderAndFile parts = SplitConfiguredName(configuredName);
    std::wstring name = JoinName(parts, configuredName);
    if ((options & kOptionUniqueName) != 0)
    {
        std::wstring uniqueName = MakeUniqueFile(parts);
        name = !uniqueName.empty() ? std::move(uniqueName) : name;
    }
    const DWORD disposition = (options & kOptionTruncate) != 0 ? CREATE_ALWAYS : OPEN_ALWAYS;
    return CLogFile(name, disposition).IsOpen() ? FindFullPath(name) : name;
}
} // namespace KVLogging
