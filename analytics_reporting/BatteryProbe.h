#pragma once

#include <string>

namespace KVAnalyticsReporting
{
class CAnalyticsEngine;

/// Exit codes of the probe's thread.
enum BatteryProbeResult : unsigned
{
    kBatteryProbeDone = 0,
    kBatteryProbeWithoutCom = 10, // COM could not be initialised, nothing was asked
    kBatteryProbeWithoutEngine = 1780,
};

/// Asks the engine whether the computer has a battery, on a thread of its own, and waits for it at most 10 seconds;
/// after that the thread is terminated. Returns the newest answer that a probe of this process has brought: that of an
/// earlier one when this one did not end in time, and the empty text when there is none.
///
/// The COM functions that the thread calls are looked up before it starts, so that it is never terminated inside the
/// first load of `ole32.dll` or `oleaut32.dll` and cannot take the system's loader lock with it. This does not cover
/// what COM and WMI load themselves in `CoCreateInstance` and later (`wbemprox.dll`, `fastprox.dll` and others), and no
/// other lock that the thread holds when it is terminated: the heap's, or that of a log module.
///
/// Called from the engine's thread. The answer is kept in a process-wide text that only the probe's thread writes and
/// that is read only after the wait, hence without a lock.
std::wstring ProbeBattery(const CAnalyticsEngine& engine);

/// The thread: initialises COM (apartment-threaded), asks, keeps the answer. engine: a CAnalyticsEngine, or null, with
/// which nothing is asked.
unsigned __stdcall RunBatteryProbe(void* engine);
} // namespace KVAnalyticsReporting
