#pragma once

#include <string>

namespace KVLogging
{
/// The parts of a full function name that log lines and monitors show.
struct FunctionName
{
    std::wstring className; // the component before the last; empty when there is one component only
    std::wstring shortName; // the last two components, or the only one
};

/// Splits "Namespace::Class::Method" at "::". Template arguments vanish; characters after the 255th are ignored.
///
/// Deliberate: one buffer for the whole process and no lock, because a scope is split once at most. Threads that split
/// at the same moment can mix their texts, but each stays within its own length.
FunctionName SplitFunctionName(const wchar_t* fullName);
} // namespace KVLogging
