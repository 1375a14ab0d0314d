#include <windows.h>

#include <cstdio>
#include <string>

#include "utils/CommandLine.h"
#include "utils/OSVersion.h"
#include "utils/PathUtils.h"
#include "utils/SxSConfig.h"

// Writes the library's results for the program's name, place, command line and system, as lines in UTF-16 without
// byte-order mark, to the file that the environment variable KV_PROBE_OUTPUT names. Ends with 0 if that succeeds.
int wmain()
{
    std::wstring output(32767, L'\0');
    output.resize(::GetEnvironmentVariableW(L"KV_PROBE_OUTPUT", output.data(), static_cast<DWORD>(output.size())));

    const KVUtils::CCommandLine commandLine;
    std::wstring text = L"os=" + KVUtils::GetOSName() + L"\n";
    text += L"executable folder=" + KVUtils::CPathUtils::GetPathOfExecutable() + L"\n";
    text += L"product folder=" + KVUtils::CSxSConfig::GetSxSProductFolder() + L"\n";
    text += L"ini file=" + KVUtils::CSxSConfig::_GetIniFile().GetFile() + L"\n";
    text += L"model name=" + KVUtils::CSxSConfig::GetModelName() + L"\n";
    text += L"data folder=" + KVUtils::CSxSConfig::GetDataFolder() + L"\n";
    text += L"program path=" + commandLine.GetProgramPath() + L"\n";
    text += L"first argument=" + commandLine.GetFirstArgument() + L"\n";
    text += L"argument string=" + commandLine.GetArgumentString() + L"\n";
    for (const auto& [key, value] : commandLine.GetArgumentMap())
    {
        text.append(L"switch ").append(key).append(L"=").append(value).append(L"\n");
    }

    std::FILE* const file = ::_wfopen(output.c_str(), L"wb");
    if (file == nullptr)
    {
        return 1;
    }
    const std::size_t written = std::fwrite(text.data(), sizeof(wchar_t), text.size(), file);
    return std::fclose(file) == 0 && written == text.size() ? 0 : 1;
}
