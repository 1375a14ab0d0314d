#pragma once

#include <string>

namespace KVAnalyticsProxy
{
/// The full path that the device centre's host must have: `mshta.exe` in the 32-bit system folder on 64-bit Windows
/// (`GetSystemWow64DirectoryW`), in the system folder otherwise (`SHGetFolderPathW`). If the folder is unavailable, it
/// is a text that no process has as its path.
std::wstring GetMshtaPath();
} // namespace KVAnalyticsProxy
