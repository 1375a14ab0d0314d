#pragma once

#include <string>

namespace KVUtils
{
/// True when there is a file at that path, of any kind but a folder (`GetFileAttributesW`); false also when the path
/// cannot be looked at, except for lack of memory, in this process or in the system: that is std::bad_alloc. Paths
/// beyond 260 characters work: the path gets the long-path prefix `\\?\`, unless it is longer than two characters and
/// starts with two backslashes. Give a full path: a relative one is never found, because the prefix forbids it.
bool FileExists(const std::wstring& path);
} // namespace KVUtils
