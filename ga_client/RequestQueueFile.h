#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <string>

namespace GAClient
{
/// The file in which the hits of one version of one application wait for a later process.
///
/// Statlet_RequestQueue.txt in the data folder (DataFolder.h): one request string a line, each line ended by a single
/// line feed. Processes take turns by the named mutex "Statlet_" NAME VERSION, for which an operation waits up to 30
/// seconds. A file that another program holds without sharing is tried for another 120 milliseconds. Both operations
/// are silent about what goes wrong.
///
/// Characters are stored as the low 8 bits of their UTF-16 code units and read back with sign extension: plain ASCII
/// survives, other characters do not. The asymmetry is deliberate and kept.
///
/// The data folder is looked for, and made, by the first operation; Save makes it again when it has been removed since.
/// A link in place of the file is not followed.
///
/// Not synchronised within the process: the outbox calls it under its lock, which comes before the mutex.
class CRequestQueueFile
{
public:
    /// No file is used when either text is empty.
    CRequestQueueFile(std::wstring applicationName, std::wstring applicationVersion);

    /// Reserves the memory that Save needs for lines of so many bytes. After that, and after an operation that found
    /// the data folder, Save allocates nothing.
    void Reserve(std::size_t lineBytes);

    /// Appends the hits to the file, oldest first. Whatever fails is tried again a few times before the hits are given
    /// up. False when nothing was written: no file to use, the mutex held by another process, a file of 1 MiB or more,
    /// a link in place of the file, or a failure of the file system, after which the file is as long as before.
    bool Save(const std::list<std::wstring>& requests);

    /// Moves the hits of the file to the end of the queue while that holds fewer than queueLimit entries; those beyond
    /// are discarded. The file is left empty. Reserves what Save needs for the whole queue.
    ///
    /// When the file cannot be read and emptied, or memory is missing (std::bad_alloc), nothing is loaded and the file
    /// stays as it is: hits that stayed in it would be sent again by every later process.
    void Load(std::list<std::wstring>& queue, std::int32_t queueLimit);

private:
    // The shell takes longer to name the folder than a small file takes to be read.
    void FindPath();
    bool HasPath() noexcept;
    bool MakeFolderAgain() noexcept;
    bool Append(std::optional<std::int64_t>& end);

    const std::wstring m_applicationName;
    const std::wstring m_applicationVersion;
    const std::wstring m_mutexName;
    std::wstring m_path;     // empty until it has been found
    std::string m_saveBytes; // a line end, then the lines: the first ends a line that somebody left unfinished
};
} // namespace GAClient
