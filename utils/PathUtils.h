#pragma once

#include <string>

namespace KVUtils
{
/// Path operations. The backslash is the only separator: a forward slash is an ordinary character. None of them
/// touches the file system. Safe on any thread.
class CPathUtils
{
public:
    /// The folder part of a path: all before the last backslash, without it. A root keeps its backslash ("C:\", or a
    /// lone one). Without any backslash it is the drive ("C:") or empty.
    ///
    /// What counts as having a drive is decided by `_wsplitpath_s`, which refuses a path whose folder part, name or
    /// extension reaches 256 characters: such a path counts as one without a drive.
    static std::wstring StripFilename(const std::wstring& path);

    /// The folder of the running executable (`GetModuleFileNameW`, asked each time), without a backslash at the end
    /// unless it is a root. Empty when the system does not tell. Throws std::bad_alloc when the system lacked memory:
    /// the settings and the mark of opting out are found from here.
    static std::wstring GetPathOfExecutable();
};

/// The two with one backslash between: at most one backslash each is taken away at the end of `head` and at the
/// beginning of `tail`. When either is empty the result is the other, unchanged.
std::wstring CombinePaths(const std::wstring& head, const std::wstring& tail);

/// The text behind the last backslash; without one, behind the last colon; without either, the whole path. Empty for a
/// path that ends in its separator.
std::wstring GetLastPathComponent(const std::wstring& path);
} // namespace KVUtils
