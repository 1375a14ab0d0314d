#include "utils/SxSConfig.h"

#include <windows.h>

#include <shlobj.h>

#include <array>

#include "utils/PathUtils.h"
#include "winapi/ShellApi.h"

namespace KVUtils
{
namespace
{
std::wstring s_productFolder;
std::wstring s_iniPath;
std::wstring s_modelName;
std::wstring s_dataFolder;
CIniFile s_iniFile;
} // namespace

IIniFile& CSxSConfig::_GetIniFile() // NOLINT(readability-identifier-naming): the name is part of the interface
{
    if (s_iniPath.empty())
    {
        s_iniPath = CombinePaths(GetSxSProductFolder(), L"config.ini");
        if (s_iniPath.empty())
        {
            return s_iniFile;
        }
    }
    s_iniFile.SetFile(s_iniPath);
    return s_iniFile;
}

const std::wstring& CSxSConfig::GetSxSProductFolder()
{
    if (s_productFolder.empty())
    {
        const std::wstring executableFolder = CPathUtils::GetPathOfExecutable();
        if (!executableFolder.empty())
        {
            s_productFolder = CPathUtils::StripFilename(executableFolder);
        }
    }
    return s_productFolder;
}

const std::wstring& CSxSConfig::GetDataFolder()
{
    if (!s_dataFolder.empty())
    {
        return s_dataFolder;
    }
    if (_GetIniFile().ReadString(L"Directories", L"DataFolder", s_dataFolder) && !s_dataFolder.empty())
    {
        return s_dataFolder;
    }
    const std::wstring name = GetLastPathComponent(GetSxSProductFolder());
    std::array<wchar_t, MAX_PATH + 1> commonData{};
    if (KVWinApi::g_shellApi->SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, SHGFP_TYPE_CURRENT,
                                               commonData.data()) != S_OK)
    {
        return s_dataFolder;
    }
    s_dataFolder = CombinePaths(CombinePaths(commonData.data(), L"Norvik"), name);
    return s_dataFolder;
}

const std::wstring& CSxSConfig::GetModelName()
{
    if (s_modelName.empty() && !_GetIniFile().ReadString(L"DeviceInfo", L"ModelName", s_modelName))
    {
        s_modelName.clear();
    }
    return s_modelName;
}
} // namespace KVUtils
