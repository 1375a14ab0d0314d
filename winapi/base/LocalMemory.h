#pragma once

#include <windows.h>

#include "winapi/base/UniqueHandle.h"

namespace KVWinApi
{
/// Memory that a system function has allocated for its caller, such as the text of `FormatMessageW` or the array of
/// `CommandLineToArgvW`; failure is null. Freed with `LocalFree`.
template <typename Element> struct LocalMemoryTraits
{
    using Handle = Element*;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle memory) noexcept { ::LocalFree(memory); }
};
template <typename Element> using CUniqueLocalMemory = CUniqueHandle<LocalMemoryTraits<Element>>;
} // namespace KVWinApi
