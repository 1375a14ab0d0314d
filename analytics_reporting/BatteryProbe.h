#pragma once

#include <string>

namespace KVAnalyticsReporting
{
class CAnalyticsEngine;

/// Exit codes of the probe's thread.
enum BatteryProbeResult : unsigned
{
    kBatteryProbeDone = 0,
    kBatteryProbeWithoutCom = 10, // COM could not be initialised, and the engine was not asked
    kBatteryProbeWithoutEngine = 1780,
};

/// Asks the engine on a thread of its own whether the computer has a battery. Waits for that thread at most 10 seconds
/// and then terminates it. Returns the latest answer of any probe of this process: that of an earlier one if this one
/// did not end in time, and the empty text if no probe has ended.
///
/// The COM functions that the thread calls are looked up before it starts, so that it is never terminated inside the
/// first load of `ole32.dll` or `oleaut32.dll`, where it would keep the system's loader lock for ever. This covers
/// neither what COM and WMI load themselves in `CoCreateInstance` and later (`wbemprox.dll`, `fastprox.dll` and others)
/// nor any other lock that the thread holds when it is terminated: that of the heap or of a log module.
///
/// Called from the engine's thread. The answer is a process-wide text, which only the probe's thread writes and which
/// is read only after the wait, hence without a lock.
std::wstring ProbeBattery(const CAnalyticsEngine& engine);

/// The thread's function: initialises COM (apartment-threaded), asks the engine and keeps its answer. engine: a
/// CAnalyticsEngine, or null, in which case nothing is asked.
unsigned __stdcall RunBatteryProbe(void* engine);
} // namespace KVAnalyticsReporting
