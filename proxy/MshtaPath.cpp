#include "proxy/MshtaPath.h"

#include <windows.h>

#include <shlobj.h>

#include <array>

#include "utils/OSVersion.h"
#include "winapi/ShellApi.h"

namespace KVAnalyticsProxy
{
// The device centre is a 32-bit HTML application: on 64-bit Windows its host is in the 32-bit system folder.
std::wstring GetMshtaPath()
{
    constexpr wchar_t kHostFile[] = L"\\mshta.exe";
    std::array<wchar_t, MAX_PATH + 1> folder{};
    if (KVUtils::GetNativeProcessorArchitecture() == PROCESSOR_ARCHITECTURE_AMD64)
    {
        // Not in the facade.
        const UINT length = ::GetSystemWow64DirectoryW(folder.data(), MAX_PATH);
        return (length != 0 ? std::wstring(folder.data()) : std::wstring()) + kHostFile;
    }
    if (FAILED(KVWinApi::g_shellApi->SHGetFolderPathW(nullptr, CSIDL_SYSTEM, nullptr, 0, folder.data())))
    {
        return std::wstring();
    }
    return folder.data() + std::wstring(kHostFile);
}
} // namespace KVAnalyticsProxy
