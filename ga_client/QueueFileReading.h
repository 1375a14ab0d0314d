#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <list>
#include <optional>
#include <string>

namespace GAClient
{
/// How the queue file is found and read, for CRequestQueueFile and for programs that only look at it.

/// The path of the queue file in a data folder, which ends with a backslash. Deliberate: the path is narrowed like the
/// content and then read in the system's code page, so that all processes find the same file. Paths beyond the code
/// page are not reached.
std::wstring GetQueueFilePath(const std::wstring& folder);

/// Whether an open file is the file itself. False for a link, and if the attributes are unavailable
/// (`GetFileInformationByHandle`).
bool IsFileItself(HANDLE file);

/// The first hits of an open file, at most limit, from its first byteLimit bytes; nothing if reading fails
/// (`ReadFile`).
std::optional<std::list<std::wstring>> ReadQueueLines(
    HANDLE file, std::size_t limit, std::uint64_t byteLimit = std::numeric_limits<std::uint64_t>::max());

/// What is in the place of a queue file.
struct QueueFileView
{
    enum class State
    {
        kAbsent, ///< no hit waits
        kRead,
        kLink,       ///< which no run follows
        kUnreadable, ///< a folder, or a file that a different program holds
    };
    State state = State::kAbsent;
    DWORD error = ERROR_SUCCESS;      ///< of kUnreadable
    std::int64_t size = 0;            ///< of kRead and kLink, in bytes
    std::list<std::wstring> requests; ///< those that the next run loads, oldest first
};

/// Looks at a queue file as it is at this moment, for a program that must change nothing: opens it for reading only,
/// without taking the turn at it. Reads 64 MiB at most.
QueueFileView ViewQueueFile(const std::wstring& path);
} // namespace GAClient
