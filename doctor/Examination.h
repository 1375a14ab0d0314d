#pragma once

#include <windows.h>

#include "doctor/Findings.h"
#include "winapi/handles/KernelHandles.h"

namespace KVAnalyticsDoctor
{
/// The result of an examination.
struct ExaminationResult
{
    Findings findings;
    /// False if time was over: a thread of the examination still runs, so the process must end without running the
    /// destructors of static objects.
    bool isComplete = false;
    /// The thread, to wait for it longer. Invalid if none could be started.
    KVWinApi::CUniqueKernelHandle thread;
};

/// Determines all findings on a thread of its own, one part after the other, for as long as limitMs. A part that fails,
/// or that time does not suffice for, is missing; those that were determined before it are there. connects: the
/// collection host is asked as well.
///
/// Changes nothing: no file, folder, registry key or named object is made, and no log is written if the log modules
/// were silenced before. Call it once, from the main thread.
ExaminationResult Examine(bool connects, DWORD limitMs);
} // namespace KVAnalyticsDoctor
