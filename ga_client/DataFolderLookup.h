#pragma once

#include <string>

namespace GAClient
{
/// The path that GetDataFolder returns, for a program that must change nothing: no folder is created, and none has to
/// exist (`SHGetFolderPathW`). Empty in the same cases.
std::wstring FindDataFolder(const std::wstring& applicationName, const std::wstring& applicationVersion);
} // namespace GAClient
