#pragma once

#include <string>
#include <string_view>

namespace KVTest
{
/// A new, empty folder below the user's temporary folder. It is removed with its content when the object is destroyed.
/// Throws std::runtime_error if it cannot be created.
class TemporaryFolder
{
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// Full path without a trailing backslash.
    const std::wstring& GetPath() const noexcept { return m_path; }
    /// Full path of an entry of that name in the folder.
    std::wstring PathOf(std::wstring_view name) const;
    /// Writes the bytes to a file of that name, replacing an existing one. Returns its full path.
    std::wstring WriteFile(std::wstring_view name, std::string_view bytes) const;
    /// Creates a folder of that name. Returns its full path.
    std::wstring MakeFolder(std::wstring_view name) const;

private:
    std::wstring m_path;
};

/// The bytes of a file; throws std::runtime_error if it cannot be read.
std::string ReadFileBytes(const std::wstring& path);
/// The text of a UTF-16LE file without byte-order mark, such as a log file; throws std::runtime_error if it cannot be
/// read or has an odd number of bytes.
std::wstring ReadUtf16File(const std::wstring& path);
} // namespace KVTest
