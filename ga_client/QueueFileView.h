#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace GAClient
{
/// What a look at a queue file has found.
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
    DWORD error = ERROR_SUCCESS;        ///< of kUnreadable
    std::int64_t size = 0;              ///< of kRead and kLink, in bytes
    std::vector<std::wstring> requests; ///< those that the next run loads, oldest first
};

/// Looks at a queue file as it is at this moment, for a program that must change nothing: opens it for reading only,
/// without taking the turn at it. Reads 64 MiB at most.
QueueFileView ViewQueueFile(const std::wstring& path);
} // namespace GAClient
