#pragma once

#include <string>

namespace KVUtils
{
/// True if a file of any kind except a folder exists at that path (`GetFileAttributesW`). False even if its attributes
/// cannot be read; but if memory is short, in this process or in the system, it throws std::bad_alloc. Paths beyond 260
/// characters work: the path gets the long-path prefix `\\?\`, unless it is longer than two characters and starts with
/// two backslashes. Pass a full path: the prefix keeps a relative one from being found.
bool FileExists(const std::wstring& path);
} // namespace KVUtils
