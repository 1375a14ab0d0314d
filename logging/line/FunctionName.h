#pragma once

#include <string>

namespace KVLogging
{
/// The parts of a full function name that log lines and the monitor show.
struct FunctionName
{
    std::wstring ClassName; // the component before the last; empty when there is one component only
    std::wstring ShortName; // the last two components, or the only one
};

/// Splits "Namespace::Class::Method" at "::". Template arguments vanish, what follows 255 characters is not looked at.
///
/// Deliberate: one buffer for the whole process and no lock, for a split happens once in a scope at most. Threads that
/// split at the same moment can mix their texts, but each stays within its own length.
FunctionName SplitFunctionName(const wchar_t* fullName);
} // namespace KVLogging
