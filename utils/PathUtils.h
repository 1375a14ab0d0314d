#pragma once

#include <string>

namespace KVUtils
{
/// Path operations. The backslash is the only separator: a forward slash is an ordinary character. They do not access
/// the file system. Safe on any thread.
class CPathUtils
{
public:
    /// The folder part of a path: the text before the last backslash. A root keeps its backslash ("C:\", or a lone
    /// one). If the path has no backslash, it is the drive ("C:") or empty.
    ///
    /// `_wsplitpath_s` finds the drive. It refuses a path whose folder part, name or extension reaches 256 characters;
    /// such a path has no drive here.
    static std::wstring StripFilename(const std::wstring& path);

    /// The folder of the running executable, without a backslash at the end unless it is a root. Each call asks
    /// `GetModuleFileNameW` for at most 260 characters; where the log and the version need the executable itself, they
    /// ask for its whole path. Empty if the path is unavailable. If the system lacks memory, it throws std::bad_alloc:
    /// the settings and the opt-out mark are found relative to this folder.
    static std::wstring GetPathOfExecutable();
};

/// Both joined by one backslash, after at most one backslash is removed from the end of `head` and one from the start
/// of `tail`. If either is empty, the result is the other, unchanged.
std::wstring CombinePaths(const std::wstring& head, const std::wstring& tail);

/// The text after the last backslash; if there is none, after the last colon; if there is neither, the whole path.
/// Empty if the path ends in its separator.
std::wstring GetLastPathComponent(const std::wstring& path);
} // namespace KVUtils
