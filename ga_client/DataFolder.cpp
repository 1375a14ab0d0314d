#include "ga_client/DataFolder.h"

#include <windows.h>

#include <shlobj.h>

#include "winapi/base/SystemLibraries.h"
#include "winapi/WinApi.h"

namespace GAClient
{
namespace
{
// Empty if the shell does not know it. The shell creates a missing one.
std::wstring LocalApplicationDataFolder()
{
    wchar_t path[MAX_PATH] = {}; // the function's own bound
    const BOOL found = KVWinApi::g_winApi->SHGetSpecialFolderPathW(nullptr, path, CSIDL_LOCAL_APPDATA, TRUE);
    return found != FALSE ? path : L"";
}

void CreateFolderChain(const std::wstring& folder)
{
    // Up to the last backslash. The result is ignored: an existing folder (183, or 80) is a success, and after any
    // other failure the files in the folder cannot be opened, which each of their users handles.
    const std::wstring path = folder.substr(0, folder.rfind(L'\\'));
    CallOrErrorCode(KV_SYSTEM_FUNCTION(KVWinApi::g_shell32Dll, SHCreateDirectoryExW), nullptr, path.c_str(), nullptr);
}
} // namespace

std::wstring GetDataFolder(const std::wstring& applicationName, const std::wstring& applicationVersion)
{
    if (applicationName.empty() || applicationVersion.empty())
    {
        return {};
    }
    const std::wstring base = LocalApplicationDataFolder();
    if (base.empty())
    {
        return {};
    }
    std::wstring folder = GetDataFolderBelow(base, applicationName, applicationVersion);
    CreateFolderChain(folder);
    return folder;
}
} // namespace GAClient
