#include "ga_client/DataFolderLookup.h"

#include <windows.h>

#include <shlobj.h>

#include "ga_client/DataFolder.h"
#include "winapi/ShellApi.h"

namespace GAClient
{
std::wstring FindDataFolder(const std::wstring& applicationName, const std::wstring& applicationVersion)
{
    if (applicationName.empty() || applicationVersion.empty())
    {
        return {};
    }
    wchar_t base[MAX_PATH + 1] = {};
    const HRESULT found = KVWinApi::g_shellApi->SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA | CSIDL_FLAG_DONT_VERIFY,
                                                                 nullptr, SHGFP_TYPE_CURRENT, base);
    return found == S_OK && base[0] != L'\0' ? GetDataFolderBelow(base, applicationName, applicationVersion)
                                             : std::wstring();
}
} // namespace GAClient
