#pragma once

#include <windows.h>

namespace KVFaults
{
using LookUp = FARPROC(WINAPI*)(HMODULE, LPCSTR);

/// What takes the place of GetProcAddress. To be set before the first Adapt.
void SetLookUp(LookUp lookUp) noexcept;

/// Prepares time and the end of the process, from the environment: KV_FAULT_TIME is how many times faster time passes
/// for the program (0 counts as 1); KV_FAULT_KILL_TURN 1 or 2 sets the event KvFaultKill when the process's first or
/// second turn at the queue file begins, so that the host ends it some microseconds later.
void StartAdapters() noexcept;

/// The function that really serves the program's calls of that name: another one where time is scaled, where turns at
/// the queue file begin and end, and where the program would end loudly; else the original itself.
void* Adapt(const char* name, void* original) noexcept;
} // namespace KVFaults
