#pragma once

#include <windows.h>

#include <shlobj.h>

#include <string>

#include "utils/OSVersion.h"
#include "winapi/ShellApi.h"

namespace KVAnalyticsProxy
{
/// The full path that the device centre's host must have: `mshta.exe` in the 32-bit system folder on 64-bit Windows
/// (`GetSystemWow64DirectoryW`), in the system folder otherwise (`SHGetFolderPathW`). If the folder is unavailable, it
/// is a text that no process has as its path. The device centre is a 32-bit HTML application. Inline: in a source of
/// its own the code is larger, and the size of the program is bounded.
inline std::wstring GetMshtaPath()
{
    wchar_t folder[MAX_PATH + 1] = {};
    if (KVUtils::GetNativeProcessorArchitecture() == PROCESSOR_ARCHITECTURE_AMD64)
    {
        // Not in the facade.
        if (::GetSystemWow64DirectoryW(folder, MAX_PATH) == 0)
        {
            folder[0] = L'\0';
        }
    }
    else if (FAILED(KVWinApi::g_shellApi->SHGetFolderPathW(nullptr, CSIDL_SYSTEM, nullptr, 0, folder)))
    {
        return {};
    }
    std::wstring path = folder;
    path += L"\\mshta.exe";
    return path;
}
} // namespace KVAnalyticsProxy
