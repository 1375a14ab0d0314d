#pragma once

#include <string>

namespace GAClient
{
/// The folder in which the client keeps what belongs to one version of one application: the user's local (non-roaming)
/// application data, then \Norvik\Statlet\NAME\VERSION\, with the backslash at the end. The whole chain is created when
/// it is missing (`SHGetSpecialFolderPathW`, `SHCreateDirectoryExW`).
///
/// Empty when a name is empty or the system does not tell the user's folder: then no file is used. A chain that cannot
/// be created is not noticed here; opening files in it fails.
std::wstring GetDataFolder(const std::wstring& applicationName, const std::wstring& applicationVersion);
} // namespace GAClient
