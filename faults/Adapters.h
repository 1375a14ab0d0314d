#pragma once

#include <windows.h>

namespace KVFaults
{
using LookUp = FARPROC(WINAPI*)(HMODULE, LPCSTR);

/// The replacement of GetProcAddress. To be set before the first Adapt.
void SetLookUp(LookUp lookUp) noexcept;

/// Prepares time and the end of the process from the environment. KV_FAULT_TIME: how many times faster time passes for
/// the program (0 means 1). KV_FAULT_KILL_TURN: 1 or 2 sets the event KvFaultKill when the process's first or second
/// turn at the queue file begins, so that the host can terminate it some microseconds later.
void StartAdapters() noexcept;

/// The function that serves the program's calls of that name: an adapter where time is scaled, where turns at the queue
/// file begin and end, and where the program would end with a message; otherwise the original.
void* Adapt(const char* name, void* original) noexcept;
} // namespace KVFaults
