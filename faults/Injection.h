#pragma once

namespace KVFaults
{
/// What can be made to fail.
enum class Kind : char
{
    kNew = 'n',     ///< an `operator new`
    kRuntime = 'm', ///< malloc, calloc, realloc, or a call of the system, that only the compiler's runtime makes
    kCall = 'c',    ///< any other call of a system function that the program imports or has looked up
};

/// Reads what is to fail from the environment and opens the journal. To be called before anything is hooked.
///
/// KV_FAULT_PLAN is "KIND THREAD ORDINAL COUNT": the events of that kind in the thread (0 the main thread, 1 the one
/// that made an event next, and so on) from that ordinal on fail, COUNT of them. COUNT 0: from then on every event of
/// the kind fails, in every thread. Without a plan nothing fails. KV_FAULT_JOURNAL is a file of zeros. It is mapped and
/// receives one line for each event, "THREAD KIND NAME", with " failed" when it was made to fail. Lines survive any end
/// of the process.
void StartInjection() noexcept;

/// Counts an event and notes it in the journal. True when it must fail.
bool ShouldFail(Kind kind, const char* name) noexcept;

/// A line of its own in the journal.
void Note(const char* text, unsigned long long number = 0) noexcept;

/// A number from the environment, 0 when there is none.
unsigned long ReadNumber(const char* variable) noexcept;
} // namespace KVFaults
