#include "utils/SxSConfig.h"

#include <windows.h>

#include <shlobj.h>

#include <array>

#include "logging/Trace.h"
#include "utils/MemoryShortage.h"
#include "utils/PathUtils.h"
#include "utils/UtilsLogModule.h"
#include "winapi/ShellApi.h"

namespace KVUtils
{
namespace
{
KV_TRACE_SOURCE(g_logModule, L"SxSConfig.cpp");

std::wstring s_productFolder;
std::wstring s_iniPath;
std::wstring s_modelName;
std::wstring s_dataFolder;
CIniFile s_iniFile;
} // namespace

IIniFile& CSxSConfig::_GetIniFile() // NOLINT(readability-identifier-naming): the name is part of the interface
{
    KV_TRACE(L"KVUtils::CSxSConfig::_GetIniFile");
    if (s_iniPath.empty())
    {
        s_iniPath = CombinePaths(GetSxSProductFolder(), L"config.ini");
        if (s_iniPath.empty()) // a safeguard: the path always has the file name
        {
            KV_LOGF(kLogError, L"CSxSConfig failed to set ini file path to %s", s_iniPath.c_str());
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
    KV_TRACE(L"KVUtils::CSxSConfig::GetDataFolder");
    if (!s_dataFolder.empty())
    {
        return s_dataFolder;
    }
    _GetIniFile(); // sets the path
    // Not ReadString: if memory were short, it would report an absent key, and the opt-out mark would be searched for
    // in the default folder, where it does not exist.
    if (s_iniFile.ReadStringOrThrow(L"Directories", L"DataFolder", s_dataFolder) && !s_dataFolder.empty())
    {
        return s_dataFolder;
    }
    const std::wstring name = GetLastPathComponent(GetSxSProductFolder());
    std::array<wchar_t, MAX_PATH + 1> commonData{};
    const HRESULT result = KVWinApi::g_shellApi->SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr,
                                                                  SHGFP_TYPE_CURRENT, commonData.data());
    if (result != S_OK)
    {
        ThrowIfMemoryShortage(result);
        return s_dataFolder;
    }
    s_dataFolder = CombinePaths(CombinePaths(commonData.data(), L"Norvik"), name);
    // Deliberate: the text names a different function. Readers of the logs know this text.
    KV_LOGF(kLogInfo, L"CSxSConfig::SetSxSProductFolder, data folder is %s", s_dataFolder.c_str());
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
