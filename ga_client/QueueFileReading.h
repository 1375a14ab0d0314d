#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <list>
#include <optional>
#include <string>
#include <string_view>

#include "ga_client/QueueFileFormat.h"
#include "winapi/KernelApi.h"

namespace GAClient
{
/// How the queue file is found and read, for CRequestQueueFile and for programs that only look at it. Static: for the
/// one call in each source the compiler makes no function, and the size of the program is bounded.

inline constexpr wchar_t kQueueFileName[] = L"Statlet_RequestQueue.txt";

/// The path of the queue file in a data folder, which ends with a backslash. Deliberate: the path is narrowed like the
/// content and then read in the system's code page, so that all processes find the same file. Paths beyond the code
/// page are not reached.
static inline std::wstring GetQueueFilePath(const std::wstring& folder)
{
    const std::string bytes = NarrowToBytes(folder + kQueueFileName);
    const int size = static_cast<int>(bytes.size()); // the shell gives no path of 2 GiB
    std::wstring narrowed(bytes.size(), L'\0');      // no code page gives more units than bytes
    const int length = KVWinApi::g_kernelApi->MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, narrowed.data(), size);
    narrowed.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return narrowed;
}

/// Whether an open file is the file itself. False for a link, and if the attributes are unavailable
/// (`GetFileInformationByHandleEx`).
static inline bool IsFileItself(HANDLE file)
{
    FILE_BASIC_INFO information{}; // without the volume's serial number, which takes longer than the rest of a save
    return ::GetFileInformationByHandleEx(file, FileBasicInfo, &information, sizeof(information)) != FALSE &&
           (information.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

/// The first hits of an open file, at most limit, from its first byteLimit bytes; nothing if reading fails
/// (`ReadFile`). Leaves a piece of the file in the buffer.
static inline std::optional<std::list<std::wstring>> ReadQueueLines(
    HANDLE file, std::size_t limit, std::string& buffer,
    std::uint64_t byteLimit = std::numeric_limits<std::uint64_t>::max())
{
    constexpr DWORD kReadSize = 65536;
    CQueueLineCollector collector(limit);
    buffer.resize(kReadSize);
    DWORD read = kReadSize;
    std::uint64_t total = 0;
    while (read != 0 && !collector.IsFull() && total < byteLimit)
    {
        if (::ReadFile(file, buffer.data(), kReadSize, &read, nullptr) == FALSE)
        {
            return std::nullopt;
        }
        collector.Add(std::string_view(buffer).substr(0, read));
        total += read;
    }
    return collector.TakeLines();
}
} // namespace GAClient
