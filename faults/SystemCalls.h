#pragma once

#include <cstddef>

namespace KVFaults
{
/// Hooks every system function that the program imports, and those that it looks up with GetProcAddress from then on.
/// To be called once, before the program's runtime starts.
void HookSystemCalls() noexcept;

/// malloc without an event. Null if there is no memory.
void* AllocateUncounted(std::size_t byteCount) noexcept;
} // namespace KVFaults
