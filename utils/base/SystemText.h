#pragma once

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>

namespace KVUtils
{
/// Reads a text of unknown length from a system function.
///
/// call(buffer, room) calls the function with a buffer of room characters. It returns the length of the text without
/// its terminating zero, room or more if the text does not fit, and 0 for a failure. It is called again with a larger
/// buffer until the text fits; no text of the system is longer than 32 767 characters. Nothing after a failure.
template <typename Call> std::optional<std::wstring> ReadSystemText(const Call& call)
{
    constexpr std::size_t kLargestRoom = 32768;
    std::size_t room = MAX_PATH;
    while (true)
    {
        std::wstring text(room, L'\0');
        const std::size_t length = call(text.data(), static_cast<DWORD>(room));
        if (length == 0 || (length >= room && room == kLargestRoom))
        {
            return std::nullopt;
        }
        if (length < room)
        {
            text.resize(length);
            return text;
        }
        room = std::min(std::max(2 * room, length + 1), kLargestRoom);
    }
}
} // namespace KVUtils
