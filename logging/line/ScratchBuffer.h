#pragma once

#include <array>
#include <cstddef>

namespace KVLogging
{
/// Characters.
constexpr std::size_t kScratchLength = 260;

/// The one buffer in which a module formats the short pieces of its lines. Used in its critical section only.
using ScratchBuffer = std::array<wchar_t, kScratchLength>;
} // namespace KVLogging
