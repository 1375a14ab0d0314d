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

/// The same path, for a program that must change nothing: no folder is created, and none has to exist
/// (`SHGetFolderPathW`). Empty in the same cases.
std::wstring FindDataFolder(const std::wstring& applicationName, const std::wstring& applicationVersion);
} // namespace GAClient
