#pragma once

#include <windows.h>

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
/// line feed. Processes take turns with the named mutex "Statlet_" NAME VERSION; an operation waits for it up to 30
/// seconds. If another program holds the file without sharing, an operation retries for 120 milliseconds. Neither
/// operation reports why it fails.
///
/// Characters are stored as the low 8 bits of their UTF-16 code units and read back with sign extension: plain ASCII
/// survives, other characters do not. Deliberate: the format is fixed, since a file outlives the process that wrote it.
///
/// The first operation finds the data folder and creates it if it is missing; Save creates it again if it was removed.
/// A link in place of the file is not followed.
///
/// Not synchronised within the process: the outbox calls it under its lock, which is taken before the mutex.
class CRequestQueueFile
{
public:
    /// If either text is empty, no file is used.
    CRequestQueueFile(std::wstring applicationName, std::wstring applicationVersion);

    /// Reserves the memory that Save needs for a line of that many bytes, and for any number of shorter ones. After
    /// that, and after an operation that found the data folder, Save allocates nothing.
    void Reserve(std::size_t lineBytes);

    /// Appends the hits to the file, oldest first. A step that fails is repeated a few times before the hits are given
    /// up. False if nothing was written: no file is used, another process holds the mutex, the file has 1 MiB or more,
    /// a link is in place of the file, or the file system failed; the file is then as long as before.
    bool Save(const std::list<std::wstring>& requests);

    /// Moves the hits of the file to the end of the queue while that holds fewer than queueLimit entries; the others
    /// are discarded. The file is then empty. Reserves the memory that Save needs for the whole queue.
    ///
    /// If the file cannot be read and emptied, or memory is short (std::bad_alloc), nothing is loaded and the file is
    /// unchanged: every later process would send hits that stayed in it again.
    void Load(std::list<std::wstring>& queue, std::int32_t queueLimit);

private:
    void ReserveFor(const std::list<std::wstring>& requests);
    // Asks the shell once: that takes longer than reading a small file.
    void FindPath();
    bool HasPath() noexcept;
    bool MakeFolderAgain() noexcept;
    bool Append(const std::list<std::wstring>& requests, std::optional<std::int64_t>& end);
    bool WriteLines(HANDLE file, std::int64_t end, const std::list<std::wstring>& requests);

    const std::wstring m_applicationName;
    const std::wstring m_applicationVersion;
    const std::wstring m_mutexName;
    std::wstring m_path; // empty until found
    // A piece of the file. Used again for each: the first access to new memory takes longer than the conversion of what
    // it holds.
    std::string m_buffer;
};
} // namespace GAClient
