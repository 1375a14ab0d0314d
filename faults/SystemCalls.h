#pragma once

#include <cstddef>

namespace KVFaults
{
/// Puts a hook before every function of the system that the program imports. What the program looks up with
/// GetProcAddress from then on is hooked too. To be called once, before the program's runtime starts.
void HookSystemCalls() noexcept;

/// malloc that is no event. Null when there is no memory.
void* AllocateUncounted(std::size_t byteCount) noexcept;
} // namespace KVFaults
