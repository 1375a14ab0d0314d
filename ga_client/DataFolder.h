#pragma once

#include <string>

namespace GAClient
{
/// The folder of the client's files for one version of one application: the user's local (non-roaming) application
/// data, then \Norvik\Statlet\NAME\VERSION\, including the last backslash. Missing folders of that path are created
/// (`SHGetSpecialFolderPathW`, `SHCreateDirectoryExW`).
///
/// Empty if a name is empty or the user's folder is unavailable: then no file is used. A folder that cannot be created
/// is not reported here; opening files in it fails.
std::wstring GetDataFolder(const std::wstring& applicationName, const std::wstring& applicationVersion);

/// The same folder below a folder of application data, which has no backslash at its end. Touches nothing. Static: for
/// the one call in each source the compiler makes no function, and the size of the program is bounded.
static inline std::wstring GetDataFolderBelow(const std::wstring& base, const std::wstring& applicationName,
                                              const std::wstring& applicationVersion)
{
    return base + L"\\Norvik\\Statlet\\" + applicationName + L"\\" + applicationVersion + L"\\";
}
} // namespace GAClient
