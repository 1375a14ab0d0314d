#pragma once

namespace KVFaults
{
/// The kinds of events that can be made to fail.
enum class Kind : char
{
    kNew = 'n',     ///< an `operator new`
    kRuntime = 'm', ///< malloc, calloc, realloc or a system call, if only the compiler's runtime makes it
    kCall = 'c',    ///< any other call of a system function that the program imports or has looked up
};

/// Reads from the environment which events fail, and opens the journal. To be called before anything is hooked.
///
/// KV_FAULT_PLAN is "KIND THREAD ORDINAL COUNT": of the events of that kind in the thread (0 for the main thread, 1 for
/// the thread with the next first event, and so on), COUNT fail from that ordinal on. COUNT 0: from then on every event
/// of the kind fails, in every thread. Without a plan nothing fails. KV_FAULT_JOURNAL is a file of zeros. It is mapped
/// and receives one line for each event, "THREAD KIND NAME", with " failed" if it was made to fail. Lines survive any
/// end of the process.
void StartInjection() noexcept;

/// Counts an event and notes it in the journal. True when it must fail.
bool ShouldFail(Kind kind, const char* name) noexcept;

/// Adds a line to the journal.
void Note(const char* text, unsigned long long number = 0) noexcept;

/// A number from the environment, 0 if it is missing.
unsigned long ReadNumber(const char* variable) noexcept;
} // namespace KVFaults
